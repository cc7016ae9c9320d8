/// What the system refuses, or does beyond its contract: clocks, names of hosts, threads, a heap that is
/// used up. Host only: the faults are injected, the calls recorded.
#include <atomic>
#include <cstdlib>
#include <sys/resource.h>

#include "base/convert/net_address.h"
#include "base/threads/threads.h"
#include "base/time/time.h"
#include "log/startup/module.h"
#include "platform/vectors.h"
#include "support/captured_log.h"
#include "support/guarded_buffer.h"
#include "support/host/world.h"
#include "support/system.h"

namespace {

using namespace kr::test;
using kr::host::armed_fault;

TEST(Uptime, PicksTheFinestUnitThatHoldsIt) {
    const fresh_world world;
    // clang-format off
    constexpr std::tuple<u64, i32, u64> rows[] = {
        {0, -3, 0}, {18'446'744'073, -3, 1'844'674'407'300},
        {18'446'744'074, -2, 1'844'674'407}, {18'446'744'073'709, -2, 1'844'674'407'370},
        {18'446'744'073'710, -1, 1'844'674'407}, {18'446'744'073'709'551, -1, 1'844'674'407'370},
        {18'446'744'073'709'552, 0, 1'844'674'407}};
    // clang-format on
    for (const auto& [ticks, unit, count] : rows) {
        kr::host::stop_clock(0, ticks);
        kr_time t{};
        EXPECT_EQ(kr_time_get_uptime(&t), ok);
        EXPECT_EQ(std::tuple(t.unit, t.count, t.relative), std::tuple(unit, count, 1u)) << ticks;
    }
}

TEST(Clocks, FailuresAreLoggedAndWrapped) {
    const fresh_world world;
    captured_log log;
    for (const char* call : {"QueryPerformanceFrequency", "QueryPerformanceCounter"}) {
        const armed_fault fault({.call = call, .error = 50});
        kr_time t{.unit = 9, .count = 9, .relative = 9};
        EXPECT_EQ(kr_time_get_uptime(&t), kr_result_make_win32(50));
        EXPECT_EQ(t.count, 9u);
        const std::string line = "E 01 kr_time_get_uptime: kr_time_get_uptime: ";
        EXPECT_THAT(log.take(), ElementsAre(line + call + " failed! ErrorCode = 50"));
    }
    kr_time t{};
    kr::host::stop_clock(u64{184'467'440'737'095'516}, 0);
    EXPECT_EQ(kr_time_get_current(&t), ok);
    kr::host::stop_clock(u64{184'467'440'737'095'517}, 0);
    EXPECT_EQ(kr_time_get_current(&t), overflow);
    EXPECT_EQ(kr_time_since(&t, &t), overflow);
    EXPECT_EQ(log.take().size(), 1u);
}

TEST(Clocks, OffsetIsTakenWhenTheModuleStarts) {
    const fresh_world world;
    for (const i32 offset : {3'600, -34'200, 0}) {
        kr::host::fix_local_offset(offset);
        EXPECT_EQ(kr_time_module()->init(), ok);
        EXPECT_EQ(kr_time_local_offset, offset);
    }
}

/// That a name does not resolve every system can say.
TEST(HostNames, AreHeldToTheirRoomAndSilentWhereThereIsNone) {
    const fresh_world world;
    WSADATA data;
    ASSERT_EQ(WSAStartup(MAKEWORD(2, 2), &data), 0);
    const std::string longest(255, 'n');
    kr::host::add_host_name(longest, {1});
    kr::host::add_host_name(longest + 'n', {2});
    guarded_buffer<char> name(KR_STRING_HOST_CHARS);
    {
        captured_log log;
        const armed_fault no_name({.call = "gethostbyaddr", .error = 11001});
        EXPECT_EQ(kr_string_ipv4_to_hoststr(1, name.data()), 0x8200001B);
        EXPECT_THAT(log.take(), IsEmpty());
    }
    EXPECT_EQ(kr_string_ipv4_to_hoststr(2, name.data()), too_small);
    EXPECT_TRUE(name.untouched());
    EXPECT_EQ(kr_string_ipv4_to_hoststr(1, name.data()), 0x0200001B);
    EXPECT_EQ(name.data(), longest);
    WSACleanup();
}

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
    for (std::size_t size = 4096; size != 0; size -= 8) {
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
