/// Typed settings: what each type makes of a stored text, what it stores in turn, and what it says
/// about values that it refuses.
#include "settings/typed.h"

#include "base/convert/guid.h"
#include "settings/multi_string.h"
#include "support/fresh_registry.h"
#include "support/string_array.h"

namespace {

using namespace kr::test;

template <typename T>
T value_type(kr_result (*)(kr_settings_handle, const kr_char*, T*));

using handle = kr_settings_handle;

/// Reads the entry "from" and stores its value as "to". A failed read leaves the value alone.
template <auto Get, auto Set>
kr_result copy(handle source, handle target) {
    using value = decltype(value_type(Get));
    value read, before;
    std::memset(&read, 0x77, sizeof(read));
    std::memset(&before, 0x77, sizeof(before));
    const kr_result result = Get(source, KR_TEXT("from"), &read);
    if (kr_result_failed(result)) {
        // NOLINTNEXTLINE(bugprone-suspicious-memory-comparison): padding must be untouched as well
        EXPECT_EQ(std::memcmp(&read, &before, sizeof(read)), 0);
        return result;
    }
    if constexpr (requires { Set(target, KR_TEXT("to"), &read); }) {
        return Set(target, KR_TEXT("to"), &read);
    } else {
        return Set(target, KR_TEXT("to"), static_cast<decltype(value(read))>(read));
    }
}

constexpr auto signed_int = copy<kr_settings_get_signed_int, kr_settings_set_signed_int>;
constexpr auto unsigned_int = copy<kr_settings_get_unsigned_int, kr_settings_set_unsigned_int>;
constexpr auto uint8 = copy<kr_settings_get_UINT8, kr_settings_set_UINT8>;
constexpr auto int8 = copy<kr_settings_get_INT8, kr_settings_set_INT8>;
constexpr auto uint16 = copy<kr_settings_get_UINT16, kr_settings_set_UINT16>;
constexpr auto int16 = copy<kr_settings_get_INT16, kr_settings_set_INT16>;
constexpr auto uint32 = copy<kr_settings_get_UINT32, kr_settings_set_UINT32>;
constexpr auto int32 = copy<kr_settings_get_INT32, kr_settings_set_INT32>;
constexpr auto uint64 = copy<kr_settings_get_UINT64, kr_settings_set_UINT64>;
constexpr auto int64 = copy<kr_settings_get_INT64, kr_settings_set_INT64>;
constexpr auto duration = copy<kr_settings_get_relative_time, kr_settings_set_relative_time>;
constexpr auto address = copy<kr_settings_get_ip_address, kr_settings_set_ip_address>;
constexpr auto subnet = copy<kr_settings_get_ip_subnet, kr_settings_set_ip_subnet>;
constexpr auto guid = copy<kr_settings_get_guid, kr_settings_set_guid>;

kr_result boolean(handle source, handle target) {
    u32 read = 7;
    const kr_result result = kr_settings_get_BOOL(source, KR_TEXT("from"), &read);
    return kr_result_failed(result) ? result
                                    : kr_settings_set_BOOL(target, KR_TEXT("to"), read == 1 ? -7 : 0);
}

kr_result strings(handle source, handle target) {
    const kr::owned_strings read = array_of({});
    const kr_result result = kr_settings_get_multi_string(source, KR_TEXT("from"), read.get());
    return kr_result_failed(result) ? result
                                    : kr_settings_set_multi_string(target, KR_TEXT("to"), read.get());
}

class TypedSettings : public testing::Test {
protected:
    captured_log log_;
    fresh_registry registry_;
    open_settings settings_;
    const handle unopened = reinterpret_cast<handle>(0x7FFF0004);
};

TEST_F(TypedSettings, CopyOrRefuseAndSaySo) {
    const char* const too_large = "9223372036854775808";
    const char* const digits = "00112233445566778899AABBCCDDEEFF";
    const char* const nowhere = "a handle that is not open";
    const char* const number = nullptr; // an entry that is no string
    // clang-format off
    const struct {
        int line;
        kr_result (*copy)(handle, handle);
        const char *from, *to;
        kr_result result = ok;
        std::vector<std::string> said = {};
    } rows[] = {
        {__LINE__, signed_int, "4294967297", "1"},
        {__LINE__, signed_int, "12abc", "12"},
        {__LINE__, unsigned_int, "-1", "4294967295"},
        {__LINE__, uint8, "256", nullptr, overflow},
        {__LINE__, uint8, "-1", nullptr, overflow},
        {__LINE__, int8, "-129", nullptr, overflow},
        {__LINE__, int8, "128", nullptr, overflow},
        {__LINE__, uint16, "65535", "65535"},
        {__LINE__, int16, "-32768", "-32768"},
        {__LINE__, uint16, "65536", nullptr, overflow},
        {__LINE__, int16, "32768", nullptr, overflow},
        {__LINE__, int16, too_large, nullptr, generic, {"get_signed_int: kr_string_to_si64() failed for string=9223372036854775808"}},
        {__LINE__, int8, "-1", nowhere, generic, {"set_signed_int: kr_settings_set_string(name_ptr=to, value=-1) failed."}},
        {__LINE__, uint32, "4294967295", "4294967295"},
        {__LINE__, int32, "2147483648", "-2147483648"},
        {__LINE__, int64, "-9223372036854775808", "-9223372036854775808"},
        {__LINE__, uint64, "9223372036854775807", "9223372036854775807"},
        {__LINE__, boolean, "2", "1"},
        {__LINE__, boolean, "256", nullptr, overflow, {"get_BOOL: kr_settings_get_UINT8() failed."}},
        {__LINE__, boolean, number, nullptr, generic, {"get_unsigned_int: kr_settings_get_string_alloc() failed for name=from", "get_BOOL: kr_settings_get_UINT8() failed."}},
        {__LINE__, boolean, "0", nowhere, generic, {"set_unsigned_int: kr_settings_set_string(name_ptr=to, value=0) failed.", "set_BOOL: kr_settings_set_UINT8() failed."}},
        {__LINE__, duration, "1500000000", "1500000000"},
        {__LINE__, duration, "0", nullptr, zero, {"set_relative_time: kr_time_getNanoseconds() failed."}},
        {__LINE__, duration, too_large, nullptr, generic, {"get_UINT64: kr_string_to_ui64() failed for string=9223372036854775808", "get_relative_time: kr_settings_get_UINT64() failed."}},
        {__LINE__, duration, "7", nowhere, generic, {"set_UINT64: kr_settings_set_string(name_ptr=to, value=7) failed.", "set_relative_time: kr_settings_set_UINT64() failed."}},
        {__LINE__, address, "255.255.255.255", "255.255.255.255"},
        {__LINE__, address, "0255.255.255.255", nullptr, generic, {"get_ip_address: kr_settings_get_string() failed."}},
        {__LINE__, address, "1.2.3.256", nullptr, generic, {"get_ip_address: kr_string_to_ipv4() failed."}},
        {__LINE__, address, "1.2.3.\xE9", nullptr, invalid, {"get_ip_address: kr_krchar_to_ascii() failed."}},
        {__LINE__, address, "1.2.3.4", nowhere, generic, {"set_ip_address: kr_settings_set_string() failed."}},
        {__LINE__, subnet, "10.0.0.0/0x10", "10.0.0.0/16"},
        {__LINE__, subnet, "255.255.255.255/255", "255.255.255.255/255"},
        {__LINE__, subnet, "10.0.0.0/", "10.0.0.0/0"},
        {__LINE__, subnet, "10.0.0.0", nullptr, generic, {"get_ip_subnet: Subnet separator not found."}},
        {__LINE__, subnet, "10.0.0/8", nullptr, generic, {"get_ip_subnet: kr_string_to_ipv4() failed."}},
        {__LINE__, subnet, "10.0.0.0/8/8", nullptr, generic, {"get_ip_subnet: kr_string_to_ui16_a() failed."}},
        {__LINE__, subnet, "10.0.0.0/256", nullptr, generic, {"get_ip_subnet: Invalid subnet"}},
        {__LINE__, subnet, "10.0.0.0/8", nowhere, generic, {"set_ip_subnet: kr_settings_set_string() failed"}},
        {__LINE__, guid, digits, digits},
        {__LINE__, guid, digits + 1, nullptr, generic, {"get_guid: kr_guid_from_string_simple() failed."}},
        {__LINE__, guid, digits, nowhere, generic, {"set_guid: kr_settings_set_string() failed."}},
        {__LINE__, strings, "a;b", "a;b;"},
        {__LINE__, strings, number, nullptr, generic, {"get_multi_string: kr_settings_get_string_alloc() failed."}},
        {__LINE__, strings, "a;b", nowhere, generic, {"set_multi_string: kr_settings_set_string() failed."}},
    };
    // clang-format on
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        settings_.plant("from", row.from);
        (void)kr_settings_delete_entry(settings_, KR_TEXT("to"));
        const bool lost = row.to == nowhere;
        EXPECT_EQ(row.copy(settings_, lost ? unopened : settings_), row.result);
        EXPECT_EQ(settings_.text("to"), row.to == nullptr || lost ? "<missing>" : row.to);
        char result[40];
        std::snprintf(result, sizeof(result), " Result is 0x%08X", row.result);
        std::string lines;
        for (const std::string& line : row.said) {
            lines +=
                "W kr_settings_" + line + (line.find("failed") == std::string::npos ? "" : result) + '\n';
        }
        EXPECT_EQ(said(log_, "07"), lines);
    }
}

