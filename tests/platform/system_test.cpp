/// System messages, the runtime's numbers, clocks, threads: the same on both systems. What else the
/// library takes from the system is held against both through the library's own tests.
#include "support/system.h"

#include <atomic>
#include <thread>

namespace {

using namespace kr::test;

TEST(SystemMessage, IsOneLineThatEndsInABlank) {
    kr_char text[128] = {};
    FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_MAX_WIDTH_MASK, nullptr, 5, 0x0400, text, 128,
                   nullptr);
    EXPECT_TRUE(utf8(text).ends_with(". "));
}

/// The value, the length of what was read, and the error.
std::tuple<LONG, std::ptrdiff_t, int> parsed(const wide& text, int base) {
    kr_char* end = nullptr;
    errno = 0;
    const LONG value = wcstol(text.c_str(), &end, base);
    return {value, end - text.c_str(), errno};
}

// What the narrow conversions do as well is seen through the models of numbers.
TEST(WideNumbers, LongIs32BitsWideAndKnowsEighteenScripts) {
    EXPECT_EQ(parsed(KR_TEXT("0b1"), 0), std::tuple(0, 1, 0));
    EXPECT_EQ(parsed(KR_TEXT("\u00A0-\u0664\u0660\uFF15.1"), 10), std::tuple(-405, 5, 0));
    EXPECT_EQ(parsed(KR_TEXT("\u0660x1\u1819"), 16), std::tuple(0x19, 4, 0));
    EXPECT_EQ(parsed(KR_TEXT("2147483648"), 10), std::tuple(2147483647, 10, ERANGE));
    EXPECT_EQ(parsed(KR_TEXT("-2147483648"), 10), std::tuple(-2147483647 - 1, 11, 0));
    EXPECT_EQ(parsed(KR_TEXT("-99999999999999999999999"), 10), std::tuple(-2147483647 - 1, 24, ERANGE));
    LONG digits = 0, sum = 0;
    for (u32 unit = 1; unit < 0x10000; ++unit) {
        const auto [value, used, error] = parsed({'1', static_cast<kr_char>(unit)}, 10);
        if (used == 2) { ++digits, sum += value - 10; }
    }
    EXPECT_EQ(digits, 180);
    EXPECT_EQ(sum, 18 * 45);
}

TEST(Clock, GoesOnWithTheCounter) {
    LARGE_INTEGER frequency{}, before{}, after{};
    EXPECT_TRUE(QueryPerformanceFrequency(&frequency) && QueryPerformanceCounter(&before));
    Sleep(20);
    EXPECT_TRUE(QueryPerformanceCounter(&after));
    EXPECT_GE((after.QuadPart - before.QuadPart) * 1000, frequency.QuadPart * 15);
}

TEST(Thread, IsAwaitedToItsLastDestructorAndClosedOnce) {
    static std::atomic<bool> go = false, gone = false;
    static DWORD own_id = 0;
    // Says late that the thread is over: with the thread's own objects.
    struct late_note {
        ~late_note() { Sleep(20), gone = true; }
    };
    const auto run = [](void*) -> unsigned {
        [[maybe_unused]] thread_local late_note late;
        own_id = GetCurrentThreadId();
        while (!go) { std::this_thread::yield(); }
        return 0;
    };
    unsigned id = 0;
    auto* const thread = reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, run, nullptr, 0, &id));
    EXPECT_EQ(error_of(SetThreadPriority(thread, 7)), 87u);
    EXPECT_EQ(WaitForSingleObject(thread, 0), DWORD{WAIT_TIMEOUT});
    go = true;
    for (const DWORD timeout : {INFINITE, 0u}) { EXPECT_EQ(WaitForSingleObject(thread, timeout), 0u); }
    EXPECT_TRUE(gone);
    EXPECT_EQ(own_id, id);
    EXPECT_NE(id, GetCurrentThreadId());
    EXPECT_TRUE(CloseHandle(thread));
    EXPECT_EQ(WaitForSingleObject(thread, 0), DWORD{WAIT_FAILED});
    EXPECT_EQ(error_of(CloseHandle(thread)), 6u);
}

} // namespace
