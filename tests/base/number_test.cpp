/// Integers from and to text: what is logged. What each parser takes stands in the model.
#include "base/convert/number_from_digits.h"
#include "base/convert/number_from_text.h"
#include "base/convert/number_to_text.h"

#include "support/captured_log.h"

namespace {

using namespace kr::test;

// clang-format off
TEST(NumberFailures, AreLoggedWithTheTextUnderTheirOperation) {
    captured_log log(KR_LOG_ERROR | KR_LOG_DEBUG);
    log.set_mask(KR_LOG_PRINTF, 0);
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

} // namespace
