/// Threads that the system refuses, and waits that fail. Host only: the faults are injected.
#include "base/threads.h"

#include <atomic>

#include <gtest/gtest.h>

#include "platform/platform.h"

#include "platform/host/fault.h"

namespace {

std::atomic<int> ran;

void run(void*) {
    ++ran;
}

TEST(ThreadFaults, ARefusedThreadRunsNothingAndLeavesItsRecordForTheNext) {
    ran = 0;
    ASSERT_EQ(kr_thread_module()->init(), KR_SUCCESS);
    {
        const kr::host::armed_fault refuse({.call = "_beginthreadex", .error = 1455});
        EXPECT_EQ(kr_thread_create_normal(run, nullptr), 0x84000000u | 1455);
    }
    EXPECT_EQ(kr_thread_create_normal(run, nullptr), KR_SUCCESS);
    EXPECT_EQ(kr_thread_module()->fini(), KR_SUCCESS);
    EXPECT_EQ(ran, 1);
}

TEST(ThreadFaults, AnIgnoredPriorityAndAFailedWaitAreNoEnd) {
    static std::atomic<bool> release;
    release = false;
    ran = 0;
    ASSERT_EQ(kr_thread_module()->init(), KR_SUCCESS);
    {
        const kr::host::armed_fault priority({.call = "SetThreadPriority", .error = 5});
        EXPECT_EQ(kr_thread_create(
                      [](void*) {
                          while (!release) {
                              Sleep(1);
                          }
                          ++ran;
                      },
                      KR_THREAD_PRIORITY_HIGH, nullptr),
                  KR_SUCCESS);
        EXPECT_EQ(priority.hits(), 1u);
    }
    {
        const kr::host::armed_fault wait({.call = "WaitForSingleObject", .error = 6});
        EXPECT_EQ(kr_thread_module()->fini(), 0x84000006u);
        EXPECT_EQ(wait.hits(), 1u);
    }
    // Nothing was freed, so that a second stop ends what the first could not.
    release = true;
    EXPECT_EQ(kr_thread_module()->fini(), KR_SUCCESS);
    EXPECT_EQ(ran, 1);
}

} // namespace
