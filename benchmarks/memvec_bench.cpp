/// Memory vectors: bytes across many chunks, and many threads with a vector each at the two pools.
#include <memory>
#include <vector>

#include <benchmark/benchmark.h>

#include "base/memory/memvec.h"
#include "base/product.h"
#include "owners.h"
#include "threaded_process.h"

constinit const kr_product_record kr_product = {"bench", KR_TEXT("tools"), KR_TEXT("Korinth")};

namespace {

constexpr u64 chunk_bytes = 64;

[[maybe_unused]] const bool started = kr_result_succeeded(kr_memvec_init());

/// A vector of backed chunks of equal size.
kr::owned_vector make_vector(u64 chunks) {
    kr::owned_vector vector;
    if (kr_result_failed(kr_memvec_create(chunks * chunk_bytes, vector.out()))) {
        std::abort();
    }
    // From the last chunk to the first: then the one that is cut is always the first.
    for (u64 i = chunks; i-- > 0;) {
        kr::owned_cursor cursor;
        if (kr_result_failed(
                kr_memvec_seek(vector.get(), static_cast<i32>(i * chunk_bytes), cursor.out())) ||
            kr_result_failed(kr_memvec_prepare(cursor.get(), chunk_bytes))) {
            std::abort();
        }
    }
    return vector;
}

void write_read(benchmark::State& state) {
    const auto chunks = static_cast<u64>(state.range(0));
    const kr::owned_vector vector = make_vector(chunks);
    std::vector<u8> bytes(chunks * chunk_bytes);
    for (auto _ : state) {
        if (kr_result_failed(kr_memvec_write(vector.get(), bytes.data(), bytes.size())) ||
            kr_result_failed(kr_memvec_read(bytes.data(), vector.get(), bytes.size()))) {
            std::abort();
        }
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void make_and_end(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(make_vector(4).get());
    }
}

BENCHMARK(write_read)->Arg(16)->Arg(1000);
BENCHMARK(make_and_end)->Threads(1)->UseRealTime();
BENCHMARK(make_and_end)->Threads(8)->UseRealTime();

} // namespace
