/// Memory pools: which element comes next, wrong frees, bounds, failing allocators, threads.
#include "base/memory/mempool.h"

#include <algorithm>
#include <atomic>
#include <random>
#include <set>
#include <thread>

#include "support/failing_allocator.h"

namespace {

using namespace kr::test;

constexpr kr_time minute = {KR_TIME_UNIT_SECONDS, 60, 1};

/// Owns a pool; a failing creation leaves `result` and no pool.
struct test_pool : kr::test::pinned {
    test_pool(u64 element_size, u32 grow, u32 max, u32 flags = 0)
        : result(kr_mempool_create(KR_TEXT("p"), element_size, flags, grow, max, &minute, 0, &pool)) {}
    ~test_pool() { kr_mempool_destroy(pool); }

    void* alloc() {
        void* element = nullptr;
        result = kr_mempool_alloc(pool, &element);
        return element;
    }
    void free(void* element) const { kr_mempool_free(pool, element); }

    kr_mempool* pool = nullptr;
    kr_result result;
};

TEST(Mempool, RefusesArgumentsAndLeavesNothing) {
    const failing_allocator allocator;
    kr_mempool* pool = nullptr;
    const auto create = [&pool](u64 element_size, u32 flags, u64 reserved) {
        return kr_mempool_create(KR_TEXT("p"), element_size, flags, 0, 0, &minute, reserved, &pool);
    };
    EXPECT_EQ(create(0, 0, 1), invalid);
    EXPECT_EQ(create(8, 0x80000000, 1), invalid);
    EXPECT_EQ(create(8, 0, 1), not_implemented);
    EXPECT_EQ(pool, nullptr);
    EXPECT_EQ(allocator.allocations(), 0u);
}

TEST(Mempool, EndsInTheOrderOfItsMakingBackwards) {
    const failing_allocator allocator;
    { const test_pool pool(24, 2, 0); }
    // Elements, room for their addresses, name, record.
    std::vector<u32> released = allocator.released();
    ASSERT_EQ(released.size(), 5u);
    std::sort(released.begin(), released.begin() + 2);
    EXPECT_THAT(released, ElementsAre(4, 5, 3, 2, 1));
}

/// The stock as the allocator sees it: a growth keeps or replaces the room for pointers, so the
/// number of live blocks tells the number of elements.
TEST(Mempool, GrowsByItsCountUpToItsBound) {
    const struct {
        u32 grow, max;
        std::vector<std::size_t> stock;
    } rows[] = {{0, 0, {10, 20, 30}}, {10, 12, {10, 12}}, {3, 9, {3, 6, 9}}, {1, 2, {1, 2}}, {5, 2, {5}}};
    for (const auto& r : rows) {
        SCOPED_TRACE(r.grow);
        const failing_allocator allocator;
        test_pool pool(24, r.grow, r.max, KR_MEMPOOL_FAIL_WHEN_FULL);
        const std::size_t others = allocator.live() - r.stock.front();
        std::set<void*> seen;
        for (const std::size_t stock : r.stock) {
            while (seen.size() < stock) {
                ASSERT_TRUE(seen.insert(pool.alloc()).second);
                EXPECT_EQ(allocator.live() - others, stock);
            }
        }
        if (r.max != 0) {
            EXPECT_EQ(pool.alloc(), nullptr);
            EXPECT_EQ(pool.result, kr_result_make_error(KR_MEMORY_POOL_IS_FULL));
            pool.free(*seen.begin());
            EXPECT_EQ(pool.alloc(), *seen.begin());
        }
    }
}

/// Against the plain description: an array, an element found by a scan and swapped to the border.
TEST(Mempool, HandsOutTheElementThatALinearPoolWould) {
    constexpr std::tuple<u64, u32, u32> rows[] = {
        {1, 1, 3000}, {24, 10, 20000}, {9000, 64, 3000}, {16, 5000, 20000}};
    std::mt19937 random(1); // NOLINT(*-msc51-cpp): the same steps in every run
    for (const auto& [element_size, grow, steps] : rows) {
        SCOPED_TRACE(element_size);
        test_pool pool(element_size, grow, 0);
        std::vector<void*> elements;
        std::size_t used = 0;
        for (u32 i = 0; i < steps; ++i) {
            if (random() % 16 < (i / 512 % 2 != 0 ? 4u : 12u)) {
                void* element = pool.alloc();
                if (used < elements.size()) {
                    ASSERT_EQ(element, elements[used]) << i;
                } else {
                    ASSERT_EQ(std::count(elements.begin(), elements.end(), element), 0) << i;
                    elements.push_back(element);
                }
                ++used;
            } else if (used != 0) {
                const std::size_t at = random() % used;
                pool.free(elements[at]);
                std::swap(elements[at], elements[--used]);
            }
            // Wrong frees of every kind in between.
            pool.free(used < elements.size() ? elements[used + random() % (elements.size() - used)]
                                             : nullptr);
            pool.free(elements.empty() ? &pool : static_cast<void*>(static_cast<char*>(elements[0]) + 1));
            pool.free(reinterpret_cast<void*>(~std::uintptr_t{0} - random() % 64));
        }
    }
}

/// One failure at each allocation of a creation and two growths: a call after it tries again.
TEST(Mempool, SurvivesEveryFailingAllocation) {
    u32 failed = 1;
    for (u32 nth = 1; failed != 0; ++nth) {
        SCOPED_TRACE(nth);
        const failing_allocator allocator(nth);
        test_pool pool(8, 5, 0);
        u32 refusals = pool.pool == nullptr ? 1 : 0;
        std::set<void*> seen;
        while (pool.pool != nullptr && seen.size() < 12 && refusals < 2) {
            void* const element = pool.alloc();
            if (element != nullptr) { ASSERT_TRUE(seen.insert(element).second); }
            if (element == nullptr) { ++refusals; }
            EXPECT_EQ(pool.result, element == nullptr ? out_of_memory : ok);
        }
        failed = allocator.failures();
        EXPECT_EQ(refusals, failed);
    }
}

/// The lock is free while a pool grows: elements may come back then and go out again, and a second
/// thread that finds the pool empty waits for the growth that is under way.
TEST(Mempool, IsInUseWhileOneThreadGrowsIt) {
    static kr_mempool* growing;
    static std::thread::id grower;
    static std::jthread second;
    static std::atomic<u32> foreign;
    static std::vector<void*> held, got;
    test_pool pool(8, 4, 0);
    growing = pool.pool;
    grower = std::this_thread::get_id();
    held = {pool.alloc(), pool.alloc(), pool.alloc(), pool.alloc()};
    got.assign(3, nullptr);
    kr_memory_set_hooks(
        [](void** out, std::size_t size) {
            foreign += std::this_thread::get_id() != grower ? 1 : 0;
            if (!second.joinable()) {
                second = std::jthread([] {
                    kr_mempool_free(growing, held[3]);
                    kr_mempool_free(growing, held[2]);
                    for (void*& element : got) { EXPECT_EQ(kr_mempool_alloc(growing, &element), ok); }
                });
                std::this_thread::sleep_for(std::chrono::milliseconds(20));
            }
            *out = std::malloc(size);
            return ok;
        },
        std::free);
    const void* const fresh = pool.alloc();
    second.join();
    kr_memory_set_hooks(nullptr, nullptr);
    EXPECT_EQ(foreign, 0u);
    // What came back last goes out first, then the elements of the growth.
    EXPECT_THAT(got, ElementsAre(held[2], held[3], testing::Not(testing::AnyOfArray(held))));
    EXPECT_NE(fresh, got[2]);
    EXPECT_EQ(std::count(held.begin(), held.end(), fresh), 0);
    pool.free(held[2]);
    EXPECT_EQ(pool.alloc(), held[2]);
}

/// Every thread writes its mark into what it holds; a second owner would overwrite it.
TEST(MempoolThreads, NeverHandOutAnElementTwice) {
    struct row {
        u32 grow, max, held;
    };
    constexpr u32 thread_count = 4;
    // At a bound below the sum of what the threads want, each holds one at most: with more, all
    // could wait for each other.
    for (const row& r : {row{1, 0, 3}, {100, 0, 3}, {5, 12, 3}, {1, 2, 1}}) {
        SCOPED_TRACE(r.grow);
        const failing_allocator allocator;
        test_pool pool(sizeof(u64), r.grow, r.max);
        const std::size_t others = allocator.live() - r.grow;
        std::atomic<u32> wrong = 0;
        const auto work = [&](u64 mark) {
            for (int round = 0; round < 2000; ++round) {
                std::vector<void*> mine(r.held);
                for (void*& element : mine) {
                    wrong += kr_result_failed(kr_mempool_alloc(pool.pool, &element)) ? 1 : 0;
                    *static_cast<u64*>(element) = mark;
                }
                for (void* element : mine) {
                    wrong += *static_cast<u64*>(element) != mark ? 1 : 0;
                    pool.free(element);
                }
            }
        };
        {
            std::vector<std::jthread> threads;
            for (u64 mark = 1; mark <= thread_count; ++mark) { threads.emplace_back(work, mark); }
        }
        EXPECT_EQ(wrong, 0u);
        EXPECT_LE(allocator.live() - others, r.max != 0 ? r.max : std::max(r.grow, thread_count * r.held));
    }
}

TEST(MempoolThreads, WaitAtTheBoundUntilAnElementComesBack) {
    test_pool pool(8, 1, 1);
    void* const only = pool.alloc();
    std::atomic<void*> got = nullptr;
    std::jthread waiter([&] { got = pool.alloc(); });
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_EQ(got, nullptr);
    pool.free(&pool); // takes the lock, helps nobody
    pool.free(only);
    waiter.join();
    EXPECT_EQ(got, only);
}

} // namespace
