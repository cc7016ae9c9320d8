/// Numbers as text: the base getters and setters of 32 and 64 bits, and the types that go through
/// them.
#include "settings/typed_number.h"

#include <type_traits>
#include <utility>

#include "base/convert/convert.h"
#include "base/memory/owner.h"
#include "base/time/time.h"
#include "log/trace.h"
#include "printf/printf.h"
#include "result/failures.h"
#include "settings/report.h"

namespace {

using kr::detail::invalid_argument;
using kr::detail::report;

constexpr u32 number_capacity_chars = 64;

/// Reads the entry's text and converts it; the low bits of the number go to `out`.
template <typename Number, typename Out>
kr_result fetch_number(const char* function, kr_result (*convert)(const kr_char*, Number*),
                       kr_settings_handle settings, const kr_char* name, Out* out) {
    if (out == nullptr) {
        return invalid_argument();
    }
    kr::owned_text text;
    kr_result result = kr_settings_get_string_alloc(settings, name, text.out());
    if (kr_result_failed(result)) {
        if (!kr_result_is(result, KR_NOT_FOUND)) {
            KR_LOG_FAILURE_AS(KR_LOG_SETTINGS, KR_LOG_WARNING, function, result,
                              "kr_settings_get_string_alloc() failed for name=%_s", name);
        }
        return result;
    }
    Number number = 0;
    result = convert(text.get(), &number);
    if (kr_result_failed(result)) {
        KR_LOG_FAILURE_AS(KR_LOG_SETTINGS, KR_LOG_WARNING, function, result,
                          "kr_string_to_%s64() failed for string=%_s",
                          std::is_signed_v<Number> ? "si" : "ui", text.get());
        return result;
    }
    *out = static_cast<Out>(number);
    return KR_SUCCESS;
}

/// A base getter: its return line shows the result on success too.
template <typename Number, typename Out>
kr_result get_number(const char* function, kr_result (*convert)(const kr_char*, Number*),
                     kr_settings_handle settings, const kr_char* name, Out* out) {
    const kr_trace trace(KR_LOG_SETTINGS, function);
    trace.enter("Enter (name = %_s)", name);
    const kr_result result = fetch_number(function, convert, settings, name, out);
    trace.leave_with("Return %_r () %_z", &result, &result);
    return result;
}

/// A base setter: `entry` is its entry line, `format` the text that it stores.
template <typename Value>
kr_result set_number(const char* function, kr_settings_handle settings, const kr_char* name,
                     Value value, kr_format<const kr_char*, std::type_identity_t<Value>> entry,
                     kr_format<std::type_identity_t<Value>> format) {
    const kr_trace trace(KR_LOG_SETTINGS, function);
    trace.enter(entry, name, value);
    kr_char text[number_capacity_chars];
    kr_result result =
        report(function, "kr_printf_format2",
               kr_printf_format2_checked(text, sizeof(text), nullptr, format, value));
    if (kr_result_failed(result)) {
        return trace.leave(result);
    }
    result = kr_settings_set_string(settings, name, text);
    if (kr_result_failed(result)) {
        KR_LOG_FAILURE_AS(KR_LOG_SETTINGS, KR_LOG_WARNING, function, result,
                          "kr_settings_set_string(name_ptr=%_s, value=%_s) failed.", name,
                          static_cast<const kr_char*>(text));
    }
    return trace.leave(result);
}

/// A sized getter: `read` gives the 32-bit number, which must be in Out's range.
template <typename Wide, typename Out>
kr_result get_sized(const char* function,
                    kr_result (*read)(kr_settings_handle, const kr_char*, Wide*),
                    kr_settings_handle settings, const kr_char* name, Out* out) {
    const kr_trace trace(KR_LOG_SETTINGS, function);
    trace.enter("Enter (name = %_s)", name);
    if (out == nullptr) {
        return trace.leave(invalid_argument());
    }
    Wide number = 0;
    const kr_result result = read(settings, name, &number);
    if (kr_result_failed(result)) {
        return trace.leave(result);
    }
    if (!std::in_range<Out>(number)) {
        return trace.leave(kr_result_make_error(KR_OVERFLOW));
    }
    *out = static_cast<Out>(number);
    return trace.leave(result);
}

/// A sized setter: `store` takes the 32-bit number; the entry line shows it as `value`.
template <typename Wide, typename Value>
kr_result set_sized(const char* function,
                    kr_result (*store)(kr_settings_handle, const kr_char*, Wide),
                    kr_settings_handle settings, const kr_char* name, Value value,
                    kr_format<const kr_char*, std::type_identity_t<Value>> entry) {
    const kr_trace trace(KR_LOG_SETTINGS, function);
    trace.enter(entry, name, value);
    return trace.leave(store(settings, name, static_cast<Wide>(value)));
}

} // namespace

