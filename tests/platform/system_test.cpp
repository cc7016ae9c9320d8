/// System messages, the runtime's numbers, clocks, threads: the same on both systems. What else the
/// library takes from the system is held against both through the library's own tests.
#include "support/system.h"

#include <atomic>
#include <thread>

namespace {

using namespace kr::test;

TEST(SystemMessage, IsOneLineThatEndsInABlank) {
    kr_char buffer[128];
    const auto message = [&](DWORD width, DWORD error, DWORD room) {
        return FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | width, nullptr, error, 0x0400, buffer, room,
                              nullptr);
    };
    constexpr DWORD one_line = FORMAT_MESSAGE_MAX_WIDTH_MASK;
    EXPECT_GT(message(0, 5, 128), 6u);
    EXPECT_TRUE(wide(buffer).ends_with(KR_TEXT(".\r\n")));
    const DWORD length = message(one_line, 5, 128);
    EXPECT_EQ(wide(buffer).size(), length);
    EXPECT_TRUE(wide(buffer).ends_with(KR_TEXT(". ")));
    EXPECT_EQ(message(one_line, 5, length + 1), length);
    EXPECT_EQ(message(one_line, 5, length), 0u);
    EXPECT_EQ(GetLastError(), 122u);
    EXPECT_EQ(message(one_line, 0xFFFE, 128), 0u);
    EXPECT_EQ(GetLastError(), 317u);
}

TEST(WideNumbers, LongIs32BitsWideAndStopsAtItsLimits) {
    const struct {
        int line;
        const kr_char* text;
        int base;
        LONG value;
        std::ptrdiff_t used;
        int error = 0;
    } rows[] = {
        {__LINE__, KR_TEXT("0X1Fg"), 0, 31, 4},
        {__LINE__, KR_TEXT("08"), 0, 0, 1},
        {__LINE__, KR_TEXT("0b1"), 0, 0, 1},
        {__LINE__, KR_TEXT("\u00A0-\u0664\u0660\uFF15.1"), 10, -405, 5},
        {__LINE__, KR_TEXT("\u0660x1\u1819"), 16, 0x19, 4},
        {__LINE__, KR_TEXT("1\u066A"), 10, 1, 1},
        {__LINE__, KR_TEXT(" \t\n-12x"), 0, -12, 6},
        {__LINE__, KR_TEXT("  -"), 10, 0, 0},
        {__LINE__, KR_TEXT("zZ"), 36, 35 * 36 + 35, 2},
        {__LINE__, KR_TEXT("2147483648"), 10, 2147483647, 10, ERANGE},
        {__LINE__, KR_TEXT("-2147483648"), 10, -2147483647 - 1, 11},
        {__LINE__, KR_TEXT("-99999999999999999999999"), 10, -2147483647 - 1, 24, ERANGE},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(r.line);
        kr_char* end = nullptr;
        errno = 0;
        EXPECT_EQ(wcstol(r.text, &end, r.base), r.value);
        EXPECT_EQ(errno, r.error);
        EXPECT_EQ(end - r.text, r.used);
    }
}

TEST(WideNumbers, ReadTheDecimalDigitsOfEighteenScripts) {
    u32 digits = 0;
    LONG sum = 0;
    for (u32 unit = 1; unit < 0x10000; ++unit) {
        const kr_char text[] = {'1', static_cast<kr_char>(unit), 0};
        kr_char* end = nullptr;
        const LONG value = wcstol(text, &end, 10) - 10;
        if (end == text + 2) { ++digits, sum += value; }
    }
    EXPECT_EQ(digits, 180u);
    EXPECT_EQ(sum, 18 * 45);
}

TEST(Clock, GoesOnWithTheCounterAndHasWholeMinutesOfOffset) {
    const auto ticks_of = [](const FILETIME& time) {
        return static_cast<i64>(u64{time.dwHighDateTime} << 32 | time.dwLowDateTime);
    };
    FILETIME times[2], utc{};
    LARGE_INTEGER frequency{}, counters[2];
    ASSERT_TRUE(QueryPerformanceFrequency(&frequency));
    for (const u32 i : {0u, 1u}) {
        ASSERT_TRUE(QueryPerformanceCounter(&counters[i]));
        GetSystemTimeAsFileTime(&times[i]);
        Sleep(20);
    }
    EXPECT_GE(ticks_of(times[1]), ticks_of(times[0]) + 150'000);
    EXPECT_GE((counters[1].QuadPart - counters[0].QuadPart) * 1000, frequency.QuadPart * 15);
    ASSERT_TRUE(LocalFileTimeToFileTime(&times[0], &utc));
    const i64 offset = ticks_of(times[0]) - ticks_of(utc);
    EXPECT_EQ(offset % 600'000'000, 0);
    EXPECT_LE(std::abs(offset), 14 * 36'000'000'000);
}

struct thread_notes {
    std::atomic<u32> id{0};
    std::atomic<bool> go{false};
    int priority = 0;
};

unsigned WINAPI note_thread(void* argument) {
    auto* const notes = static_cast<thread_notes*>(argument);
    notes->id = GetCurrentThreadId();
    while (!notes->go) { std::this_thread::yield(); }
    SetThreadPriority(GetCurrentThread(), THREAD_PRIORITY_LOWEST);
    notes->priority = GetThreadPriority(GetCurrentThread());
    return 0;
}

TEST(Thread, RunsIsAwaitedAndIsClosedOnce) {
    thread_notes notes;
    unsigned id = 0;
    auto* const thread = reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, note_thread, &notes, 0, &id));
    ASSERT_NE(thread, nullptr);
    EXPECT_TRUE(SetThreadPriority(thread, THREAD_PRIORITY_TIME_CRITICAL));
    EXPECT_EQ(GetThreadPriority(thread), THREAD_PRIORITY_TIME_CRITICAL);
    EXPECT_EQ(error_of(SetThreadPriority(thread, 7)), 87u);
    EXPECT_EQ(WaitForSingleObject(thread, 0), DWORD{WAIT_TIMEOUT});
    notes.go = true;
    EXPECT_EQ(WaitForSingleObject(thread, INFINITE), DWORD{WAIT_OBJECT_0});
    EXPECT_EQ(WaitForSingleObject(thread, 0), DWORD{WAIT_OBJECT_0});
    EXPECT_EQ(notes.id, id);
    EXPECT_NE(id, GetCurrentThreadId());
    EXPECT_EQ(notes.priority, THREAD_PRIORITY_LOWEST);
    EXPECT_TRUE(CloseHandle(thread));
    EXPECT_EQ(WaitForSingleObject(thread, 0), DWORD{WAIT_FAILED});
    EXPECT_EQ(error_of(CloseHandle(thread)), 6u);
}

} // namespace
