/// The probe from start to exit code on the stand-in, with every call that it makes failed once:
/// what it says, in which order it cleans up, what it leaves behind.
#include <gmock/gmock.h>

#include <array>
#include <fstream>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "driver_service.h"
#include "log/log.h"
#include "log/log_module.h"
#include "log/module.h"
#include "platform/host/fault.h"
#include "platform/host/world.h"
#include "platform/platform.h"
#include "probe.h"
#include "scope_guard.h"
#include "support/pe_image.h"

namespace {

using kr::host::armed_fault;
using kr::host::call_recorder;
using testing::ElementsAreArray;

constexpr const kr_char* driver_path = KR_TEXT("C:\\Windows\\System32\\drivers\\krdummy.sys");

/// What the calls of the clean-up are called in the rows; the stop and the verdict's key among
/// them.
const std::map<std::string, std::string> cleanup_names = {
    {"CloseHandle C:\\Windows\\System32\\drivers\\krdummy.sys", "file"},
    {"ControlService service krdummy", "stop"},
    {"DeleteService service krdummy", "delete"},
    {"CloseServiceHandle service krdummy", "service"},
    {"CloseServiceHandle manager", "manager"},
    {"RegCloseKey HKEY_LOCAL_MACHINE\\SOFTWARE\\Korinth", "key"},
    {"DeleteFileW C:\\Windows\\System32\\drivers\\krdummy.sys", "erase"},
};

/// What one run did.
struct outcome {
    int exit_code;
    std::vector<std::string> messages; ///< "LEVEL FUNCTION: TEXT"
    std::string cleanup;               ///< names from the table above, in order
    std::string driver;                ///< what the kernel said of the driver
    i64 file_size;                     ///< of the driver's file; -1 when it is gone
    std::vector<std::u16string> services;
    std::optional<u32> verdict;
    std::vector<kr::host::call_record> calls;
};

class ProbeFault : public testing::Test {
protected:
    void SetUp() override {
        kr::host::reset_world();
        image_ = pe_image::read_file(KR_TEST_DRIVER_IMAGE);
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
            if (name != cleanup_names.end()) {
                done.cleanup += (done.cleanup.empty() ? "" : " ") + name->second;
            }
        }
        std::ifstream file(kr::host::native_path(driver_path), std::ios::binary | std::ios::ate);
        done.file_size = file ? static_cast<i64>(file.tellg()) : -1;
        done.services = kr::host::service_names();
        done.verdict = stored_verdict();
        return done;
    }

    /// "krtest:________:0000002A; W(02); TEXT; FUNCTION()\n", perhaps behind a stamp.
    static std::string message_of(const std::string& line) {
        const std::size_t level = line.find("(02); ");
        const std::size_t end = line.rfind("; ");
        if (level == std::string::npos || level == 0 || end < level + 6) {
            return "unreadable: " + line;
        }
        const std::string function = line.substr(end + 2, line.rfind("()") - end - 2);
        return line.substr(level - 1, 1) + " " + function + ": " +
               line.substr(level + 6, end - level - 6);
    }

    static std::optional<u32> stored_verdict() {
        HKEY key = nullptr;
        if (RegOpenKeyW(HKEY_LOCAL_MACHINE, KR_TEXT("SOFTWARE\\Korinth"), &key) != ERROR_SUCCESS) {
            return std::nullopt;
        }
        DWORD value = 0;
        DWORD type = 0;
        DWORD size_bytes = sizeof(value);
        const LSTATUS status =
            RegQueryValueExW(key, KR_TEXT("driver_signature_supported"), nullptr, &type,
                             reinterpret_cast<BYTE*>(&value), &size_bytes);
        RegCloseKey(key);
        if (status != ERROR_SUCCESS || type != REG_DWORD || size_bytes != sizeof(value)) {
            return std::nullopt;
        }
        return value;
    }

    std::vector<u8> image_;
};

const std::string no_driver =
    "W wmain: Unable to extract the embedded test driver, cannot check if this system supports "
    "driver signatures";
const std::string compatible =
    "F wmain: Successfully loaded test driver, will mark system as compatible";
const std::string incompatible =
    "F wmain: Unable to load the test driver, will mark system as incompatible";
const std::string set_value = "F kr::store_system_support_for_driver_signature: Set registry DWORD "
                              "value HKLM\\SOFTWARE\\Korinth\\driver_signature_supported to ";
const std::string set_1 = set_value + "1";
const std::string set_0 = set_value + "0";

constexpr const char* whole_cleanup = "file stop delete service manager key erase";

enum class left { nothing, whole, part, empty };

/// How a run ends.
struct ending {
    int exit_code;
    const char* cleanup;
    left file = left::nothing;
    std::vector<std::u16string> services = {};
    std::optional<u32> verdict = {};
};

