/// The probe from start to exit code on the stand-in, with every call that it makes failed once:
/// what it says, in which order it cleans up, what it leaves behind.
#include <cstring>
#include <map>

#include "log/log.h"
#include "log/startup/log_module.h"
#include "log/startup/module.h"
#include "probe.h"
#include "scope_guard.h"
#include "support/host/world.h"
#include "support/replaced.h"

namespace {

using kr::host::fault_plan;
using kr::host::to_utf8;
using kr::test::armed_fault;

constexpr const kr_char* driver_path = KR_TEXT("C:\\Windows\\System32\\drivers\\krdummy.sys");

/// What the calls of the clean-up, with the stop and the verdict's key, are called in an ending.
// clang-format off
const std::map<std::string, std::string> cleanup_names = {
    {"CloseHandle C:\\Windows\\System32\\drivers\\krdummy.sys", " file"}, {"ControlService service krdummy", " stop"},
    {"DeleteService service krdummy", " delete"}, {"CloseServiceHandle service krdummy", " service"},
    {"CloseServiceHandle manager", " manager"}, {"RegCloseKey HKEY_LOCAL_MACHINE\\SOFTWARE\\Korinth", " key"},
    {"DeleteFileW C:\\Windows\\System32\\drivers\\krdummy.sys", " erase"}};
// clang-format on

SC_HANDLE create_service(const WCHAR* name, const WCHAR* path) {
    return CreateServiceW(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS), name, u"shown",
                          SERVICE_ALL_ACCESS, SERVICE_KERNEL_DRIVER, SERVICE_DEMAND_START,
                          SERVICE_ERROR_NORMAL, path, nullptr, nullptr, nullptr, nullptr, nullptr);
}

class ProbeFault : public kr::test::World {
protected:
    ProbeFault() { restart(); }
    ~ProbeFault() override {
        kr_fini();
        kr::host::clear_resources();
    }

    void restart() {
        kr::host::reset_world();
        embed(image_);
        kr_char system_directory[MAX_PATH]; // asked for once, so that it is there
        SHGetFolderPathW(nullptr, CSIDL_SYSTEM, nullptr, SHGFP_TYPE_CURRENT, system_directory);
        DeleteFileW(driver_path);
    }

    static void embed(const std::string& bytes) {
        const auto* const data = reinterpret_cast<const u8*>(bytes.data());
        kr::host::add_resource(KR_TEXT("DRIVER"), KR_TEXT("KRDUMMY"), {data, bytes.size()});
    }

    /// Runs the probe once. The library is started before, so that an armed fault is the probe's.
    /// Gives exit code, stored verdict, size of the driver's file and services left ("-": none); the
    /// clean-up in its order; then what the kernel says and "LEVEL FUNCTION: MESSAGE" for each line.
    std::string run(const fault_plan& plan = {}, u32 main_mask = 7) {
        // "krtest:________:0000002A; W(02); TEXT; FUNCTION()\n", perhaps behind a stamp.
        const char* const form = ".*([A-Z])\\(02\\); (.*); ([^;]*)\\(\\)\n";
        std::string messages, cleanup, services;
        kr::host::set_debug_sink([&](kr::host::debug_source, std::u16string_view text) {
            messages += kr::test::replaced(to_utf8(text), form, "$1 $3: $2\n");
        });
        kr_log_register_module(KR_TEXT("windbg"));
        EXPECT_EQ(kr_init(), KR_SUCCESS);
        kr_log_category_masks[KR_LOG_MAIN] = main_mask;
        const kr::host::call_recorder recorder;
        const armed_fault armed(plan);
        const int exit_code = kr::run_probe();
        calls_ = recorder.calls();
        kr_fini();
        for (const kr::host::call_record& call : calls_) {
            const auto name = cleanup_names.find(call.name + " " + call.argument);
            cleanup += name != cleanup_names.end() ? name->second : "";
        }
        const std::filesystem::path file = kr::test::native_path(driver_path);
        const std::string file_size = exists(file) ? std::to_string(std::filesystem::file_size(file)) : "-";
        for (const std::u16string& name : kr::host::service_names()) { services += to_utf8(name); }
        return std::to_string(exit_code) + ' ' + stored_verdict() + ' ' + file_size + ' ' +
               (services.empty() ? "-" : services) + ':' + cleanup + '\n' + messages;
    }

    static std::string stored_verdict() {
        HKEY key = nullptr;
        DWORD value = 0, type = 0, size_bytes = sizeof(value);
        if (RegOpenKeyW(HKEY_LOCAL_MACHINE, u"SOFTWARE\\Korinth", &key) != ERROR_SUCCESS ||
            RegQueryValueExW(key, u"driver_signature_supported", nullptr, &type,
                             reinterpret_cast<BYTE*>(&value), &size_bytes) != ERROR_SUCCESS) {
            return "-";
        }
        return type == REG_DWORD && size_bytes == sizeof(value) ? std::to_string(value) : "of another type";
    }