kr_result kr_settings_get_signed_int(kr_settings_handle settings, const kr_char* name, i32* out) {
    return get_number(__func__, kr_string_to_si64_w, settings, name, out);
}

kr_result kr_settings_set_signed_int(kr_settings_handle settings, const kr_char* name, i32 value) {
    return set_number(__func__, settings, name, value, "Enter (name=%_s, value=%d)", "%d");
}

kr_result kr_settings_get_unsigned_int(kr_settings_handle settings, const kr_char* name, u32* out) {
    return get_number(__func__, kr_string_to_ui64_w, settings, name, out);
}

kr_result kr_settings_set_unsigned_int(kr_settings_handle settings, const kr_char* name,
                                       u32 value) {
    return set_number(__func__, settings, name, value, "Enter (name=%_s, value=%u)", "%u");
}

kr_result kr_settings_get_UINT64(kr_settings_handle settings, const kr_char* name, u64* out) {
    return get_number(__func__, kr_string_to_ui64_w, settings, name, out);
}

kr_result kr_settings_set_UINT64(kr_settings_handle settings, const kr_char* name, u64 value) {
    return set_number(__func__, settings, name, value, "Enter (name=%_s, value=%ll_u)", "%ll_u");
}

kr_result kr_settings_get_INT64(kr_settings_handle settings, const kr_char* name, i64* out) {
    return get_number(__func__, kr_string_to_si64_w, settings, name, out);
}

kr_result kr_settings_set_INT64(kr_settings_handle settings, const kr_char* name, i64 value) {
    return set_number(__func__, settings, name, value, "Enter (name=%_s, value=%lld)", "%lld");
}

kr_result kr_settings_get_UINT8(kr_settings_handle settings, const kr_char* name, u8* out) {
    return get_sized(__func__, kr_settings_get_unsigned_int, settings, name, out);
}

kr_result kr_settings_set_UINT8(kr_settings_handle settings, const kr_char* name, u8 value) {
    return set_sized(__func__, kr_settings_set_unsigned_int, settings, name, u32{value},
                     "Enter (name=%_s, value=%u)");
}

kr_result kr_settings_get_INT8(kr_settings_handle settings, const kr_char* name, i8* out) {
    return get_sized(__func__, kr_settings_get_signed_int, settings, name, out);
}

kr_result kr_settings_set_INT8(kr_settings_handle settings, const kr_char* name, i8 value) {
    return set_sized(__func__, kr_settings_set_signed_int, settings, name,
                     static_cast<u32>(i32{value}), "Enter (name=%_s, value=%u)");
}

kr_result kr_settings_get_UINT16(kr_settings_handle settings, const kr_char* name, u16* out) {
    return get_sized(__func__, kr_settings_get_unsigned_int, settings, name, out);
}

kr_result kr_settings_set_UINT16(kr_settings_handle settings, const kr_char* name, u16 value) {
    return set_sized(__func__, kr_settings_set_unsigned_int, settings, name, u32{value},
                     "Enter (name=%_s, value=%u)");
}

