/// The conversions of the library's own values and of pointers, which have a form of the library's,
/// written once for the public operations and for the driver. For the engine's own sources.
#pragma once

#include "base/convert/guid.h"
#include "base/convert/hex.h"
#include "base/text/copy_text.h"
#include "printf/library_conversions.h"
#include "printf/plain_engine.h"
#include "result/descriptions.h"

namespace kr::detail {

/// "0x" and the digits that `put_digits` writes behind it, counted only when both fit.
template <bool Traced, typename PutDigits>
inline kr_result format_behind_0x(const format_scope<Traced>& scope, format_output& out,
                                  const PutDigits& put_digits) {
    constexpr u32 prefix = 2;
    if (!out.measuring()) {
        format_room room = out.room_of(0);
        if (!put_prefix(prefix, kr_printf_digits_lower, room)) {
            return scope.leave_without_room();
        }
    }
    format_output part = out.behind(prefix);
    const kr_result result = put_digits(part);
    out.count(part.chars);
    out.stopped = part.stopped;
    if (kr_result_succeeded(result)) {
        out.count(prefix);
    }
    return scope.leave(result);
}

template <bool Traced>
inline kr_result format_pointer(u32 size_modifier, format_output& out, va_list* args) {
    const format_scope<Traced> scope("kr_printf_format_pointer");
    scope.enter();
    const format_settings settings = {
        .flags = KR_PRINTF_FLAG_ZEROES,
        .width = 16,
        .size_modifier = size_modifier == KR_PRINTF_SIZE_NONE ? KR_PRINTF_SIZE_64 : size_modifier,
    };
    return format_behind_0x(scope, out, [&](format_output& part) {
        return format_unsigned<Traced>(16, kr_printf_digits_upper, settings, part, args);
    });
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
    const size_t chars = guid == nullptr ? std::size(null_text) - 1 : 2 * KR_GUID_BYTES;
    out.count(chars);
    if (out.measuring()) {
        return scope.leave(KR_SUCCESS);
    }
    const format_room room = out.room_of(chars);
    if (room.chars < chars) {
        return scope.leave_without_room();
    }
    if (guid == nullptr) {
        copy_text(null_text, std::size(null_text) - 1, room.at);
        return scope.leave(KR_SUCCESS);
    }
    write_hex_16(guid->bytes, room.at);
    return scope.leave(KR_SUCCESS);
}

template <bool Traced>
inline kr_result format_ipv4(format_output& out, va_list* args) {
    const format_scope<Traced> scope("kr_printf_format_ipv4");
    scope.enter();
    const u32 address = va_arg(*args, u32);
    constexpr u32 dots = 3;
    // Each octet has a counter of its own; the caller's grows only when the whole address fits.
    format_output part = out.behind(0);
    for (u32 octet = 0; octet <= dots; ++octet) {
        const u32 value = (address >> (8 * (dots - octet))) & 0xFF;
        format_output own = part.behind(0);
        own.bytes_before = 0;
        const kr_result result =
            format_unsigned_value<Traced>(10, kr_printf_digits_lower, 0, 0, own, value);
        if (kr_result_failed(result)) {
            out.stopped = own.stopped;
            scope.warn("Failed to format IP component");
            return scope.leave(result);
        }
        part.count(own.chars);
        if (octet == dots) {
            break;
        }
        part.count(1);
        if (!part.measuring()) {
            const format_room room = part.room_of(1);
            if (room.chars < 1) {
                out.stop(room);
                return scope.leave_without_room();
            }
            *room.at = '.';
        }
    }
    out.count(part.chars);
    return scope.leave(KR_SUCCESS);
}

template <bool Traced>
inline kr_result format_result(format_output& out, va_list* args) {
    const format_scope<Traced> scope("kr_printf_format_sr");
    scope.enter();
    const kr_result* const value = va_arg(*args, const kr_result*);
    if (value == nullptr) {
        return scope.leave(invalid_argument());
    }
    return format_behind_0x(scope, out, [&](format_output& part) {
        return format_unsigned_value<Traced>(16, kr_printf_digits_upper, KR_PRINTF_FLAG_ZEROES, 8,
                                             part, *value);
    });
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
        return scope.leave(invalid_argument());
    }
    const bool code_only = size_modifier == KR_PRINTF_SIZE_SHORT;
    kr_char* const at = out.measuring() ? nullptr : out.room_of(0).at;
    size_t size = out.remaining_bytes();
    kr_result result = KR_SUCCESS;
    if (!code_only) {
        result = kr_get_result_description2(*described, at, &size);
        if (kr_result_is(result, KR_SUPPLIED_BUFFER_IS_NOT_LARGE_ENOUGH)) { // also when it was cut
            result = kr_result_make_error(KR_SUPPLIED_BUFFER_IS_NOT_LARGE_ENOUGH);
        }
    } else if (out.measuring()) {
        result = measure_code_description(*described, &size);
    } else {
        result = kr_get_result_code_description(*described, at, &size);
    }
    if (kr_result_failed(result)) {
        scope.warn("%s() failed. Result is %_r (%_z)",
                   code_only ? "kr_get_result_code_description" : "kr_get_result_description2",
                   &result, &result);
        return scope.leave(result);
    }
    // The terminator is not counted: what follows overwrites it.
    out.count(size / sizeof(kr_char) - 1);
    return scope.leave(KR_SUCCESS);
}

} // namespace kr::detail
