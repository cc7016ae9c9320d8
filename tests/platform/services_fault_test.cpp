/// The stand-in's service manager: names, handles, one load of a driver. What it makes of a driver's
/// image is seen through the probe.
#include "support/host/world.h"
#include "support/system.h"

namespace {

using namespace kr::test;

class Services : public World {
protected:
    [[nodiscard]] SC_HANDLE create(const WCHAR* name, const WCHAR* display, DWORD start,
                                   const WCHAR* path = u"C:\\none.sys") const {
        return CreateServiceW(manager, name, display, SERVICE_ALL_ACCESS, SERVICE_KERNEL_DRIVER, start,
                              SERVICE_ERROR_NORMAL, path, nullptr, nullptr, nullptr, nullptr, nullptr);
    }
    [[nodiscard]] DWORD create_error(const WCHAR* name, const WCHAR* display = nullptr) const {
        const SC_HANDLE made = create(name, display, SERVICE_DEMAND_START);
        return made != nullptr ? error_of(CloseServiceHandle(made)) : GetLastError();
    }

    SC_HANDLE manager = OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS);
    SERVICE_STATUS status{};
};

TEST_F(Services, NamesAreTakenUntilTheHandleOfADeletedServiceCloses) {
    const SC_HANDLE one = create(u"One", u"Shown", SERVICE_DEMAND_START);
    EXPECT_EQ(create_error(u"ONE"), 1073u);
    EXPECT_EQ(create_error(u"two", u"one"), 1078u);
    EXPECT_EQ(create_error(u"three", u"shown"), 0u) << "display names may repeat";
    EXPECT_EQ(create_error(u"a\\b"), 123u);
    EXPECT_EQ(create_error(u""), 123u);
    EXPECT_EQ(create_error(nullptr), 487u);
    EXPECT_EQ(error_of(ControlService(one, SERVICE_CONTROL_STOP, &status)), 1062u);
    EXPECT_EQ(error_of(StartServiceW(one, 0, nullptr)), 2u);
    EXPECT_TRUE(DeleteService(one));
    EXPECT_EQ(error_of(DeleteService(one)), 1072u);
    EXPECT_EQ(error_of(StartServiceW(one, 0, nullptr)), 1072u);
    EXPECT_EQ(create_error(u"one"), 1072u);
    EXPECT_EQ(kr::host::service_names(), (std::vector<std::u16string>{u"One", u"three"}));
    EXPECT_TRUE(CloseServiceHandle(one));
    EXPECT_EQ(kr::host::service_names(), std::vector<std::u16string>{u"three"});
    EXPECT_EQ(create_error(u"one"), 0u);
}

TEST_F(Services, HandlesAreKnownByTheirKindUntilTheyClose) {
    const SC_HANDLE disabled = create(u"off", u"off", SERVICE_DISABLED);
    EXPECT_EQ(error_of(StartServiceW(disabled, 0, nullptr)), 1058u);
    EXPECT_EQ(error_of(DeleteService(manager)), 6u);
    EXPECT_TRUE(CloseServiceHandle(manager));
    EXPECT_EQ(create_error(u"x"), 6u);
    manager = disabled;
    EXPECT_EQ(create_error(u"x"), 6u);
    EXPECT_TRUE(CloseServiceHandle(disabled));
    EXPECT_EQ(error_of(CloseServiceHandle(disabled)), 6u);
}

} // namespace
