/// The test of a block for zeros against memcmp of the same block.
#include <cstring>
#include <vector>

#include <benchmark/benchmark.h>

#include "base/memory/buffer.h"
#include "base/product.h"

constinit const kr_product_record kr_product = {"bench", KR_TEXT("tools"), KR_TEXT("Korinth")};

namespace {

template <typename Operation>
void look(benchmark::State& state, Operation operation) {
    const auto size = static_cast<size_t>(state.range(0));
    const std::vector<u8> zeros(size);
    const u8* block = zeros.data();
    for (auto _ : state) {
        benchmark::DoNotOptimize(block);
        benchmark::DoNotOptimize(operation(block, size));
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
}

void is_zero_kr(benchmark::State& state) {
    look(state, kr_memory_is_zero);
}

/// All bytes are 0 when the first is and each equals the next.
void is_zero_memcmp(benchmark::State& state) {
    look(state, [](const u8* block, size_t size) {
        return block[0] == 0 && std::memcmp(block, block + 1, size - 1) == 0;
    });
}

BENCHMARK(is_zero_kr)->Arg(64)->Arg(65536);
BENCHMARK(is_zero_memcmp)->Arg(64)->Arg(65536);

} // namespace
