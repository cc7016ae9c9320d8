/// The engine's output, sizes and refusals, through its entry points.
#include "printf/printf.h"

#include "support/checked_format.h"

namespace {

using namespace kr::test;

// The single conversions are the examples of docs/formatting.md; those that the C library shares are
// held against it by the fuzz target.
TEST(Engine, JoinsLiteralsAndConversions) {
    const kr_result failure = 0x82000002;
    const struct {
        int line;
        std::string text, expected;
    } rows[] = {
        {__LINE__, formatted(""), ""},
        {__LINE__, formatted("%%%d%%%%%d%%", 1, 2), "%1%%2%"},
        {__LINE__, formatted("%s%s", "", "seventeen letters"), "seventeen letters"},
        {__LINE__, formatted("%_g%d", nullptr, 5), "(null)5"},
        {__LINE__, formatted("abc %03d, %02d; %5u", -1, 123, 7), "abc -01, 123;     7"},
        {__LINE__, formatted("%llu %llu %llu", u64{99'999'999}, u64{100'000'000}, u64{9'999'999'999'999'999}),
         "99999999 100000000 9999999999999999"},
        {__LINE__, formatted("0123456789abcdef%s0123456789abcdefg%d%%", "-", 1),
         "0123456789abcdef-0123456789abcdefg1%"},
        {__LINE__, formatted("Result is %_r (%_z)", &failure, &failure),
         "Result is 0x82000002 (error \"Out of memory\" from \"Unknown source\")"},
        {__LINE__, formatted("%h_z!", &failure), "Out of memory!"},
    };
    for (const auto& row : rows) { EXPECT_EQ(row.text, row.expected) << "line " << row.line; }
}

TEST(Engine, TakesEveryArgumentFromItsOwnSlot) {
    const kr_result result = 0x82000002;
    EXPECT_EQ(formatted("%d %llu %s %c %_s %lld %x %_r %hu %p %d %_k %ll_u %s %d", -1, u64{2}, "three", '4',
                        KR_TEXT("five"), i64{-6}, 7, &result, 9, nullptr, 11, 0x01020304, u64{13}, "fourteen",
                        15),
              "-1 2 three 4 five -6 7 0x82000002 9 0x0000000000000000 11 1.2.3.4 13 fourteen 15");
}

TEST(Engine, RefusesDefectiveFormats) {
    for (const char* format : {"abc%", "%+05+d", "%#", "%12", "%.d", "%l", "%lll", "%_X", "%jd", "%I64d",
                               "% ' 5d", "%\351d", "%lld%", "%5*d", "%_%", "% %"}) {
        EXPECT_EQ(formatted(format, 1, 2), "82000079") << format;
    }
    EXPECT_EQ(kr_printf_format2(nullptr, 0, nullptr, nullptr), invalid);
}

TEST(Engine, LeavesWhatWasWrittenBeforeAFailure) {
    guarded_buffer<kr_char> buffer(11);
    EXPECT_EQ(kr_printf_format2(buffer.data(), buffer.size_bytes(), nullptr, "x%s", "a text of twenty ch."),
              too_small);
    EXPECT_EQ(buffer[0], 'x');
    EXPECT_TRUE(buffer.untouched(1));
    EXPECT_EQ(kr_printf_format2(buffer.data(), buffer.size_bytes(), nullptr, "%10u%5s", 7, "12"), too_small);
    EXPECT_EQ(std::string(buffer.data(), buffer.data() + 11), "         7 ");
    EXPECT_EQ(kr_printf_format2(buffer.data(), 8, nullptr, "abcd"), too_small);
    EXPECT_EQ(std::string(buffer.data(), buffer.data() + 4), "abc ");
}

TEST(Engine, StringFormatLeavesTheEmptyStringOnFailure) {
    guarded_buffer<kr_char> buffer(4);
    EXPECT_EQ(kr_string_format(buffer.data(), 8, "%d", 123), ok);
    EXPECT_EQ(utf8(buffer.data()), "123");
    EXPECT_EQ(kr_string_format(buffer.data(), 8, "%d", 1234), too_small);
    EXPECT_EQ(buffer[0], 0);
    buffer[0] = 'x';
    EXPECT_EQ(kr_string_format(buffer.data(), 1, ""), too_small);
    EXPECT_EQ(buffer[0], 'x');
    EXPECT_EQ(kr_string_format_checked(buffer.data(), 8, "%_z", &too_small), too_small);
    EXPECT_EQ(buffer[0], 0);
    EXPECT_EQ(kr_string_format(nullptr, 8, ""), invalid);
}

TEST(Engine, WidensBytesAsSignedCharacters) {
    kr_char out[16];
    ASSERT_EQ(kr_string_format(out, sizeof(out), "\xE9%s%c\x7F%s", "\xE9", 0xE9, "12345\x80"), ok);
    EXPECT_EQ(std::u16string(out, out + 10), u"\xFFE9\xFFE9\xFFE9\x007F"
                                             u"12345\xFF80");
}

/// Formats from a list that the caller keeps, and takes from it afterwards.
std::string twice(const char* format, ...) {
    std::string out;
    va_list args;
    va_start(args, format);
    size_t size = 0;
    kr_char buffer[64];
    EXPECT_EQ(kr_printf_get_required_buffer_size(format, args, &size), ok);
    EXPECT_EQ(kr_printf_format(buffer, size, format, args, nullptr), ok);
    out = utf8(buffer);
    EXPECT_EQ(kr_string_format_va(buffer, sizeof(buffer), format, args), ok);
    out += '|' + utf8(buffer) + '|' + std::to_string(va_arg(args, int));
    va_end(args);
    return out;
}

TEST(Engine, LeavesTheCallersListWhereItIs) {
    EXPECT_EQ(twice("%d %s %d %d %d %d", 1, "two", 3, 4, 5, 6), "1 two 3 4 5 6|1 two 3 4 5 6|1");
}

} // namespace
