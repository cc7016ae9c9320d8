/// The public parsers and conversions on their own: each writes, measures, traces and refuses.
#include "base/convert/guid.h"
#include "printf/library_conversions.h"
#include "printf/plain_conversions.h"
#include "printf/printf.h"
#include "support/captured_log.h"
#include "support/checked_format.h"

namespace {

using namespace kr::test;

constexpr const kr_char* lower = kr_printf_digits_lower;
constexpr u32 zeroes = KR_PRINTF_FLAG_ZEROES;
constexpr u32 alternate = KR_PRINTF_FLAG_ALTERNATE;

template <auto conversion, auto... settings>
kr_result call(kr_char** cursor, size_t remaining, va_list* args, size_t* required) {
    return conversion(settings..., cursor, remaining, args, required);
}

TEST(Conversions, WriteMeasureTraceAndRefuse) {
    const kr_result described = out_of_memory;
    const KRGUID guid{{0x0F, 0xA0}};
    // clang-format off
    const struct {
        std::string function;
        u64 argument;
        std::string text;
        size_t short_room; // too few bytes for it: what is written then, and how the counter grows
        std::string written;
        size_t counted;
        kr_result (*convert)(kr_char** cursor, size_t remaining, va_list* args, size_t* required);
    } rows[] = {
        {"uint: Enter (buffer_left = 14, radix = 16)", 0xABC, "  0xabc", 6, "  ", 14,
         call<kr_printf_format_uint, 16, lower, alternate, 7, 0, KR_PRINTF_SIZE_64>},
        {"uint: Enter (buffer_left = 16, radix = 16)", 0xFF, "0x0000ff", 8, "0x00", 16,
         call<kr_printf_format_uint, 16, lower, zeroes | alternate, 8, 0, 0>},
        {"uint: Enter (buffer_left = 10, radix = 10)", 123, "  123", 4, "  ", 10,
         call<kr_printf_format_uint, 10, lower, 0, 5, 0, 0>},
        {"uint_internal: Enter ()", 343, "1000", 4, "", 8, [](auto at, auto room, va_list* args, auto size)
             { return kr_printf_format_uint_internal(7, lower, 0, 0, 0, 0, at, room, va_arg(*args, u64), size); }},
        {"sint: Enter (buffer_left = 12)", u64(-5), "-00005", 9, "-000", 12,
         call<kr_printf_format_sint, zeroes, 6, 0, 0>},
        {"sint: Enter (buffer_left = 10)", u64(-12), "  -12", 4, "  ", 10, call<kr_printf_format_sint, 0, 5, 0, 0>},
        {"string: Enter ()", slot_of("abc"), "  abc", 6, "  ", 10, call<kr_printf_format_string, 0, 5, 0, 0>},
        {"ustring: Enter ()", slot_of(KR_TEXT("de")), "de", 3, "", 4, call<kr_printf_format_ustring, 0, 0, 0, 0>},
        {"char: Enter ()", 'x', "x", 1, "", 2, call<kr_printf_format_char, 0, 9, 0, 0>},
        {"pointer: Enter ()", 0xB0B, "0x0000000000000B0B", 14, "0x00000", 32,
         call<kr_printf_format_pointer, 0, 0, 0, 0>},
        {"kr_pointer: Enter ()", 0, "0x0000000000000000", 2, "", 0, call<kr_printf_format_kr_pointer, 0, 0, 0>},
        {"sguid: Enter ()", slot_of(&guid), "0FA00000000000000000000000000000", 62, "", 64,
         call<kr_printf_format_sguid, 0, 0, 0, 0>},
        {"ipv4: Enter ()", 0x0A0B0C0D, "10.11.12.13", 8, "10.", 0, call<kr_printf_format_ipv4, 0, 0, 0, 0>},
        {"ipv4: Enter ()", 0x0A0B0C0D, "10.11.12.13", 10, "10.11", 0, call<kr_printf_format_ipv4, 0, 0, 0, 0>},
        {"sr: Enter ()", slot_of(&described), "0x82000002", 2, "", 0, call<kr_printf_format_sr, 0, 0, 0, 0>},
        {"tr_descr: Enter ()", slot_of(&described), "error \"Out of memory\" from \"Unknown source\"", 20, "", 0,
         call<kr_printf_format_tr_descr, 0, 0, 0, 0>},
    };
    // clang-format on
    for (const auto& row : rows) {
        SCOPED_TRACE(row.function + row.text + row.written);
        const bool description = row.function[0] == 't'; // needs room for its terminator too
        guarded_buffer<kr_char> buffer(row.text.size() + (description ? 1 : 0));
        const size_t size = row.text.size() * sizeof(kr_char);
        kr_char* none = nullptr;
        kr_char* cursor = buffer.data();
        size_t required = 10;
        captured_log log(KR_LOG_CALL);
        const auto convert = [&](kr_char** at, size_t room) {
            const auto with = [&](auto* args) { return row.convert(at, room, args, &required); };
            return with_list(&with, row.argument);
        };
        EXPECT_EQ(convert(&cursor, buffer.size_bytes()), ok);
        EXPECT_EQ(log.take().front(), "C 05 kr_printf_format_" + row.function);
        EXPECT_EQ(std::string(buffer.data(), cursor), row.text);
        EXPECT_EQ(required, 10 + size);
        EXPECT_EQ(convert(&none, 0), ok);
        EXPECT_EQ(none, nullptr);
        EXPECT_EQ(required, 10 + 2 * size);
        guarded_buffer<kr_char> tight(byte_count{row.short_room});
        cursor = tight.data();
        EXPECT_EQ(convert(&cursor, row.short_room), too_small);
        EXPECT_EQ(std::string(tight.data(), cursor), row.written);
        EXPECT_EQ(required, 10 + 2 * size + row.counted);
    }
}

TEST(Conversions, RefuseUnknownRadixesAndSizes) {
    kr_char out[16];
    kr_char* cursor = out;
    size_t size = 0;
    const auto take = [&](va_list* args) {
        for (const u32 radix : {0u, 1u, 17u}) {
            EXPECT_EQ(kr_printf_format_uint_internal(radix, lower, 0, 0, 0, 0, &cursor, 8, 1, &size),
                      invalid);
            EXPECT_EQ(kr_printf_format_uint(radix, lower, 0, 0, 0, 0, &cursor, 8, args, &size), invalid);
        }
        EXPECT_EQ(kr_printf_format_uint(10, lower, 0, 0, 0, 4, &cursor, 8, args, &size), not_implemented);
        EXPECT_EQ(kr_printf_format_sint(0, 0, 0, 9, &cursor, 8, args, &size), not_implemented);
        EXPECT_EQ(kr_printf_format_pointer(0, 0, 0, 5, &cursor, 20, args, &size), not_implemented);
        return kr_printf_format_sint(0, 0, 0, 3, &cursor, 8, args, &size);
    };
    EXPECT_EQ(with_list(&take, 42), ok); // the refused ones took nothing
    EXPECT_EQ(std::string(out, cursor), "0x42");
    EXPECT_EQ(size, 4u);
}

TEST(Parsers, StopBehindWhatTheyKnow) {
    const struct {
        kr_result (*parse)(const char**, u32*);
        std::string function, text, rest;
        kr_result result;
        u32 value;
    } rows[] = {
        {kr_printf_format_parse_flags, "flags", "-#z", "z", ok, KR_PRINTF_FLAG_LEFT | alternate},
        {kr_printf_format_parse_flags, "flags", "00", "0", kr_result{0x82000079}, zeroes},
        {kr_printf_format_parse_width, "width", "4294967298lx", "lx", ok, 2}, // 2^32 + 2
        {kr_printf_format_parse_width, "width", "*", "*", not_implemented, 0},
        {kr_printf_format_parse_width, "width", "x1", "x1", ok, 0},
        {kr_printf_format_parse_precision, "precision", "1", "1", ok, 0},
        {kr_printf_format_parse_precision, "precision", ".", ".", not_implemented, 0},
        {kr_printf_format_parse_size_mod, "size_mod", "lx", "x", ok, KR_PRINTF_SIZE_LONG},
        {kr_printf_format_parse_size_mod, "size_mod", "lll", "l", ok, KR_PRINTF_SIZE_64},
    };
    captured_log log(KR_LOG_CALL);
    for (const auto& row : rows) {
        SCOPED_TRACE(row.function + row.text);
        const char* cursor = row.text.c_str();
        u32 value = 99;
        EXPECT_EQ(row.parse(&cursor, &value), row.result);
        EXPECT_EQ(log.take().front(), "C 05 kr_printf_format_parse_" + row.function + ": Enter ()");
        EXPECT_EQ(cursor, row.rest);
        EXPECT_EQ(value, row.value);
        const char* none = nullptr;
        EXPECT_EQ(row.parse(&none, &value), invalid);
    }
}

} // namespace
