/// Typed settings: every type's text form in both directions, and values that must be refused.
#include "settings/typed.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>

#include "base/guid.h"
#include "support/fresh_registry.h"

namespace {

using kr::test::fresh_registry;
using kr::test::open_settings;

constexpr const kr_char* entry = KR_TEXT("entry");
constexpr u16 succeeded = 0xFFFF;

/// A stored text and what reading it gives: the value, or the failure's code.
template <typename T>
struct read_row {
    int line;
    const kr_char* text;
    T value;
    u16 code = succeeded;
};

class TypedSettings : public testing::Test {
protected:
    template <typename T>
    void reads(kr_result (*get)(kr_settings_handle, const kr_char*, T*),
               std::initializer_list<read_row<T>> rows) {
        for (const read_row<T>& row : rows) {
            SCOPED_TRACE(row.line);
            settings_.plant(entry, row.text);
            T value;
            std::memset(&value, 0x77, sizeof(value));
            T expected = row.value;
            if (row.code != succeeded) {
                expected = value;
            }
            EXPECT_EQ(get(settings_, entry, &value),
                      row.code == succeeded ? KR_SUCCESS : kr_result_make_error(row.code));
            EXPECT_EQ(std::memcmp(&value, &expected, sizeof(value)), 0);
        }
        EXPECT_EQ(get(settings_, entry, nullptr),
                  kr_result_make_error(KR_INVALID_ARGUMENT_TO_FUNCTION));
    }

    template <typename T>
    void writes(kr_result (*set)(kr_settings_handle, const kr_char*, T), T value,
                const kr_char* text) {
        EXPECT_EQ(set(settings_, entry, value), KR_SUCCESS);
        EXPECT_EQ(settings_.text(entry), text);
    }

