/// See the model.
#include "models/mempool_model.h"
#include "target.h"

extern "C" int LLVMFuzzerTestOneInput(const u8* data, size_t size) {
    return run_model(kr::test::check_mempool, {data, size});
}