    const std::string image_ = kr::test::read_native_file(KR_TEST_DRIVER_IMAGE);
    std::vector<kr::host::call_record> calls_;
};

const std::string set_value = "F kr::store_system_support_for_driver_signature: Set registry DWORD value "
                              "HKLM\\SOFTWARE\\Korinth\\driver_signature_supported to ";
const std::string compatible = "F wmain: Successfully loaded test driver, will mark system as compatible\n";
const std::string loaded = "driver krdummy loaded\n", unloaded = "driver krdummy unloaded\n";
const std::string supported = loaded + unloaded + compatible + set_value + "1\n";
const std::string path = "C:\\Windows\\System32\\drivers\\krdummy.sys";
const std::string size = std::to_string(std::filesystem::file_size(KR_TEST_DRIVER_IMAGE));
const std::string whole = ": file stop delete service manager key erase\n";
const std::string unstarted = "0 0 - -: file delete service manager key erase\n";

std::string no_driver(const std::string& why) {
    return "W kr::extract_embedded_driver: " + why +
           "\nW wmain: Unable to extract the embedded test driver, cannot check if this system supports "
           "driver signatures\n";
}
std::string refused(const std::string& why = {}) {
    return (why.empty() ? "" : "W kr::load_driver: " + why + "\n") +
           "F wmain: Unable to load the test driver, will mark system as incompatible\n" + set_value + "0\n";
}
std::string not_stored(const std::string& why) {
    return loaded + unloaded + compatible + "W kr::store_system_support_for_driver_signature: Unable to " +
           why + "\nW wmain: Unable to store system compatibility\n";
}

const auto somebody_creates_it = [] { (void)create_service(u"KRDUMMY", u"C:\\old.sys"); };

// One fault is one row.
// clang-format off
const struct { fault_plan plan; std::string ending; } fault_rows[] = {
    {{"SHGetFolderPathW", 0x80070002}, "0 1 - -" + whole +
     "W kr::get_driver_path: Unable to SHGetFolderPathW(CSIDL_SYSTEM). HRESULT = 80070002\n" + supported},
    {{"FindResourceW", 1814},
     "1 - - -:\n" + no_driver("Unable to find the embedded driver resource, error code = 1814")},
    {{.call = "SizeofResource", .amount = 0}, "1 - - -:\n" + no_driver("Embedded driver resource has zero size")},
    {{"LoadResource", 8},
     "1 - - -:\n" + no_driver("Unable to load the embedded driver resource into memory, error code = 8")},
    {{"LockResource"}, "1 - - -:\n" + no_driver("Unable to lock the embedded driver into memory")},
    {{"CreateFileW", 5}, "1 - - -:\n" + no_driver(
     "Unable to create the file where the embedded driver is to be extracted (" + path + "), error code = 5")},
    {{"WriteFile", 112}, "1 - 0 -: file\n" + no_driver(
     "Unable to write the embedded driver to file '" + path + "', error code = 112")},
    {{.call = "WriteFile", .amount = 100}, "1 - 100 -: file\n" + no_driver(
     "The amount of bytes written (100) doesn't match the embedded driver size (" + size + ")")},
    {{"OpenSCManagerW", 5}, "0 0 - -: file key erase\n" +
     refused("Unable to open a handle to the Service Control Manager, error code = 5")},
    {{"CreateServiceW", 1072}, "0 0 - -: file manager key erase\n" +
     refused("Unable to create driver service, error code = 1072")},
    // A leftover service is not touched.
    {{.call = "CreateServiceW", .meanwhile = somebody_creates_it}, "0 0 - KRDUMMY: file manager key erase\n" +
     refused("Unable to create driver service, error code = 1073")},
    {{"StartServiceW", 577}, unstarted + refused("This system doesn't support our driver signatures")},
    {{"StartServiceW", 1450}, unstarted + refused("Unable to start the driver, error code = 1450")},
    // Loaded for good: the service stays until the system restarts, and the verdict stands.
    {{"ControlService", 1061}, "0 1 - krdummy" + whole + loaded + compatible + set_value + "1\n"},
    {{"DeleteService", 5}, "0 1 - krdummy" + whole + supported},
    {{"CloseServiceHandle", 6, 2}, "0 1 - -" + whole + supported},
    {{"RegCreateKeyExW", 5}, "1 - - -: file stop delete service manager erase\n" +
     not_stored("create kr key 'SOFTWARE\\Korinth', error code = 5")},
    {{"RegSetValueExW", 1018}, "1 - - -" + whole +
     not_stored("store value 'driver_signature_supported' in key 'SOFTWARE\\Korinth', error code = 1018")},
    {{"RegCloseKey", 6}, "0 1 - -" + whole + supported},
    {{"DeleteFileW", 5}, "0 1 " + size + " -" + whole + supported},
};
// clang-format on

