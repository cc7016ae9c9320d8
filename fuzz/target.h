/// What the targets share. Each is one source, so the product record of its program stands here.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <span>

#include "base/product.h"
#include "models/input.h"

constinit const kr_product_record kr_product = {"krfuzz", KR_TEXT("tools"), KR_TEXT("Korinth")};

namespace {

inline void require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

/// Ends the program where the model's expectations do not hold.
inline int run_model(void (*check)(std::span<const u8>), std::span<const u8> input) {
    check(input);
    if (kr::test::failed_line != 0) {
        std::fprintf(stderr, "line %d of the model\n", kr::test::failed_line);
        std::abort();
    }
    return 0;
}

} // namespace
