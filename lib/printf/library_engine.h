/// The conversions of the library's own values, written once for the public operations and for the
/// driver. For the engine's own sources.
#pragma once

#include "base/guid.h"
#include "printf/library_conversions.h"
#include "printf/number_engine.h"
#include "result/descriptions.h"

namespace kr::detail {

/// Writes "0x" when writing; false without the room. The caller counts it.
inline bool put_0x(format_output& out) {
    if (out.measuring()) {
        return true;
    }
    return put_prefix(2, kr_printf_digits_lower, out);
}

template <bool Traced>
inline kr_result format_pointer(u32 size_modifier, format_output& out, va_list* args) {
    const format_scope<Traced> scope("kr_printf_format_pointer");
    scope.enter();
    if (!put_0x(out)) {
        return scope.leave_without_room();
    }
    const format_settings settings = {
        .flags = KR_PRINTF_FLAG_ZEROES,
        .width = 16,
        .size_modifier = size_modifier == KR_PRINTF_SIZE_NONE ? KR_PRINTF_SIZE_64 : size_modifier,
    };
    const kr_result result =
        format_unsigned<Traced>(16, kr_printf_digits_upper, settings, out, args);
    if (kr_result_succeeded(result)) {
        out.count(2);
    }
    return scope.leave(result);
}

template <bool Traced>
inline kr_result format_kr_pointer(format_output& out, va_list* args) {
    const format_scope<Traced> scope("kr_printf_format_kr_pointer");
    scope.enter();
    return scope.leave(format_pointer<Traced>(KR_PRINTF_SIZE_64, out, args));
}

template <bool Traced>
inline kr_result format_guid(format_output& out, va_list* args) {
    const format_scope<Traced> scope("kr_printf_format_sguid");
    scope.enter();
    const KRGUID* guid = va_arg(*args, const KRGUID*);
    const size_t chars = guid == nullptr ? std::size(null_wide_text) - 1 : 2 * KR_GUID_BYTES;
    out.count(chars);
    if (out.measuring()) {
        return scope.leave(KR_SUCCESS);
    }
    if (out.room_chars() < chars) {
        return scope.leave_without_room();
    }
    if (guid == nullptr) {
        copy_text(null_wide_text, chars, out.cursor);
    } else {
        kr_char* position = out.cursor;
        for (const u8 byte : guid->bytes) {
            *position++ = kr_printf_digits_upper[byte >> 4];
            *position++ = kr_printf_digits_upper[byte & 0x0F];
        }
    }
    out.advance(chars);
    return scope.leave(KR_SUCCESS);
}

template <bool Traced>
inline kr_result format_ipv4(format_output& out, va_list* args) {
    const format_scope<Traced> scope("kr_printf_format_ipv4");
    scope.enter();
    const u32 address = va_arg(*args, u32);
    constexpr u32 dots = 3;
    // The octets count for themselves: the caller's counter grows only when the whole address fits.
    format_output part = {out.cursor, out.remaining, 0};
    for (u32 octet = 0; octet <= dots; ++octet) {
        const u32 value = (address >> (8 * (dots - octet))) & 0xFF;
        const kr_result result =
            format_unsigned_value<Traced>(10, kr_printf_digits_lower, 0, 0, part, value);
        if (kr_result_failed(result)) {
            scope.warn("Failed to format IP component");
            return scope.leave(result);
        }
        if (octet < dots && !part.measuring()) {
            if (part.room_chars() < 1) {
                return scope.leave_without_room();
            }
            *part.cursor = '.';
            part.advance(1);
        }
    }
    out.cursor = part.cursor;
    out.remaining = part.remaining;
    out.required += part.required;
    out.count(dots);
    return scope.leave(KR_SUCCESS);
}

template <bool Traced>
inline kr_result format_result(format_output& out, va_list* args) {
    const format_scope<Traced> scope("kr_printf_format_sr");
    scope.enter();
    const kr_result value = *va_arg(*args, const kr_result*);
    if (!put_0x(out)) {
        return scope.leave_without_room();
    }
    const kr_result result = format_unsigned_value<Traced>(16, kr_printf_digits_upper,
                                                           KR_PRINTF_FLAG_ZEROES, 8, out, value);
    if (kr_result_succeeded(result)) {
        out.count(2);
    }
    return scope.leave(result);
}

/// The size in bytes of a code's text, which needs a buffer to be found.
[[gnu::noinline]] kr_result measure_code_description(kr_result result, size_t* size);

template <bool Traced>
inline kr_result format_description(u32 size_modifier, format_output& out, va_list* args) {
    const format_scope<Traced> scope("kr_printf_format_tr_descr");
    scope.enter();
    const kr_result* described = va_arg(*args, const kr_result*);
    if (described == nullptr) {
        scope.warn("NULL pointer provided from log macros.");
        return scope.leave(kr_result_make_error(KR_INVALID_ARGUMENT_TO_FUNCTION));
    }
    const bool code_only = size_modifier == KR_PRINTF_SIZE_SHORT;
    size_t size = out.remaining;
    kr_result result = KR_SUCCESS;
    if (!code_only) {
        result = kr_get_result_description2(*described, out.cursor, &size);
        if (kr_result_is(result, KR_SUPPLIED_BUFFER_IS_NOT_LARGE_ENOUGH)) { // also when it was cut
            result = kr_result_make_error(KR_SUPPLIED_BUFFER_IS_NOT_LARGE_ENOUGH);
        }
    } else if (out.measuring()) {
        result = measure_code_description(*described, &size);
    } else {
        result = kr_get_result_code_description(*described, out.cursor, &size);
    }
    if (kr_result_failed(result)) {
        scope.warn("%s() failed. Result is %_r (%_z)",
                   code_only ? "kr_get_result_code_description" : "kr_get_result_description2",
                   &result, &result);
        return scope.leave(result);
    }
    // The terminator is not counted: what follows overwrites it.
    const size_t chars = size / sizeof(kr_char) - 1;
    out.count(chars);
    if (!out.measuring()) {
        out.advance(chars);
    }
    return scope.leave(KR_SUCCESS);
}

} // namespace kr::detail
