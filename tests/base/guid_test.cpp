/// The GUID's comparisons, golden texts, serial numbers and debug lines. Any GUID and any text stand in
/// the model.
#include "base/convert/guid.h"

#include "support/captured_log.h"
#include "support/guarded_buffer.h"

namespace {

using namespace kr::test;

constexpr KRGUID sample = {
    {0x01, 0x23, 0x45, 0x67, 0x89, 0xAB, 0xCD, 0xEF, 0xFE, 0xDC, 0xBA, 0x98, 0x76, 0x54, 0x32, 0x10}};
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

TEST(GuidSerial, NeedsZerosBehindTheNumber) {
    u32 serial = 77;
    KRGUID guid = {{1, 2, 3, 4}};
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
