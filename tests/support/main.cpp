/// The suite's entry point and its product record.
#include <gmock/gmock.h>

#include "base/product.h"

constinit const kr_product_record kr_product = {"krtest", KR_TEXT("tools"), KR_TEXT("Korinth")};

// A sanitizer's allocator answers a request that no heap can meet as the runtime's does.
// NOLINTBEGIN(bugprone-reserved-identifier,readability-identifier-naming): the sanitizers' names
extern "C" const char* __asan_default_options();
extern "C" const char* __asan_default_options() { return "allocator_may_return_null=1"; }
extern "C" const char* __tsan_default_options();
extern "C" const char* __tsan_default_options() { return "allocator_may_return_null=1"; }
// NOLINTEND(bugprone-reserved-identifier,readability-identifier-naming)

int main(int argc, char** argv) {
    testing::InitGoogleMock(&argc, argv);
    return RUN_ALL_TESTS();
}
