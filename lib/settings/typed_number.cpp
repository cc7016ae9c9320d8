/// Numbers as text: the base getters and setters of 32 and 64 bits, and the types that go through
/// them.
#include "settings/typed_number.h"

#include <type_traits>
#include <utility>

#include "base/convert/convert.h"
#include "base/memory/owner.h"
#include "base/time/time.h"
#include "log/log.h"
#include "log/trace.h"
#include "printf/printf.h"

namespace {

constexpr u32 number_capacity_chars = 64;

kr_result invalid_argument() {
    return kr_result_make_error(KR_INVALID_ARGUMENT_TO_FUNCTION);
}

void log_conversion_failure(const char* function, const kr_char* text, i64 /*number*/,
                            const kr_result* result) {
    KR_LOG_AS(KR_LOG_SETTINGS, KR_LOG_WARNING, function,
              "kr_string_to_si64() failed for string=%_s Result is %_r (%_z)", text, result,
              result);
}

void log_conversion_failure(const char* function, const kr_char* text, u64 /*number*/,
                            const kr_result* result) {
    KR_LOG_AS(KR_LOG_SETTINGS, KR_LOG_WARNING, function,
              "kr_string_to_ui64() failed for string=%_s Result is %_r (%_z)", text, result,
              result);
}

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
            KR_LOG_AS(KR_LOG_SETTINGS, KR_LOG_WARNING, function,
                      "kr_settings_get_string_alloc() failed for name=%_s Result is %_r (%_z)",
                      name, &result, &result);
        }
        return result;
    }
    Number number = 0;
    result = convert(text.get(), &number);
    if (kr_result_failed(result)) {
        log_conversion_failure(function, text.get(), number, &result);
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

/// A base setter, after its entry line.
template <typename Value>
kr_result store_number(const kr_trace& trace, const char* function, kr_settings_handle settings,
                       const kr_char* name, kr_format<std::type_identity_t<Value>> format,
                       Value value) {
    kr_char text[number_capacity_chars];
    kr_result result = kr_printf_format2_checked(text, sizeof(text), nullptr, format, value);
    if (kr_result_failed(result)) {
        KR_LOG_AS(KR_LOG_SETTINGS, KR_LOG_WARNING, function,
                  "kr_printf_format2() failed. Result is %_r (%_z)", &result, &result);
        return trace.leave(result);
    }
    result = kr_settings_set_string(settings, name, text);
    if (kr_result_failed(result)) {
        KR_LOG_AS(KR_LOG_SETTINGS, KR_LOG_WARNING, function,
                  "kr_settings_set_string(name_ptr=%_s, value=%_s) failed. Result is %_r (%_z)",
                  name, static_cast<const kr_char*>(text), &result, &result);
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

} // namespace

kr_result kr_settings_get_signed_int(kr_settings_handle settings, const kr_char* name, i32* out) {
    return get_number(__func__, kr_string_to_si64_w, settings, name, out);
}

kr_result kr_settings_set_signed_int(kr_settings_handle settings, const kr_char* name, i32 value) {
    const kr_trace trace(KR_LOG_SETTINGS, __func__);
    trace.enter("Enter (name=%_s, value=%d)", name, value);
    return store_number(trace, __func__, settings, name, "%d", value);
}

kr_result kr_settings_get_unsigned_int(kr_settings_handle settings, const kr_char* name, u32* out) {
    return get_number(__func__, kr_string_to_ui64_w, settings, name, out);
}

kr_result kr_settings_set_unsigned_int(kr_settings_handle settings, const kr_char* name,
                                       u32 value) {
    const kr_trace trace(KR_LOG_SETTINGS, __func__);
    trace.enter("Enter (name=%_s, value=%u)", name, value);
    return store_number(trace, __func__, settings, name, "%u", value);
}

kr_result kr_settings_get_UINT64(kr_settings_handle settings, const kr_char* name, u64* out) {
    return get_number(__func__, kr_string_to_ui64_w, settings, name, out);
}

kr_result kr_settings_set_UINT64(kr_settings_handle settings, const kr_char* name, u64 value) {
    const kr_trace trace(KR_LOG_SETTINGS, __func__);
    trace.enter("Enter (name=%_s, value=%ll_u)", name, value);
    return store_number(trace, __func__, settings, name, "%ll_u", value);
}

kr_result kr_settings_get_INT64(kr_settings_handle settings, const kr_char* name, i64* out) {
    return get_number(__func__, kr_string_to_si64_w, settings, name, out);
}

kr_result kr_settings_set_INT64(kr_settings_handle settings, const kr_char* name, i64 value) {
    const kr_trace trace(KR_LOG_SETTINGS, __func__);
    trace.enter("Enter (name=%_s, value=%lld)", name, value);
    return store_number(trace, __func__, settings, name, "%lld", value);
}

kr_result kr_settings_get_UINT8(kr_settings_handle settings, const kr_char* name, u8* out) {
    return get_sized(__func__, kr_settings_get_unsigned_int, settings, name, out);
}

kr_result kr_settings_set_UINT8(kr_settings_handle settings, const kr_char* name, u8 value) {
    const kr_trace trace(KR_LOG_SETTINGS, __func__);
    trace.enter("Enter (name=%_s, value=%u)", name, u32{value});
    return trace.leave(kr_settings_set_unsigned_int(settings, name, value));
}

kr_result kr_settings_get_INT8(kr_settings_handle settings, const kr_char* name, i8* out) {
    return get_sized(__func__, kr_settings_get_signed_int, settings, name, out);
}

kr_result kr_settings_set_INT8(kr_settings_handle settings, const kr_char* name, i8 value) {
    const kr_trace trace(KR_LOG_SETTINGS, __func__);
    trace.enter("Enter (name=%_s, value=%u)", name, static_cast<u32>(i32{value}));
    return trace.leave(kr_settings_set_signed_int(settings, name, value));
}

kr_result kr_settings_get_UINT16(kr_settings_handle settings, const kr_char* name, u16* out) {
    return get_sized(__func__, kr_settings_get_unsigned_int, settings, name, out);
}

kr_result kr_settings_set_UINT16(kr_settings_handle settings, const kr_char* name, u16 value) {
    const kr_trace trace(KR_LOG_SETTINGS, __func__);
    trace.enter("Enter (name=%_s, value=%u)", name, u32{value});
    return trace.leave(kr_settings_set_unsigned_int(settings, name, value));
}

kr_result kr_settings_get_INT16(kr_settings_handle settings, const kr_char* name, i16* out) {
    return get_sized(__func__, kr_settings_get_signed_int, settings, name, out);
}

kr_result kr_settings_set_INT16(kr_settings_handle settings, const kr_char* name, i16 value) {
    const kr_trace trace(KR_LOG_SETTINGS, __func__);
    trace.enter("Enter (name=%_s, value=%d)", name, i32{value});
    return trace.leave(kr_settings_set_signed_int(settings, name, value));
}

kr_result kr_settings_get_UINT32(kr_settings_handle settings, const kr_char* name, u32* out) {
    return get_sized(__func__, kr_settings_get_unsigned_int, settings, name, out);
}

kr_result kr_settings_set_UINT32(kr_settings_handle settings, const kr_char* name, u32 value) {
    const kr_trace trace(KR_LOG_SETTINGS, __func__);
    trace.enter("Enter (name=%_s, value=%u)", name, value);
    return trace.leave(kr_settings_set_unsigned_int(settings, name, value));
}

kr_result kr_settings_get_INT32(kr_settings_handle settings, const kr_char* name, i32* out) {
    return get_sized(__func__, kr_settings_get_signed_int, settings, name, out);
}

kr_result kr_settings_set_INT32(kr_settings_handle settings, const kr_char* name, i32 value) {
    const kr_trace trace(KR_LOG_SETTINGS, __func__);
    trace.enter("Enter (name=%_s, value=%d)", name, value);
    return trace.leave(kr_settings_set_signed_int(settings, name, value));
}

kr_result kr_settings_get_BOOL(kr_settings_handle settings, const kr_char* name, u32* out) {
    const kr_trace trace(KR_LOG_SETTINGS, __func__);
    trace.enter("Enter (name = %_s)", name);
    if (out == nullptr) {
        return trace.leave(invalid_argument());
    }
    u8 number = 0;
    const kr_result result = kr_settings_get_UINT8(settings, name, &number);
    if (kr_result_failed(result)) {
        if (!kr_result_is(result, KR_NOT_FOUND)) {
            KR_LOG(KR_LOG_SETTINGS, KR_LOG_WARNING,
                   "kr_settings_get_UINT8() failed. Result is %_r (%_z)", &result, &result);
        }
        return trace.leave(result);
    }
    *out = number != 0 ? 1 : 0;
    trace.leave_with("Return (%d)", static_cast<i32>(*out));
    return result;
}

kr_result kr_settings_set_BOOL(kr_settings_handle settings, const kr_char* name, i32 value) {
    const kr_trace trace(KR_LOG_SETTINGS, __func__);
    trace.enter("Enter (name=%_s, value=%d)", name, value);
    const kr_result result = kr_settings_set_UINT8(settings, name, value != 0 ? 1 : 0);
    if (kr_result_failed(result)) {
        KR_LOG(KR_LOG_SETTINGS, KR_LOG_WARNING,
               "kr_settings_set_UINT8() failed. Result is %_r (%_z)", &result, &result);
    }
    return trace.leave(result);
}

kr_result kr_settings_get_relative_time(kr_settings_handle settings, const kr_char* name,
                                        kr_time* out) {
    const kr_trace trace(KR_LOG_SETTINGS, __func__);
    trace.enter("Enter (name = %_s)", name);
    if (out == nullptr) {
        return trace.leave(invalid_argument());
    }
    u64 nanoseconds = 0;
    const kr_result result = kr_settings_get_UINT64(settings, name, &nanoseconds);
    if (kr_result_failed(result)) {
        if (!kr_result_is(result, KR_NOT_FOUND)) {
            KR_LOG(KR_LOG_SETTINGS, KR_LOG_WARNING,
                   "kr_settings_get_UINT64() failed. Result is %_r (%_z)", &result, &result);
        }
        return trace.leave(result);
    }
    kr_time_fromNanoseconds(out, nanoseconds);
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
    kr_result result = kr_time_getNanoseconds(value, &nanoseconds);
    if (kr_result_failed(result)) {
        KR_LOG(KR_LOG_SETTINGS, KR_LOG_WARNING,
               "kr_time_getNanoseconds() failed. Result is %_r (%_z)", &result, &result);
        return trace.leave(result);
    }
    result = kr_settings_set_UINT64(settings, name, nanoseconds);
    if (kr_result_failed(result)) {
        KR_LOG(KR_LOG_SETTINGS, KR_LOG_WARNING,
               "kr_settings_set_UINT64() failed. Result is %_r (%_z)", &result, &result);
    }
    return trace.leave(result);
}
