/// Injected faults, recorded calls, and the parts of the stand-in's world that only it has.
#include <thread>

#include "support/host/world.h"

namespace {

using namespace kr::host;
using namespace kr::test;

LSTATUS delete_value() { return RegDeleteValueW(HKEY_LOCAL_MACHINE, u"none"); }

/// What four calls report while a fault is armed, and how many it hit.
std::vector<LSTATUS> statuses(const fault_plan& plan) {
    const armed_fault fault(plan);
    const std::vector calls = {delete_value(), delete_value(), delete_value(), delete_value()};
    return {calls[0], calls[1], calls[2], calls[3], static_cast<LSTATUS>(fault.hits())};
}

TEST_F(World, AFaultHitsTheCallsItIsMeantFor) {
    const char* const call = "RegDeleteValueW";
    EXPECT_THAT(statuses({.call = call, .error = 5}), ElementsAre(5, 2, 2, 2, 1));
    EXPECT_THAT(statuses({.call = call, .error = 5, .nth = 3}), ElementsAre(2, 2, 5, 2, 1));
    EXPECT_THAT(statuses({.call = call, .error = 5, .nth = 2, .sticky = true}), ElementsAre(2, 5, 5, 5, 3));
    EXPECT_THAT(statuses({.call = "RegDeleteValue", .error = 5}), ElementsAre(2, 2, 2, 2, 0));
    // All were disarmed with their scope.
    const armed_fault first({.call = call, .error = 5});
    EXPECT_THAT(statuses({.call = call, .error = 6, .sticky = true}), ElementsAre(5, 6, 6, 6, 3));
}

TEST_F(World, ARecorderKeepsNamesAndArgumentsInOrder) {
    const call_recorder outer;
    HKEY key = nullptr;
    RegCreateKeyW(HKEY_LOCAL_MACHINE, u"a\\\u00E4", &key);
    {
        call_recorder inner;
        const armed_fault fault({.call = "RegCloseKey", .error = 31});
        EXPECT_EQ(RegCloseKey(key), 31);
        EXPECT_EQ(RegCloseKey(key), 0);
        EXPECT_EQ(inner.lines().size(), 2u);
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
    remove_all(folder);
}

TEST_F(World, NamesResolveFromItsTableBothWays) {
    WSADATA data;
    ASSERT_EQ(WSAStartup(MAKEWORD(2, 2), &data), 0);
    add_host_name("two.test", {0x0A000001, 0x0A000002});
    add_host_name("later.test", {0x0A000002});
    char** const addresses = gethostbyname("TWO.test")->h_addr_list;
    EXPECT_EQ(std::string(addresses[1], 4), std::string("\x0A\0\0\x02", 4));
    EXPECT_EQ(addresses[2], nullptr);
    EXPECT_STREQ(gethostbyaddr(addresses[1], 4, AF_INET)->h_name, "two.test");
    reset_host_names();
    EXPECT_EQ(gethostbyname("two.test"), nullptr);
    EXPECT_EQ(WSACleanup(), 0);
}

TEST_F(World, ResourcesAreFoundByTypeAndNameUntilTheyGo) {
    static constexpr u8 bytes[] = {1, 2, 3};
    const auto find = [](const WCHAR* name) { return FindResourceW(nullptr, name, u"Driver"); };
    EXPECT_TRUE(find(u"krdummy") == nullptr && GetLastError() == 1813);
    add_resource(u"DRIVER", u"KRDUMMY", bytes);
    EXPECT_TRUE(find(u"other") == nullptr && GetLastError() == 1814);
    const HRSRC found = find(u"krdummy");
    EXPECT_EQ(LockResource(LoadResource(nullptr, found)), bytes);
    clear_resources();
    EXPECT_TRUE(SizeofResource(nullptr, found) == 0 && GetLastError() == 87);
}

TEST_F(World, TheInvalidParameterHandlerIsCalledAndGivenBack) {
    static u32 calls = 0;
    _set_invalid_parameter_handler(
        [](const WCHAR*, const WCHAR*, const WCHAR*, unsigned, std::uintptr_t) { ++calls; });
    WCHAR full[2] = {u'x', u'y'};
    EXPECT_EQ(wcscat_s(full, 2, u""), EINVAL);
    EXPECT_EQ(wcscpy_s(full, 2, u"ab"), ERANGE);
    EXPECT_NE(_set_invalid_parameter_handler(nullptr), nullptr);
    EXPECT_EQ(wcscpy_s(full, 2, nullptr), EINVAL);
    EXPECT_EQ(calls, 2u);
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

/// Names, handles, one load of a driver; what the manager makes of an image is seen through the probe.
class Services : public World {
protected:
    [[nodiscard]] DWORD create(const WCHAR* name, const WCHAR* display = nullptr, SC_HANDLE* kept = nullptr,
                               DWORD start = SERVICE_DEMAND_START) const {
        const SC_HANDLE made = CreateServiceW(manager, name, display, SERVICE_ALL_ACCESS,
                                              SERVICE_KERNEL_DRIVER, start, SERVICE_ERROR_NORMAL,
                                              u"C:\\none.sys", nullptr, nullptr, nullptr, nullptr, nullptr);
        if (made == nullptr) { return GetLastError(); }
        return kept == nullptr ? error_of(CloseServiceHandle(made)) : (*kept = made, 0);
    }

    SC_HANDLE manager = OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS), one = nullptr;
};

TEST_F(Services, NamesAreTakenUntilTheHandleOfADeletedServiceCloses) {
    EXPECT_EQ(create(u"One", u"Shown", &one), 0u);
    EXPECT_EQ(create(u"two", u"one"), 1078u);
    EXPECT_EQ(create(u"three", u"shown"), 0u) << "display names may repeat";
    for (const WCHAR* name : {u"a\\b", u""}) { EXPECT_EQ(create(name), 123u); }
    EXPECT_EQ(create(nullptr), 487u);
    EXPECT_EQ(error_of(StartServiceW(one, 0, nullptr)), 2u);
    EXPECT_TRUE(DeleteService(one));
    EXPECT_EQ(error_of(DeleteService(one)), 1072u);
    EXPECT_EQ(error_of(StartServiceW(one, 0, nullptr)), 1072u);
    EXPECT_EQ(create(u"one"), 1072u);
    EXPECT_THAT(kr::host::service_names(), ElementsAre(u"One", u"three"));
    EXPECT_TRUE(CloseServiceHandle(one));
    EXPECT_THAT(kr::host::service_names(), ElementsAre(u"three"));
    EXPECT_EQ(create(u"one"), 0u);
}

TEST_F(Services, HandlesAreKnownByTheirKindUntilTheyClose) {
    EXPECT_EQ(create(u"off", u"off", &one, SERVICE_DISABLED), 0u);
    EXPECT_EQ(error_of(StartServiceW(one, 0, nullptr)), 1058u);
    EXPECT_EQ(error_of(DeleteService(manager)), 6u);
    EXPECT_TRUE(CloseServiceHandle(manager));
    EXPECT_EQ(create(u"x"), 6u);
    manager = one;
    EXPECT_EQ(create(u"x"), 6u);
    EXPECT_TRUE(CloseServiceHandle(one));
    EXPECT_EQ(error_of(CloseServiceHandle(one)), 6u);
}

} // namespace
