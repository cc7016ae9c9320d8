/// The engine through its entry points: output, sizes, refusals, and what it says in the log.
#include "printf/printf.h"

#include "support/captured_log.h"
#include "support/checked_format.h"
#include "support/replaced.h"

namespace {

using namespace kr::test;

// The single conversions are the examples of docs/formatting.md; those that the C library shares are
// held against it by the fuzz target.
TEST(Engine, JoinsLiteralsAndConversions) {
    const kr_result failure = 0x82000002;
    // clang-format off
    const struct {
        std::string text, expected;
    } rows[] = {
        {formatted(""), ""},
        {formatted("%%%d%%%%%d%%", 1, 2), "%1%%2%"},
        {formatted("%s%s", "", "seventeen letters"), "seventeen letters"},
        {formatted("0123456789abcdef%s0123456789abcdefg%d%%", "-", 1), "0123456789abcdef-0123456789abcdefg1%"},
        // Each takes its argument from a slot of its own.
        {formatted("%d %llu %s %c %_s %lld %03x %_r (%_z)", -1, u64{2}, "three", '4', KR_TEXT("five"),
         i64{-6}, 7, &failure, &failure),
         "-1 2 three 4 five -6 007 0x82000002 (error \"Out of memory\" from \"Unknown source\")"},
        {formatted("%d %hu %s %p %5d %_k %ll_u %h_z%s%_g%d", 1, 2, "3", nullptr, 11, 0x01020304, u64{13},
         &failure, "!", nullptr, 15),
         "1 2 3 0x0000000000000000    11 1.2.3.4 13 Out of memory!(null)15"},
    };
    // clang-format on
    for (const auto& row : rows) { EXPECT_EQ(row.text, row.expected); }
}

TEST(Engine, RefusesDefectiveFormats) {
    for (const char* format : {"abc%", "%+05+d", "%#", "%l", "%5*d", "%\351d", "%lld%", "%_%", "% %"}) {
        EXPECT_EQ(formatted(format, 1, 2), "82000079") << format;
    }
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
}

TEST(Engine, WidensBytesAsSignedCharacters) {
    kr_char out[16];
    ASSERT_EQ(kr_string_format(out, sizeof(out), "\xE9%s%c\x7F%s", "\xE9", 0xE9, "12345\x80"), ok);
    EXPECT_EQ(std::u16string(out, out + 10), u"\xFFE9\xFFE9\xFFE9\x007F"
                                             u"12345\xFF80");
}

/// The lines so far, joined by " / ", as "C..parse_flags: Enter ()".
std::string steps(captured_log& log) {
    std::string lines;
    for (const std::string& line : log.take()) {
        lines +=
            (lines.empty() ? "" : " / ") + replaced(line, "^([CDW]) 05 (\\.*)kr_printf_format_?", "$1$2");
    }
    return lines;
}

/// What one call says with that mask; where warnings are wanted it fails.
template <typename... Args>
std::string logged(captured_log& log, u32 mask, size_t size, const char* format, Args... args) {
    log.set_mask(KR_LOG_PRINTF, mask);
    guarded_buffer<kr_char> buffer(byte_count{size});
    const kr_result result = kr_printf_format2(buffer.data(), size, nullptr, format, args...);
    EXPECT_EQ(kr_result_failed(result), mask == KR_LOG_WARNING);
    return steps(log);
}

std::string result_is(const std::string& code_and_text) {
    return " Result is " + code_and_text + " from \"Unknown source\")";
}

TEST(Engine, WarnsOfEveryFailureAndTracesEveryStep) {
    captured_log log(0);
    const kr_result described = 0x82000002;
    const kr_result* none = nullptr;
    const auto warned = [&](size_t room, const char* format, auto... args) {
        return logged(log, KR_LOG_WARNING, room, format, args...);
    };
    // clang-format off
    const std::string defect = result_is("0x82000079 (error \"printf format string syntax error\"");
    const std::string missing = result_is("0x82000022 (error \"Function not implemented\"");
    const std::string no_room = result_is("0x82000021 (error \"Supplied buffer is not large enough\"");
    const auto processing = [&](const char* conversion) {
        return std::string(" / W: Processing '") + conversion + "' type failed" + no_room;
    };
    const std::string null = result_is("0x8200000C (error \"Invalid argument to function\"");
    const struct {
        std::string lines, expected;
    } rows[] = {
        {warned(99, "%--d", 1), "Wparse_flags: Duplicate '-' flag / W: Flag parsing failed" + defect},
        {warned(99, "%*d", 1), "Wparse_width: '*' in width field not supported. / W: Width parsing failed" + missing},
        {warned(99, "%.d", 1), "Wparse_precision: Precision not supported. / W: Precision parsing failed" + missing},
        {warned(99, "%q", 1), "W: Unknown type" + defect},
        {warned(99, "%_q", 1), ""},
        {warned(99, "abc%0", 1), ""},
        {warned(99, "%_u", 1), "W: Processing '_u' type failed" + defect},
        {warned(99, "%_z", none),
         "Wtr_descr: NULL pointer provided from log macros. / W: Processing '_z' type failed" + null},
        {warned(20, "%_z", &described),
         "Wtr_descr: kr_get_result_description2() failed." + no_room + processing("_z")},
        {warned(20, "%h_z", &described),
         "Wtr_descr: kr_get_result_code_description() failed." + no_room + processing("_z")},
        {warned(7, "%i", 12345), "Wsint: Buffer too small." + processing("d")},
        {warned(7, "%6u", 12345), "Wuint_internal: Buffer too small (5 while 5 required)." + processing("u")},
        {warned(2, "%#x", 255), "Wuint_internal: Buffer too small. No place for alternative form." + processing("x")},
        {warned(6, "%_k", 0x01020304), "Wipv4: Buffer too small." + processing("_k")},
        {warned(9, "%_k", 0x01020304),
         "Wuint_internal: Buffer too small (1 while 1 required). / Wipv4: Failed to format IP component" +
         processing("_k")},
        {warned(3, "%p", none), "Wpointer: Buffer too small." + processing("p")},
        {warned(6, "abc"), "W: Buffer too small."},
        {warned(6, "%s", "abc"), "W: Buffer too small."},
        {warned(1, ""), "W: Buffer too small."},
        {logged(log, KR_LOG_CALL | KR_LOG_DEBUG, 64, "x%05d", -42),
         "C2: Enter () / C..: Enter () / C....parse_flags: Enter () / Dparse_flags: Flag leading zeroes / "
         "C....parse_flags: Return () / C....parse_width: Enter () / Dparse_width: Width set to 5 / "
         "C....parse_width: Return () / C....parse_precision: Enter () / C....parse_precision: Return () / "
         "C....parse_size_mod: Enter () / C....parse_size_mod: Return () / C....sint: Enter (buffer_left = 62) / "
         "Dsint: signed decimal int -42 / Dsint: Negative value / Dsint: Updating required size 12. / "
         "Dsint: Negative with leading zeroes. / Dsint: Padding with '0' / Dsint: Padding with '0' / "
         "C....sint: Return () / C..: Return () / C2: Return ()"},
        {logged(log, KR_LOG_DEBUG, 64, "%#6lx|%s|%c", 255, "ab", 'z'),
         "Dparse_flags: Flag alternate form / Dparse_width: Width set to 6 / "
         "Dparse_size_mod: Size modifier set to LONG / Duint: unsigned long int 255 / "
         "Duint_internal: Width required = 4 / Duint_internal: Required size = 12 / "
         "Duint_internal: Padding with ' ' / Duint_internal: Padding with ' ' / Dstring: ASCIIZ string \"ab\" / "
         "Dstring: Updating required size 18. / Dchar: char 'z' / Dchar: Updating required size 22."},
        // The octets of an address count each for itself, behind whatever they stand.
        {logged(log, KR_LOG_DEBUG, 64, "at %_k", 0x0A00FF01),
         "Duint_internal: Width required = 2 / Duint_internal: Required size = 4 / "
         "Duint_internal: Width required = 1 / Duint_internal: Required size = 2 / "
         "Duint_internal: Width required = 3 / Duint_internal: Required size = 6 / "
         "Duint_internal: Width required = 1 / Duint_internal: Required size = 2"},
        {logged(log, KR_LOG_PROFILE, 64, "text"), "P kr_printf_format / P kr_printf_format2"},
    };
    // clang-format on
    for (const auto& r : rows) { EXPECT_EQ(r.lines, r.expected); }

    log.set_mask(KR_LOG_PRINTF, KR_LOG_CALL);
    kr_char out[4];
    EXPECT_EQ(kr_string_format(out, sizeof(out), "abcd"), too_small);
    const std::string back =
        "Return 0x82000021 () error \"Supplied buffer is not large enough\" from \"Unknown source\"";
    EXPECT_EQ(
        steps(log),
        "C 05 kr_string_format: Enter () / C 05 ..kr_string_format_va: Enter () / C....: Enter () / C....: " +
            back + " / C 05 ..kr_string_format_va: " + back + " / C 05 kr_string_format: " + back);
}

TEST(Engine, LeavesTheCallersListWhereItIs) {
    const auto format_thrice = [](va_list* args) {
        const char* const format = "%d %s %d %d %d %d";
        kr_char first[64], second[64];
        size_t size = 0;
        EXPECT_EQ(kr_printf_get_required_buffer_size(format, *args, &size), ok);
        EXPECT_EQ(kr_printf_format(first, size, format, *args, nullptr), ok);
        EXPECT_EQ(kr_string_format_va(second, size, format, *args), ok);
        EXPECT_EQ(utf8(first) + utf8(second), "1 two 3 4 5 61 two 3 4 5 6");
        EXPECT_EQ(size, sizeof(u"1 two 3 4 5 6"));
        captured_log log(KR_LOG_CALL);
        EXPECT_EQ(kr_printf_get_required_buffer_size("ab", *args, &size), ok);
        EXPECT_EQ(steps(log),
                  "C 05 kr_printf_get_required_buffer_size: Enter () / C..: Enter () / C..: Return () / "
                  "C 05 kr_printf_get_required_buffer_size: Return ()");
        EXPECT_EQ(va_arg(*args, int), 1);
        return ok;
    };
    EXPECT_EQ(with_list(&format_thrice, 1, "two", 3, 4, 5, 6), ok);
}

TEST(Engine, SaysNothingWhileALineIsBuilt) {
    captured_log log(KR_LOG_DEBUG | KR_LOG_CALL | KR_LOG_PROFILE | KR_LOG_WARNING);
    KR_LOG(KR_LOG_MAIN, KR_LOG_WARNING, "%05d", -42);
    EXPECT_THAT(log.take(), ElementsAre("W 02 TestBody: -0042"));
}

} // namespace
