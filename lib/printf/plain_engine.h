/// The conversions of numbers, strings and characters, written once for the public operations and
/// for the driver. For the engine's own sources.
#pragma once

#include <bit>
#include <cstring>
#include <type_traits>

#include "base/convert/decimal.h"
#include "base/convert/hex.h"
#include "base/text/copy_text.h"
#include "base/text/text_walk.h"
#include "base/text/widen.h"
#include "printf/engine.h"
#include "printf/plain_conversions.h"

namespace kr::detail {

inline constexpr char null_text[] = "(null)";

inline u32 digit_count(u64 value, u32 radix) {
    const u32 bits = static_cast<u32>(std::bit_width(value | 1u));
    switch (radix) {
    case 10:
        return decimal_digit_count(value);
    case 16:
        return (bits + 3) / 4;
    case 8:
        return (bits + 2) / 3;
    default:
        break;
    }
    u32 count = 1;
    for (; value >= radix; value /= radix) {
        ++count;
    }
    return count;
}

/// Writes the `count` digits of `value` from the right end backwards.
inline void write_digits(u64 value, u32 radix, const kr_char* digits, u32 count, kr_char* out) {
    kr_char* position = out + count;
    switch (radix) {
    case 10:
        write_decimal(value, out);
        break;
    case 16: // the radixes of the conversions divide by shifting
        while (position != out) {
            *--position = digits[value % 16];
            value /= 16;
        }
        break;
    case 8:
        while (position != out) {
            *--position = digits[value % 8];
            value /= 8;
        }
        break;
    default:
        while (position != out) {
            *--position = digits[value % radix];
            value /= radix;
        }
        break;
    }
}

/// The alternate form's prefix: none, "0", "0x" or "0X".
inline u32 prefix_length(u32 radix, u32 flags, u64 value) {
    if ((flags & KR_PRINTF_FLAG_ALTERNATE) == 0 || value == 0) {
        return 0;
    }
    return radix == 16 ? 2 : radix == 8 ? 1 : 0;
}

inline bool put_prefix(u32 length, const kr_char* digits, format_room& room) {
    if (room.chars < length) {
        return false;
    }
    room.at[0] = '0';
    if (length == 2) {
        room.at[1] = digits[10] == 'A' ? 'X' : 'x';
    }
    room.advance(length);
    return true;
}

/// The untraced engine writes a number at once where there is room for the longest; false where
/// there is not, and the pieces must be tried one by one.
inline bool has_room_for_number(const format_output& out, u32 width) {
    return !out.measuring() && out.room_of(0).chars > std::max(width, max_decimal_digits);
}

/// Writes a decimal number with its padding and sign. There is room for it.
inline void put_decimal(u64 magnitude, bool negative, u32 flags, u32 width, format_output& out) {
    kr_char* const begin = out.room_of(0).at;
    kr_char* at = begin;
    const bool zeroes = (flags & KR_PRINTF_FLAG_ZEROES) != 0;
    if (negative && zeroes) {
        *at++ = '-';
    }
    if (width > 1) {
        const u32 chars = decimal_digit_count(magnitude) + (negative ? 1 : 0);
        for (u32 i = chars; i < width; ++i) {
            *at++ = zeroes ? '0' : ' ';
        }
    }
    if (negative && !zeroes) {
        *at++ = '-';
    }
    out.count(static_cast<size_t>(write_decimal(magnitude, at) - begin));
}

/// Writes the unsigned numbers that nearly every line is made of: decimal, and zero-padded
/// hexadecimal of 32 or 64 bits. There is room for it. False for any other.
inline bool put_usual_number(u32 radix, bool upper, u32 flags, u32 width, format_output& out,
                             u64 value) {
    if (radix == 10) {
        put_decimal(value, false, flags, width, out);
        return true;
    }
    if (radix != 16 || flags != KR_PRINTF_FLAG_ZEROES) {
        return false;
    }
    if (width == 8 && value <= UINT32_MAX) {
        write_hex_number<8>(value, out.room_of(0).at, upper);
    } else if (width == 16) {
        write_hex_number<16>(value, out.room_of(0).at, upper);
    } else {
        return false;
    }
    out.count(width);
    return true;
}

template <bool Traced>
inline kr_result format_unsigned_value(u32 radix, const kr_char* digits, u32 flags, u32 width,
                                       format_output& out, u64 value) {
    const format_scope<Traced> scope("kr_printf_format_uint_internal");
    scope.enter();
    if (!Traced && has_room_for_number(out, width) &&
        put_usual_number(radix, digits == kr_printf_digits_upper, flags, width, out, value)) {
        return KR_SUCCESS;
    }
    const u32 prefix = prefix_length(radix, flags, value);
    const u32 digits_wanted = digit_count(value, radix);
    const u32 chars = prefix + digits_wanted;
    scope.debug("Width required = %u", chars);
    const u32 total = std::max(width, chars);
    out.count(total);
    scope.debug("Required size = %zu", out.total_bytes());
    if (out.measuring()) {
        return scope.leave(KR_SUCCESS);
    }
    format_room room = out.room_of(total);
    const bool zeroes = (flags & KR_PRINTF_FLAG_ZEROES) != 0;
    bool has_prefix = true;
    if (prefix != 0 && zeroes) {
        has_prefix = put_prefix(prefix, digits, room);
    }
    if (has_prefix && !format_pad(scope, room, total - chars, zeroes ? '0' : ' ')) {
        out.stop(room);
        return scope.leave_without_room();
    }
    if (prefix != 0 && !zeroes) {
        has_prefix = put_prefix(prefix, digits, room);
    }
    if (!has_prefix) {
        out.stop(room);
        scope.warn("Buffer too small. No place for alternative form.");
        return scope.leave(kr_result_make_error(KR_SUPPLIED_BUFFER_IS_NOT_LARGE_ENOUGH));
    }
    if (room.chars < digits_wanted) {
        out.stop(room);
        scope.warn("Buffer too small (%zu while %u required).",
                   room.chars * sizeof(kr_char) + out.size % sizeof(kr_char), digits_wanted);
        return scope.leave(kr_result_make_error(KR_SUPPLIED_BUFFER_IS_NOT_LARGE_ENOUGH));
    }
    write_digits(value, radix, digits, digits_wanted, room.at);
    return scope.leave(KR_SUCCESS);
}

/// Takes the argument that the size modifier names: a Value of 64 bits, or a Narrow one of 32,
/// which is extended as its type says. False for a modifier that is not known.
template <typename Narrow, typename Value, bool Traced>
inline bool take_number(const format_scope<Traced>& scope, u32 size_modifier, va_list* args,
                        Value* value) {
    static constexpr const char* lengths[] = {"", "short ", "long ", "long long "};
    if (size_modifier > KR_PRINTF_SIZE_64) {
        scope.warn("Incorrect size_modifier %u", size_modifier);
        return false;
    }
    *value =
        size_modifier == KR_PRINTF_SIZE_64 ? va_arg(*args, Value) : Value{va_arg(*args, Narrow)};
    if constexpr (std::is_signed_v<Value>) {
        scope.debug("signed decimal %sint %lld", lengths[size_modifier], *value);
    } else {
        scope.debug("unsigned %sint %llu", lengths[size_modifier], *value);
    }
    return true;
}

template <bool Traced>
inline kr_result format_unsigned(u32 radix, const kr_char* digits, const format_settings& settings,
                                 format_output& out, va_list* args) {
    const format_scope<Traced> scope("kr_printf_format_uint");
    scope.enter("Enter (buffer_left = %zu, radix = %u)", out.remaining_bytes(), radix);
    u64 value = 0;
    if (!take_number<u32>(scope, settings.size_modifier, args, &value)) {
        return scope.leave(not_implemented());
    }
    return scope.leave(
        format_unsigned_value<Traced>(radix, digits, settings.flags, settings.width, out, value));
}

inline bool put_minus(format_room& room) {
    if (room.chars < 1) {
        return false;
    }
    *room.at = '-';
    room.advance(1);
    return true;
}

template <bool Traced>
inline kr_result format_signed(const format_settings& settings, format_output& out, va_list* args) {
    const format_scope<Traced> scope("kr_printf_format_sint");
    scope.enter("Enter (buffer_left = %u)", static_cast<u32>(out.remaining_bytes()));
    i64 argument = 0;
    if (!take_number<i32>(scope, settings.size_modifier, args, &argument)) {
        return scope.leave(not_implemented());
    }
    const bool negative = argument < 0;
    u64 value = static_cast<u64>(argument);
    if (negative) {
        scope.debug("Negative value");
        value = 0 - value;
    }
    if (!Traced && has_room_for_number(out, settings.width)) {
        put_decimal(value, negative, settings.flags, settings.width, out);
        return KR_SUCCESS;
    }
    const u32 digits = decimal_digit_count(value);
    const u32 chars = digits + (negative ? 1 : 0);
    const u32 total = std::max(settings.width, chars);
    out.count(total);
    scope.debug("Updating required size %zu.", out.total_bytes());
    if (out.measuring()) {
        return scope.leave(KR_SUCCESS);
    }
    format_room room = out.room_of(total);
    const bool zeroes = (settings.flags & KR_PRINTF_FLAG_ZEROES) != 0;
    if (negative && zeroes) {
        scope.debug("Negative with leading zeroes.");
    }
    bool fits = !negative || !zeroes || put_minus(room);
    fits = fits && format_pad(scope, room, total - chars, zeroes ? '0' : ' ');
    if (fits && negative && !zeroes) {
        scope.debug("Negative without leading zeroes");
        fits = put_minus(room);
    }
    if (!fits || room.chars < digits) {
        out.stop(room);
        return scope.leave_without_room();
    }
    write_decimal(value, room.at);
    return scope.leave(KR_SUCCESS);
}

/// Writes a text of a known length, padded with blanks on the left: whole or not at all.
template <bool Traced, typename Char>
inline kr_result format_text(const format_scope<Traced>& scope, u32 width, format_output& out,
                             const Char* text, size_t length) {
    const size_t total = std::max<size_t>(width, length);
    out.count(total);
    scope.debug("Updating required size %zu.", out.total_bytes());
    if (out.measuring()) {
        return scope.leave(KR_SUCCESS);
    }
    format_room room = out.room_of(total);
    if (!format_pad(scope, room, total - length, ' ') || room.chars < length) {
        out.stop(room);
        return scope.leave_without_room();
    }
    copy_text(text, length, room.at);
    return scope.leave(KR_SUCCESS);
}

template <bool Traced>
inline kr_result format_narrow_string(const format_settings& settings, format_output& out,
                                      va_list* args) {
    const format_scope<Traced> scope("kr_printf_format_string");
    scope.enter();
    const char* text = va_arg(*args, const char*);
    if (text == nullptr) {
        text = null_text;
    }
    scope.debug("ASCIIZ string \"%s\"", text);
    return format_text(scope, settings.width, out, text, text_length(text));
}

template <bool Traced>
inline kr_result format_wide_string(const format_settings& settings, format_output& out,
                                    va_list* args) {
    const format_scope<Traced> scope("kr_printf_format_ustring");
    scope.enter();
    const kr_char* const text = va_arg(*args, const kr_char*);
    if (text == nullptr) {
        return format_text(scope, settings.width, out, null_text, std::size(null_text) - 1);
    }
    return format_text(scope, settings.width, out, text, text_length(text));
}

template <bool Traced>
inline kr_result format_character(format_output& out, va_list* args) {
    const format_scope<Traced> scope("kr_printf_format_char");
    scope.enter();
    const char character = static_cast<char>(va_arg(*args, u32));
    scope.debug("char '%c'", character);
    out.count(1);
    scope.debug("Updating required size %zu.", out.total_bytes());
    if (out.measuring()) {
        return scope.leave(KR_SUCCESS);
    }
    const format_room room = out.room_of(1);
    if (room.chars < 1) {
        return scope.leave_without_room();
    }
    *room.at = widen(character);
    return scope.leave(KR_SUCCESS);
}

} // namespace kr::detail
