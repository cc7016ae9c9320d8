/// The stand-in's service manager: names, handles, the checks of a driver's image, the policy.
#include "platform/host/fault.h"
#include "platform/host/world.h"
#include "platform/platform.h"

#include <cstring>
#include <fstream>

#include <gtest/gtest.h>

namespace {

using namespace kr::host;

/// A driver image with nothing in it but what a start looks at; each test breaks one thing.
struct tiny_image {
    std::vector<u8> bytes = std::vector<u8>(0x200, 0);

    static constexpr std::size_t pe = 0x40;
    static constexpr std::size_t optional_header = pe + 24;
    static constexpr std::size_t security = optional_header + 112 + 4 * 8;
    static constexpr std::size_t certificate = 0x1F0;

    tiny_image() {
        put<u16>(0, 0x5A4D);
        put<u32>(0x3C, pe);
        put<u32>(pe, 0x4550);
        put<u16>(pe + 4, 0x8664);
        put<u16>(optional_header, 0x20B);
        put<u16>(optional_header + 68, 1);
        put<u32>(optional_header + 108, 16);
        put<u32>(security, certificate);
        put<u32>(security + 4, 16);
        put<u32>(certificate, 16);
        put<u16>(certificate + 4, 0x0200);
        put<u16>(certificate + 6, 2);
    }

    template <typename Number>
    void put(std::size_t offset, std::type_identity_t<Number> number) {
        const Number value = number;
        std::memcpy(bytes.data() + offset, &value, sizeof value);
    }
};

const WCHAR* const image_path = u"C:\\Windows\\System32\\drivers\\tiny.sys";

void write_image(const tiny_image& image) {
    WCHAR folder[MAX_PATH];
    SHGetFolderPathW(nullptr, CSIDL_SYSTEM, nullptr, SHGFP_TYPE_CURRENT, folder);
    std::ofstream(native_path(image_path), std::ios::binary)
        .write(reinterpret_cast<const char*>(image.bytes.data()),
               static_cast<std::streamsize>(image.bytes.size()));
}

class Services : public testing::Test {
protected:
    void SetUp() override {
        reset_world();
        set_debug_sink([this](debug_source source, std::u16string_view text) {
            (source == debug_source::kernel ? kernel : program) += to_utf8(text);
        });
        manager = OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS);
        ASSERT_NE(manager, nullptr);
    }
    void TearDown() override {
        reset_world();
        DeleteFileW(image_path);
    }
    [[nodiscard]] SC_HANDLE create(const WCHAR* name, const WCHAR* display = nullptr,
                                   DWORD access = SERVICE_ALL_ACCESS) const {
        return CreateServiceW(manager, name, display, access, SERVICE_KERNEL_DRIVER,
                              SERVICE_DEMAND_START, SERVICE_ERROR_NORMAL, image_path, nullptr,
                              nullptr, nullptr, nullptr, nullptr);
    }
    static DWORD error_of(BOOL done) { return done ? 0 : GetLastError(); }
    [[nodiscard]] DWORD create_error(const WCHAR* name, const WCHAR* display = nullptr) const {
        const SC_HANDLE made = create(name, display);
        return made != nullptr ? (CloseServiceHandle(made), 0) : GetLastError();
    }

    SC_HANDLE manager = nullptr;
    std::string kernel;
    std::string program;
};

TEST_F(Services, ADriverIsLoadedOnceAndUnloadedOnce) {
    write_image({});
    const SC_HANDLE tiny = create(u"tiny");
    ASSERT_NE(tiny, nullptr);
    SERVICE_STATUS status{};
    EXPECT_EQ(error_of(ControlService(tiny, SERVICE_CONTROL_STOP, &status)), 1062u);
    EXPECT_TRUE(StartServiceW(tiny, 0, nullptr));
    EXPECT_EQ(error_of(StartServiceW(tiny, 0, nullptr)), 1056u);
    EXPECT_TRUE(QueryServiceStatus(tiny, &status));
    EXPECT_EQ(status.dwCurrentState, SERVICE_RUNNING);
    EXPECT_EQ(error_of(DeleteFileW(image_path)), 5u);
    EXPECT_TRUE(ControlService(tiny, SERVICE_CONTROL_STOP, &status));
    EXPECT_EQ(status.dwCurrentState, SERVICE_STOPPED);
    EXPECT_TRUE(DeleteFileW(image_path));
    EXPECT_EQ(kernel, "driver tiny loaded\ndriver tiny unloaded\n");
    EXPECT_EQ(program, "");
}

