/// Injected faults, recorded calls, and the parts of the stand-in's world that only it has.
#include "platform/host/fault.h"
#include "platform/host/world.h"
#include "platform/platform.h"

#include <filesystem>
#include <thread>

#include <gmock/gmock.h>

namespace {

using namespace kr::host;
using testing::ElementsAre;

class World : public testing::Test {
protected:
    void SetUp() override { reset_world(); }
    void TearDown() override {
        reset_world();
        clear_resources();
    }
};

LSTATUS delete_value() {
    return RegDeleteValueW(HKEY_CURRENT_USER, u"none");
}

TEST_F(World, AFaultHitsTheCallsItIsMeantFor) {
    const struct {
        int line;
        fault_plan plan;
        std::array<LSTATUS, 4> results;
        u32 hits;
    } rows[] = {
        {__LINE__, {.call = "RegDeleteValueW", .error = 5}, {5, 2, 2, 2}, 1},
        {__LINE__, {.call = "RegDeleteValueW", .error = 5, .nth = 3}, {2, 2, 5, 2}, 1},
        {__LINE__,
         {.call = "RegDeleteValueW", .error = 5, .nth = 2, .sticky = true},
         {2, 5, 5, 5},
         3},
        {__LINE__, {.call = "RegDeleteValueW", .error = 5, .nth = 9}, {2, 2, 2, 2}, 0},
        {__LINE__, {.call = "RegDeleteValue", .error = 5}, {2, 2, 2, 2}, 0},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(r.line);
        const armed_fault fault(r.plan);
        for (const LSTATUS result : r.results) {
            EXPECT_EQ(delete_value(), result);
        }
        EXPECT_EQ(fault.hits(), r.hits);
    }
    EXPECT_EQ(delete_value(), 2) << "disarmed with the scope";
    const armed_fault first({.call = "RegDeleteValueW", .error = 5});
    const armed_fault second({.call = "RegDeleteValueW", .error = 6, .sticky = true});
    EXPECT_EQ(delete_value(), 5);
    EXPECT_EQ(delete_value(), 6);
    EXPECT_EQ(second.hits(), 1u);
}

TEST_F(World, ARecorderKeepsNamesAndArgumentsInOrder) {
    const call_recorder outer;
    HKEY key = nullptr;
    RegCreateKeyW(HKEY_CURRENT_USER, u"a\\\u00E4", &key);
    {
        call_recorder inner;
        inner.clear();
        const armed_fault fault({.call = "RegCloseKey", .error = 31});
        EXPECT_EQ(RegCloseKey(key), 31);
        EXPECT_EQ(RegCloseKey(key), 0);
        EXPECT_EQ(inner.count("RegCloseKey"), 2u);
        EXPECT_EQ(inner.count("RegCreateKeyW"), 0u);
    }
    const SC_HANDLE manager = OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS);
    CloseServiceHandle(manager);
    CloseServiceHandle(manager);
    HANDLE file = CreateFileW(u"C:\\f.txt", GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    CloseHandle(file);
    DeleteFileW(u"C:\\f.txt");
    EXPECT_THAT(outer.lines(), ElementsAre("RegCreateKeyW HKEY_CURRENT_USER\\a\\\xC3\xA4",
                                           "RegCloseKey HKEY_CURRENT_USER\\a\\\xC3\xA4",
                                           "RegCloseKey HKEY_CURRENT_USER\\a\\\xC3\xA4",
                                           "OpenSCManagerW", "CloseServiceHandle manager",
                                           "CloseServiceHandle ?", "CreateFileW C:\\f.txt",
                                           "CloseHandle C:\\f.txt", "DeleteFileW C:\\f.txt"));
}

TEST_F(World, AWriteCanBeCutShort) {
    HANDLE file = CreateFileW(u"C:\\f.txt", GENERIC_WRITE | GENERIC_READ, 0, nullptr, CREATE_ALWAYS,
                              0, nullptr);
    DWORD written = 0;
    {
        const armed_fault fault({.call = "WriteFile", .amount = 3});
        EXPECT_TRUE(WriteFile(file, "01234", 5, &written, nullptr));
        EXPECT_EQ(written, 3u);
    }
    {
        const armed_fault fault({.call = "WriteFile", .error = 112});
        EXPECT_FALSE(WriteFile(file, "5", 1, &written, nullptr));
        EXPECT_EQ(GetLastError(), 112u);
    }
    EXPECT_EQ(std::filesystem::file_size(native_path(u"C:\\f.txt")), 3u);
    CloseHandle(file);
    DeleteFileW(u"C:\\f.txt");
    file = CreateFileW(u"/dev/full", GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    EXPECT_FALSE(WriteFile(file, "x", 1, &written, nullptr));
    EXPECT_EQ(GetLastError(), 112u);
    CloseHandle(file);
}

TEST_F(World, DrivePathsIgnoreLetterCaseAndStayBelowTheirRoot) {
    ASSERT_TRUE(CreateDirectoryW(u"C:\\Some Dir", nullptr));
    CloseHandle(CreateFileW(u"C:\\some dir\\File.TXT", GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                            FILE_ATTRIBUTE_READONLY, nullptr));
    for (const WCHAR* same : {u"c:/SOME DIR/file.txt", u"\\\\?\\C:\\Some Dir\\FILE.txt",
                              u"\\??\\C:\\..\\..\\Some Dir\\.\\x\\..\\file.txt"}) {
        EXPECT_EQ(GetFileAttributesW(same), FILE_ATTRIBUTE_READONLY) << to_utf8(same);
    }
    EXPECT_EQ(CreateFileW(u"C:\\Some Dir\\file.txt", FILE_APPEND_DATA, 0, nullptr, OPEN_ALWAYS, 0,
                          nullptr),
              INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), 5u) << "whoever runs the test";
    SetFileAttributesW(u"C:\\Some Dir\\File.txt", FILE_ATTRIBUTE_NORMAL);
    EXPECT_FALSE(RemoveDirectoryW(u"C:\\Some Dir"));
    EXPECT_EQ(GetLastError(), 145u);
    EXPECT_TRUE(DeleteFileW(u"C:\\Some Dir\\File.txt"));
    EXPECT_TRUE(RemoveDirectoryW(u"C:\\Some Dir"));
}

TEST_F(World, ResourcesAreFoundByTypeAndName) {
    static constexpr u8 bytes[] = {1, 2, 3};
    EXPECT_EQ(FindResourceW(nullptr, u"krdummy", u"Driver"), nullptr);
    EXPECT_EQ(GetLastError(), 1813u);
    add_resource(u"DRIVER", u"KRDUMMY", bytes);
    EXPECT_EQ(FindResourceW(nullptr, u"other", u"Driver"), nullptr);
    EXPECT_EQ(GetLastError(), 1814u);
    const HRSRC found = FindResourceW(nullptr, u"krdummy", u"Driver");
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(SizeofResource(nullptr, found), 3u);
    EXPECT_EQ(LockResource(LoadResource(nullptr, found)), bytes);
    {
        const armed_fault size({.call = "SizeofResource", .amount = 0});
        const armed_fault lock({.call = "LockResource"});
        EXPECT_EQ(SizeofResource(nullptr, found), 0u);
        EXPECT_EQ(LockResource(LoadResource(nullptr, found)), nullptr);
    }
    clear_resources();
    EXPECT_EQ(SizeofResource(nullptr, found), 0u);
    EXPECT_EQ(GetLastError(), 87u);
}

TEST_F(World, ClocksStopAndOffsetsAreFixed) {
    stop_clock(132'223'104'000'000'000, 42);
    fix_local_offset(-3600);
    FILETIME now{};
    FILETIME utc{};
    LARGE_INTEGER ticks{};
    GetSystemTimeAsFileTime(&now);
    EXPECT_EQ(u64{now.dwHighDateTime} << 32 | now.dwLowDateTime, 132'223'104'000'000'000);
    EXPECT_TRUE(QueryPerformanceCounter(&ticks));
    EXPECT_EQ(ticks.QuadPart, 42);
    EXPECT_TRUE(LocalFileTimeToFileTime(&now, &utc));
    EXPECT_EQ(u64{utc.dwHighDateTime} << 32 | utc.dwLowDateTime, 132'223'140'000'000'000);
    run_clock();
    EXPECT_TRUE(QueryPerformanceCounter(&ticks));
    EXPECT_GT(ticks.QuadPart, 42);
    const armed_fault fault({.call = "QueryPerformanceCounter", .error = 31});
    EXPECT_FALSE(QueryPerformanceCounter(&ticks));
    EXPECT_EQ(GetLastError(), 31u);
}

TEST_F(World, TheDebuggerOutputGoesToItsSink) {
    SetLastError(77);
    std::u16string seen;
    set_debug_sink([&seen](debug_source, std::u16string_view text) { seen += text; });
    OutputDebugStringW(u"one\n");
    set_debug_sink({});
    OutputDebugStringW(u"two\n");
    EXPECT_EQ(seen, u"one\n");
    EXPECT_EQ(GetLastError(), 77u);
}

u32 handler_calls = 0;

TEST_F(World, TheInvalidParameterHandlerIsCalledAndGivenBack) {
    const auto handler = [](const WCHAR*, const WCHAR*, const WCHAR*, unsigned, std::uintptr_t) {
        ++handler_calls;
    };
    EXPECT_EQ(_set_invalid_parameter_handler(handler), nullptr);
    WCHAR full[2] = {u'x', u'y'};
    EXPECT_EQ(wcscat_s(full, 2, u""), EINVAL);
    EXPECT_EQ(wcscpy_s(full, 2, u"ab"), ERANGE);
    EXPECT_EQ(handler_calls, 2u);
    EXPECT_NE(_set_invalid_parameter_handler(nullptr), nullptr);
    EXPECT_EQ(wcscpy_s(nullptr, 2, u"ab"), EINVAL);
    EXPECT_EQ(handler_calls, 2u);
}

struct late_note {
    std::atomic<bool>* target = nullptr;
    late_note() = default;
    late_note(const late_note&) = delete;
    late_note& operator=(const late_note&) = delete;
    ~late_note() {
        Sleep(20);
        *target = true;
    }
};

TEST_F(World, AWaitForAThreadIsOverAfterItsLastDestructor) {
    std::atomic<bool> gone = false;
    HANDLE thread = reinterpret_cast<HANDLE>(_beginthreadex(
        nullptr, 0,
        [](void* argument) -> unsigned {
            thread_local late_note note;
            note.target = static_cast<std::atomic<bool>*>(argument);
            return 0;
        },
        &gone, 0, nullptr));
    EXPECT_EQ(WaitForSingleObject(thread, INFINITE), WAIT_OBJECT_0);
    EXPECT_TRUE(gone);
    EXPECT_TRUE(CloseHandle(thread));
    const armed_fault fault({.call = "_beginthreadex", .error = 8});
    EXPECT_EQ(_beginthreadex(nullptr, 0, nullptr, nullptr, 0, nullptr), 0u);
    EXPECT_EQ(GetLastError(), 8u);
}

TEST_F(World, ServesManyThreadsAtOnce) {
    const call_recorder recorder;
    std::vector<std::thread> threads;
    for (u32 t = 0; t < 4; ++t) {
        threads.emplace_back([t] {
            const std::u16string name(1, static_cast<WCHAR>(u'a' + t));
            for (DWORD i = 0; i < 200; ++i) {
                const armed_fault fault({.call = "RegDeleteKeyW", .error = 5, .nth = 1000});
                HKEY key = nullptr;
                EXPECT_EQ(RegCreateKeyW(HKEY_CURRENT_USER, (u"k\\" + name).c_str(), &key), 0);
                EXPECT_EQ(RegSetValueExW(key, name.c_str(), 0, REG_DWORD,
                                         reinterpret_cast<const BYTE*>(&i), sizeof i),
                          0);
                EXPECT_EQ(RegDeleteKeyW(HKEY_CURRENT_USER, (u"k\\" + name).c_str()), 0);
                EXPECT_EQ(RegDeleteValueW(key, name.c_str()), 1018);
                EXPECT_EQ(RegCloseKey(key), 0);
                OutputDebugStringW(u"");
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(recorder.count("RegCloseKey"), 800u);
}

} // namespace
