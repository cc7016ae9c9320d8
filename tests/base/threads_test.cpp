/// Locks, and worker threads from their start to the module's end.
#include "base/threads.h"

#include <atomic>
#include <iterator>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "base/sync.h"
#include "platform/platform.h"

namespace {

TEST(Mutex, KeepsThreadsOutAndLetsItsHolderBackIn) {
    kr_mutex mutex;
    ASSERT_EQ(kr_mutex_init(&mutex), KR_SUCCESS);
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
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back(work);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(count, 4 * rounds * 2);
    EXPECT_EQ(kr_mutex_destroy(&mutex), KR_SUCCESS);
}

/// Starts the module by itself; each test stops it.
class Threads : public testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(kr_thread_module()->init(), KR_SUCCESS); }
    static void stop() { EXPECT_EQ(kr_thread_module()->fini(), KR_SUCCESS); }
};

std::atomic<u32> ran;

void count_run(void* arg) {
    EXPECT_EQ(kr_thread_context_query(), 1u);
    ran += *static_cast<const u32*>(arg);
}

TEST_F(Threads, RunAtTheSystemsPriorityForTheirs) {
    struct row {
        int line;
        u32 priority;
        int system;
    };
    constexpr row rows[] = {
        {__LINE__, KR_THREAD_PRIORITY_IDLE, THREAD_PRIORITY_IDLE},
        {__LINE__, KR_THREAD_PRIORITY_LOW, THREAD_PRIORITY_LOWEST},
        {__LINE__, KR_THREAD_PRIORITY_NORMAL, THREAD_PRIORITY_NORMAL},
        {__LINE__, KR_THREAD_PRIORITY_HIGH, THREAD_PRIORITY_TIME_CRITICAL},
        {__LINE__, 4, THREAD_PRIORITY_NORMAL},
        {__LINE__, 0xFFFFFFFF, THREAD_PRIORITY_NORMAL},
    };
    struct note {
        std::atomic<bool> created;
        int priority;
    };
    note notes[std::size(rows)] = {};
    for (std::size_t i = 0; i < std::size(rows); ++i) {
        // The priority stands once the creation has returned.
        const auto ask = [](void* arg) {
            auto& own = *static_cast<note*>(arg);
            own.created.wait(false);
            own.priority = GetThreadPriority(GetCurrentThread());
        };
        notes[i].priority = THREAD_PRIORITY_ERROR_RETURN;
        ASSERT_EQ(kr_thread_create(ask, rows[i].priority, &notes[i]), KR_SUCCESS);
        notes[i].created = true;
        notes[i].created.notify_one();
    }
    EXPECT_EQ(kr_thread_create_normal(nullptr, nullptr),
              kr_result_make_error(KR_INVALID_ARGUMENT_TO_FUNCTION));
    stop();
    for (std::size_t i = 0; i < std::size(rows); ++i) {
        EXPECT_EQ(notes[i].priority, rows[i].system) << rows[i].line;
    }
}

TEST_F(Threads, AreStartedByManyAtOnceAndAllEndBeforeTheModule) {
    ran = 0;
    static u32 one = 1;
    constexpr u32 starters = 4;
    constexpr u32 each = 50;
    std::vector<std::thread> threads;
    for (u32 i = 0; i < starters; ++i) {
        threads.emplace_back([] {
            for (u32 n = 0; n < each; ++n) {
                EXPECT_EQ(kr_thread_create_normal(count_run, &one), KR_SUCCESS);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    stop();
    EXPECT_EQ(ran, starters * each);
}

TEST_F(Threads, AreRefusedFromTheMomentTheModuleStops) {
    static std::atomic<bool> release;
    static std::atomic<kr_result> late;
    release = false;
    late = KR_SUCCESS;
    // A thread that is still running while the module waits for it tries to start another.
    ASSERT_EQ(kr_thread_create_normal(
                  [](void*) {
                      while (!release) {
                          std::this_thread::yield();
                      }
                      kr_result result = KR_SUCCESS;
                      while (kr_result_succeeded(result)) {
                          result = kr_thread_create_normal([](void*) {}, nullptr);
                      }
                      late = result;
                  },
                  nullptr),
              KR_SUCCESS);
    release = true;
    stop();
    EXPECT_EQ(late, kr_result_make_error(KR_GENERIC));
    EXPECT_EQ(kr_thread_create_normal([](void*) {}, nullptr), kr_result_make_error(KR_GENERIC));
}

} // namespace