TEST_F(TypedSettings, MissingEntriesAndOddValues) {
    for (const auto copy : {signed_int, int8, uint64, boolean, duration, strings}) {
        EXPECT_EQ(copy(settings_, settings_), not_found);
    }
    EXPECT_EQ(said(log_, "07"), "");
    for (const auto copy : {address, subnet, guid}) { EXPECT_EQ(copy(settings_, settings_), generic); }
    (void)log_.take();
    EXPECT_EQ(kr_settings_set_UINT64(settings_, KR_TEXT("to"), ~u64{0}), ok);
    EXPECT_EQ(settings_.text("to"), "18446744073709551615");
    const kr_ip_subnet refused = {0x0A000001, 256};
    EXPECT_EQ(kr_settings_set_ip_subnet(settings_, KR_TEXT("to"), &refused), invalid);
    handle group = nullptr;
    EXPECT_EQ(kr_settings_group_open(unopened, KR_TEXT("g"), &group), generic);
    EXPECT_EQ(said(log_, "07"), "W kr_settings_set_ip_subnet: invalid subnet mask\n"
                                "W kr_settings_group_open: Unable to open subkey 'g', error code = 6\n");
}

/// Entry and return lines of a getter and of its setter; what they call is a level deeper.
TEST_F(TypedSettings, TraceEntryAndReturn) {
    const std::string success = "0x02000000 () success \"Generic\" from \"Unknown source\"";
    const std::string digits = "00112233445566778899AABBCCDDEEFF";
    const struct {
        int line;
        kr_result (*copy)(handle, handle);
        std::string type, from, shown = ", value=-2", returned = "()";
    } rows[] = {
        {__LINE__, signed_int, "signed_int", "-2", ", value=-2", success},
        {__LINE__, unsigned_int, "unsigned_int", "2", ", value=2", success},
        {__LINE__, int64, "INT64", "-2", ", value=-2", success},
        {__LINE__, uint64, "UINT64", "2", ", value=2", success},
        {__LINE__, int8, "INT8", "-2", ", value=4294967294"},
        {__LINE__, uint8, "UINT8", "2", ", value=2"},
        {__LINE__, int16, "INT16", "-2"},
        {__LINE__, uint16, "UINT16", "2", ", value=2"},
        {__LINE__, int32, "INT32", "-2"},
        {__LINE__, uint32, "UINT32", "2", ", value=2"},
        {__LINE__, boolean, "BOOL", "2", ", value=-7", "(1)"},
        {__LINE__, duration, "relative_time", "2", ""},
        {__LINE__, address, "ip_address", "1.2.3.4", ", value=1.2.3.4", "(1.2.3.4)"},
        {__LINE__, subnet, "ip_subnet", "1.2.3.4/8", ", value=1.2.3.4/8", "(1.2.3.4 / 8)"},
        {__LINE__, guid, "guid", digits, ", value=" + digits, "(" + digits + ")"},
        {__LINE__, strings, "multi_string", "a;", "", success},
    };
    log_.set_mask(KR_LOG_SETTINGS, KR_LOG_CALL);
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        settings_.plant("from", row.from.c_str());
        EXPECT_EQ(row.copy(settings_, settings_), ok);
        const std::string get = "C 07 kr_settings_get_" + row.type, set = "C 07 kr_settings_set_" + row.type;
        std::vector<std::string> lines = log_.take();
        std::erase_if(lines, [](const std::string& line) { return line[5] == '.'; });
        EXPECT_THAT(lines, ElementsAre(get + ": Enter (name = from)", get + ": Return " + row.returned,
                                       set + ": Enter (name=to" + row.shown + ")",
                                       set + ": Return " + (row.type == "multi_string" ? success : "()")));
    }
}

} // namespace
