/// System messages, encodings, clocks, threads, names: the same on both systems.
#include "platform/platform.h"

#include <atomic>
#include <string>
#include <thread>

#include <gtest/gtest.h>

namespace {

constexpr DWORD one_line = FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_MAX_WIDTH_MASK;
constexpr DWORD default_language = 0x0400;

TEST(SystemMessage, IsOneLineThatEndsInABlank) {
    kr_char buffer[128];
    const auto message = [&](DWORD flags, DWORD error, DWORD room) {
        return FormatMessageW(flags, nullptr, error, default_language, buffer, room, nullptr);
    };
    const DWORD length = message(one_line, 5, 128);
    ASSERT_GT(length, 5u);
    const std::basic_string<kr_char> text = buffer;
    EXPECT_EQ(text.size(), length);
    EXPECT_TRUE(text.ends_with(KR_TEXT(". ")));
    EXPECT_EQ(text.find(KR_TEXT('\n')), text.npos);
    EXPECT_EQ(message(FORMAT_MESSAGE_FROM_SYSTEM, 5, 128), length + 1);
    EXPECT_TRUE(std::basic_string<kr_char>(buffer).ends_with(KR_TEXT(".\r\n")));

    EXPECT_EQ(message(one_line, 5, length + 1), length);
    EXPECT_EQ(message(one_line, 5, length), 0u);
    EXPECT_EQ(GetLastError(), 122u);
    EXPECT_EQ(message(one_line, 0xFFFE, 128), 0u);
    EXPECT_EQ(GetLastError(), 317u);
}

TEST(Encoding, ReadsUtf8) {
    const struct {
        const char* narrow;
        std::basic_string<kr_char> wide;
    } rows[] = {
        {"abc", KR_TEXT("abc")},
        {"\xC3\xA4\xE2\x82\xAC", KR_TEXT("\u00E4\u20AC")},
        {"\xF0\x9F\x98\x80", KR_TEXT("\U0001F600")},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(r.narrow);
        kr_char wide[32];
        const int needed = static_cast<int>(r.wide.size()) + 1;
        EXPECT_EQ(MultiByteToWideChar(CP_UTF8, 0, r.narrow, -1, nullptr, 0), needed);
        EXPECT_EQ(MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, r.narrow, -1, wide, needed),
                  needed);
        EXPECT_EQ(wide, r.wide);
        EXPECT_EQ(MultiByteToWideChar(CP_UTF8, 0, r.narrow, -1, wide, needed - 1), 0);
        EXPECT_EQ(GetLastError(), 122u);
    }
    EXPECT_EQ(MultiByteToWideChar(CP_UTF8, 0, "a", 0, nullptr, 0), 0);
    EXPECT_EQ(GetLastError(), 87u);
}

TEST(Encoding, ReplacesOrRefusesWhatIsBroken) {
    kr_char wide[16];
    for (const char* bad :
         {"\xC0\x80", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\x80", "\xE2\x82", "\xFF"}) {
        EXPECT_EQ(MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, bad, -1, wide, 16), 0) << bad;
        EXPECT_EQ(GetLastError(), 1113u);
        EXPECT_GT(MultiByteToWideChar(CP_UTF8, 0, bad, -1, wide, 16), 1);
        EXPECT_EQ(wide[0], kr_char{0xFFFD});
    }
}

u64 ticks_of(const FILETIME& time) {
    return static_cast<u64>(time.dwHighDateTime) << 32 | time.dwLowDateTime;
}

