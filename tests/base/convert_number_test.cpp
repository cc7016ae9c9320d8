/// Integers from and to text: what each parser takes and refuses, and how digits are found.
#include "base/convert_number.h"

#include <limits>
#include <string>

#include <gmock/gmock.h>

#include "base/digit_scan.h"
#include "support/captured_log.h"
#include "support/guarded_buffer.h"

namespace {

using kr::test::guarded_buffer;
using testing::ElementsAre;
using wide = std::basic_string<kr_char>;

constexpr kr_result ok = KR_SUCCESS;
constexpr kr_result generic = 0x82000000;
constexpr kr_result unexpected = 0x82000003;
constexpr kr_result invalid = 0x8200000C;
constexpr kr_result overflow = 0x8200004D;

template <typename Char>
std::basic_string<Char> text_of(std::string_view text) {
    return {text.begin(), text.end()};
}

template <typename Number>
struct parse_row {
    int line;
    const char* text;
    kr_result result;
    Number value = 0;
};

template <typename Char, typename Number, size_t count>
void expect_parsed(kr_result (*parse)(const Char*, Number*),
                   const parse_row<Number> (&rows)[count]) {
    for (const auto& r : rows) {
        SCOPED_TRACE(r.line);
        constexpr Number untouched = 77;
        Number value = untouched;
        EXPECT_EQ(parse(text_of<Char>(r.text).c_str(), &value), r.result);
        EXPECT_EQ(value, r.result == ok ? r.value : untouched);
    }
}

TEST(NumbersByTheRuntime, OfSixteenBitsTakeAnyBaseAndNothingBehind) {
    constexpr parse_row<u16> rows[] = {
        {__LINE__, "0x1F", ok, 31},
        {__LINE__, "017", ok, 15},
        {__LINE__, "65535", ok, 65535},
        {__LINE__, "65536", generic},
        {__LINE__, "-1", generic},
        {__LINE__, "", ok, 0},
        {__LINE__, " +12", ok, 12},
        {__LINE__, "12 ", generic},
        {__LINE__, "08", generic},
        {__LINE__, "0x", generic},
        {__LINE__, "4294967297", generic},
        {__LINE__, "-4294967295", generic},
        {__LINE__, "99999999999999999999", generic},
    };
    expect_parsed(kr_string_to_ui16_w, rows);
    expect_parsed(kr_string_to_ui16_a, rows);
}

TEST(NumbersByTheRuntime, OfThirtyTwoBitsKeepTheRangeOfThatWidth) {
    constexpr parse_row<u32> unsigned_rows[] = {
        {__LINE__, "", generic},
        {__LINE__, " 0", generic},
        {__LINE__, "0", ok, 0},
        {__LINE__, "00", ok, 0},
        {__LINE__, " 7", ok, 7},
        {__LINE__, "7x", generic},
        {__LINE__, "010", ok, 10},
        {__LINE__, "0x1F", generic},
        {__LINE__, "4294967295", ok, 0xFFFFFFFF},
        {__LINE__, "4294967296", generic},
        {__LINE__, "-1", ok, 0xFFFFFFFF},
        {__LINE__, "-4294967295", ok, 1},
        {__LINE__, "-4294967296", generic},
        {__LINE__, "99999999999999999999", generic},
    };
    expect_parsed(kr_string_to_ui32_w, unsigned_rows);
    expect_parsed(kr_string_to_ui32_a, unsigned_rows);

    constexpr i32 lowest = std::numeric_limits<i32>::min();
    constexpr parse_row<i32> signed_rows[] = {
        {__LINE__, "", ok, 0},
        {__LINE__, "0x7fffffff", ok, 0x7FFFFFFF},
        {__LINE__, "2147483648", generic},
        {__LINE__, "-2147483648", ok, lowest},
        {__LINE__, "-2147483649", generic},
        {__LINE__, "1 ", generic},
    };
    expect_parsed(kr_string_to_si32_a, signed_rows);

    constexpr parse_row<u32> hexadecimal_rows[] = {
        {__LINE__, "ff", ok, 255},    {__LINE__, "1Gx", ok, 1},
        {__LINE__, " 0xFF", ok, 255}, {__LINE__, "FFFFFFFF", ok, 0xFFFFFFFF},
        {__LINE__, "", generic},      {__LINE__, "123456789", ok, 0x23456789},
        {__LINE__, "g", generic},
    };
    expect_parsed(kr_string_hexstr_to_ui32_a, hexadecimal_rows);
}

TEST(NumbersByTheRuntime, OfSixtyFourBitsIgnoreWhatFollows) {
    constexpr i64 highest = std::numeric_limits<i64>::max();
    constexpr parse_row<i64> wide_rows[] = {
        {__LINE__, "12abc", ok, 12},
        {__LINE__, "", ok, 0},
        {__LINE__, "yes", ok, 0},
        {__LINE__, " -5", ok, -5},
        {__LINE__, "9223372036854775807", ok, highest},
        {__LINE__, "9223372036854775808", generic},
        {__LINE__, "-9223372036854775808", ok, -highest - 1},
        {__LINE__, "-9223372036854775809", generic},
        {__LINE__, "00000000000000000000000000001x", ok, 1},
        {__LINE__, "18446744073709551615", generic},
    };
    expect_parsed(kr_string_to_si64_w, wide_rows);
    constexpr parse_row<u64> unsigned_rows[] = {
        {__LINE__, "-5", ok, u64{0} - 5},
        {__LINE__, "9223372036854775807", ok, highest},
        {__LINE__, "18446744073709551615", generic},
    };
    expect_parsed(kr_string_to_ui64_w, unsigned_rows);
    constexpr parse_row<i64> narrow_rows[] = {
        {__LINE__, "", ok, 0},
        {__LINE__, "-0", ok, 0},
        {__LINE__, "--5", ok, 0},
        {__LINE__, "abc", generic},
        {__LINE__, "0x5", generic},
        {__LINE__, " 0", generic},
        {__LINE__, "5x", ok, 5},
        {__LINE__, " -7", ok, -7},
        {__LINE__, "99999999999999999999", ok, highest},
    };
    expect_parsed(kr_string_to_si64_a, narrow_rows);
}

TEST(NumbersByStrictRules, TakeDigitsOnlyAndTheWholeRange) {
    constexpr parse_row<u64> rows[] = {
        {__LINE__, "18446744073709551615", ok, std::numeric_limits<u64>::max()},
        {__LINE__, "18446744073709551616", overflow},
        {__LINE__, "99999999999999999999", overflow},
        {__LINE__, "000000000000000000000000000000123", ok, 123},
        {__LINE__, "184467440737095516160x", overflow},
        {__LINE__, "18446744073709551615x", invalid},
        {__LINE__, "", invalid},
        {__LINE__, "+1", invalid},
        {__LINE__, " 1", invalid},
        {__LINE__, "1 ", invalid},
        {__LINE__, "1234567/", invalid},
        {__LINE__, "12345678:", invalid},
    };
    expect_parsed(kr_string_to_ui64_a_generic, rows);
    expect_parsed(kr_string_to_ui64_w_generic, rows);
    u64 value = 0;
    EXPECT_EQ(kr_string_to_ui64_w_generic(KR_TEXT("1\u0131"), &value), invalid);

    constexpr i64 highest = std::numeric_limits<i64>::max();
    constexpr parse_row<i64> signed_rows[] = {
        {__LINE__, "-", ok, 0},
        {__LINE__, "", invalid},
        {__LINE__, "--1", invalid},
        {__LINE__, "1-", invalid},
        {__LINE__, "9223372036854775807", ok, highest},
        {__LINE__, "9223372036854775808", overflow},
        {__LINE__, "-9223372036854775807", ok, -highest},
        {__LINE__, "-9223372036854775808", overflow},
    };
    expect_parsed(kr_string_to_si64_a_generic, signed_rows);
}

TEST(NumberFailures, AreLoggedWithTheTextUnderTheirOperation) {
    kr::test::captured_log log(KR_LOG_ERROR | KR_LOG_DEBUG);
    log.set_mask(KR_LOG_PRINTF, 0);
    u16 small = 0;
    u32 middle = 0;
    i32 middle_signed = 0;
    u64 large = 0;
    i64 large_signed = 0;
    EXPECT_EQ(kr_string_to_ui16_w(nullptr, &small), unexpected);
    EXPECT_EQ(kr_string_to_si64_a(nullptr, &large_signed), unexpected);
    EXPECT_EQ(kr_string_to_si64_a("x", &large_signed), generic);
    EXPECT_EQ(kr_string_to_ui64_w_generic(KR_TEXT("x"), &large), invalid);
    EXPECT_EQ(kr_string_to_ui64_w_generic(nullptr, &large), invalid);
    EXPECT_EQ(kr_string_to_ui64_w_generic(KR_TEXT("1"), nullptr), invalid);
    EXPECT_THAT(log.take(), ElementsAre());

    EXPECT_EQ(kr_string_to_ui16_w(KR_TEXT("1x"), &small), generic);
    EXPECT_EQ(kr_string_to_ui16_a("1x", &small), generic);
    EXPECT_EQ(kr_string_to_ui32_w(KR_TEXT(""), &middle), generic);
    EXPECT_EQ(kr_string_to_ui32_a("2x", &middle), generic);
    EXPECT_EQ(kr_string_to_si32_a("3x", &middle_signed), generic);
    EXPECT_EQ(kr_string_hexstr_to_ui32_a("x", &middle), generic);
    const kr_char* const far_out = KR_TEXT("99999999999999999999");
    EXPECT_EQ(kr_string_to_si64_w(far_out, &large_signed), generic);
    EXPECT_EQ(kr_string_to_ui64_w(far_out, &large), generic);
    EXPECT_THAT(
        log.take(),
        ElementsAre("E 01 kr_string_to_ui16_w: Cannot convert 1x to 16 bit integer.\n",
                    "E 01 kr_string_to_ui16_a: Cannot convert 1x to 16 bit integer.",
                    "E 01 kr_string_to_ui32_w: Cannot convert  to 32 bit unsigned integer.\n",
                    "E 01 kr_string_to_ui32_a: Cannot convert 2x to 32 bit unsigned integer.",
                    "E 01 kr_string_to_si32_a: Cannot convert 3x to 32 bit integer.",
                    "E 01 kr_string_hexstr_to_ui32_a: Cannot convert x to 32 bit integer.",
                    "E 01 kr_string_to_si64_w: Cannot convert 99999999999999999999 to 64 bit "
                    "integer.\n",
                    "E 01 kr_string_to_ui64_w: Cannot convert 99999999999999999999 to 64 bit "
                    "unsigned integer.\n"));

    EXPECT_EQ(kr_string_to_ui64_a_generic(nullptr, nullptr), invalid);
    EXPECT_EQ(kr_string_to_ui64_a_generic("", nullptr), invalid);
    EXPECT_EQ(kr_string_to_ui64_a_generic("1", nullptr), invalid);
    EXPECT_EQ(kr_string_to_ui64_a_generic("12z", &large), invalid);
    EXPECT_EQ(kr_string_to_si64_a_generic("", &large_signed), invalid);
    EXPECT_EQ(kr_string_to_si64_a_generic("-z", &large_signed), invalid);
    EXPECT_EQ(kr_string_to_si64_a_generic("-9223372036854775808", &large_signed), overflow);
    EXPECT_EQ(kr_string_from_ui64_a_generic(1, nullptr), invalid);
    EXPECT_THAT(
        log.take(),
        ElementsAre(
            "E 01 kr_string_to_ui64_a_generic: Passed string is null",
            "E 01 kr_string_to_ui64_a_generic: Empty string passed",
            "E 01 kr_string_to_ui64_a_generic: Output pointer is null",
            "E 01 kr_string_to_ui64_a_generic: Passed string contains illegal character z",
            "D 01 kr_string_to_si64_a_generic: Empty string passed",
            "D 01 kr_string_to_si64_a_generic: Passed string contains illegal character z",
            "D 01 kr_string_to_si64_a_generic: Passed string -9223372036854775808 contains a "
            "number too large to fit into UINT64",
            "E 01 kr_string_from_ui64_a_generic: Null pointer passed as output buffer"));
}

#if KR_VECTORS
template <typename Char>
void expect_same_scan() {
    // Behind the digits: their neighbours, a byte with the high bit, units that end in a digit.
    constexpr kr_char neighbours[] = {0, '0' - 1, '9' + 1, ' ', 0xB5, 0x8030, 0xFF35};
    for (const kr_char neighbour : neighbours) {
        for (size_t length = 0; length < 20; ++length) {
            SCOPED_TRACE(std::to_string(neighbour) + " behind " + std::to_string(length));
            auto text = text_of<Char>(std::string("98765432109876543210").substr(0, length));
            text += static_cast<Char>(neighbour);
            text += text_of<Char>("123456789");
            const auto expected = kr::detail::plain::scan_digits(text.c_str());
            const auto found = kr::detail::vectors::scan_digits(text.c_str());
            ASSERT_EQ(found.count, expected.count);
            ASSERT_EQ(found.value, expected.value);
        }
    }
}

TEST(DigitBlocks, AgreeWithSingleDigits) {
    expect_same_scan<char>();
    expect_same_scan<kr_char>();
}
#endif

TEST(NumberTexts, AreTheDigitsAndATerminatorAndNothingMore) {
    std::vector<u64> values = {0, std::numeric_limits<u64>::max()};
    for (const u64 power : kr::detail::powers_of_ten) {
        values.insert(values.end(), {power - 1, power, power + 1});
    }
    for (u32 bit = 0; bit < 64; ++bit) {
        values.insert(values.end(), {u64{1} << bit, u64{0} - (u64{1} << bit)});
    }
    const auto expect_text = [](const std::string& expected, auto convert, auto value, auto unit) {
        using Char = decltype(unit);
        guarded_buffer<Char> out(expected.size() + 1);
        EXPECT_EQ(convert(value, out.data()), ok);
        EXPECT_EQ(out.data(), text_of<Char>(expected));
    };
    for (const u64 value : values) {
        const auto signed_value = static_cast<i64>(value);
        expect_text(std::to_string(value), kr_string_from_ui64_a_generic, value, char{});
        expect_text(std::to_string(value), kr_string_from_ui64_w, value, kr_char{});
        expect_text(std::to_string(signed_value), kr_string_from_si64_a, signed_value, char{});
        expect_text(std::to_string(signed_value), kr_string_from_si64_w, signed_value, kr_char{});
    }
    EXPECT_EQ(kr_string_from_ui64_w(1, nullptr), unexpected);
    EXPECT_EQ(kr_string_from_si64_w(1, nullptr), unexpected);
    EXPECT_EQ(kr_string_from_si64_a(1, nullptr), unexpected);
}

} // namespace
