/// The stand-in's service manager: names, handles, one load of a driver. What it makes of a driver's
/// image is seen through the probe.
#include "platform/host/world.h"
#include "support/system.h"

namespace {

using namespace kr::test;

class Services : public testing::Test {
protected:
    void SetUp() override {
        kr::host::reset_world();
        manager = OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS);
    }
    void TearDown() override { kr::host::reset_world(); }
    [[nodiscard]] SC_HANDLE create(const WCHAR* name, const WCHAR* display = nullptr,
                                   DWORD access = SERVICE_ALL_ACCESS) const {
        return CreateServiceW(manager, name, display, access, SERVICE_KERNEL_DRIVER, SERVICE_DEMAND_START,
                              SERVICE_ERROR_NORMAL, u"C:\\none.sys", nullptr, nullptr, nullptr, nullptr,
                              nullptr);
    }
    [[nodiscard]] DWORD create_error(const WCHAR* name, const WCHAR* display = nullptr) const {
        const SC_HANDLE made = create(name, display);
        return made != nullptr ? error_of(CloseServiceHandle(made)) : GetLastError();
    }

    SC_HANDLE manager = nullptr;
};

TEST_F(Services, NamesAreTakenUntilTheHandleOfADeletedServiceCloses) {
    const SC_HANDLE one = create(u"One", u"Shown");
    EXPECT_EQ(create_error(u"ONE"), 1073u);
    EXPECT_EQ(create_error(u"two", u"shown"), 1078u);
    EXPECT_EQ(create_error(u"a\\b"), 123u);
    EXPECT_EQ(create_error(u""), 123u);
    SERVICE_STATUS status{};
    EXPECT_EQ(error_of(ControlService(one, SERVICE_CONTROL_STOP, &status)), 1062u);
    EXPECT_EQ(error_of(StartServiceW(one, 0, nullptr)), 2u);
    EXPECT_TRUE(DeleteService(one));
    EXPECT_EQ(error_of(DeleteService(one)), 1072u);
    EXPECT_EQ(error_of(StartServiceW(one, 0, nullptr)), 1072u);
    EXPECT_EQ(create_error(u"one"), 1072u);
    EXPECT_EQ(kr::host::service_names(), std::vector<std::u16string>{u"One"});
    EXPECT_TRUE(CloseServiceHandle(one));
    EXPECT_TRUE(kr::host::service_names().empty());
    EXPECT_EQ(create_error(u"one"), 0u);
}

TEST_F(Services, HandlesAllowWhatTheyWereOpenedFor) {
    const SC_HANDLE weak = create(u"weak", nullptr, 0);
    SERVICE_STATUS status{};
    EXPECT_EQ(error_of(StartServiceW(weak, 0, nullptr)), 5u);
    EXPECT_EQ(error_of(ControlService(weak, SERVICE_CONTROL_STOP, &status)), 5u);
    EXPECT_EQ(error_of(DeleteService(weak)), 5u);
    EXPECT_EQ(error_of(DeleteService(manager)), 6u);
    EXPECT_TRUE(CloseServiceHandle(weak));
    EXPECT_EQ(error_of(CloseServiceHandle(weak)), 6u);
    manager = OpenSCManagerW(nullptr, nullptr, 0);
    EXPECT_EQ(create_error(u"x"), 5u);
}

} // namespace
