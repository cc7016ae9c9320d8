/// Locks, and worker threads from their start to the module's end.
#include "base/threads/threads.h"

#include <atomic>
#include <thread>

#include "base/threads/sync.h"
#include "support/system.h"

namespace {

using namespace kr::test;

TEST(Mutex, KeepsThreadsOutAndLetsItsHolderBackIn) {
    kr_mutex mutex;
    ASSERT_EQ(kr_mutex_init(&mutex), ok);
    constexpr int rounds = 20000;
    int count = 0;
    const auto work = [&mutex, &count] {
        for (int i = 0; i < rounds; ++i) {
            kr_mutex_lock(&mutex);
            kr_mutex_lock(&mutex);
            ++count;
            kr_mutex_unlock(&mutex);
            ++count;
            kr_mutex_unlock(&mutex);
        }
    };
    { const std::jthread one(work), two(work), three(work), four(work); }
    EXPECT_EQ(count, 4 * rounds * 2);
    EXPECT_EQ(kr_mutex_destroy(&mutex), ok);
}

TEST(Threads, RunAtTheSystemsPriorityForTheirs) {
    // clang-format off
    constexpr std::pair<u32, int> rows[] = {
        {KR_THREAD_PRIORITY_IDLE, THREAD_PRIORITY_IDLE}, {KR_THREAD_PRIORITY_LOW, THREAD_PRIORITY_LOWEST},
        {KR_THREAD_PRIORITY_NORMAL, THREAD_PRIORITY_NORMAL}, {KR_THREAD_PRIORITY_HIGH, THREAD_PRIORITY_TIME_CRITICAL},
        {4, THREAD_PRIORITY_NORMAL}, {0xFFFFFFFF, THREAD_PRIORITY_NORMAL}};
    // clang-format on
    struct note {
        std::atomic<bool> created;
        int priority = THREAD_PRIORITY_ERROR_RETURN;
    } got[std::size(rows)];
    ASSERT_EQ(kr_thread_module()->init(), ok);
    for (u32 i = 0; i < std::size(rows); ++i) {
        // The priority stands once the creation has returned.
        const auto ask = [](void* arg) {
            auto& own = *static_cast<note*>(arg);
            while (!own.created) { std::this_thread::yield(); }
            own.priority = GetThreadPriority(GetCurrentThread());
        };
        ASSERT_EQ(kr_thread_create(ask, rows[i].first, &got[i]), ok);
        got[i].created = true;
    }
    EXPECT_EQ(kr_thread_module()->fini(), ok);
    for (u32 i = 0; i < std::size(rows); ++i) { EXPECT_EQ(got[i].priority, rows[i].second) << rows[i].first; }
}

/// Each of many starts others at once, one of them until it is refused while the module waits for it.
TEST(Threads, AllEndBeforeTheModuleWhichRefusesMore) {
    static std::atomic<u32> ran;
    static std::atomic<kr_result> late;
    ran = 0;
    static constexpr auto run = [](void*) { ran += kr_thread_context_query(); };
    constexpr u32 starters = 4, each = 50;
    ASSERT_EQ(kr_thread_module()->init(), ok);
    {
        std::vector<std::jthread> threads;
        for (u32 i = 0; i < starters; ++i) {
            threads.emplace_back([] {
                for (u32 n = 0; n < each; ++n) { EXPECT_EQ(kr_thread_create_normal(run, nullptr), ok); }
            });
        }
    }
    const auto start_others = [](void*) {
        while (kr_result_succeeded(late = kr_thread_create_normal([](void*) {}, nullptr))) {}
    };
    ASSERT_EQ(kr_thread_create_normal(start_others, nullptr), ok);
    EXPECT_EQ(kr_thread_module()->fini(), ok);
    EXPECT_EQ(ran, starters * each);
    EXPECT_EQ(late, generic);
    EXPECT_EQ(kr_thread_create_normal(run, nullptr), generic);
}

} // namespace
