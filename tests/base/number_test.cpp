/// Integers from and to text: what each parser takes and refuses, and how digits are found. The edges
/// of each range stand here; any text at all is held against a model by the fuzz target.
#include "base/convert/number_from_digits.h"
#include "base/convert/number_from_text.h"
#include "base/convert/number_to_text.h"

#include "base/convert/digit_scan.h"
#include "support/captured_log.h"
#include "support/guarded_buffer.h"

namespace {

using namespace kr::test;

constexpr i64 max_i64 = INT64_MAX;
constexpr u64 max_u64 = UINT64_MAX;

template <typename Char>
std::basic_string<Char> text_of(std::string_view text) {
    return {text.begin(), text.end()};
}

template <typename Number>
struct row {
    int line;
    const char* text;
    kr_result result;
    Number value = 77;
};

template <typename Char, typename Number>
void expect_nulls_refused(kr_result (*parse)(const Char*, Number*)) {
    Number value = 77;
    EXPECT_EQ(parse(nullptr, &value), unexpected);
    EXPECT_EQ(value, 77);
    EXPECT_EQ(parse(text_of<Char>("1").c_str(), nullptr), invalid);
    EXPECT_EQ(parse(nullptr, nullptr), unexpected);
}

template <typename Char, typename Number>
void expect_parsed(kr_result (*parse)(const Char*, Number*), std::initializer_list<row<Number>> rows) {
    for (const auto& r : rows) {
        SCOPED_TRACE(r.line);
        Number value = 77;
        EXPECT_EQ(parse(text_of<Char>(r.text).c_str(), &value), r.result);
        EXPECT_EQ(value, r.value);
    }
}

// clang-format off
TEST(NumbersByTheRuntime, KeepTheRangeOfTheirWidth) {
    const std::initializer_list<row<u16>> u16_rows = {
        {__LINE__, "0x1F", ok, 31},     {__LINE__, "017", ok, 15}, {__LINE__, "65535", ok, 65535},
        {__LINE__, "65536", generic},   {__LINE__, "-1", generic}, {__LINE__, "4294967297", generic},
    };
    expect_parsed(kr_string_to_ui16_w, u16_rows);
    expect_parsed(kr_string_to_ui16_a, u16_rows);
    const std::initializer_list<row<u32>> u32_rows = {
        {__LINE__, "", generic},   {__LINE__, "-4294967295", ok, 1},   {__LINE__, "4294967296", generic},
        {__LINE__, " 0", generic}, {__LINE__, "-4294967296", generic}, {__LINE__, "010", ok, 10},
    };
    expect_parsed(kr_string_to_ui32_w, u32_rows);
    expect_parsed(kr_string_to_ui32_a, u32_rows);
    expect_parsed<char, i32>(kr_string_to_si32_a, {
        {__LINE__, "2147483648", generic},  {__LINE__, "-2147483648", ok, -0x7FFFFFFF - 1},
        {__LINE__, "-2147483649", generic}, {__LINE__, "0x7fffffff ", generic},
    });
    expect_parsed<char, u32>(kr_string_hexstr_to_ui32_a, {
        {__LINE__, "1Gx", ok, 1}, {__LINE__, "123456789", ok, 0x23456789},
    });
    expect_parsed<kr_char, i64>(kr_string_to_si64_w, {
        {__LINE__, "12abc", ok, 12}, {__LINE__, "9223372036854775807", ok, max_i64}, {__LINE__, "yes", ok, 0},
        {__LINE__, " -5", ok, -5},   {__LINE__, "9223372036854775808", generic},
    });
    expect_parsed<kr_char, u64>(kr_string_to_ui64_w, {
        {__LINE__, "-5", ok, max_u64 - 4}, {__LINE__, "18446744073709551615", generic},
    });
    expect_parsed<char, i64>(kr_string_to_si64_a, {
        {__LINE__, "", ok, 0},   {__LINE__, "0x5", generic}, {__LINE__, "99999999999999999999", ok, max_i64},
        {__LINE__, "5x", ok, 5}, {__LINE__, " 0", generic},
    });
}

TEST(NumbersByStrictRules, TakeDigitsOnlyAndTheWholeRange) {
    const std::initializer_list<row<u64>> rows = {
        {__LINE__, "", invalid},   {__LINE__, "18446744073709551615", ok, max_u64},
        {__LINE__, "7", ok, 7},
        {__LINE__, "1 ", invalid}, {__LINE__, "18446744073709551616", overflow},
    };
    expect_parsed(kr_string_to_ui64_a_generic, rows);
    expect_parsed(kr_string_to_ui64_w_generic, rows);
    expect_parsed<char, i64>(kr_string_to_si64_a_generic, {
        {__LINE__, "-", ok, 0},     {__LINE__, "9223372036854775808", overflow},
        {__LINE__, "--1", invalid}, {__LINE__, "-9223372036854775807", ok, -max_i64},
    });
}

TEST(NumberFailures, AreLoggedWithTheTextUnderTheirOperation) {
    captured_log log(KR_LOG_ERROR | KR_LOG_DEBUG);
    log.set_mask(KR_LOG_PRINTF, 0);
    [](auto... parse) { (expect_nulls_refused(parse), ...); }(
        kr_string_to_ui16_w, kr_string_to_ui16_a, kr_string_to_ui32_w, kr_string_to_ui32_a, kr_string_to_si32_a,
        kr_string_hexstr_to_ui32_a, kr_string_to_si64_w, kr_string_to_ui64_w, kr_string_to_si64_a);
    u16 small = 0;
    u32 middle = 0;
    i32 middle_signed = 0;
    u64 large = 0;
    i64 large_signed = 0;
    const kr_char* const far_out = KR_TEXT("9999999999999999999");
    const std::string cannot = "Cannot convert ";
    const struct {
        int line;
        kr_result result, expected;
        std::string text = {}; ///< behind "kr_string_"; none: silent
    } failures[] = {
        {__LINE__, kr_string_to_si64_a("x", &large_signed), generic},
        {__LINE__, kr_string_to_ui64_w_generic(KR_TEXT("1"), nullptr), invalid},
        {__LINE__, kr_string_from_si64_w(1, nullptr), unexpected},
        {__LINE__, kr_string_from_si64_a(1, nullptr), unexpected},
        {__LINE__, kr_string_from_ui64_w(1, nullptr), unexpected},
        {__LINE__, kr_string_to_ui16_w(KR_TEXT("1x"), &small), generic, "to_ui16_w: " + cannot + "1x to 16 bit integer.\n"},
        {__LINE__, kr_string_to_ui16_a("1x", &small), generic, "to_ui16_a: " + cannot + "1x to 16 bit integer."},
        {__LINE__, kr_string_to_ui32_w(KR_TEXT(""), &middle), generic, "to_ui32_w: " + cannot + " to 32 bit unsigned integer.\n"},
        {__LINE__, kr_string_to_ui32_a("2x", &middle), generic, "to_ui32_a: " + cannot + "2x to 32 bit unsigned integer."},
        {__LINE__, kr_string_to_si32_a("3x", &middle_signed), generic, "to_si32_a: " + cannot + "3x to 32 bit integer."},
        {__LINE__, kr_string_hexstr_to_ui32_a("x", &middle), generic, "hexstr_to_ui32_a: " + cannot + "x to 32 bit integer."},
        {__LINE__, kr_string_to_si64_w(far_out, &large_signed), generic, "to_si64_w: " + cannot + "9999999999999999999 to 64 bit integer.\n"},
        {__LINE__, kr_string_to_ui64_w(far_out, &large), generic, "to_ui64_w: " + cannot + "9999999999999999999 to 64 bit unsigned integer.\n"},
        {__LINE__, kr_string_to_ui64_a_generic(nullptr, nullptr), invalid, "to_ui64_a_generic: Passed string is null"},
        {__LINE__, kr_string_to_ui64_a_generic("", nullptr), invalid, "to_ui64_a_generic: Empty string passed"},
        {__LINE__, kr_string_to_ui64_a_generic("1", nullptr), invalid, "to_ui64_a_generic: Output pointer is null"},
        {__LINE__, kr_string_to_ui64_a_generic("12z", &large), invalid, "to_ui64_a_generic: Passed string contains illegal character z"},
        {__LINE__, kr_string_from_ui64_a_generic(1, nullptr), invalid, "from_ui64_a_generic: Null pointer passed as output buffer"},
    };
    // clang-format on
    std::vector<std::string> lines;
    for (const auto& f : failures) {
        EXPECT_EQ(f.result, f.expected) << f.line;
        if (!f.text.empty()) { lines.push_back("E 01 kr_string_" + f.text); }
    }
    EXPECT_EQ(log.take(), lines);
    EXPECT_EQ(kr_string_to_si64_a_generic("", &large_signed), invalid);
    EXPECT_EQ(kr_string_to_si64_a_generic("-9223372036854775808", &large_signed), overflow);
    EXPECT_THAT(log.take(),
                ElementsAre("D 01 kr_string_to_si64_a_generic: Empty string passed",
                            "D 01 kr_string_to_si64_a_generic: Passed string -9223372036854775808 "
                            "contains a number too large to fit into UINT64"));
}

#if KR_VECTORS
template <typename Char>
void expect_same_scan() {
    // Behind the digits: their neighbours, a byte with the high bit, units that end in a digit.
    for (const int neighbour : {0, '0' - 1, '9' + 1, int{' '}, 0xB5, 0x8030, 0xFF35}) {
        for (size_t length = 0; length < 20; ++length) {
            auto text = text_of<Char>(std::string("98765432109876543210").substr(0, length));
            text += static_cast<Char>(neighbour);
            text += text_of<Char>("123456789");
            const auto expected = kr::detail::plain::scan_digits(text.c_str());
            const auto found = kr::detail::vectors::scan_digits(text.c_str());
            ASSERT_EQ(std::pair(found.count, found.value), std::pair(expected.count, expected.value))
                << neighbour << " behind " << length;
        }
    }
}

TEST(DigitBlocks, AgreeWithSingleDigits) {
    expect_same_scan<char>();
    expect_same_scan<kr_char>();
}
#endif

template <typename Char, typename Number>
void expect_text(kr_result (*convert)(Number, Char*), Number value) {
    const std::string expected = std::to_string(value);
    guarded_buffer<Char> out(expected.size() + 1);
    EXPECT_EQ(convert(value, out.data()), ok);
    EXPECT_EQ(out.data(), text_of<Char>(expected));
}

TEST(NumberTexts, AreTheDigitsAndATerminatorAndNothingMore) {
    for (const u64 power : kr::detail::powers_of_ten) {
        for (const u64 value : {power - 1, power, 0 - power}) {
            expect_text(kr_string_from_ui64_a_generic, value);
            expect_text(kr_string_from_ui64_w, value);
            expect_text(kr_string_from_si64_a, static_cast<i64>(value));
            expect_text(kr_string_from_si64_w, static_cast<i64>(value));
        }
    }
}

} // namespace