kr_result kr_settings_get_INT16(kr_settings_handle settings, const kr_char* name, i16* out) {
    return get_sized(__func__, kr_settings_get_signed_int, settings, name, out);
}

kr_result kr_settings_set_INT16(kr_settings_handle settings, const kr_char* name, i16 value) {
    return set_sized(__func__, kr_settings_set_signed_int, settings, name, i32{value},
                     "Enter (name=%_s, value=%d)");
}

kr_result kr_settings_get_UINT32(kr_settings_handle settings, const kr_char* name, u32* out) {
    return get_sized(__func__, kr_settings_get_unsigned_int, settings, name, out);
}

kr_result kr_settings_set_UINT32(kr_settings_handle settings, const kr_char* name, u32 value) {
    return set_sized(__func__, kr_settings_set_unsigned_int, settings, name, value,
                     "Enter (name=%_s, value=%u)");
}

kr_result kr_settings_get_INT32(kr_settings_handle settings, const kr_char* name, i32* out) {
    return get_sized(__func__, kr_settings_get_signed_int, settings, name, out);
}

kr_result kr_settings_set_INT32(kr_settings_handle settings, const kr_char* name, i32 value) {
    return set_sized(__func__, kr_settings_set_signed_int, settings, name, value,
                     "Enter (name=%_s, value=%d)");
}

kr_result kr_settings_get_BOOL(kr_settings_handle settings, const kr_char* name, u32* out) {
    const kr_trace trace(KR_LOG_SETTINGS, __func__);
    trace.enter("Enter (name = %_s)", name);
    if (out == nullptr) {
        return trace.leave(invalid_argument());
    }
    u8 number = 0;
    const kr_result result =
        report(__func__, "kr_settings_get_UINT8", kr_settings_get_UINT8(settings, name, &number));
    if (kr_result_failed(result)) {
        return trace.leave(result);
    }
    *out = number != 0 ? 1 : 0;
    trace.leave_with("Return (%d)", static_cast<i32>(*out));
    return result;
}

kr_result kr_settings_set_BOOL(kr_settings_handle settings, const kr_char* name, i32 value) {
    const kr_trace trace(KR_LOG_SETTINGS, __func__);
    trace.enter("Enter (name=%_s, value=%d)", name, value);
    return trace.leave(report(__func__, "kr_settings_set_UINT8",
                              kr_settings_set_UINT8(settings, name, value != 0 ? 1 : 0)));
}

kr_result kr_settings_get_relative_time(kr_settings_handle settings, const kr_char* name,
                                        kr_time* out) {
    const kr_trace trace(KR_LOG_SETTINGS, __func__);
    trace.enter("Enter (name = %_s)", name);
    if (out == nullptr) {
        return trace.leave(invalid_argument());
    }
    u64 nanoseconds = 0;
    const kr_result result = report(__func__, "kr_settings_get_UINT64",
                                    kr_settings_get_UINT64(settings, name, &nanoseconds));
    if (kr_result_succeeded(result)) {
        kr_time_fromNanoseconds(out, nanoseconds);
    }
    return trace.leave(result);
}

kr_result kr_settings_set_relative_time(kr_settings_handle settings, const kr_char* name,
                                        const kr_time* value) {
    const kr_trace trace(KR_LOG_SETTINGS, __func__);
    trace.enter("Enter (name=%_s)", name);
    if (value == nullptr) {
        return trace.leave(invalid_argument());
    }
    u64 nanoseconds = 0;
    const kr_result result =
        report(__func__, "kr_time_getNanoseconds", kr_time_getNanoseconds(value, &nanoseconds));
    if (kr_result_failed(result)) {
        return trace.leave(result);
    }
    return trace.leave(report(__func__, "kr_settings_set_UINT64",
                              kr_settings_set_UINT64(settings, name, nanoseconds)));
}