TEST(Clock, CountsFrom1601AndGoesOn) {
    FILETIME first{};
    FILETIME second{};
    LARGE_INTEGER frequency{};
    LARGE_INTEGER before{};
    LARGE_INTEGER after{};
    ASSERT_TRUE(QueryPerformanceFrequency(&frequency));
    ASSERT_TRUE(QueryPerformanceCounter(&before));
    GetSystemTimeAsFileTime(&first);
    Sleep(20);
    GetSystemTimeAsFileTime(&second);
    ASSERT_TRUE(QueryPerformanceCounter(&after));
    constexpr u64 ticks_2020 = 132'223'104'000'000'000;
    EXPECT_GT(ticks_of(first), ticks_2020);
    EXPECT_GE(ticks_of(second), ticks_of(first) + 150'000);
    EXPECT_GE((after.QuadPart - before.QuadPart) * 1000, frequency.QuadPart * 15);

    // The offset of now, whole minutes, holds for any date.
    FILETIME utc{};
    ASSERT_TRUE(LocalFileTimeToFileTime(&first, &utc));
    const i64 offset = static_cast<i64>(ticks_of(first) - ticks_of(utc));
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
    while (!notes->go) {
        SwitchToThread();
    }
    SetThreadPriority(GetCurrentThread(), THREAD_PRIORITY_LOWEST);
    notes->priority = GetThreadPriority(GetCurrentThread());
    return 0;
}

TEST(Thread, RunsIsAwaitedAndIsClosedOnce) {
    thread_notes notes;
    unsigned id = 0;
    HANDLE thread =
        reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, note_thread, &notes, 0, &id));
    ASSERT_NE(thread, nullptr);
    EXPECT_TRUE(SetThreadPriority(thread, THREAD_PRIORITY_TIME_CRITICAL));
    EXPECT_EQ(GetThreadPriority(thread), THREAD_PRIORITY_TIME_CRITICAL);
    EXPECT_FALSE(SetThreadPriority(thread, 7));
    EXPECT_EQ(GetLastError(), 87u);
    EXPECT_EQ(WaitForSingleObject(thread, 0), DWORD{WAIT_TIMEOUT});
    notes.go = true;
    EXPECT_EQ(WaitForSingleObject(thread, INFINITE), DWORD{WAIT_OBJECT_0});
    EXPECT_EQ(WaitForSingleObject(thread, 0), DWORD{WAIT_OBJECT_0});
    EXPECT_EQ(notes.id, id);
    EXPECT_NE(id, GetCurrentThreadId());
    EXPECT_EQ(notes.priority, THREAD_PRIORITY_LOWEST);
    EXPECT_TRUE(CloseHandle(thread));
    EXPECT_EQ(WaitForSingleObject(thread, 0), DWORD{WAIT_FAILED});
    EXPECT_EQ(GetLastError(), 6u);
    EXPECT_FALSE(CloseHandle(thread));
}

TEST(Lock, IsRecursiveAndKeepsOthersOut) {
    CRITICAL_SECTION section;
    InitializeCriticalSection(&section);
    EnterCriticalSection(&section);
    EXPECT_TRUE(TryEnterCriticalSection(&section));
    LeaveCriticalSection(&section);
    bool entered = true;
    const auto run_other = [&] {
        std::thread([&] {
            entered = TryEnterCriticalSection(&section) != FALSE;
            if (entered) {
                LeaveCriticalSection(&section);
            }
        }).join();
    };
    run_other();
    EXPECT_FALSE(entered);
    LeaveCriticalSection(&section);
    run_other();
    EXPECT_TRUE(entered);
    DeleteCriticalSection(&section);
}

TEST(NameResolution, NeedsItsStartAndKnowsTheLocalHost) {
    WSADATA data{};
    ASSERT_EQ(WSAStartup(MAKEWORD(2, 2), &data), 0);
    const hostent* const host = gethostbyname("localhost");
    ASSERT_NE(host, nullptr);
    EXPECT_EQ(host->h_addrtype, AF_INET);
    EXPECT_EQ(host->h_length, 4);
    u32 address = 0;
    std::memcpy(&address, host->h_addr_list[0], sizeof address);
    EXPECT_EQ(ntohl(address), 0x7F000001u);
    const hostent* const named =
        gethostbyaddr(reinterpret_cast<const char*>(&address), sizeof address, AF_INET);
    ASSERT_NE(named, nullptr);
    EXPECT_GT(std::strlen(named->h_name), 0u);
    EXPECT_EQ(WSACleanup(), 0);
    EXPECT_EQ(gethostbyname("localhost"), nullptr);
    EXPECT_EQ(WSAGetLastError(), 10093);
}

} // namespace
