/// See the model.
#include "models/multi_string_model.h"
#include "target.h"

extern "C" int LLVMFuzzerTestOneInput(const u8* data, size_t size) {
    return run_model(kr::test::check_multi_string, {data, size});
}
