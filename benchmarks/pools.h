/// The pools of the benchmarks: ours, boost's, and the work that both do.
#pragma once

#include <mutex>

#include <benchmark/benchmark.h>
#include <boost/pool/pool.hpp>

#include "base/memory/mempool.h"
#include "base/product.h"
#include "owners.h"

constinit const kr_product_record kr_product = {"bench", KR_TEXT("tools"), KR_TEXT("Korinth")};

constexpr size_t element_bytes = 64;

class kr_pool {
public:
    explicit kr_pool(u32 stock) {
        const kr_time time_out = {KR_TIME_UNIT_SECONDS, 60, 1};
        if (kr_result_failed(kr_mempool_create(KR_TEXT("bench"), element_bytes, 0, stock, 0,
                                               &time_out, 0, pool_.out()))) {
            std::abort();
        }
    }

    void* take() {
        void* element = nullptr;
        if (kr_result_failed(kr_mempool_alloc(pool_.get(), &element))) {
            std::abort();
        }
        return element;
    }
    void give(void* element) { kr_mempool_free(pool_.get(), element); }

private:
    kr::owned_pool pool_;
};

/// For the row without locks.
struct no_mutex {
    void lock() {}
    void unlock() {}
};

template <typename Mutex>
class boost_pool {
public:
    explicit boost_pool(u32 stock) : pool_(element_bytes, stock) {}
    void* take() {
        const std::lock_guard guard(mutex_);
        return pool_.malloc();
    }
    void give(void* element) {
        const std::lock_guard guard(mutex_);
        pool_.free(element);
    }

private:
    Mutex mutex_;
    boost::pool<> pool_;
};

template <typename Pool>
void pair(benchmark::State& state) {
    static Pool pool(1000);
    for (auto _ : state) {
        void* element = pool.take();
        benchmark::DoNotOptimize(element);
        pool.give(element);
    }
}
