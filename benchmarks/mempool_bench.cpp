/// Memory pools against a boost pool behind a mutex, the standard's synchronized pool resource and
/// the heap: the same elements, the same order of calls.
#include <algorithm>
#include <memory_resource>
#include <numeric>
#include <random>
#include <vector>

#include <benchmark/benchmark.h>

#include "pools.h"
#include "threaded_process.h"

namespace {

class pmr_pool {
public:
    explicit pmr_pool(u32 /*stock*/) {}
    void* take() { return pool_.allocate(element_bytes); }
    void give(void* element) { pool_.deallocate(element, element_bytes); }

private:
    std::pmr::synchronized_pool_resource pool_;
};

class heap {
public:
    explicit heap(u32 /*stock*/) {}
    void* take() { return std::malloc(element_bytes); }
    void give(void* element) { std::free(element); }
};

/// Only the frees are timed: their order is what a pool may suffer from.
template <typename Pool>
void random_frees(benchmark::State& state) {
    const auto count = static_cast<u32>(state.range(0));
    std::vector<u32> order(count);
    std::iota(order.begin(), order.end(), 0U);
    std::shuffle(order.begin(), order.end(), std::mt19937(1)); // NOLINT(cert-msc51-cpp): repeatable
    Pool pool(count);
    std::vector<void*> elements(count);
    std::vector<void*> shuffled(count);
    for (auto _ : state) {
        state.PauseTiming();
        std::generate(elements.begin(), elements.end(), [&pool] { return pool.take(); });
        std::transform(order.begin(), order.end(), shuffled.begin(),
                       [&elements](u32 at) { return elements[at]; });
        state.ResumeTiming();
        for (void* element : shuffled) {
            pool.give(element);
        }
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void sizes(benchmark::internal::Benchmark* bench) {
    bench->Arg(1000)->Arg(10000)->Arg(100000)->Arg(1000000);
}

BENCHMARK(pair<kr_pool>)->Name("pair_kr")->UseRealTime();
BENCHMARK(pair<boost_pool<std::mutex>>)->Name("pair_boost")->UseRealTime();
BENCHMARK(pair<pmr_pool>)->Name("pair_pmr")->UseRealTime();
BENCHMARK(pair<heap>)->Name("pair_malloc")->UseRealTime();
BENCHMARK(pair<kr_pool>)->Name("pair_kr")->Threads(2)->UseRealTime();
BENCHMARK(pair<kr_pool>)->Name("pair_kr")->Threads(8)->UseRealTime();
BENCHMARK(pair<boost_pool<std::mutex>>)->Name("pair_boost")->Threads(2)->UseRealTime();
BENCHMARK(pair<pmr_pool>)->Name("pair_pmr")->Threads(2)->UseRealTime();
BENCHMARK(pair<heap>)->Name("pair_malloc")->Threads(2)->UseRealTime();
BENCHMARK(random_frees<kr_pool>)->Name("random_frees_kr")->Apply(sizes);
BENCHMARK(random_frees<boost_pool<std::mutex>>)->Name("random_frees_boost")->Apply(sizes);
BENCHMARK(random_frees<pmr_pool>)->Name("random_frees_pmr")->Apply(sizes);
BENCHMARK(random_frees<heap>)->Name("random_frees_malloc")->Apply(sizes);

} // namespace
