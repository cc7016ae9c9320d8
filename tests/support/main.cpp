/// The suite's entry point and its product record.
#include <gmock/gmock.h>

#include "base/product.h"

constinit const kr_product_record kr_product = {"krtest", KR_TEXT("tools"), KR_TEXT("Korinth")};

int main(int argc, char** argv) {
    testing::InitGoogleMock(&argc, argv);
    return RUN_ALL_TESTS();
}
