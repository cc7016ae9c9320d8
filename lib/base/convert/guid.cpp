/// The GUID's predicates and text forms. Works on caller's memory only; logs to `other`.
#include "base/convert/guid.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <type_traits>

#include "base/convert/convert_text.h"
#include "base/convert/hex.h"
#include "base/text/wide_string.h"
#include "log/log.h"
#include "result/failures.h"

namespace {

using kr::detail::invalid_argument;

constexpr u32 digit_count = 2 * KR_GUID_BYTES;
/// The shortest form never shows fewer bytes than a serial number has.
constexpr i32 shortest_last_byte = 3;

using kr::detail::lower_hex_digits;
using kr::detail::upper_hex_digits;
using kr::detail::write_hex_byte;

constexpr u8 not_a_digit = 0xFF;
constexpr std::array<u8, 128> nibbles = [] {
    std::array<u8, 128> table{};
    table.fill(not_a_digit);
    for (u8 value = 0; value < 16; ++value) {
        table[static_cast<u8>(upper_hex_digits[value])] = value;
        table[static_cast<u8>(lower_hex_digits[value])] = value;
    }
    return table;
}();

template <typename Char>
u8 nibble_of(Char character) {
    const auto index = static_cast<std::make_unsigned_t<Char>>(character);
    return index < nibbles.size() ? nibbles[index] : not_a_digit;
}

void put_nibble(KRGUID* guid, u32 position, u8 nibble) {
    const u32 shift = position % 2 == 0 ? 4 : 0;
    u8& byte = guid->bytes[position / 2];
    byte = static_cast<u8>(byte | nibble << shift);
}

/// Whether the text ends at `length` exactly; reads no further than that.
template <typename Char>
bool has_length(const Char* text, u32 length) {
    return std::find(text, text + length, Char{}) == text + length && text[length] == Char{};
}

enum class marks { refused, skipped };

/// Reads the 32 digits among the first `length` characters; braces and dashes may stand between
/// them where they are skipped. False when another character or another number of digits is there.
template <typename Char>
bool read_digits(const Char* text, u32 length, marks braces_and_dashes, KRGUID* out) {
    KRGUID guid{};
    u32 position = 0;
    for (const Char* c = text; c != text + length; ++c) {
        if (braces_and_dashes == marks::skipped && (*c == '{' || *c == '}' || *c == '-')) {
            continue;
        }
        const u8 nibble = nibble_of(*c);
        if (nibble == not_a_digit || position == digit_count) {
            return false;
        }
        put_nibble(&guid, position++, nibble);
    }
    if (position != digit_count) {
        return false;
    }
    *out = guid;
    return true;
}

template <typename Char>
kr_result from_text(const Char* text, u32 length, marks braces_and_dashes, KRGUID* out) {
    if (text == nullptr || out == nullptr) {
        return invalid_argument();
    }
    if (!has_length(text, length)) {
        return kr_result_make_error(KR_GENERIC);
    }
    if (!read_digits(text, length, braces_and_dashes, out)) {
        return invalid_argument();
    }
    return KR_SUCCESS;
}

template <typename Char>
Char* to_text_simple(const KRGUID* guid, Char* out) {
    kr::detail::write_hex_16(guid->bytes, out);
    out[digit_count] = Char{};
    return out;
}

/// Bit i of `dashes` puts a '-' before byte i.
i32 to_text_braced(const KRGUID* guid, const char* digits, u32 dashes, char* out) {
    char* end = out;
    *end++ = '{';
    for (u32 i = 0; i < KR_GUID_BYTES; ++i) {
        if ((dashes >> i & 1u) != 0) {
            *end++ = '-';
        }
        end = write_hex_byte(guid->bytes[i], end, digits);
    }
    *end++ = '}';
    *end = '\0';
    return static_cast<i32>(end - out);
}

/// Steps 2 and 3 of reading the shortest form, once its length has passed. `text` is read up to its
/// terminator, so that a stray byte which counted no character is refused too.
template <typename Char>
kr_result read_shortest(const char* function, const Char* text, KRGUID* out) {
    kr_guid_set_null(out);
    for (const Char* c = text; *c != Char{}; ++c) {
        if (nibble_of(*c) == not_a_digit) {
            KR_LOG_AS(KR_LOG_OTHER, KR_LOG_DEBUG, function, "GUID check 2 failed.");
            return invalid_argument();
        }
    }
    for (u32 i = 0; text[i] != Char{}; ++i) {
        const u8 nibble = nibble_of(text[i]);
        KR_LOG_AS(KR_LOG_OTHER, KR_LOG_DEBUG, function, "%c -> %u", static_cast<char>(text[i]),
                  u32{nibble});
        KR_LOG_AS(KR_LOG_OTHER, KR_LOG_DEBUG, function, "%u", u32{out->bytes[i / 2]});
        put_nibble(out, i, nibble);
        KR_LOG_AS(KR_LOG_OTHER, KR_LOG_DEBUG, function, "%u", u32{out->bytes[i / 2]});
    }
    return KR_SUCCESS;
}

bool is_shortest_length(u64 length) {
    return length != 0 && length % 2 == 0 && length <= digit_count;
}

/// Index of the last byte that is not 0, -1 when there is none.
i32 last_non_zero_byte(const KRGUID* guid) {
    i32 index = KR_GUID_BYTES - 1;
    while (index >= 0 && guid->bytes[index] == 0) {
        --index;
    }
    return index;
}

bool all_bytes_are(const KRGUID* guid, u8 value) {
    return std::all_of(std::begin(guid->bytes), std::end(guid->bytes),
                       [value](u8 byte) { return byte == value; });
}

} // namespace

