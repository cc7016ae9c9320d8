/// Conversions: any text and any value against their models, and beside them what is logged, golden
/// texts, allocations, the addresses of names.
#include "text_models.h"

#include "base/convert/guid.h"
#include "owners.h"
#include "platform/platform.h"
#include "support/captured_log.h"
#include "support/failing_allocator.h"
#include "support/guarded_buffer.h"

namespace {

using namespace kr::test;

TEST(TextModels, Agree) {
    for (const auto& [check, target, alphabet] : text_models) { run_model(check, target, alphabet, 4000); }
    // Where the number of digits changes, and the limits of each width.
    for (const u64 power : kr::detail::powers_of_ten) {
        for (const u64 value : {power - 1, power, 0 - power}) {
            expect_model(check_number, {reinterpret_cast<const char*>(&value), sizeof value});
            expect_model(check_number, std::to_string(value));
            expect_model(check_number, std::to_string(static_cast<i64>(value)));
        }
    }
    for (const i64 limit : {0xFFFFll, 0x7FFFFFFFll, -0x80000000ll, 0xFFFFFFFFll, -0xFFFFFFFFll}) {
        for (const i64 step : {-1, 0, 1}) { expect_model(check_number, std::to_string(limit + step)); }
    }
}

TEST(NarrowText, StopsAtTheLimitAndNamesWhatIsNotAsciiOrUtf8) {
    for (auto* count : {kr_string_char_count_utf8, kr_string_bytesize_clean_utf8, kr_string_bytesize_utf8}) {
        EXPECT_EQ(count(nullptr), invalid);
    }
    captured_log log;
    guarded_buffer<char> part(8);
    EXPECT_EQ(kr_wchar_to_ascii(nullptr, part.data(), 0), too_small);
    EXPECT_EQ(kr_wchar_to_ascii(KR_TEXT("ab\u00FF"), part.data(), 2), too_small);
    EXPECT_THAT(log.take(), IsEmpty());
    EXPECT_EQ(kr_krchar_to_ascii(KR_TEXT("xy\u20ACd"), part.data(), 8), invalid);
    EXPECT_EQ(std::string(part.data(), 2), "xy");
    EXPECT_TRUE(part.untouched(2));
    EXPECT_EQ(kr_string_bytesize_clean_utf8("a\xBF"), 2u);
    EXPECT_THAT(
        log.take(),
        ElementsAre("E 01 kr_krchar_to_ascii: Non ASCII unicode char 20AC at string index 2 cannot be "
                    "converted to non-unicode char",
                    "E 01 kr_string_bytesize_clean_utf8: Invalid byte value 0xBF in UTF-8 sequence, "
                    "ignoring it!"));
}

template <typename Owner, typename Char, typename Source>
void expect_copies(kr_result (*convert)(const Source*, Char**), const Source* src, const std::string& name,
                   const std::string& what) {
    const std::string line = "E 01 kr_" + name + "_strdup: Failed to allocate memory for " + what +
                             R"(. Result is 0x82000002 (error "Out of memory" from "Unknown source"))";
    const size_t size = std::char_traits<Source>::length(src) + 1;
    captured_log log;
    sweep_allocations([&] {
        Owner copy;
        const kr_result result = convert(src, copy.out());
        EXPECT_EQ(bool{copy}, kr_result_succeeded(result));
        EXPECT_TRUE(!copy || std::equal(src, src + size, copy.get()));
        return result;
    });
    EXPECT_THAT(log.take(), ElementsAre(line, line)); // the sweep meets the one allocation twice
    const failing_allocator allocator;
    EXPECT_EQ(convert(src, Owner().out()), ok);
    EXPECT_EQ(allocator.last_size(), size * sizeof(Char));
}

TEST(AsciiDuplicates, ComeFromTheHookInTheSizeOfTheText) {
    expect_copies<kr::owned_text>(kr_ascii_to_wchar_strdup, "tools", "ascii_to_wchar", "wchar_t string");
    expect_copies<kr::owned_text>(kr_ascii_to_krchar_strdup, "tools", "ascii_to_krchar", "kr_char_string");
    expect_copies<kr::owned_narrow_text>(kr_krchar_to_ascii_strdup, KR_TEXT("tools"), "krchar_to_ascii",
                                         "ascii char string");
    const failing_allocator allocator;
    kr::owned_narrow_text copy;
    EXPECT_EQ(kr_krchar_to_ascii_strdup(KR_TEXT("\u00E9"), copy.out()), invalid);
    EXPECT_FALSE(copy);
}

constexpr KRGUID sample = {
    {0x01, 0x23, 0x45, 0x67, 0x89, 0xAB, 0xCD, 0xEF, 0xFE, 0xDC, 0xBA, 0x98, 0x76, 0x54, 0x32, 0x10}};

TEST(Guid, ComparesAllSixteenBytes) {
    for (u32 i = 0; i < KR_GUID_BYTES; ++i) {
        KRGUID other = sample, zeros, ones;
        kr_guid_set_null(&zeros);
        kr_guid_set_all_ones(&ones);
        EXPECT_TRUE(kr_guid_is_null(&zeros) && kr_guid_is_all_ones(&ones));
        for (KRGUID* const guid : {&other, &zeros, &ones}) { guid->bytes[i] ^= 1; }
        EXPECT_FALSE(kr_guid_equal(&other, &sample)) << i;
        EXPECT_FALSE(kr_guid_is_null(&zeros) || kr_guid_is_all_ones(&ones)) << i;
    }
}

TEST(GuidText, HasItsCaseAndItsMarks) {
    char text[KR_GUID_BRACED_LOWER_CHARS];
    EXPECT_STREQ(kr_guid_to_string_simple_ascii(&sample, text), "0123456789ABCDEFFEDCBA9876543210");
    kr_guid_to_string_braced(&sample, text);
    EXPECT_STREQ(text, "{01234567-89ABCDEF-FEDCBA98-76543210}");
    kr_guid_to_string_braced_lower(&sample, text);
    EXPECT_STREQ(text, "{01234567-89ab-cdef-fedc-ba9876543210}");
}

TEST(GuidSerial, NeedsZerosBehindTheNumber) {
    u32 serial = 77;
    KRGUID guid = {{1, 2, 3, 4}};
    captured_log log;
    for (u32 i = 4; i < KR_GUID_BYTES; ++i) {
        guid.bytes[i] = 1;
        EXPECT_EQ(kr_guid_to_serial(&guid, &serial), invalid);
        guid.bytes[i] = 0;
        EXPECT_THAT(log.take(), ElementsAre("W 01 kr_guid_to_serial: Unexpected KRGUID contents"));
    }
    EXPECT_EQ(serial, 77u);
    EXPECT_EQ(kr_guid_to_serial(&guid, &serial), ok);
    EXPECT_EQ(serial, 0x01020304u);
}

TEST(GuidDebugLines, ShowEachStep) {
    captured_log log(KR_LOG_DEBUG);
    log.set_mask(KR_LOG_PRINTF, 0);
    KRGUID guid;
    constexpr KRGUID null_guid = {};
    char out[KR_GUID_SIMPLE_CHARS] = {};
    EXPECT_EQ(kr_guid_from_string_shortest(KR_TEXT("1"), &guid), invalid);
    EXPECT_EQ(kr_guid_from_string_shortest_ascii("1x", &guid), invalid);
    EXPECT_EQ(kr_guid_from_string_shortest_ascii("aB", &guid), ok);
    EXPECT_EQ(kr_guid_to_string_shortest(&null_guid, out, sizeof out), invalid);
    EXPECT_EQ(kr_guid_to_string_shortest(&guid, out, sizeof out), ok);
    const std::string from = "D 01 kr_guid_from_string_shortest", to = "D 01 kr_guid_to_string_shortest: ";
    EXPECT_THAT(log.take(),
                ElementsAre(from + ": GUID check 1 failed. s=1 (1)", from + "_ascii: GUID check 2 failed.",
                            from + "_ascii: a -> 10", from + "_ascii: 0", from + "_ascii: 160",
                            from + "_ascii: B -> 11", from + "_ascii: 160", from + "_ascii: 171",
                            to + "First non-zero byte at -1", to + "First non-zero byte at 0",
                            to + "\"??????\"", to + "Index 3 -> 00 (\"??????00\")",
                            to + "Index 2 -> 00 (\"????0000\")", to + "Index 1 -> 00 (\"??000000\")",
                            to + "Index 0 -> AB (\"AB000000\")"));
}

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
    const std::string far_text = utf8(far_out);
    const auto cannot = [](const std::string& operation, const std::string& text, const std::string& what) {
        return operation + ": Cannot convert " + text + " to " + what;
    };
    const struct {
        kr_result result, expected;
        std::string text = {}; ///< behind "kr_string_"; none: silent
        char level = 'E';
    } failures[] = {
        {kr_string_to_si64_a("x", &large_signed), generic},
        {kr_string_to_ui16_w(KR_TEXT("1x"), &small), generic, cannot("to_ui16_w", "1x", "16 bit integer.\n")},
        {kr_string_to_ui16_a("1x", &small), generic, cannot("to_ui16_a", "1x", "16 bit integer.")},
        {kr_string_to_ui32_w(KR_TEXT(""), &middle), generic, cannot("to_ui32_w", "", "32 bit unsigned integer.\n")},
        {kr_string_to_ui32_a("2x", &middle), generic, cannot("to_ui32_a", "2x", "32 bit unsigned integer.")},
        {kr_string_to_si32_a("3x", &middle_signed), generic, cannot("to_si32_a", "3x", "32 bit integer.")},
        {kr_string_hexstr_to_ui32_a("x", &middle), generic, cannot("hexstr_to_ui32_a", "x", "32 bit integer.")},
        {kr_string_to_si64_w(far_out, &large_signed), generic, cannot("to_si64_w", far_text, "64 bit integer.\n")},
        {kr_string_to_ui64_w(far_out, &large), generic, cannot("to_ui64_w", far_text, "64 bit unsigned integer.\n")},
        {kr_string_to_ui64_a_generic(nullptr, nullptr), invalid, "to_ui64_a_generic: Passed string is null"},
        {kr_string_to_ui64_a_generic("", nullptr), invalid, "to_ui64_a_generic: Empty string passed"},
        {kr_string_to_ui64_a_generic("1", nullptr), invalid, "to_ui64_a_generic: Output pointer is null"},
        {kr_string_to_ui64_a_generic("12z", &large), invalid,
         "to_ui64_a_generic: Passed string contains illegal character z"},
        {kr_string_to_si64_a_generic("", &large_signed), invalid, "to_si64_a_generic: Empty string passed", 'D'},
        {kr_string_to_si64_a_generic("-9223372036854775808", &large_signed), overflow,
         "to_si64_a_generic: Passed string -9223372036854775808 contains a number too large to fit into UINT64", 'D'},
        {kr_string_from_ui64_a_generic(1, nullptr), invalid,
         "from_ui64_a_generic: Null pointer passed as output buffer"},
    };
    // clang-format on
    std::vector<std::string> lines;
    for (const auto& f : failures) {
        EXPECT_EQ(f.result, f.expected) << f.text;
        if (!f.text.empty()) { lines.push_back(f.level + (" 01 kr_string_" + f.text)); }
    }
    EXPECT_EQ(log.take(), lines);
}

