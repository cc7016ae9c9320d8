/// What the settings say: one line per failure where it happens, none for a missing entry, and the
/// trace of a read that goes through three operations.
#include <gmock/gmock.h>

#include "base/array_string.h"
#include "base/guid.h"
#include "settings/multi_string.h"
#include "settings/typed.h"
#include "support/captured_log.h"
#include "support/fresh_registry.h"

namespace {

using kr::test::open_settings;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using lines = std::vector<std::string>;

constexpr const kr_char* entry = KR_TEXT("entry");

class SettingsLines : public testing::Test {
protected:
    kr::test::captured_log log_;
    kr::test::fresh_registry registry_;
    open_settings settings_;
};

template <typename T, auto Get>
kr_result get(kr_settings_handle settings) {
    T value = {};
    return Get(settings, entry, &value);
}

kr_result get_list(kr_settings_handle settings) {
    kr_array_string array = {};
    return kr_settings_get_multi_string(settings, entry, &array);
}

TEST_F(SettingsLines, OneForEachFailure) {
    using operation = kr_result (*)(kr_settings_handle);
    const std::string generic = "0x82000000 (error \"Generic\" from \"Unknown source\")";
    const std::string bad_argument =
        "0x8200000C (error \"Invalid argument to function\" from \"Unknown source\")";
    const auto in = [](const char* function, const std::string& text) {
        return std::string("W 07 kr_settings_") + function + ": " + text;
    };
    const struct {
        int line;
        const kr_char* stored; ///< null: a number
        operation run;
        lines said;
    } rows[] = {
        {__LINE__,
         nullptr,
         get<u32, kr_settings_get_BOOL>,
         {in("get_unsigned_int",
             "kr_settings_get_string_alloc() failed for name=entry Result is " + generic),
          in("get_BOOL", "kr_settings_get_UINT8() failed. Result is " + generic)}},
        {__LINE__,
         KR_TEXT("99999999999999999999"),
         get<i16, kr_settings_get_INT16>,
         {"E 01 kr_string_to_si64_w: Cannot convert 99999999999999999999 to 64 bit integer.\n",
          in("get_signed_int", "kr_string_to_si64() failed for string=99999999999999999999 Result "
                               "is " +
                                   generic)}},
        {__LINE__,
         KR_TEXT("99999999999999999999"),
         get<kr_time, kr_settings_get_relative_time>,
         {"E 01 kr_string_to_ui64_w: Cannot convert 99999999999999999999 to 64 bit unsigned "
          "integer.\n",
          in("get_UINT64",
             "kr_string_to_ui64() failed for string=99999999999999999999 Result is " + generic),
          in("get_relative_time", "kr_settings_get_UINT64() failed. Result is " + generic)}},
        {__LINE__,
         nullptr,
         get<u32, kr_settings_get_ip_address>,
         {in("get_ip_address", "kr_settings_get_string() failed. Result is " + generic)}},
        {__LINE__,
         KR_TEXT("1.2.3"),
         get<u32, kr_settings_get_ip_address>,
         {in("get_ip_address", "kr_string_to_ipv4() failed. Result is " + generic)}},
        {__LINE__,
         KR_TEXT("1.2.3.4"),
         get<kr_ip_subnet, kr_settings_get_ip_subnet>,
         {in("get_ip_subnet", "Subnet separator not found.")}},
        {__LINE__,
         KR_TEXT("1.2.3.4/256"),
         get<kr_ip_subnet, kr_settings_get_ip_subnet>,
         {in("get_ip_subnet", "Invalid subnet")}},
        {__LINE__,
         KR_TEXT("0011223344556677889-AABBCCDDEEFF"),
         get<KRGUID, kr_settings_get_guid>,
         {in("get_guid", "kr_guid_from_string_simple() failed. Result is " + bad_argument)}},
        {__LINE__,
         KR_TEXT("a\\"),
         get_list,
         {in("parse_multi_string", "Parsing error. String 'a\\' is not properly escaped."),
          in("get_multi_string", "Unable to parse multi string a\\ Result is 0x82000003 (error "
                                 "\"Unexpected behaviour\" from \"Unknown source\")")}},
        {__LINE__,
         KR_TEXT(""),
         [](kr_settings_handle) { return kr_settings_set_INT8(nullptr, entry, -1); },
         {in("set_signed_int",
             "kr_settings_set_string(name_ptr=entry, value=-1) failed. Result is " + generic)}},
        {__LINE__,
         KR_TEXT(""),
         [](kr_settings_handle settings) {
             const kr_ip_subnet subnet = {1, 256};
             return kr_settings_set_ip_subnet(settings, entry, &subnet);
         },
         {in("set_ip_subnet", "invalid subnet mask")}},
        {__LINE__,
         KR_TEXT(""),
         [](kr_settings_handle settings) {
             const kr_time none = {};
             return kr_settings_set_relative_time(settings, entry, &none);
         },
         {in("set_relative_time", "kr_time_getNanoseconds() failed. Result is 0x8200004E (error "
                                  "\"Zero\" from \"Unknown source\")")}},
        {__LINE__,
         KR_TEXT(""),
         [](kr_settings_handle) {
             kr_settings_handle group = nullptr;
             return kr_settings_group_open(nullptr, entry, &group);
         },
         {in("group_open", "Unable to open subkey 'entry', error code = 6")}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        if (row.stored != nullptr) {
            settings_.plant(entry, row.stored);
        } else {
            settings_.plant(entry, REG_DWORD, std::vector<u8>{1, 0, 0, 0});
        }
        (void)log_.take();
        EXPECT_TRUE(kr_result_failed(row.run(settings_)));
        EXPECT_THAT(log_.take(), ElementsAreArray(row.said));
    }
}

TEST_F(SettingsLines, NoneForAMissingEntry) {
    for (const auto read : {get<u32, kr_settings_get_BOOL>, get<i8, kr_settings_get_INT8>,
                            get<kr_time, kr_settings_get_relative_time>, get_list}) {
        EXPECT_TRUE(kr_result_is(read(settings_), KR_NOT_FOUND));
    }
    EXPECT_THAT(log_.take(), IsEmpty());
}

TEST_F(SettingsLines, TraceOfARead) {
    settings_.plant(entry, KR_TEXT("2"));
    log_.set_mask(KR_LOG_SETTINGS, KR_LOG_CALL);
    EXPECT_EQ((get<u32, kr_settings_get_BOOL>(settings_)), KR_SUCCESS);
    EXPECT_THAT(log_.take(),
                ElementsAre("C 07 kr_settings_get_BOOL: Enter (name = entry)",
                            "C 07 ..kr_settings_get_UINT8: Enter (name = entry)",
                            "C 07 ....kr_settings_get_unsigned_int: Enter (name = entry)",
                            "C 07 ....kr_settings_get_unsigned_int: Return 0x02000000 () success "
                            "\"Generic\" from \"Unknown source\"",
                            "C 07 ..kr_settings_get_UINT8: Return ()",
                            "C 07 kr_settings_get_BOOL: Return (1)"));
}

} // namespace
