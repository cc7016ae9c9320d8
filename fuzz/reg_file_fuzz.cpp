/// Any bytes as a `.reg` text: refused with the line and the reason, or read; and what is read
/// comes back the same from its own text.
#include "platform/host/reg_text.h"
#include "target.h"

extern "C" int LLVMFuzzerTestOneInput(const u8* data, size_t size) {
    using namespace kr::host::detail;
    const auto first = make_root();
    const std::string problem = read_reg({reinterpret_cast<const char*>(data), size}, first);
    if (!problem.empty()) {
        require(problem.starts_with("line ") && problem.find(": ") != std::string::npos);
        return 0;
    }
    const std::string text = write_reg(*first);
    const auto second = make_root();
    require(read_reg(text, second).empty());
    require(write_reg(*second) == text);
    return 0;
}