bool kr_guid_is_null(const KRGUID* guid) {
    return all_bytes_are(guid, 0);
}

void kr_guid_set_null(KRGUID* guid) {
    *guid = {};
}

bool kr_guid_is_all_ones(const KRGUID* guid) {
    return all_bytes_are(guid, 0xFF);
}

void kr_guid_set_all_ones(KRGUID* guid) {
    std::memset(guid->bytes, 0xFF, KR_GUID_BYTES);
}

bool kr_guid_equal(const KRGUID* a, const KRGUID* b) {
    return std::memcmp(a->bytes, b->bytes, KR_GUID_BYTES) == 0;
}

void kr_guid_copy(KRGUID* dst, const KRGUID* src) {
    *dst = *src;
}

kr_result kr_guid_from_string_simple(const kr_char* text, KRGUID* out) {
    return from_text(text, digit_count, marks::refused, out);
}

kr_result kr_guid_from_string_simple_ascii(const char* text, KRGUID* out) {
    return from_text(text, digit_count, marks::refused, out);
}

kr_char* kr_guid_to_string_simple(const KRGUID* guid, kr_char* out) {
    return to_text_simple(guid, out);
}

char* kr_guid_to_string_simple_ascii(const KRGUID* guid, char* out) {
    return to_text_simple(guid, out);
}

kr_result kr_guid_from_string_shortest(const kr_char* text, KRGUID* out) {
    if (text == nullptr || out == nullptr) {
        return invalid_argument();
    }
    const size_t length = kr_string_length(text);
    if (!is_shortest_length(length)) {
        KR_LOG(KR_LOG_OTHER, KR_LOG_DEBUG, "GUID check 1 failed. s=%zu (%_s)", length, text);
        return invalid_argument();
    }
    return read_shortest(__func__, text, out);
}

kr_result kr_guid_from_string_shortest_ascii(const char* text, KRGUID* out) {
    if (text == nullptr || out == nullptr) {
        return invalid_argument();
    }
    const size_t length = kr_string_char_count_utf8(text);
    if (!is_shortest_length(length)) {
        KR_LOG(KR_LOG_OTHER, KR_LOG_DEBUG, "GUID check 1 failed. s=%zu (%s)", length, text);
        return invalid_argument();
    }
    return read_shortest(__func__, text, out);
}

kr_result kr_guid_to_string_shortest(const KRGUID* guid, char* out, size_t out_size) {
    if (guid == nullptr || out == nullptr) {
        return invalid_argument();
    }
    const i32 last = last_non_zero_byte(guid);
    KR_LOG(KR_LOG_OTHER, KR_LOG_DEBUG, "First non-zero byte at %d", last);
    if (last < 0) {
        return invalid_argument();
    }
    const i32 written_last = std::max(last, shortest_last_byte);
    const size_t length = 2 * (static_cast<size_t>(written_last) + 1);
    if (out_size <= length) {
        return kr_result_make_error(KR_SUPPLIED_BUFFER_IS_NOT_LARGE_ENOUGH);
    }
    out[length] = '\0';
    std::memset(out, '?', length - 2);
    KR_LOG(KR_LOG_OTHER, KR_LOG_DEBUG, "\"%s\"", out);
    for (i32 i = written_last; i >= 0; --i) {
        write_hex_byte(guid->bytes[i], out + 2 * i);
        KR_LOG(KR_LOG_OTHER, KR_LOG_DEBUG, "Index %d -> %02X (\"%s\")", i, u32{guid->bytes[i]},
               out);
    }
    return KR_SUCCESS;
}

i32 kr_guid_to_string_braced(const KRGUID* guid, char* out) {
    constexpr u32 dashes = 1u << 4 | 1u << 8 | 1u << 12;
    return to_text_braced(guid, upper_hex_digits, dashes, out);
}

i32 kr_guid_to_string_braced_lower(const KRGUID* guid, char* out) {
    constexpr u32 dashes = 1u << 4 | 1u << 6 | 1u << 8 | 1u << 10;
    return to_text_braced(guid, lower_hex_digits, dashes, out);
}

kr_result kr_guid_from_string_braced_ascii(const char* text, KRGUID* out) {
    return from_text(text, KR_GUID_BRACED_CHARS - 1, marks::skipped, out);
}

kr_result kr_guid_from_string_braced(const kr_char* text, KRGUID* out) {
    return from_text(text, KR_GUID_BRACED_LOWER_CHARS - 1, marks::skipped, out);
}

kr_result kr_guid_to_serial(const KRGUID* guid, u32* serial) {
    if (guid == nullptr || serial == nullptr) {
        return invalid_argument();
    }
    if (last_non_zero_byte(guid) > shortest_last_byte) {
        KR_LOG(KR_LOG_OTHER, KR_LOG_WARNING, "Unexpected KRGUID contents");
        return invalid_argument();
    }
    const u8* const b = guid->bytes;
    *serial = u32{b[0]} << 24 | u32{b[1]} << 16 | u32{b[2]} << 8 | b[3];
    return KR_SUCCESS;
}