const ending not_extracted = {1, ""};
const ending not_started = {0, "file delete service manager key erase", left::nothing, {}, 0};
const ending loaded = {0, whole_cleanup, left::nothing, {}, 1};

struct fault_row {
    int line;
    kr::host::fault_plan plan;
    ending end;
    std::vector<std::string> messages;
};

const std::string extract = "W kr::extract_embedded_driver: ";
const std::string load = "W kr::load_driver: ";
const std::string store = "W kr::store_system_support_for_driver_signature: ";
const std::string not_stored = "W wmain: Unable to store system compatibility";
const std::string path = "C:\\Windows\\System32\\drivers\\krdummy.sys";

// One fault is one row.
// clang-format off
const fault_row fault_rows[] = {
    {__LINE__, {"SHGetFolderPathW", 0x80070002}, loaded,
     {"W kr::get_driver_path: Unable to SHGetFolderPathW(CSIDL_SYSTEM). HRESULT = 80070002",
      compatible, set_1}},
    {__LINE__, {"FindResourceW", 1814}, not_extracted,
     {extract + "Unable to find the embedded driver resource, error code = 1814", no_driver}},
    {__LINE__, {.call = "SizeofResource", .amount = 0}, not_extracted,
     {extract + "Embedded driver resource has zero size", no_driver}},
    {__LINE__, {"LoadResource", 8}, not_extracted,
     {extract + "Unable to load the embedded driver resource into memory, error code = 8",
      no_driver}},
    {__LINE__, {"LockResource"}, not_extracted,
     {extract + "Unable to lock the embedded driver into memory", no_driver}},
    {__LINE__, {"CreateFileW", 5}, not_extracted,
     {extract + "Unable to create the file where the embedded driver is to be extracted (" + path +
          "), error code = 5",
      no_driver}},
    {__LINE__, {"WriteFile", 112}, {1, "file", left::empty},
     {extract + "Unable to write the embedded driver to file '" + path + "', error code = 112",
      no_driver}},
    {__LINE__, {.call = "WriteFile", .amount = 100}, {1, "file", left::part},
     {extract + "The amount of bytes written (100) doesn't match the embedded driver size (" +
          std::to_string(pe_image::read_file(KR_TEST_DRIVER_IMAGE).size()) + ")",
      no_driver}},
    {__LINE__, {"OpenSCManagerW", 5}, {0, "file key erase", left::nothing, {}, 0},
     {load + "Unable to open a handle to the Service Control Manager, error code = 5", incompatible,
      set_0}},
    {__LINE__, {"CreateServiceW", 1072}, {0, "file manager key erase", left::nothing, {}, 0},
     {load + "Unable to create driver service, error code = 1072", incompatible, set_0}},
    {__LINE__, {"StartServiceW", 577}, not_started,
     {load + "This system doesn't support our driver signatures", incompatible, set_0}},
    {__LINE__, {"StartServiceW", 1450}, not_started,
     {load + "Unable to start the driver, error code = 1450", incompatible, set_0}},
    // Loaded for good: service and file stay until the system restarts, and the verdict stands.
    {__LINE__, {"ControlService", 1061}, {0, whole_cleanup, left::whole, {u"krdummy"}, 1},
     {compatible, set_1}},
    {__LINE__, {"DeleteService", 5}, {0, whole_cleanup, left::nothing, {u"krdummy"}, 1},
     {compatible, set_1}},
    {__LINE__, {"CloseServiceHandle", 6, 2}, loaded, {compatible, set_1}},
    {__LINE__, {"RegCreateKeyExW", 5}, {1, "file stop delete service manager erase"},
     {compatible, store + "Unable to create kr key 'SOFTWARE\\Korinth', error code = 5",
      not_stored}},
    {__LINE__, {"RegSetValueExW", 1018}, {1, whole_cleanup},
     {compatible,
      store + "Unable to store value 'driver_signature_supported' in key 'SOFTWARE\\Korinth', "
              "error code = 1018",
      not_stored}},
    {__LINE__, {"RegCloseKey", 6}, loaded, {compatible, set_1}},
    {__LINE__, {"DeleteFileW", 5}, {0, whole_cleanup, left::whole, {}, 1}, {compatible, set_1}},
};
// clang-format on

