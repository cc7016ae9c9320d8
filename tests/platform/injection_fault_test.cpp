/// Injected faults, recorded calls, and the parts of the stand-in's world that only it has.
#include "support/host/world.h"
#include "support/system.h"

#include <thread>

namespace {

using namespace kr::host;
using namespace kr::test;

LSTATUS delete_value() { return RegDeleteValueW(HKEY_LOCAL_MACHINE, u"none"); }

TEST_F(World, AFaultHitsTheCallsItIsMeantFor) {
    const struct {
        int line;
        fault_plan plan;
        std::array<LSTATUS, 4> results;
        u32 hits;
    } rows[] = {
        {__LINE__, {.call = "RegDeleteValueW", .error = 5}, {5, 2, 2, 2}, 1},
        {__LINE__, {.call = "RegDeleteValueW", .error = 5, .nth = 3}, {2, 2, 5, 2}, 1},
        {__LINE__, {.call = "RegDeleteValueW", .error = 5, .nth = 2, .sticky = true}, {2, 5, 5, 5}, 3},
        {__LINE__, {.call = "RegDeleteValueW", .error = 5, .nth = 9}, {2, 2, 2, 2}, 0},
        {__LINE__, {.call = "RegDeleteValue", .error = 5}, {2, 2, 2, 2}, 0},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(r.line);
        const armed_fault fault(r.plan);
        for (const LSTATUS result : r.results) { EXPECT_EQ(delete_value(), result); }
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
    RegCreateKeyW(HKEY_LOCAL_MACHINE, u"a\\\u00E4", &key);
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
    const std::string at = " HKEY_LOCAL_MACHINE\\a\\\xC3\xA4";
    EXPECT_THAT(outer.lines(),
                ElementsAre("RegCreateKeyW" + at, "RegCloseKey" + at, "RegCloseKey" + at, "OpenSCManagerW",
                            "CloseServiceHandle manager", "CloseServiceHandle ?"));
}

TEST_F(World, DrivePathsIgnoreLetterCaseAndStayBelowTheirRoot) {
    const std::filesystem::path folder = kr::test::native_path(u"C:\\Some \u00C4");
    ASSERT_TRUE(create_directory(folder));
    CloseHandle(CreateFileW(u"C:\\some \u00E4\\File.TXT", GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr));
    for (const WCHAR* same : {u"c:/SOME \u00C4/file.txt", u"\\\\?\\C:\\Some \u00E4\\FILE.txt",
                              u"\\??\\C:\\..\\..\\Some \u00E4\\.\\x\\..\\file.txt"}) {
        EXPECT_EQ(kr::host::native_path(same), (folder / "File.TXT").string());
    }
    kr::test::set_read_only(u"C:\\some \u00E4\\file.txt", true);
    EXPECT_EQ(
        CreateFileW(u"C:\\Some \u00C4\\File.TXT", FILE_APPEND_DATA, 0, nullptr, OPEN_ALWAYS, 0, nullptr),
        INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), 5u) << "whoever runs the test";
    remove_all(folder);
}

TEST_F(World, NamesResolveFromItsTableBothWays) {
    WSADATA data;
    ASSERT_EQ(WSAStartup(MAKEWORD(2, 2), &data), 0);
    add_host_name("two.test", {0x0A000001, 0x0A000002});
    add_host_name("later.test", {0x0A000002});
    const hostent* const two = gethostbyname("TWO.test");
    ASSERT_NE(two, nullptr);
    EXPECT_EQ(std::string(two->h_addr_list[1], 4), std::string("\x0A\0\0\x02", 4));
    EXPECT_EQ(two->h_addr_list[2], nullptr);
    EXPECT_STREQ(gethostbyaddr(two->h_addr_list[1], two->h_length, AF_INET)->h_name, "two.test");
    reset_host_names();
    EXPECT_EQ(gethostbyname("two.test"), nullptr);
    EXPECT_EQ(WSAGetLastError(), 11001);
    EXPECT_EQ(WSACleanup(), 0);
}

TEST_F(World, ResourcesAreFoundByTypeAndNameUntilTheyGo) {
    static constexpr u8 bytes[] = {1, 2, 3};
    EXPECT_EQ(FindResourceW(nullptr, u"krdummy", u"Driver"), nullptr);
    EXPECT_EQ(GetLastError(), 1813u);
    add_resource(u"DRIVER", u"KRDUMMY", bytes);
    EXPECT_EQ(FindResourceW(nullptr, u"other", u"Driver"), nullptr);
    EXPECT_EQ(GetLastError(), 1814u);
    const HRSRC found = FindResourceW(nullptr, u"krdummy", u"Driver");
    EXPECT_EQ(LockResource(LoadResource(nullptr, found)), bytes);
    clear_resources();
    EXPECT_EQ(SizeofResource(nullptr, found), 0u);
    EXPECT_EQ(GetLastError(), 87u);
}

TEST_F(World, TheInvalidParameterHandlerIsCalledAndGivenBack) {
    static u32 calls = 0;
    _set_invalid_parameter_handler(
        [](const WCHAR*, const WCHAR*, const WCHAR*, unsigned, std::uintptr_t) { ++calls; });
    WCHAR full[2] = {u'x', u'y'};
    EXPECT_EQ(wcscat_s(full, 2, u""), EINVAL);
    EXPECT_EQ(wcscpy_s(full, 2, u"ab"), ERANGE);
    EXPECT_EQ(wcscpy_s(full, 2, nullptr), EINVAL);
    EXPECT_NE(_set_invalid_parameter_handler(nullptr), nullptr);
    EXPECT_EQ(wcscpy_s(nullptr, 2, u"ab"), EINVAL);
    EXPECT_EQ(wcscat_s(full, 0, u"ab"), EINVAL);
    EXPECT_EQ(calls, 3u);
}

TEST_F(World, ServesManyThreadsAtOnce) {
    const call_recorder recorder;
    std::vector<std::jthread> threads;
    for (const WCHAR* name : {u"k\\a", u"k\\b", u"k\\c", u"k\\d"}) {
        threads.emplace_back([name] {
            for (BYTE i = 0; i < 200; ++i) {
                const armed_fault fault({.call = "RegDeleteKeyW", .error = 5, .nth = 1000});
                HKEY key = nullptr;
                EXPECT_EQ(RegCreateKeyW(HKEY_LOCAL_MACHINE, name, &key), 0);
                EXPECT_EQ(RegSetValueExW(key, name, 0, REG_BINARY, &i, 1), 0);
                EXPECT_EQ(RegDeleteKeyW(HKEY_LOCAL_MACHINE, name), 0);
                EXPECT_EQ(RegDeleteValueW(key, name), 1018);
                EXPECT_EQ(RegCloseKey(key), 0);
                OutputDebugStringW(u"");
            }
        });
    }
    threads.clear();
    EXPECT_EQ(recorder.count("RegCloseKey"), 800u);
}

} // namespace