TEST_F(ProbeFault, EveryCallFailsOnce) {
    for (const auto& row : fault_rows) {
        restart();
        EXPECT_EQ(run(row.plan), row.ending) << row.plan.call << ' ' << row.plan.error;
    }
}

// A call that nobody thought of failing is a call whose failure nobody handles.
TEST_F(ProbeFault, TheTableKnowsEveryCall) {
    EXPECT_EQ(run(), "0 1 - -" + whole + supported);
    // A file that cannot be closed cannot be told from one that can.
    std::vector<std::string_view> known = {"CloseHandle"};
    for (const auto& row : fault_rows) { known.emplace_back(row.plan.call); }
    for (const kr::host::call_record& call : calls_) { EXPECT_THAT(known, testing::Contains(call.name)); }
}

// Without the warning bit failures are silent, yet the notices of level F come.
TEST_F(ProbeFault, WarningsObeyTheMaskAndNoticesDoNot) {
    EXPECT_EQ(run({"StartServiceW", 5}, KR_LOG_ERROR), unstarted + refused());
    EXPECT_EQ(run({"RegSetValueExW", 5}, KR_LOG_ERROR), "1 0 - -" + whole + loaded + unloaded + compatible);
}

TEST_F(ProbeFault, ADriverIsLoadedOnceAndUnloadedOnce) {
    const SC_HANDLE driver = create_service(u"d", kr::host::to_utf16(KR_TEST_DRIVER_IMAGE).c_str());
    SERVICE_STATUS status{};
    EXPECT_TRUE(StartServiceW(driver, 0, nullptr));
    EXPECT_EQ(kr::test::error_of(StartServiceW(driver, 0, nullptr)), 1056u);
    EXPECT_TRUE(ControlService(driver, SERVICE_CONTROL_STOP, &status));
    EXPECT_EQ(status.dwCurrentState, SERVICE_STOPPED);
    EXPECT_EQ(kr::test::error_of(ControlService(driver, SERVICE_CONTROL_STOP, &status)), 1062u);
}

// A number of the good image is broken for each check: offset, number, whether it still is an image (the
// second points outside the file). The last image is good and refused by policy.
TEST_F(ProbeFault, TheImageDecides) {
    const auto number_at = [this](u32 offset) {
        u32 number = 0;
        std::memcpy(&number, &image_[offset], sizeof(number));
        return number;
    };
    const u32 pe = number_at(0x3C), optional_header = pe + 24, security = optional_header + 112 + 4 * 8;
    const u32 entry = number_at(security), too_long = static_cast<u32>(image_.size()) - entry + 1;
    // clang-format off
    const u32 rows[][3] = {
        {0, 0x4D5A, 0}, {0x3C, 0xFFFF, 0}, {pe, 0x4551, 0}, {pe + 4, 0x014C, 0}, {optional_header, 0x10B, 0},
        {optional_header + 68, 3, 0}, {optional_header + 108, 4, 1}, {security, 0, 1}, {security, 0x7FFFFFFF, 1},
        {security + 4, 0, 1}, {security + 4, too_long, 1}, {entry, 8, 1}, {entry, too_long, 1}, {entry + 4, 0x20100, 1},
        {entry + 4, 0x10200, 1}, {pe, 0x4550, 1}};
    // clang-format on
    for (const auto& [offset, number, is_image] : rows) {
        restart();
        std::string image = image_;
        std::memcpy(&image[offset], &number, sizeof(number));
        embed(image);
        kr::host::refuse_drivers(image == image_);
        // A longer file of an earlier run gives way.
        std::ofstream(kr::host::native_path(driver_path)) << std::string(50000, 'o');
        EXPECT_EQ(run(),
                  unstarted + refused(is_image != 0 ? "This system doesn't support our driver signatures"
                                                    : "Unable to start the driver, error code = 193"))
            << offset << ' ' << number;
    }
}

TEST(ScopeGuard, LetsNoExceptionOutAndCanBeDismissed) {
    static int thrown_for = 0;
    int (*const throw_for)(int) = [](int argument) -> int { throw thrown_for += argument; };
    {
        const kr::scope_guard outer(throw_for, 1);
        const kr::scope_guard inner(throw_for, 10);
        kr::scope_guard dismissed(throw_for, 100);
        dismissed.dismiss();
    }
    EXPECT_EQ(thrown_for, 11);
}

} // namespace