TEST_F(Services, AStartChecksTheImage) {
    using image = tiny_image;
    const struct {
        int line;
        std::size_t offset;
        u16 number;
        DWORD error;
    } rows[] = {
        {__LINE__, 0, 0x4D5A, 193},
        {__LINE__, 0x3C, 0xFFFF, 193},
        {__LINE__, image::pe + 4, 0x014C, 193},
        {__LINE__, image::optional_header, 0x10B, 193},
        {__LINE__, image::optional_header + 68, 3, 193},
        {__LINE__, image::optional_header + 108, 4, 577},
        {__LINE__, image::security, 0x1F1, 577},
        {__LINE__, image::security, 0, 577},
        {__LINE__, image::security + 4, 0, 577},
        {__LINE__, image::security + 4, 17, 577},
        {__LINE__, image::certificate, 17, 577},
        {__LINE__, image::certificate + 4, 0x0100, 577},
        {__LINE__, image::certificate + 6, 1, 577},
    };
    const SC_HANDLE tiny = create(u"tiny");
    const auto start_error = [tiny] {
        return error_of(StartServiceW(tiny, 0, nullptr));
    };
    EXPECT_EQ(start_error(), 2u);
    for (const auto& r : rows) {
        SCOPED_TRACE(r.line);
        tiny_image broken;
        broken.put<u16>(r.offset, r.number);
        write_image(broken);
        EXPECT_EQ(start_error(), r.error);
    }
    tiny_image cut;
    for (const auto& [size, error] :
         {std::pair(image::security, 577u), std::pair(size_t{0}, 193u)}) {
        cut.bytes.resize(size);
        write_image(cut);
        EXPECT_EQ(start_error(), error);
    }
    write_image({});
    refuse_drivers(true);
    EXPECT_EQ(start_error(), 577u);
    refuse_drivers(false);
    EXPECT_EQ(start_error(), 0u);
}

TEST_F(Services, NamesAreTakenUntilTheLastHandleOfADeletedServiceCloses) {
    const SC_HANDLE one = create(u"One", u"Shown");
    ASSERT_NE(one, nullptr);
    EXPECT_EQ(create_error(u"ONE"), 1073u);
    EXPECT_EQ(create_error(u"two", u"shown"), 1078u);
    EXPECT_EQ(create_error(u"a\\b"), 123u);
    EXPECT_EQ(create_error(u""), 123u);
    EXPECT_EQ(OpenServiceW(manager, u"two", SERVICE_START), nullptr);
    EXPECT_EQ(GetLastError(), 1060u);
    EXPECT_TRUE(DeleteService(one));
    EXPECT_EQ(error_of(DeleteService(one)), 1072u);
    EXPECT_EQ(error_of(StartServiceW(one, 0, nullptr)), 1072u);
    EXPECT_EQ(create_error(u"one"), 1072u);
    const SC_HANDLE again = OpenServiceW(manager, u"one", SERVICE_START);
    ASSERT_NE(again, nullptr);
    EXPECT_TRUE(CloseServiceHandle(one));
    EXPECT_EQ(service_names(), std::vector<std::u16string>{u"One"});
    EXPECT_TRUE(CloseServiceHandle(again));
    EXPECT_TRUE(service_names().empty());
    EXPECT_EQ(create_error(u"one"), 0u);
}

TEST_F(Services, HandlesAllowWhatTheyWereOpenedFor) {
    const SC_HANDLE weak = create(u"weak", nullptr, SERVICE_QUERY_STATUS);
    EXPECT_EQ(error_of(StartServiceW(weak, 0, nullptr)), 5u);
    EXPECT_EQ(error_of(DeleteService(weak)), 5u);
    EXPECT_EQ(error_of(DeleteService(manager)), 6u);
    EXPECT_TRUE(CloseServiceHandle(weak));
    EXPECT_EQ(error_of(CloseServiceHandle(weak)), 6u);
    manager = OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT);
    EXPECT_EQ(create_error(u"x"), 5u);
}

} // namespace
