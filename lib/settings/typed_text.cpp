/// Addresses, subnets and GUIDs as text.
#include "settings/typed_text.h"

#include "base/convert/convert.h"
#include "base/convert/guid.h"
#include "log/log.h"
#include "log/trace.h"
#include "printf/printf.h"

namespace {

constexpr u32 ip_address_capacity_chars = 16;
/// The longest subnet, 255.255.255.255/255, and the terminator.
constexpr u32 ip_subnet_capacity_chars = 20;
constexpr u32 largest_prefix = 255;

kr_result invalid_argument() {
    return kr_result_make_error(KR_INVALID_ARGUMENT_TO_FUNCTION);
}

kr_result fetch_string(const char* function, kr_settings_handle settings, const kr_char* name,
                       u32 capacity_chars, kr_char* text) {
    const kr_result result = kr_settings_get_string(settings, name, capacity_chars, text);
    if (kr_result_failed(result)) {
        KR_LOG_AS(KR_LOG_SETTINGS, KR_LOG_WARNING, function,
                  "kr_settings_get_string() failed. Result is %_r (%_z)", &result, &result);
    }
    return result;
}

template <u32 CapacityChars>
kr_result fetch_ascii(const char* function, kr_settings_handle settings, const kr_char* name,
                      char (&text)[CapacityChars]) {
    kr_char wide[CapacityChars];
    kr_result result = fetch_string(function, settings, name, CapacityChars, wide);
    if (kr_result_failed(result)) {
        return result;
    }
    result = kr_krchar_to_ascii(wide, text, sizeof(text));
    if (kr_result_failed(result)) {
        KR_LOG_AS(KR_LOG_SETTINGS, KR_LOG_WARNING, function,
                  "kr_krchar_to_ascii() failed. Result is %_r (%_z)", &result, &result);
    }
    return result;
}

kr_result parse_ip_address(const char* function, const char* text, u32* address) {
    const kr_result result = kr_string_to_ipv4(text, address);
    if (kr_result_failed(result)) {
        KR_LOG_AS(KR_LOG_SETTINGS, KR_LOG_WARNING, function,
                  "kr_string_to_ipv4() failed. Result is %_r (%_z)", &result, &result);
    }
    return result;
}

kr_result parse_ip_subnet(const char* function, char* text, kr_ip_subnet* out) {
    char* separator = text;
    while (*separator != '/') {
        if (*separator == 0) {
            KR_LOG_AS(KR_LOG_SETTINGS, KR_LOG_WARNING, function, "Subnet separator not found.");
            return kr_result_make_error(KR_GENERIC);
        }
        ++separator;
    }
    *separator = 0;
    u32 address = 0;
    kr_result result = parse_ip_address(function, text, &address);
    if (kr_result_failed(result)) {
        return result;
    }
    u16 prefix = 0;
    result = kr_string_to_ui16_a(separator + 1, &prefix);
    if (kr_result_failed(result)) {
        KR_LOG_AS(KR_LOG_SETTINGS, KR_LOG_WARNING, function,
                  "kr_string_to_ui16_a() failed. Result is %_r (%_z)", &result, &result);
        return result;
    }
    if (prefix > largest_prefix) {
        KR_LOG_AS(KR_LOG_SETTINGS, KR_LOG_WARNING, function, "Invalid subnet");
        return kr_result_make_error(KR_GENERIC);
    }
    *out = {address, prefix};
    return KR_SUCCESS;
}

kr_result store_string(const char* function, kr_settings_handle settings, const kr_char* name,
                       const kr_char* text) {
    const kr_result result = kr_settings_set_string(settings, name, text);
    if (kr_result_failed(result)) {
        KR_LOG_AS(KR_LOG_SETTINGS, KR_LOG_WARNING, function,
                  "kr_settings_set_string() failed. Result is %_r (%_z)", &result, &result);
    }
    return result;
}

} // namespace

kr_result kr_settings_get_ip_address(kr_settings_handle settings, const kr_char* name, u32* out) {
    const kr_trace trace(KR_LOG_SETTINGS, __func__);
    trace.enter("Enter (name = %_s)", name);
    if (out == nullptr) {
        return trace.leave(invalid_argument());
    }
    char text[ip_address_capacity_chars];
    kr_result result = fetch_ascii(__func__, settings, name, text);
    if (kr_result_failed(result)) {
        return trace.leave(result);
    }
    u32 address = 0;
    result = parse_ip_address(__func__, text, &address);
    if (kr_result_failed(result)) {
        return trace.leave(result);
    }
    *out = address;
    trace.leave_with("Return (%_k)", address);
    return result;
}

