/// The engine's output, sizes and refusals, through its entry points.
#include "printf/printf.h"

#include "base/convert/guid.h"
#include "result/descriptions.h"
#include "support/guarded_buffer.h"

namespace {

using namespace kr::test;

/// Formats through `run(buffer, size, required)` and checks what holds for every format: measuring
/// reports exactly what writing needs, an odd byte more changes nothing, less is refused without a
/// byte touched outside and without a size reported. Returns the text, or the failure as text.
template <typename Run>
std::string checked(Run run) {
    size_t measured = 0;
    const kr_result result = run(nullptr, 0, &measured);
    if (kr_result_failed(result)) {
        EXPECT_EQ(measured, 0u);
        guarded_buffer<kr_char> buffer(512);
        size_t required = 0;
        EXPECT_EQ(run(buffer.data(), buffer.size_bytes(), &required), result);
        EXPECT_EQ(required, 0u);
        char text[16];
        std::snprintf(text, sizeof(text), "%08X", result);
        return text;
    }
    std::string text;
    for (const size_t more : {0, 1}) {
        guarded_buffer<kr_char> buffer(byte_count{measured + more});
        size_t required = 0;
        EXPECT_EQ(run(buffer.data(), buffer.size_bytes(), &required), ok);
        EXPECT_EQ(required, measured);
        text = utf8(buffer.data());
        EXPECT_EQ((text.size() + 1) * 2, measured);
    }
    for (size_t size = 0; size < measured; ++size) {
        guarded_buffer<kr_char> buffer(byte_count{size});
        size_t required = 7;
        const kr_result failure = run(buffer.data(), size, &required);
        // A description that finds no room at all has an answer of its own.
        EXPECT_TRUE(failure == too_small || failure == unexpected) << std::hex << failure;
        EXPECT_EQ(required, 7u);
    }
    return text;
}

template <typename... Args>
std::string text(const char* format, Args... args) {
    return checked([&](kr_char* buffer, size_t size, size_t* required) {
        return kr_printf_format2(buffer, size, required, format, args...);
    });
}

struct text_row {
    int line;
    std::string text, expected;
};

void expect_texts(std::initializer_list<text_row> rows) {
    for (const text_row& row : rows) { EXPECT_EQ(row.text, row.expected) << "line " << row.line; }
}

// Every conversion that the C library shares is held against it by the fuzz target.
TEST(Engine, FormatsNumbers) {
    expect_texts({
        {__LINE__, text("%d|%i", INT32_MIN, INT32_MAX), "-2147483648|2147483647"},
        {__LINE__, text("%lld", INT64_MIN), "-9223372036854775808"},
        {__LINE__, text("%llu|%zu", UINT64_MAX, u64{0}), "18446744073709551615|0"},
        {__LINE__, text("%hd|%hu|%ld", -1, -1, -1), "-1|4294967295|-1"},
        {__LINE__, text("%05d|%5d|%06d|%6d", -42, -42, -42, -42), "-0042|  -42|-00042|   -42"},
        {__LINE__, text("%-5d|%+d|% d|%'d", 42, 42, 42, 1234), "   42|42|42|1234"},
        {__LINE__, text("%5u|%05u|%2u|%-010u", 42, 42, 12345, 7), "   42|00042|12345|0000000007"},
        {__LINE__, text("%x|%#x|%#x|%#X", 0, 0, 255, 255), "0|0|0xff|0XFF"},
        {__LINE__, text("%#5x|%#010x|%#10x", 255, 255, 255), " 0xff|0x000000ff|      0xff"},
        {__LINE__, text("%o|%#o|%#08o|%#4o", 8, 8, 8, 8), "10|010|00000010| 010"},
        {__LINE__, text("%llX|%08X", 0xFEDCBA9876543210u, 0xF1C), "FEDCBA9876543210|00000F1C"},
        {__LINE__, text("%_b|%_h|%_H|%_h|%09_h", 7, 10, 255, 0x1234, 1), "7|0a|FF|1234|01"},
        {__LINE__, text("%5_b|%ll_b", 7, 7), "    7|7"},
        {__LINE__, text("%ll_u|%06ll_u|%h_u", u64{1} << 40, u64{42}, -1), "1099511627776|000042|4294967295"},
        {__LINE__, text("%h_x|%l_X|%ll_X|%z_x", 0xAB, 0xAB, u64{0xAB}, u64{0xAB}),
         "00ab|000000AB|00000000000000AB|00000000000000ab"},
        {__LINE__, text("%9h_x|%h_x", 0xAB, 0x12345), "00ab|12345"},
    });
}

TEST(Engine, FormatsTexts) {
    const kr_char* wide = KR_TEXT("wide text of more than one vector");
    const char* null = nullptr;
    const kr_char* wide_null = nullptr;
    expect_texts({
        {__LINE__, text(""), ""},
        {__LINE__, text("%%%d%%%%%d%%", 1, 2), "%1%%2%"},
        {__LINE__, text("%s|%8s|%08s|%2s|%ls", "abc", "abc", "abc", "abc", "abc"),
         "abc|     abc|     abc|abc|abc"},
        {__LINE__, text("%s%s", "", "seventeen letters"), "seventeen letters"},
        {__LINE__, text("%_s|%5_s|%_s", wide, KR_TEXT("x"), KR_TEXT("")), utf8(wide) + "|    x|"},
        {__LINE__, text("%s|%_s|%7s", null, wide_null, null), "(null)|(null)| (null)"},
        {__LINE__, text("%c|%5c|%c", 'A', 'B', 0x143), "A|B|C"},
    });
}

TEST(Engine, FormatsTheLibrarysValues) {
    const kr_result failure = 0x82000002;
    const kr_result success = KR_SUCCESS;
    const kr_result invalid = KR_RESULT_INVALID;
    KRGUID guid{};
    for (u8 i = 0; i < KR_GUID_BYTES; ++i) { guid.bytes[i] = static_cast<u8>(i * 0x11); }
    const void* pointer = reinterpret_cast<const void*>(0x7FF6A1B2C3D4);
    const void* null = nullptr;
    expect_texts({
        {__LINE__, text("%p|%_p|%_P", pointer, pointer, pointer),
         "0x00007FF6A1B2C3D4|0x00007FF6A1B2C3D4|0x00007FF6A1B2C3D4"},
        {__LINE__, text("%10p|%-p|%#30_P|%h_p", null, null, null, null),
         "0x0000000000000000|0x0000000000000000|0x0000000000000000|0x0000000000000000"},
        {__LINE__, text("%_r %20_r", &failure, &success), "0x82000002 0x02000000"},
        {__LINE__, text("Result is %_r (%_z)", &failure, &failure),
         "Result is 0x82000002 (error \"Out of memory\" from \"Unknown source\")"},
        {__LINE__, text("%h_z!%_z", &failure, &invalid), "Out of memory!Invalid result value"},
        {__LINE__, text("%_k|%_k|%_k", 0xC0A80001, 0, 0xFFFFFFFF), "192.168.0.1|0.0.0.0|255.255.255.255"},
        {__LINE__, text("%_g|%_g%d", &guid, null, 5), "00112233445566778899AABBCCDDEEFF|(null)5"},
        {__LINE__, text("%_z", null), "8200000C"},
    });
}

TEST(Engine, TakesEveryArgumentFromItsOwnSlot) {
    const kr_result result = 0x82000002;
    EXPECT_EQ(text("%d %llu %s %c %_s %lld %x %_r %hu %p %d %_k %ll_u %s %d", -1, u64{2}, "three", '4',
                   KR_TEXT("five"), i64{-6}, 7, &result, 9, nullptr, 11, 0x01020304, u64{13}, "fourteen", 15),
              "-1 2 three 4 five -6 7 0x82000002 9 0x0000000000000000 11 1.2.3.4 13 fourteen 15");
}

TEST(Engine, RefusesDefectiveFormats) {
    for (const char* format :
         {"abc%",  "%5.2d", "%*d", "%--d",   "%00d",   "%+05+d", "%hhd", "%Ld",  "%q",  "%_",
          "%_q",   "%#",    "%12", "%.d",    "%l",     "%lll",   "%_u",  "%5_x", "%_X", "%jd",
          "%I64d", "%n",    "%f",  "% ' 5d", "%\351d", "%lld%",  "%5*d", "%_%",  "% %", "%5"}) {
        EXPECT_EQ(text(format, 1, 2), "82000079") << format;
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