    fresh_registry registry_;
    open_settings settings_;
};

TEST_F(TypedSettings, BaseNumbers) {
    constexpr i64 smallest = std::numeric_limits<i64>::min();
    reads<i32>(kr_settings_get_signed_int,
               {{__LINE__, KR_TEXT("-5"), -5},
                {__LINE__, KR_TEXT("4294967297"), 1},
                {__LINE__, KR_TEXT("12abc"), 12},
                {__LINE__, KR_TEXT(""), 0},
                {__LINE__, KR_TEXT("9223372036854775808"), 0, KR_GENERIC}});
    reads<u32>(kr_settings_get_unsigned_int,
               {{__LINE__, KR_TEXT("-1"), 4294967295}, {__LINE__, KR_TEXT("4294967296"), 0}});
    reads<i64>(kr_settings_get_INT64, {{__LINE__, KR_TEXT("-9223372036854775808"), smallest},
                                       {__LINE__, KR_TEXT("-9223372036854775809"), 0, KR_GENERIC}});
    reads<u64>(kr_settings_get_UINT64,
               {{__LINE__, KR_TEXT("9223372036854775807"), 9223372036854775807},
                {__LINE__, KR_TEXT("18446744073709551615"), 0, KR_GENERIC}});
    writes<i32>(kr_settings_set_signed_int, std::numeric_limits<i32>::min(),
                KR_TEXT("-2147483648"));
    writes<u32>(kr_settings_set_unsigned_int, 4294967295, KR_TEXT("4294967295"));
    writes<i64>(kr_settings_set_INT64, smallest, KR_TEXT("-9223372036854775808"));
    writes<u64>(kr_settings_set_UINT64, std::numeric_limits<u64>::max(),
                KR_TEXT("18446744073709551615"));
}

TEST_F(TypedSettings, SizedNumbersKeepTheirRange) {
    reads<u8>(kr_settings_get_UINT8, {{__LINE__, KR_TEXT("255"), 255},
                                      {__LINE__, KR_TEXT("256"), 0, KR_OVERFLOW},
                                      {__LINE__, KR_TEXT("-1"), 0, KR_OVERFLOW},
                                      {__LINE__, KR_TEXT("4294967297"), 1}});
    reads<i8>(kr_settings_get_INT8, {{__LINE__, KR_TEXT("-128"), -128},
                                     {__LINE__, KR_TEXT("127"), 127},
                                     {__LINE__, KR_TEXT("-129"), 0, KR_OVERFLOW},
                                     {__LINE__, KR_TEXT("128"), 0, KR_OVERFLOW}});
    reads<u16>(kr_settings_get_UINT16,
               {{__LINE__, KR_TEXT("65535"), 65535}, {__LINE__, KR_TEXT("65536"), 0, KR_OVERFLOW}});
    reads<i16>(kr_settings_get_INT16, {{__LINE__, KR_TEXT("-32768"), -32768},
                                       {__LINE__, KR_TEXT("32768"), 0, KR_OVERFLOW}});
    reads<u32>(kr_settings_get_UINT32, {{__LINE__, KR_TEXT("4294967295"), 4294967295}});
    reads<i32>(kr_settings_get_INT32, {{__LINE__, KR_TEXT("2147483648"), -2147483647 - 1}});
    reads<u32>(kr_settings_get_BOOL, {{__LINE__, KR_TEXT("2"), 1},
                                      {__LINE__, KR_TEXT("0"), 0},
                                      {__LINE__, KR_TEXT("yes"), 0},
                                      {__LINE__, KR_TEXT("256"), 0, KR_OVERFLOW}});
    writes<u8>(kr_settings_set_UINT8, 255, KR_TEXT("255"));
    writes<i8>(kr_settings_set_INT8, -128, KR_TEXT("-128"));
    writes<u16>(kr_settings_set_UINT16, 65535, KR_TEXT("65535"));
    writes<i16>(kr_settings_set_INT16, -32768, KR_TEXT("-32768"));
    writes<u32>(kr_settings_set_UINT32, 4294967295, KR_TEXT("4294967295"));
    writes<i32>(kr_settings_set_INT32, -1, KR_TEXT("-1"));
    writes<i32>(kr_settings_set_BOOL, -7, KR_TEXT("1"));
    writes<i32>(kr_settings_set_BOOL, 0, KR_TEXT("0"));
}

TEST_F(TypedSettings, Addresses) {
    reads<u32>(kr_settings_get_ip_address,
               {{__LINE__, KR_TEXT("255.255.255.255"), 0xFFFFFFFF},
                {__LINE__, KR_TEXT("192.168.0.1"), 0xC0A80001},
                {__LINE__, KR_TEXT("192.168.0.256"), 0, KR_GENERIC},
                {__LINE__, KR_TEXT("0255.255.255.255"), 0, KR_GENERIC},
                {__LINE__, KR_TEXT("1.2.3.\x00E9"), 0, KR_INVALID_ARGUMENT_TO_FUNCTION},
                {__LINE__, KR_TEXT(""), 0, KR_GENERIC}});
    reads<kr_ip_subnet>(kr_settings_get_ip_subnet,
                        {{__LINE__, KR_TEXT("10.0.0.0/8"), {0x0A000000, 8}},
                         {__LINE__, KR_TEXT("10.0.0.0/0x10"), {0x0A000000, 16}},
                         {__LINE__, KR_TEXT("255.255.255.255/255"), {0xFFFFFFFF, 255}},
                         {__LINE__, KR_TEXT("10.0.0.0/"), {0x0A000000, 0}},
                         {__LINE__, KR_TEXT("10.0.0.0"), {}, KR_GENERIC},
                         {__LINE__, KR_TEXT("10.0.0.0/300"), {}, KR_GENERIC},
                         {__LINE__, KR_TEXT("10.0.0.0/8/8"), {}, KR_GENERIC},
                         {__LINE__, KR_TEXT("10.0.0/8"), {}, KR_GENERIC}});
    writes<u32>(kr_settings_set_ip_address, 0xC0A80001, KR_TEXT("192.168.0.1"));
    const kr_ip_subnet widest = {0xFFFFFFFF, 255};
    writes(kr_settings_set_ip_subnet, &widest, KR_TEXT("255.255.255.255/255"));
    const kr_ip_subnet refused = {0, 256};
    EXPECT_EQ(kr_settings_set_ip_subnet(settings_, entry, &refused),
              kr_result_make_error(KR_INVALID_ARGUMENT_TO_FUNCTION));
    EXPECT_EQ(settings_.text(entry), KR_TEXT("255.255.255.255/255"));
}

TEST_F(TypedSettings, GuidsAndDurations) {
    const KRGUID guid = {{0x00, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77, 0x88, 0x99, 0xAA, 0xBB,
                          0xCC, 0xDD, 0xEE, 0xFF}};
    const kr_char* const digits = KR_TEXT("00112233445566778899AABBCCDDEEFF");
    const kr_char* const dashed = KR_TEXT("0011223344556677889-AABBCCDDEEFF");
    reads<KRGUID>(kr_settings_get_guid, {{__LINE__, digits, guid},
                                         {__LINE__, digits + 1, {}, KR_GENERIC},
                                         {__LINE__, dashed, {}, KR_INVALID_ARGUMENT_TO_FUNCTION}});
    writes(kr_settings_set_guid, &guid, digits);

    settings_.plant(entry, KR_TEXT("1500000000"));
    kr_time time = {};
    EXPECT_EQ(kr_settings_get_relative_time(settings_, entry, &time), KR_SUCCESS);
    EXPECT_EQ(time.unit, KR_TIME_UNIT_NANOSECONDS);
    EXPECT_EQ(time.count, 1500000000u);
    EXPECT_EQ(time.relative, 1u);
    time = {KR_TIME_UNIT_MILLISECONDS, 2500, 1};
    writes<const kr_time*>(kr_settings_set_relative_time, &time, KR_TEXT("2500000000"));
    time.count = 0;
    EXPECT_EQ(kr_settings_set_relative_time(settings_, entry, &time),
              kr_result_make_error(KR_ZERO));
    EXPECT_EQ(settings_.text(entry), KR_TEXT("2500000000"));
}

TEST_F(TypedSettings, TellsMissingFromUnreadable) {
    u32 number = 0;
    kr_time time = {};
    KRGUID guid = {};
    const kr_result not_found = kr_result_make_error(KR_NOT_FOUND);
    const kr_result generic = kr_result_make_error(KR_GENERIC);
    for (const kr_result expected : {not_found, generic}) {
        EXPECT_EQ(kr_settings_get_UINT32(settings_, entry, &number), expected);
        EXPECT_EQ(kr_settings_get_BOOL(settings_, entry, &number), expected);
        EXPECT_EQ(kr_settings_get_relative_time(settings_, entry, &time), expected);
        EXPECT_EQ(kr_settings_get_ip_address(settings_, entry, &number), generic);
        EXPECT_EQ(kr_settings_get_guid(settings_, entry, &guid), generic);
        settings_.plant(entry, REG_DWORD, std::vector<u8>{1, 0, 0, 0});
    }
    EXPECT_EQ(kr_settings_set_BOOL(nullptr, entry, 1), generic);
    EXPECT_EQ(kr_settings_set_ip_address(nullptr, entry, 1), generic);
    EXPECT_EQ(kr_settings_set_guid(nullptr, entry, &guid), generic);
}

} // namespace
