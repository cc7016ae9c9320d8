/// The program's entry point and its product record.
#include "base/product.h"
#include "probe.h"

constinit const kr_product_record kr_product = {"loadprobe", KR_TEXT("tools"), KR_TEXT("Korinth")};

extern "C" int wmain(int /*argc*/, kr_char** /*argv*/) {
    return kr::run_probe();
}
