/// The GUID's text forms, written and read, and serial numbers.
#include "base/convert/guid.h"

#include "support/captured_log.h"
#include "support/guarded_buffer.h"

namespace {

using namespace kr::test;

constexpr KRGUID sample = {
    {0x01, 0x23, 0x45, 0x67, 0x89, 0xAB, 0xCD, 0xEF, 0xFE, 0xDC, 0xBA, 0x98, 0x76, 0x54, 0x32, 0x10}};
constexpr KRGUID marker = {{0x55, 0x55}};
constexpr KRGUID null_guid = {};

TEST(Guid, ComparesAllSixteenBytes) {
    for (u32 i = 0; i < KR_GUID_BYTES; ++i) {
        KRGUID guid = sample;
        guid.bytes[i] ^= 1;
        EXPECT_FALSE(kr_guid_equal(&guid, &sample));
        kr_guid_set_null(&guid);
        EXPECT_TRUE(kr_guid_is_null(&guid));
        guid.bytes[i] = 1;
        EXPECT_FALSE(kr_guid_is_null(&guid));
        kr_guid_set_all_ones(&guid);
        EXPECT_TRUE(kr_guid_is_all_ones(&guid));
        guid.bytes[i] = 0xFE;
        EXPECT_FALSE(kr_guid_is_all_ones(&guid));
    }
}

TEST(GuidText, IsWrittenIntoExactlyItsRoom) {
    guarded_buffer<char> simple(KR_GUID_SIMPLE_CHARS);
    EXPECT_STREQ(kr_guid_to_string_simple_ascii(&sample, simple.data()), "0123456789ABCDEFFEDCBA9876543210");
    guarded_buffer<kr_char> simple_wide(KR_GUID_SIMPLE_CHARS);
    EXPECT_EQ(utf8(kr_guid_to_string_simple(&sample, simple_wide.data())), simple.data());
    guarded_buffer<char> braced(KR_GUID_BRACED_CHARS);
    EXPECT_EQ(kr_guid_to_string_braced(&sample, braced.data()), 37);
    EXPECT_STREQ(braced.data(), "{01234567-89ABCDEF-FEDCBA98-76543210}");
    guarded_buffer<char> lower(KR_GUID_BRACED_LOWER_CHARS);
    EXPECT_EQ(kr_guid_to_string_braced_lower(&sample, lower.data()), 38);
    EXPECT_STREQ(lower.data(), "{01234567-89ab-cdef-fedc-ba9876543210}");
}

struct read_row {
    int line;
    const char* text;
    kr_result result;
    KRGUID guid = marker;
};

template <typename Char>
void expect_read(kr_result (*read)(const Char*, KRGUID*), std::initializer_list<read_row> rows) {
    KRGUID kept = marker;
    const Char text_alone[KR_GUID_SIMPLE_CHARS] = {'1', '2'};
    EXPECT_EQ(read(nullptr, &kept), invalid);
    EXPECT_TRUE(kr_guid_equal(&kept, &marker));
    EXPECT_EQ(read(text_alone, nullptr), invalid);
    for (const read_row& r : rows) {
        SCOPED_TRACE(r.line);
        const std::string_view text = r.text;
        KRGUID guid = marker;
        EXPECT_EQ(read(std::basic_string<Char>(text.begin(), text.end()).c_str(), &guid), r.result);
        EXPECT_TRUE(kr_guid_equal(&guid, &r.guid));
    }
}

// One text of each kind; any text at all is held against a model by the fuzz target.
// clang-format off
TEST(GuidText, IsReadByTheRulesOfItsForm) {
    const std::initializer_list<read_row> simple = {
        {__LINE__, "0123456789abcdefFEDCBA9876543210", ok, sample}, {__LINE__, "0123456789abcdefFEDCBA987654321", generic},
        {__LINE__, "0123456789abcdefFEDCBA987654321g", invalid},
    };
    expect_read(kr_guid_from_string_simple_ascii, simple);
    expect_read(kr_guid_from_string_simple, simple);
    const std::initializer_list<read_row> shortest = {
        {__LINE__, "", invalid}, {__LINE__, "1", invalid}, {__LINE__, "0123456789abcdefFEDCBA987654321000", invalid},
        {__LINE__, "12345678 0", invalid, null_guid},
    };
    expect_read(kr_guid_from_string_shortest_ascii, shortest);
    expect_read(kr_guid_from_string_shortest, shortest);
    expect_read(kr_guid_from_string_braced_ascii, {
        {__LINE__, "}}01234567-89abcdeffedcba98-76543210{", ok, sample}, {__LINE__, "{01234567-89ABCDEF}", generic},
        {__LINE__, "{01234567-89ABCDEF-FEDCBA98-7654321-}", invalid},
    });
    expect_read(kr_guid_from_string_braced, {
        {__LINE__, "{01234567-89ab-cdef-fedc-ba9876543210}", ok, sample},
        {__LINE__, "01234567890123456789012345678901234567", invalid},
    });
    // clang-format on
    // A unit whose low byte is a digit is none; a byte that counts no character is not passed over.
    KRGUID guid;
    EXPECT_EQ(kr_guid_from_string_shortest(KR_TEXT("1\u0131"), &guid), invalid);
    EXPECT_EQ(kr_guid_from_string_shortest_ascii("12\x80", &guid), invalid);
}

TEST(GuidShortestText, DropsTrailingZerosButKeepsFourBytes) {
    constexpr struct {
        int line;
        KRGUID guid;
        const char* text;
    } rows[] = {
        {__LINE__, {{0, 0, 0, 0xA0}}, "000000A0"},
        {__LINE__, {{1, 0, 0, 0, 0, 0x0F}}, "01000000000F"},
        {__LINE__, sample, "0123456789ABCDEFFEDCBA9876543210"},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(r.line);
        const size_t length = std::string_view(r.text).size();
        guarded_buffer<char> tight(length);
        EXPECT_EQ(kr_guid_to_string_shortest(&r.guid, tight.data(), length), too_small);
        EXPECT_TRUE(tight.untouched());
        guarded_buffer<char> out(length + 1);
        EXPECT_EQ(kr_guid_to_string_shortest(&r.guid, out.data(), length + 1), ok);
        EXPECT_STREQ(out.data(), r.text);
        expect_read(kr_guid_from_string_shortest_ascii, {{r.line, out.data(), ok, r.guid}});
    }
    char out[KR_GUID_SIMPLE_CHARS];
    EXPECT_EQ(kr_guid_to_string_shortest(&null_guid, out, sizeof out), invalid);
    EXPECT_EQ(kr_guid_to_string_shortest(nullptr, out, sizeof out), invalid);
    EXPECT_EQ(kr_guid_to_string_shortest(&sample, nullptr, sizeof out), invalid);
}

TEST(GuidSerial, NeedsZerosBehindTheNumber) {
    u32 serial = 77;
    KRGUID guid = {{1, 2, 3, 4}};
    EXPECT_EQ(kr_guid_to_serial(nullptr, &serial), invalid);
    EXPECT_EQ(kr_guid_to_serial(&guid, nullptr), invalid);
    for (u32 i = 4; i < KR_GUID_BYTES; ++i) {
        captured_log log;
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

} // namespace
