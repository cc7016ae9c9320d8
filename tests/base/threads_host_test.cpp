/// Threads that the system refuses or does not wait for, and a heap that is used up.
#include <atomic>
#include <cstdlib>
#include <sys/resource.h>

#include "base/threads/threads.h"
#include "log/startup/module.h"
#include "platform/vectors.h"
#include "support/host/world.h"

namespace {

using namespace kr::test;

std::atomic<int> ran;
void run(void*) { ++ran; }
void run_when_released(void* flag) {
    while (!*static_cast<std::atomic<bool>*>(flag)) { Sleep(1); }
    ++ran;
}

TEST(ThreadFaults, AFailedWaitLosesNoThreadAndWaitsForNoneTwice) {
    static std::atomic<bool> first, second;
    for (const bool start_anew : {false, true}) {
        ran = 0;
        first = second = false;
        EXPECT_EQ(kr_thread_create_normal(run, nullptr), generic) << "the module has not started";
        ASSERT_EQ(kr_thread_module()->init(), ok);
        {
            const armed_fault priority({.call = "SetThreadPriority", .error = 5, .sticky = true});
            EXPECT_EQ(kr_thread_create(run_when_released, KR_THREAD_PRIORITY_HIGH, &first), ok);
            EXPECT_EQ(kr_thread_create(run_when_released, KR_THREAD_PRIORITY_LOW, &second), ok);
            EXPECT_EQ(priority.hits(), 2u) << "a priority that the system refuses is no failure";
        }
        {
            const armed_fault wait({.call = "WaitForSingleObject", .error = 6, .nth = 2});
            const armed_fault end({.call = "WaitForSingleObject", .meanwhile = [] { first = true; }});
            EXPECT_EQ(kr_thread_module()->fini(), 0x84000006u);
            EXPECT_EQ(wait.hits(), 1u);
            EXPECT_EQ(ran, 1);
            EXPECT_EQ(kr_thread_create_normal(run, nullptr), generic);
        }
        if (start_anew) {
            ASSERT_EQ(kr_thread_module()->init(), ok);
            EXPECT_EQ(kr_thread_create_normal(run, nullptr), ok);
        }
        const armed_fault end({.call = "WaitForSingleObject", .meanwhile = [] { second = true; }});
        EXPECT_EQ(kr_thread_module()->fini(), ok);
        EXPECT_EQ(ran, start_anew ? 3 : 2);
    }
}

TEST(ThreadFaults, ARefusedThreadRunsNothingAndAFinishedOneIsNotWaitedFor) {
    ran = 0;
    ASSERT_EQ(kr_thread_module()->init(), ok);
    const kr::host::call_recorder recorder;
    {
        const armed_fault refuse({.call = "_beginthreadex", .error = 1455});
        EXPECT_EQ(kr_thread_create_normal(run, nullptr), 0x84000000u | 1455);
    }
    ASSERT_EQ(kr_thread_create_normal(run, nullptr), ok);
    for (int patience = 10000; recorder.count("CloseHandle") == 0 && patience != 0; --patience) { Sleep(1); }
    EXPECT_EQ(kr_thread_module()->fini(), ok);
    EXPECT_EQ(recorder.count("CloseHandle"), 1u);
    EXPECT_EQ(recorder.count("WaitForSingleObject"), 0u);
    EXPECT_EQ(ran, 1);
}

/// For a process of its own, which ends with 0 when all was as it must be.
[[noreturn]] void create_without_memory_and_then_with() {
    rlimit usual = {};
    bool right = kr_thread_module()->init() == ok && getrlimit(RLIMIT_AS, &usual) == 0;
    const rlimit no_more = {.rlim_cur = 0, .rlim_max = usual.rlim_max};
    right = right && setrlimit(RLIMIT_AS, &no_more) == 0;
    // What the heap has in stock goes, down to its smallest blocks.
    for (size_t size = 4096; size != 0; size -= 8) {
        void* volatile block = nullptr;
        do { block = std::malloc(size); } while (block != nullptr);
    }
    right = right && kr_thread_create_normal(run, nullptr) == out_of_memory;
    right = right && setrlimit(RLIMIT_AS, &usual) == 0 && kr_thread_create_normal(run, nullptr) == ok;
    right = right && kr_thread_module()->fini() == ok;
    std::_Exit(right && ran == 1 ? 0 : 1);
}

TEST(ThreadFaults, AUsedUpHeapStartsNothingAndIsNoEnd) {
    if (KR_READS_ARE_WATCHED != 0) { GTEST_SKIP() << "a sanitizer's allocator ends the process instead"; }
    ran = 0;
    EXPECT_EXIT(create_without_memory_and_then_with(), testing::ExitedWithCode(0), "");
}

} // namespace