TEST(AddressText, FillsItsRoomAtMost) {
    guarded_buffer<char> text(KR_STRING_MAC_CHARS);
    constexpr u8 mac[] = {0x00, 0x1B, 0xFE, 0x09, 0xA0, 0xFF};
    EXPECT_EQ(kr_string_from_mac(mac, text.data()), 17);
    EXPECT_STREQ(text.data(), "00:1B:FE:09:A0:FF");
}

TEST(HostText, TellsNamesAndNumbersApart) {
    captured_log log;
    u32 ip = 77;
    EXPECT_EQ(kr_string_hoststr_to_ipv4("localhost", &ip), 0x8200001B) << "before the system's start";
    WSADATA data;
    ASSERT_EQ(WSAStartup(MAKEWORD(2, 2), &data), 0);
    EXPECT_EQ(kr_string_hoststr_to_ipv4("10.0.0.1x", &ip), 0x8200001C);
    EXPECT_EQ(ip, 77u);
    const std::string failed = "E 01 kr_string_hoststr_to_ipv4: ";
    EXPECT_THAT(log.take(),
                ElementsAre(failed + R"(Cannot resolve "localhost". h_errno contains 10093)",
                            failed + R"("10.0.0.1x" cannot be interpreted as IP address in a.b.c.d form. )"
                                     R"(Result is 0x82000000 (error "Generic" from "Unknown source"))"));
    EXPECT_EQ(kr_string_hoststr_to_ipv4("10.0.0.1", &ip), 0x0200001C);
    EXPECT_EQ(ip, 0x0A000001u);
    EXPECT_EQ(kr_string_hoststr_to_ipv4("localhost", &ip), 0x0200001B);
    EXPECT_EQ(ip, 0x7F000001u);
    char name[KR_STRING_HOST_CHARS] = {};
    EXPECT_EQ(kr_string_ipv4_to_hoststr(0x7F000001, name), 0x0200001B);
    EXPECT_NE(std::strlen(name), 0u);
    EXPECT_THAT(log.take(), IsEmpty());
    WSACleanup();
}

} // namespace
