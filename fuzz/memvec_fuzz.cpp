/// Random steps on a memory vector and on a plain array: every result and every byte must agree.
#include <cstdio>
#include <cstdlib>

#include "base/product.h"
#include "models/memvec_model.h"

constinit const kr_product_record kr_product = {"krfuzz", KR_TEXT("tools"), KR_TEXT("Korinth")};

extern "C" int LLVMFuzzerTestOneInput(const u8* data, size_t size) {
    static const bool started = kr_result_succeeded(kr_memvec_init());
    const std::string error = started ? kr::test::memvec_model::run({data, size}) : "no pools";
    if (!error.empty()) {
        std::fprintf(stderr, "%s\n", error.c_str());
        std::abort();
    }
    return 0;
}