TEST_F(ProbeFault, EveryCallFailsOnce) {
    for (const fault_row& row : fault_rows) {
        SCOPED_TRACE(testing::Message() << "line " << row.line << ": " << row.plan.call);
        SetUp();
        const outcome done = run([&] { return armed_fault(row.plan); });
        EXPECT_THAT(done.messages, ElementsAreArray(row.messages));
        const std::map<left, i64> sizes = {{left::nothing, -1},
                                           {left::whole, static_cast<i64>(image_.size())},
                                           {left::part, 100},
                                           {left::empty, 0}};
        EXPECT_EQ(done.exit_code, row.end.exit_code);
        EXPECT_EQ(done.cleanup, row.end.cleanup);
        EXPECT_EQ(done.file_size, sizes.at(row.end.file));
        EXPECT_EQ(done.services, row.end.services);
        EXPECT_EQ(done.verdict, row.end.verdict);
    }
}

// A call that nobody thought of failing is a call whose failure nobody handles.
TEST_F(ProbeFault, TheTableKnowsEveryCall) {
    const outcome done = run([] { return 0; });
    EXPECT_EQ(done.exit_code, 0);
    EXPECT_THAT(done.messages, testing::ElementsAre(compatible, set_1));
    EXPECT_EQ(done.cleanup, whole_cleanup);
    EXPECT_EQ(done.driver, "driver krdummy loaded\ndriver krdummy unloaded\n");
    // A file that cannot be closed cannot be told from one that can.
    std::vector<std::string> known = {"CloseHandle"};
    for (const fault_row& row : fault_rows) {
        known.emplace_back(row.plan.call);
    }
    for (const kr::host::call_record& call : done.calls) {
        EXPECT_THAT(known, testing::Contains(call.name));
    }
}

// Without the warning bit failures are silent, yet the notices of level F come.
TEST_F(ProbeFault, WarningsObeyTheMaskAndNoticesDoNot) {
    const outcome refused = run([] {
        kr_log_category_masks[KR_LOG_MAIN] = KR_LOG_ERROR;
        return armed_fault({.call = "StartServiceW", .error = 577});
    });
    EXPECT_THAT(refused.messages, testing::ElementsAre(incompatible, set_0));
    SetUp();
    const outcome unstored = run([] {
        kr_log_category_masks[KR_LOG_MAIN] = KR_LOG_ERROR;
        return armed_fault({.call = "RegSetValueExW", .error = 5});
    });
    EXPECT_EQ(unstored.exit_code, 1);
    EXPECT_THAT(unstored.messages, testing::ElementsAre(compatible));
}

TEST_F(ProbeFault, ALeftoverServiceIsNotTouched) {
    const SC_HANDLE manager = OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS);
    CloseServiceHandle(
        CreateServiceW(manager, KR_TEXT("KRDUMMY"), KR_TEXT("old"), SERVICE_ALL_ACCESS,
                       SERVICE_KERNEL_DRIVER, SERVICE_DEMAND_START, SERVICE_ERROR_NORMAL,
                       KR_TEXT("C:\\old.sys"), nullptr, nullptr, nullptr, nullptr, nullptr));
    CloseServiceHandle(manager);
    const outcome done = run([] { return 0; });
    EXPECT_EQ(done.exit_code, 0);
    EXPECT_THAT(done.messages,
                testing::ElementsAre(load + "Unable to create driver service, error code = 1073",
                                     incompatible, set_0));
    EXPECT_EQ(done.cleanup, "file manager key erase");
    EXPECT_THAT(done.services, testing::ElementsAre(u"KRDUMMY"));
    EXPECT_EQ(done.verdict, 0U);
}

TEST_F(ProbeFault, TheImageDecides) {
    const std::vector<u8> text(21160, u8{'x'});
    std::vector<u8> unsigned_image = image_;
    const u32 header = pe_image(image_).header();
    std::fill_n(unsigned_image.begin() + header + 24 + 112 + 4 * 8, 8, u8{0});
    struct {
        int line;
        std::vector<u8> image;
        bool refuse;
        std::string message;
    } rows[] = {
        {__LINE__, text, false, load + "Unable to start the driver, error code = 193"},
        {__LINE__, unsigned_image, false,
         load + "This system doesn't support our driver signatures"},
        {__LINE__, image_, true, load + "This system doesn't support our driver signatures"},
    };
    for (auto& row : rows) {
        SCOPED_TRACE(testing::Message() << "line " << row.line);
        SetUp();
        embed(row.image);
        kr::host::refuse_drivers(row.refuse);
        // A longer file of an earlier run gives way.
        std::ofstream(kr::host::native_path(driver_path)) << std::string(50000, 'o');
        const outcome done = run([] { return 0; });
        EXPECT_EQ(done.exit_code, 0);
        EXPECT_THAT(done.messages, testing::ElementsAre(row.message, incompatible, set_0));
        EXPECT_EQ(done.driver, "");
        EXPECT_EQ(done.file_size, -1);
        EXPECT_EQ(done.verdict, 0U);
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