kr_result kr_settings_set_ip_address(kr_settings_handle settings, const kr_char* name, u32 value) {
    const kr_trace trace(KR_LOG_SETTINGS, __func__);
    trace.enter("Enter (name=%_s, value=%_k)", name, value);
    char text[ip_address_capacity_chars];
    kr_char wide[ip_address_capacity_chars];
    kr_ascii_to_krchar(kr_string_from_ipv4(value, text), wide);
    return trace.leave(store_string(__func__, settings, name, wide));
}

kr_result kr_settings_get_ip_subnet(kr_settings_handle settings, const kr_char* name,
                                    kr_ip_subnet* out) {
    const kr_trace trace(KR_LOG_SETTINGS, __func__);
    trace.enter("Enter (name = %_s)", name);
    if (out == nullptr) {
        return trace.leave(invalid_argument());
    }
    char text[ip_subnet_capacity_chars];
    kr_result result = fetch_ascii(__func__, settings, name, text);
    if (kr_result_failed(result)) {
        return trace.leave(result);
    }
    result = parse_ip_subnet(__func__, text, out);
    if (kr_result_failed(result)) {
        return trace.leave(result);
    }
    trace.leave_with("Return (%_k / %d)", out->address, static_cast<i32>(out->prefix));
    return result;
}

kr_result kr_settings_set_ip_subnet(kr_settings_handle settings, const kr_char* name,
                                    const kr_ip_subnet* value) {
    const kr_trace trace(KR_LOG_SETTINGS, __func__);
    if (value == nullptr) {
        trace.enter("Enter (name=%_s)", name);
        return trace.leave(invalid_argument());
    }
    trace.enter("Enter (name=%_s, value=%_k/%d)", name, value->address,
                static_cast<i32>(value->prefix));
    if (value->prefix > largest_prefix) {
        KR_LOG(KR_LOG_SETTINGS, KR_LOG_WARNING, "invalid subnet mask");
        return trace.leave(invalid_argument());
    }
    kr_char text[ip_subnet_capacity_chars];
    kr_result result = kr_printf_format2_checked(text, sizeof(text), nullptr, "%_k/%d",
                                                 value->address, static_cast<i32>(value->prefix));
    if (kr_result_failed(result)) {
        KR_LOG(KR_LOG_SETTINGS, KR_LOG_WARNING, "kr_printf_format2() failed. Result is %_r (%_z)",
               &result, &result);
        return trace.leave(result);
    }
    result = kr_settings_set_string(settings, name, text);
    if (kr_result_failed(result)) {
        KR_LOG(KR_LOG_SETTINGS, KR_LOG_WARNING,
               "kr_settings_set_string() failed Result is %_r (%_z)", &result, &result);
    }
    return trace.leave(result);
}

kr_result kr_settings_get_guid(kr_settings_handle settings, const kr_char* name, KRGUID* out) {
    const kr_trace trace(KR_LOG_SETTINGS, __func__);
    trace.enter("Enter (name = %_s)", name);
    if (out == nullptr) {
        return trace.leave(invalid_argument());
    }
    kr_char text[KR_GUID_SIMPLE_CHARS];
    kr_result result = fetch_string(__func__, settings, name, KR_GUID_SIMPLE_CHARS, text);
    if (kr_result_failed(result)) {
        return trace.leave(result);
    }
    result = kr_guid_from_string_simple(text, out);
    if (kr_result_failed(result)) {
        KR_LOG(KR_LOG_SETTINGS, KR_LOG_WARNING,
               "kr_guid_from_string_simple() failed. Result is %_r (%_z)", &result, &result);
        return trace.leave(result);
    }
    trace.leave_with("Return (%_g)", static_cast<const KRGUID*>(out));
    return result;
}

kr_result kr_settings_set_guid(kr_settings_handle settings, const kr_char* name,
                               const KRGUID* value) {
    const kr_trace trace(KR_LOG_SETTINGS, __func__);
    trace.enter("Enter (name=%_s, value=%_g)", name, value);
    if (value == nullptr) {
        return trace.leave(invalid_argument());
    }
    kr_char text[KR_GUID_SIMPLE_CHARS];
    kr_guid_to_string_simple(value, text);
    return trace.leave(store_string(__func__, settings, name, text));
}
