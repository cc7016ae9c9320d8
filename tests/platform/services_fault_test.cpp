/// The stand-in's service manager: names, handles, one load of a driver. What it makes of a driver's
/// image is seen through the probe.
#include "support/host/world.h"
#include "support/system.h"

namespace {

using namespace kr::test;

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
    EXPECT_EQ(create(u"ONE"), 1073u);
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
