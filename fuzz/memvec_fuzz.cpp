/// Random steps on a memory vector and on a plain array: every result and every byte must agree.
#include <cstdio>
#include <cstdlib>

#include "models/memvec_model.h"
#include "target.h"

extern "C" int LLVMFuzzerTestOneInput(const u8* data, size_t size) {
    static const bool started = kr_result_succeeded(kr_memvec_init());
    const std::string error = started ? kr::test::memvec_model::run({data, size}) : "no pools";
    if (!error.empty()) {
        std::fprintf(stderr, "%s\n", error.c_str());
        std::abort();
    }
    return 0;
}
