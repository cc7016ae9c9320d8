/// Any bytes as a `.reg` text: refused with the registry as it was, or read; and what is read comes
/// back the same from its own text.
#include "base/product.h"
#include "platform/host/world.h"
#include "platform/platform.h"

#include <cstdlib>

constinit const kr_product_record kr_product = {"fuzz", KR_TEXT("tools"), KR_TEXT("Korinth")};

namespace {

using namespace kr::host;

void require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

constexpr std::string_view first = "Windows Registry Editor Version 5.00\n"
                                   "[HKEY_CURRENT_USER\\k\\leaf]\n@=\"kept\"\n\"n\"=dword:1\n";

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const u8* data, std::size_t size) {
    reset_registry();
    require(import_reg({reinterpret_cast<const u8*>(first.data()), first.size()}, nullptr) == 0);
    const std::vector<u8> before = export_reg();
    std::string problem;
    const u32 status = import_reg({data, size}, &problem);
    const std::vector<u8> after = export_reg();
    if (status != 0) {
        require(after == before && problem.starts_with("line "));
        return 0;
    }
    reset_registry();
    require(import_reg(after, &problem) == 0);
    require(export_reg() == after);
    return 0;
}
