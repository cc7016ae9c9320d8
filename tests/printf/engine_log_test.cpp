/// What the engine says in the log.
#include <regex>

#include "printf/printf.h"
#include "support/captured_log.h"
#include "support/guarded_buffer.h"

namespace {

using namespace kr::test;

template <typename... Args>
kr_result write_into(size_t size, const char* format, Args... args) {
    guarded_buffer<kr_char> buffer(byte_count{size});
    return kr_printf_format2(buffer.data(), size, nullptr, format, args...);
}

/// The lines that one failing call left, without level and category, joined by " / "; the text in
/// parentheses behind a result's value is left out.
template <typename... Args>
std::string warnings(captured_log& log, size_t size, const char* format, Args... args) {
    EXPECT_TRUE(kr_result_failed(write_into(size, format, args...)));
    static const std::regex noise("(^|\n)W 05 | \\(error .*?\\)(?=\n)");
    std::string lines;
    for (const std::string& line : log.take()) {
        lines += (lines.empty() ? "" : " / ") + std::regex_replace(line + '\n', noise, "");
        lines.pop_back();
    }
    return lines;
}

TEST(EngineLog, WarnsOfEveryFailure) {
    captured_log log(KR_LOG_WARNING);
    const kr_result described = 0x82000002;
    const kr_result* none = nullptr;
    const std::string driver = "kr_printf_format: ";
    const std::string refused = " failed Result is 0x82000079";
    const std::string missing = " failed Result is 0x82000022";
    const std::string no_room = " failed Result is 0x82000021";
    const std::string number = "kr_printf_format_uint_internal: Buffer too small";
    // clang-format off
    const struct {
        int line;
        std::string lines, expected;
    } rows[] = {
        {__LINE__, warnings(log, 99, "%--d", 1), "kr_printf_format_parse_flags: Duplicate '-' flag / " + driver + "Flag parsing" + refused},
        {__LINE__, warnings(log, 99, "%*d", 1), "kr_printf_format_parse_width: '*' in width field not supported. / " + driver + "Width parsing" + missing},
        {__LINE__, warnings(log, 99, "%.d", 1), "kr_printf_format_parse_precision: Precision not supported. / " + driver + "Precision parsing" + missing},
        {__LINE__, warnings(log, 99, "%q", 1), driver + "Unknown type Result is 0x82000079"},
        {__LINE__, warnings(log, 99, "%_q", 1), ""},
        {__LINE__, warnings(log, 99, "abc%0", 1), ""},
        {__LINE__, warnings(log, 99, "%_u", 1), driver + "Processing '_u' type" + refused},
        {__LINE__, warnings(log, 99, "%_X", 1), driver + "Processing '_X' type" + refused},
        {__LINE__, warnings(log, 99, "%_z", none), "kr_printf_format_tr_descr: NULL pointer provided from log macros. / " + driver + "Processing '_z' type failed Result is 0x8200000C"},
        {__LINE__, warnings(log, 20, "%_z", &described), "kr_printf_format_tr_descr: kr_get_result_description2() failed. Result is 0x82000021 / " + driver + "Processing '_z' type" + no_room},
        {__LINE__, warnings(log, 20, "%h_z", &described), "kr_printf_format_tr_descr: kr_get_result_code_description() failed. Result is 0x82000021 / " + driver + "Processing '_z' type" + no_room},
        {__LINE__, warnings(log, 7, "%i", 12345), "kr_printf_format_sint: Buffer too small. / " + driver + "Processing 'd' type" + no_room},
        {__LINE__, warnings(log, 7, "%6u", 12345), number + " (5 while 5 required). / " + driver + "Processing 'u' type" + no_room},
        {__LINE__, warnings(log, 2, "%#x", 255), number + ". No place for alternative form. / " + driver + "Processing 'x' type" + no_room},
        {__LINE__, warnings(log, 6, "%_k", 0x01020304), "kr_printf_format_ipv4: Buffer too small. / " + driver + "Processing '_k' type" + no_room},
        {__LINE__, warnings(log, 9, "%_k", 0x01020304), number + " (1 while 1 required). / kr_printf_format_ipv4: Failed to format IP component / " + driver + "Processing '_k' type" + no_room},
        {__LINE__, warnings(log, 3, "%p", none), "kr_printf_format_pointer: Buffer too small. / " + driver + "Processing 'p' type" + no_room},
        {__LINE__, warnings(log, 6, "abc"), driver + "Buffer too small."},
        {__LINE__, warnings(log, 6, "%s", "abc"), driver + "Buffer too small."},
        {__LINE__, warnings(log, 1, ""), driver + "Buffer too small."},
    };
    // clang-format on
    for (const auto& r : rows) { EXPECT_EQ(r.lines, r.expected) << "line " << r.line; }
    EXPECT_TRUE(kr_result_failed(write_into(99, "%q")));
    EXPECT_THAT(log.take(), ElementsAre("W 05 kr_printf_format: Unknown type Result is 0x82000079 "
                                        "(error \"printf format string syntax error\" from "
                                        "\"Unknown source\")"));
}

/// The call and debug lines so far, joined by " / ", as "C..parse_flags: Enter ()".
std::string steps(captured_log& log) {
    static const std::regex name("^([CD]) 05 (\\.*)kr_printf_format_?");
    std::string lines;
    for (const std::string& line : log.take()) {
        lines += (lines.empty() ? "" : " / ") + std::regex_replace(line, name, "$1$2");
    }
    return lines;
}

size_t measured(const char* format, ...) {
    va_list args;
    va_start(args, format);
    size_t size = 0;
    EXPECT_EQ(kr_printf_get_required_buffer_size(format, args, &size), ok);
    va_end(args);
    return size;
}

TEST(EngineLog, TracesEveryStepWhenAsked) {
    captured_log log(0);
    log.set_mask(KR_LOG_PRINTF, KR_LOG_CALL | KR_LOG_DEBUG);
    ASSERT_EQ(write_into(64, "x%05d", -42), ok);
    EXPECT_EQ(steps(log), "C2: Enter () / C..: Enter () / "
                          "C....parse_flags: Enter () / Dparse_flags: Flag leading zeroes / "
                          "C....parse_flags: Return () / "
                          "C....parse_width: Enter () / Dparse_width: Width set to 5 / "
                          "C....parse_width: Return () / "
                          "C....parse_precision: Enter () / C....parse_precision: Return () / "
                          "C....parse_size_mod: Enter () / C....parse_size_mod: Return () / "
                          "C....sint: Enter (buffer_left = 62) / Dsint: signed decimal int -42 / "
                          "Dsint: Negative value / Dsint: Updating required size 12. / "
                          "Dsint: Negative with leading zeroes. / Dsint: Padding with '0' / "
                          "Dsint: Padding with '0' / C....sint: Return () / C..: Return () / C2: Return ()");

    log.set_mask(KR_LOG_PRINTF, KR_LOG_DEBUG);
    ASSERT_EQ(write_into(64, "%#6lx|%s|%c", 255, "ab", 'z'), ok);
    EXPECT_EQ(steps(log), "Dparse_flags: Flag alternate form / Dparse_width: Width set to 6 / "
                          "Dparse_size_mod: Size modifier set to LONG / Duint: unsigned long int 255 / "
                          "Duint_internal: Width required = 4 / Duint_internal: Required size = 12 / "
                          "Duint_internal: Padding with ' ' / Duint_internal: Padding with ' ' / "
                          "Dstring: ASCIIZ string \"ab\" / Dstring: Updating required size 18. / "
                          "Dchar: char 'z' / Dchar: Updating required size 22.");

    // The octets of an address count each for itself, behind whatever they stand.
    ASSERT_EQ(write_into(64, "at %_k", 0x0A00FF01), ok);
    EXPECT_EQ(steps(log), "Duint_internal: Width required = 2 / Duint_internal: Required size = 4 / "
                          "Duint_internal: Width required = 1 / Duint_internal: Required size = 2 / "
                          "Duint_internal: Width required = 3 / Duint_internal: Required size = 6 / "
                          "Duint_internal: Width required = 1 / Duint_internal: Required size = 2");

    log.set_mask(KR_LOG_PRINTF, KR_LOG_CALL);
    kr_char out[4];
    EXPECT_TRUE(kr_result_failed(kr_string_format(out, sizeof(out), "%p", nullptr)));
    std::vector<std::string> lines = log.take();
    ASSERT_GE(lines.size(), 8u);
    EXPECT_EQ(lines[2], "C 05 ....kr_printf_format: Enter ()");
    EXPECT_THAT(lines, testing::Contains("C 05 ........kr_printf_format_uint: Enter (buffer_left = "
                                         "4, radix = 16)"));
    EXPECT_EQ(lines.back(), "C 05 kr_string_format: Return 0x82000021 () error \"Supplied buffer "
                            "is not large enough\" from \"Unknown source\"");

    EXPECT_EQ(measured("ab"), 6u);
    EXPECT_THAT(log.take(),
                ElementsAre("C 05 kr_printf_get_required_buffer_size: Enter ()",
                            "C 05 ..kr_printf_format: Enter ()", "C 05 ..kr_printf_format: Return ()",
                            "C 05 kr_printf_get_required_buffer_size: Return ()"));

    log.set_mask(KR_LOG_PRINTF, KR_LOG_PROFILE);
    ASSERT_EQ(write_into(64, "text"), ok);
    EXPECT_THAT(log.take(), ElementsAre("P kr_printf_format", "P kr_printf_format2"));
}

TEST(EngineLog, SaysNothingWhileALineIsBuilt) {
    captured_log log(KR_LOG_DEBUG | KR_LOG_CALL | KR_LOG_PROFILE | KR_LOG_WARNING);
    KR_LOG(KR_LOG_MAIN, KR_LOG_WARNING, "%05d", -42);
    EXPECT_THAT(log.take(), ElementsAre("W 02 TestBody: -0042"));
}

} // namespace
