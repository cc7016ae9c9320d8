/// The probe from start to exit code on the stand-in, with every call that it makes failed once:
/// what it says, in which order it cleans up, what it leaves behind.
#include <algorithm>
#include <cstring>
#include <fstream>
#include <map>
#include <optional>
#include <regex>

#include <gmock/gmock.h>

#include "log/log.h"
#include "log/startup/log_module.h"
#include "log/startup/module.h"
#include "platform/host/fault.h"
#include "platform/host/world.h"
#include "probe.h"
#include "scope_guard.h"
#include "support/system.h"

namespace {

using kr::host::armed_fault;
using kr::host::call_recorder;

constexpr const kr_char* driver_path = KR_TEXT("C:\\Windows\\System32\\drivers\\krdummy.sys");

/// What the calls of the clean-up, with the stop and the verdict's key, are called in the rows.
const std::map<std::string, std::string> cleanup_names = {
    {"CloseHandle C:\\Windows\\System32\\drivers\\krdummy.sys", "file"},
    {"ControlService service krdummy", "stop"},
    {"DeleteService service krdummy", "delete"},
    {"CloseServiceHandle service krdummy", "service"},
    {"CloseServiceHandle manager", "manager"},
    {"RegCloseKey HKEY_LOCAL_MACHINE\\SOFTWARE\\Korinth", "key"},
    {"DeleteFileW C:\\Windows\\System32\\drivers\\krdummy.sys", "erase"},
};

std::vector<u8> read_image() {
    std::ifstream file(KR_TEST_DRIVER_IMAGE, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

const i64 whole = static_cast<i64>(read_image().size());

/// How a run ends.
struct ending {
    int exit_code = 0;
    std::string cleanup;                       ///< names from the table above, in order
    std::vector<std::string> messages;         ///< "LEVEL FUNCTION: TEXT"; "" is the row's own
    std::optional<u32> verdict = {};           ///< as stored
    i64 file_size = -1;                        ///< of the driver's file; -1 when it is gone
    std::vector<std::u16string> services = {}; ///< left behind
};

/// What one run did.
struct outcome : ending {
    std::string driver; ///< what the kernel said of the driver
    std::vector<kr::host::call_record> calls;
};

void expect_ending(const outcome& done, const ending& end, const std::string& message = {}) {
    std::vector<std::string> messages = end.messages;
    std::replace(messages.begin(), messages.end(), std::string(), message);
    EXPECT_EQ(done.messages, messages);
    EXPECT_EQ(done.exit_code, end.exit_code);
    EXPECT_EQ(done.cleanup, end.cleanup);
    EXPECT_EQ(done.file_size, end.file_size);
    EXPECT_EQ(done.services, end.services);
    EXPECT_EQ(done.verdict, end.verdict);
}

class ProbeFault : public testing::Test {
protected:
    void SetUp() override {
        kr::host::reset_world();
        image_ = read_image();
        embed(image_);
        kr_char system_directory[MAX_PATH]; // asked for once, so that it is there
        SHGetFolderPathW(nullptr, CSIDL_SYSTEM, nullptr, SHGFP_TYPE_CURRENT, system_directory);
        DeleteFileW(driver_path);
    }
    void TearDown() override {
        kr_fini();
        kr::host::clear_resources();
        kr::host::reset_world();
    }

    static void embed(std::span<const u8> bytes) {
        kr::host::add_resource(KR_TEXT("DRIVER"), KR_TEXT("KRDUMMY"), bytes);
    }

    /// Runs the probe once. The library is started before, so that an armed fault is the probe's.
    template <typename Prepare>
    outcome run(Prepare prepare) {
        outcome done{};
        kr::host::set_debug_sink([&](kr::host::debug_source source, std::u16string_view text) {
            const std::string line = kr::host::to_utf8(text);
            if (source == kr::host::debug_source::kernel) {
                done.driver += line;
            } else {
                done.messages.push_back(message_of(line));
            }
        });
        kr_log_register_module(KR_TEXT("windbg"));
        EXPECT_EQ(kr_init(), KR_SUCCESS);
        {
            const call_recorder recorder;
            [[maybe_unused]] const auto armed = prepare();
            done.exit_code = kr::run_probe();
            done.calls = recorder.calls();
        }
        kr_fini();
        for (const kr::host::call_record& call : done.calls) {
            const auto name = cleanup_names.find(call.name + " " + call.argument);
            if (name == cleanup_names.end()) { continue; }
            done.cleanup += (done.cleanup.empty() ? "" : " ") + name->second;
        }
        std::ifstream file(kr::host::native_path(driver_path), std::ios::binary | std::ios::ate);
        done.file_size = file ? static_cast<i64>(file.tellg()) : -1;
        done.services = kr::host::service_names();
        done.verdict = stored_verdict();
        return done;
    }

    /// "krtest:________:0000002A; W(02); TEXT; FUNCTION()\n", perhaps behind a stamp.
    static std::string message_of(const std::string& line) {
        static const std::regex form(".*([A-Z])\\(02\\); (.*); ([^;]*)\\(\\)\n");
        std::smatch parts;
        return std::regex_match(line, parts, form) ? parts.str(1) + " " + parts.str(3) + ": " + parts.str(2)
                                                   : "unreadable: " + line;
    }

    static std::optional<u32> stored_verdict() {
        HKEY key = nullptr;
        if (RegOpenKeyW(HKEY_LOCAL_MACHINE, u"SOFTWARE\\Korinth", &key) != ERROR_SUCCESS) {
            return std::nullopt;
        }
        DWORD value = 0, type = 0, size_bytes = sizeof(value);
        const LSTATUS status = RegQueryValueExW(key, u"driver_signature_supported", nullptr, &type,
                                                reinterpret_cast<BYTE*>(&value), &size_bytes);
        RegCloseKey(key);
        const bool is_whole = status == ERROR_SUCCESS && type == REG_DWORD && size_bytes == sizeof(value);
        return is_whole ? std::optional<u32>(value) : std::nullopt;
    }

    std::vector<u8> image_;
};

const std::string no_driver = "W wmain: Unable to extract the embedded test driver, cannot check if this "
                              "system supports driver signatures";
const std::string compatible = "F wmain: Successfully loaded test driver, will mark system as compatible";
const std::string incompatible = "F wmain: Unable to load the test driver, will mark system as incompatible";
const std::string store = " kr::store_system_support_for_driver_signature: ";
const std::string set_value =
    "F" + store + "Set registry DWORD value HKLM\\SOFTWARE\\Korinth\\driver_signature_supported to ";
const std::string set_1 = set_value + "1", set_0 = set_value + "0";
const std::string not_stored = "W wmain: Unable to store system compatibility";
const std::string extract = "W kr::extract_embedded_driver: ", load = "W kr::load_driver: ";
const std::string not_supported = load + "This system doesn't support our driver signatures";
const std::string path = "C:\\Windows\\System32\\drivers\\krdummy.sys";

constexpr const char* whole_cleanup = "file stop delete service manager key erase";
const ending loaded = {0, whole_cleanup, {compatible, set_1}, 1};
const std::vector<std::string> extracts_nothing = {"", no_driver};
const ending not_extracted = {1, "", extracts_nothing};
const std::vector<std::string> loads_nothing = {"", incompatible, set_0};
const ending no_service = {0, "file manager key erase", loads_nothing, 0};
const ending not_started = {0, "file delete service manager key erase", loads_nothing, 0};
const std::vector<std::string> stores_nothing = {compatible, "", not_stored};

struct fault_row {
    int line;
    kr::host::fault_plan plan;
    ending end;
    std::string message = {};
};

// One fault is one row.
// clang-format off
const fault_row fault_rows[] = {
    {__LINE__, {"SHGetFolderPathW", 0x80070002}, {0, whole_cleanup, {"", compatible, set_1}, 1},
     "W kr::get_driver_path: Unable to SHGetFolderPathW(CSIDL_SYSTEM). HRESULT = 80070002"},
    {__LINE__, {"FindResourceW", 1814}, not_extracted,
     extract + "Unable to find the embedded driver resource, error code = 1814"},
    {__LINE__, {.call = "SizeofResource", .amount = 0}, not_extracted,
     extract + "Embedded driver resource has zero size"},
    {__LINE__, {"LoadResource", 8}, not_extracted,
     extract + "Unable to load the embedded driver resource into memory, error code = 8"},
    {__LINE__, {"LockResource"}, not_extracted,
     extract + "Unable to lock the embedded driver into memory"},
    {__LINE__, {"CreateFileW", 5}, not_extracted,
     extract + "Unable to create the file where the embedded driver is to be extracted (" + path + "), error code = 5"},
    {__LINE__, {"WriteFile", 112}, {1, "file", extracts_nothing, {}, 0},
     extract + "Unable to write the embedded driver to file '" + path + "', error code = 112"},
    {__LINE__, {.call = "WriteFile", .amount = 100}, {1, "file", extracts_nothing, {}, 100},
     extract + "The amount of bytes written (100) doesn't match the embedded driver size (" + std::to_string(whole) + ")"},
    {__LINE__, {"OpenSCManagerW", 5}, {0, "file key erase", loads_nothing, 0},
     load + "Unable to open a handle to the Service Control Manager, error code = 5"},
    {__LINE__, {"CreateServiceW", 1072}, no_service,
     load + "Unable to create driver service, error code = 1072"},
    {__LINE__, {"StartServiceW", 577}, not_started, not_supported},
    {__LINE__, {"StartServiceW", 1450}, not_started, load + "Unable to start the driver, error code = 1450"},
    // Loaded for good: the service stays until the system restarts, and the verdict stands.
    {__LINE__, {"ControlService", 1061}, {0, whole_cleanup, loaded.messages, 1, -1, {u"krdummy"}}},
    {__LINE__, {"DeleteService", 5}, {0, whole_cleanup, loaded.messages, 1, -1, {u"krdummy"}}},
    {__LINE__, {"CloseServiceHandle", 6, 2}, loaded},
    {__LINE__, {"RegCreateKeyExW", 5}, {1, "file stop delete service manager erase", stores_nothing},
     "W" + store + "Unable to create kr key 'SOFTWARE\\Korinth', error code = 5"},
    {__LINE__, {"RegSetValueExW", 1018}, {1, whole_cleanup, stores_nothing},
     "W" + store + "Unable to store value 'driver_signature_supported' in key 'SOFTWARE\\Korinth', error code = 1018"},
    {__LINE__, {"RegCloseKey", 6}, loaded},
    {__LINE__, {"DeleteFileW", 5}, {0, whole_cleanup, loaded.messages, 1, whole}},
};
// clang-format on

TEST_F(ProbeFault, EveryCallFailsOnce) {
    for (const fault_row& row : fault_rows) {
        SCOPED_TRACE(testing::Message() << "line " << row.line << ": " << row.plan.call);
        SetUp();
        expect_ending(run([&] { return armed_fault(row.plan); }), row.end, row.message);
    }
}

// A call that nobody thought of failing is a call whose failure nobody handles.
TEST_F(ProbeFault, TheTableKnowsEveryCall) {
    const outcome done = run([] { return 0; });
    expect_ending(done, loaded);
    EXPECT_EQ(done.driver, "driver krdummy loaded\ndriver krdummy unloaded\n");
    // A file that cannot be closed cannot be told from one that can.
    std::vector<std::string> known = {"CloseHandle"};
    for (const fault_row& row : fault_rows) { known.emplace_back(row.plan.call); }
    for (const kr::host::call_record& call : done.calls) { EXPECT_THAT(known, testing::Contains(call.name)); }
}

// Without the warning bit failures are silent, yet the notices of level F come.
TEST_F(ProbeFault, WarningsObeyTheMaskAndNoticesDoNot) {
    const std::pair<const char*, ending> rows[] = {
        {"StartServiceW", {0, not_started.cleanup, {incompatible, set_0}, 0}},
        {"RegSetValueExW", {1, whole_cleanup, {compatible}}},
    };
    for (const auto& [call, end] : rows) {
        SetUp();
        expect_ending(run([call = call] {
                          kr_log_category_masks[KR_LOG_MAIN] = KR_LOG_ERROR;
                          return armed_fault({.call = call, .error = 5});
                      }),
                      end);
    }
}

TEST_F(ProbeFault, ADriverIsLoadedOnceAndUnloadedOnce) {
    const SC_HANDLE manager = OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS);
    const SC_HANDLE driver =
        CreateServiceW(manager, u"d", u"d", SERVICE_ALL_ACCESS, SERVICE_KERNEL_DRIVER, SERVICE_DEMAND_START,
                       SERVICE_ERROR_NORMAL, kr::host::to_utf16(KR_TEST_DRIVER_IMAGE).c_str(), nullptr,
                       nullptr, nullptr, nullptr, nullptr);
    SERVICE_STATUS status{};
    EXPECT_TRUE(StartServiceW(driver, 0, nullptr));
    EXPECT_EQ(kr::test::error_of(StartServiceW(driver, 0, nullptr)), 1056u);
    EXPECT_TRUE(ControlService(driver, SERVICE_CONTROL_STOP, &status));
    EXPECT_EQ(status.dwCurrentState, SERVICE_STOPPED);
    EXPECT_EQ(kr::test::error_of(ControlService(driver, SERVICE_CONTROL_STOP, &status)), 1062u);
}

TEST_F(ProbeFault, ALeftoverServiceIsNotTouched) {
    const SC_HANDLE manager = OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS);
    CloseServiceHandle(CreateServiceW(manager, KR_TEXT("KRDUMMY"), KR_TEXT("old"), SERVICE_ALL_ACCESS,
                                      SERVICE_KERNEL_DRIVER, SERVICE_DEMAND_START, SERVICE_ERROR_NORMAL,
                                      KR_TEXT("C:\\old.sys"), nullptr, nullptr, nullptr, nullptr, nullptr));
    CloseServiceHandle(manager);
    ending end = no_service;
    end.services = {u"KRDUMMY"};
    expect_ending(run([] { return 0; }), end, load + "Unable to create driver service, error code = 1073");
}

// One number of the good image is broken in each row; the last two are cut and refused by policy.
TEST_F(ProbeFault, TheImageDecides) {
    const auto number_at = [this](u32 offset) {
        u32 number = 0;
        std::memcpy(&number, &image_[offset], sizeof(number));
        return number;
    };
    const u32 pe = number_at(0x3C), optional_header = pe + 24, security = optional_header + 112 + 4 * 8;
    const u32 entry = number_at(security), size = static_cast<u32>(image_.size());
    const struct {
        int line;
        u32 offset;
        u16 number;
        const char* why = "This system doesn't support our driver signatures";
        u32 kept_bytes = 0xFFFFFFFF;
        bool refuse = false;
    } rows[] = {
        {__LINE__, 0, 0x4D5A, "Unable to start the driver, error code = 193"},
        {__LINE__, 0x3C, 0xFFFF, "Unable to start the driver, error code = 193"},
        {__LINE__, pe + 4, 0x014C, "Unable to start the driver, error code = 193"},
        {__LINE__, optional_header, 0x10B, "Unable to start the driver, error code = 193"},
        {__LINE__, optional_header + 68, 3, "Unable to start the driver, error code = 193"},
        {__LINE__, optional_header + 108, 4},
        {__LINE__, security, static_cast<u16>(entry + 1)},
        {__LINE__, security, 0},
        {__LINE__, security + 4, 0},
        {__LINE__, security + 4, static_cast<u16>(size - entry + 1)},
        {__LINE__, entry, static_cast<u16>(size - entry + 1)},
        {__LINE__, entry + 4, 0x0100},
        {__LINE__, entry + 6, 1},
        {__LINE__, pe, 0x4550, "This system doesn't support our driver signatures", security},
        {__LINE__, pe, 0x4550, "Unable to start the driver, error code = 193", 1},
        {__LINE__, pe, 0x4550, "This system doesn't support our driver signatures", 0xFFFFFFFF, true},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        SetUp();
        std::vector<u8> image = image_;
        std::memcpy(&image[row.offset], &row.number, sizeof(row.number));
        image.resize(std::min(size, row.kept_bytes));
        embed(image);
        kr::host::refuse_drivers(row.refuse);
        // A longer file of an earlier run gives way.
        std::ofstream(kr::host::native_path(driver_path)) << std::string(50000, 'o');
        const outcome done = run([] { return 0; });
        expect_ending(done, not_started, load + row.why);
        EXPECT_EQ(done.driver, "");
    }
}

int thrown_for = 0;

int throw_for(int argument) {
    thrown_for += argument;
    throw argument;
}

TEST(ScopeGuard, LetsNoExceptionOutAndCanBeDismissed) {
    {
        const kr::scope_guard outer(throw_for, 1);
        const kr::scope_guard inner(throw_for, 10);
        kr::scope_guard dismissed(throw_for, 100);
        dismissed.dismiss();
    }
    EXPECT_EQ(thrown_for, 11);
}

} // namespace
