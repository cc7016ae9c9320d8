/// Memory pools: which element comes next, wrong frees, bounds, failing allocators, threads.
#include "base/memory/mempool.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <random>
#include <set>
#include <thread>

#include "models/mempool_model.h"
#include "owners.h"
#include "support/failing_allocator.h"

namespace {

using namespace kr::test;

constexpr kr_time minute = {KR_TIME_UNIT_SECONDS, 60, 1};

/// A pool; a failing creation leaves `result` and no pool.
struct test_pool : kr::test::pinned {
    test_pool(u64 element_size, u32 grow, u32 max, u32 flags = 0, u64 reserved = 0)
        : result(kr_mempool_create(KR_TEXT("p"), element_size, flags, grow, max, &minute, reserved,
                                   pool.out())) {}

    void* alloc() {
        void* element = nullptr;
        result = kr_mempool_alloc(pool.get(), &element);
        return element;
    }
    void free(void* element) const { kr_mempool_free(pool.get(), element); }

    kr::owned_pool pool;
    kr_result result;
};

TEST(Mempool, LeavesNothingAndEndsInTheOrderOfItsMakingBackwards) {
    const failing_allocator allocator;
    EXPECT_EQ(test_pool(0, 0, 0, 0, 1).result, invalid);
    EXPECT_EQ(test_pool(8, 0, 0, 0x80000000, 1).result, invalid);
    EXPECT_EQ(test_pool(8, 0, 0, 0, 1).result, not_implemented);
    EXPECT_EQ(allocator.allocations(), 0u);
    EXPECT_EQ(test_pool(24, 2, 0).result, ok);
    // Elements, room for their addresses, name, record.
    std::vector<u32> released = allocator.released();
    ASSERT_EQ(released.size(), 5u);
    std::sort(released.begin(), released.begin() + 2);
    EXPECT_THAT(released, ElementsAre(4, 5, 3, 2, 1));
}

TEST(Mempool, HandsOutTheElementsThatALinearPoolWould) {
    constexpr std::array<u32, 4> rows[] = {{0, 1, 0, 3000},   {2, 10, 0, 20000}, {3, 64, 0, 3000},
                                           {1, 255, 0, 9000}, {2, 0, 0, 500},    {2, 10, 12, 500},
                                           {2, 3, 9, 500},    {2, 1, 2, 500},    {2, 5, 2, 500}};
    std::mt19937 random(1); // NOLINT(*-msc51-cpp): the same steps in every run
    for (const auto& [size, grow, max, steps] : rows) {
        std::vector<u8> input = {static_cast<u8>(size), static_cast<u8>(grow), static_cast<u8>(max)};
        std::generate_n(std::back_inserter(input), steps, [&] { return static_cast<u8>(random()); });
        check_mempool(input);
        ASSERT_EQ(failed_line, 0) << "line of the model; " << size << ' ' << grow << ' ' << max;
    }
}

/// One failure at each allocation of a creation and two growths: a call after it tries again.
TEST(Mempool, SurvivesEveryFailingAllocation) {
    u32 failed = 1;
    for (u32 nth = 1; failed != 0; ++nth) {
        SCOPED_TRACE(nth);
        const failing_allocator allocator(nth);
        test_pool pool(8, 5, 0);
        u32 refusals = pool.pool ? 0 : 1;
        std::set<void*> seen;
        while (pool.pool && seen.size() < 12 && refusals < 2) {
            void* const element = pool.alloc();
            EXPECT_EQ(pool.result, element == nullptr ? out_of_memory : ok);
            refusals += element == nullptr ? 1 : 0;
            ASSERT_TRUE(element == nullptr || seen.insert(element).second);
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
    static std::vector<void*> held, got;
    test_pool pool(8, 4, 0);
    growing = pool.pool.get();
    grower = std::this_thread::get_id();
    held = {pool.alloc(), pool.alloc(), pool.alloc(), pool.alloc()};
    got.assign(3, nullptr);
    kr_memory_set_hooks(
        [](void** out, size_t size) {
            EXPECT_EQ(std::this_thread::get_id(), grower);
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
    // What came back last goes out first, then the elements of the growth.
    EXPECT_THAT(got, ElementsAre(held[2], held[3], testing::Not(testing::AnyOfArray(held))));
    EXPECT_NE(fresh, got[2]);
    EXPECT_EQ(std::count(held.begin(), held.end(), fresh), 0);
    pool.free(held[2]);
    EXPECT_EQ(pool.alloc(), held[2]);
}

/// Every thread writes its mark into what it holds; a second owner would overwrite it.
TEST(MempoolThreads, NeverHandOutAnElementTwice) {
    constexpr u32 thread_count = 4;
    // At a bound below the sum of what the threads want, each holds one at most: with more, all
    // could wait for each other.
    for (const auto& r : {std::array{1u, 0u, 3u}, {100, 0, 3}, {5, 12, 3}, {1, 2, 1}}) {
        const u32 grow = r[0], max = r[1], held = r[2];
        SCOPED_TRACE(grow);
        const failing_allocator allocator;
        test_pool pool(sizeof(u64), grow, max);
        const size_t others = allocator.live() - grow;
        std::atomic<u32> wrong = 0;
        const auto work = [&](u64 mark) {
            for (int round = 0; round < 2000; ++round) {
                std::vector<void*> mine(held);
                for (void*& element : mine) {
                    wrong += kr_result_failed(kr_mempool_alloc(pool.pool.get(), &element)) ? 1 : 0;
                    *static_cast<u64*>(element) = mark;
                }
                for (void* element : mine) {
                    wrong += *static_cast<u64*>(element) != mark ? 1 : 0;
                    pool.free(element);
                }
            }
        };
        std::vector<std::jthread> threads;
        for (u64 mark = 1; mark <= thread_count; ++mark) { threads.emplace_back(work, mark); }
        threads.clear();
        EXPECT_EQ(wrong, 0u);
        EXPECT_LE(allocator.live() - others, max != 0 ? max : std::max(grow, thread_count * held));
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
