/// Addresses, subnets and GUIDs as text.
#include "settings/typed_text.h"

#include <cstring>

#include "base/convert/convert.h"
#include "base/convert/guid.h"
#include "log/trace.h"
#include "printf/printf.h"
#include "result/failures.h"
#include "settings/report.h"

namespace {

using kr::detail::generic_failure;
using kr::detail::invalid_argument;
using kr::detail::report;

constexpr u32 ip_address_capacity_chars = 16;
/// The longest subnet, 255.255.255.255/255, and the terminator.
constexpr u32 ip_subnet_capacity_chars = 20;
constexpr u32 largest_prefix = 255;

kr_result fetch_string(const char* function, kr_settings_handle settings, const kr_char* name,
                       u32 capacity_chars, kr_char* text) {
    return report(function, "kr_settings_get_string",
                  kr_settings_get_string(settings, name, capacity_chars, text));
}

template <u32 CapacityChars>
kr_result fetch_ascii(const char* function, kr_settings_handle settings, const kr_char* name,
                      char (&text)[CapacityChars]) {
    kr_char wide[CapacityChars];
    const kr_result result = fetch_string(function, settings, name, CapacityChars, wide);
    return kr_result_failed(result) ? result
                                    : report(function, "kr_krchar_to_ascii",
                                             kr_krchar_to_ascii(wide, text, sizeof(text)));
}

kr_result parse_ip_address(const char* function, const char* text, u32* address) {
    return report(function, "kr_string_to_ipv4", kr_string_to_ipv4(text, address));
}

kr_result parse_ip_subnet(const char* function, char* text, kr_ip_subnet* out) {
    char* const separator = std::strchr(text, '/');
    if (separator == nullptr) {
        KR_LOG_AS(KR_LOG_SETTINGS, KR_LOG_WARNING, function, "Subnet separator not found.");
        return generic_failure();
    }
    *separator = 0;
    u32 address = 0;
    kr_result result = parse_ip_address(function, text, &address);
    if (kr_result_failed(result)) {
        return result;
    }
    u16 prefix = 0;
    result = report(function, "kr_string_to_ui16_a", kr_string_to_ui16_a(separator + 1, &prefix));
    if (kr_result_failed(result)) {
        return result;
    }
    if (prefix > largest_prefix) {
        KR_LOG_AS(KR_LOG_SETTINGS, KR_LOG_WARNING, function, "Invalid subnet");
        return generic_failure();
    }
    *out = {address, prefix};
    return KR_SUCCESS;
}

kr_result store_string(const char* function, kr_settings_handle settings, const kr_char* name,
                       const kr_char* text) {
    return report(function, "kr_settings_set_string", kr_settings_set_string(settings, name, text));
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
    if (kr_result_succeeded(result)) {
        result = parse_ip_address(__func__, text, out);
    }
    if (kr_result_failed(result)) {
        return trace.leave(result);
    }
    trace.leave_with("Return (%_k)", *out);
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
    if (kr_result_succeeded(result)) {
        result = parse_ip_subnet(__func__, text, out);
    }
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
    kr_result result =
        report(__func__, "kr_printf_format2",
               kr_printf_format2_checked(text, sizeof(text), nullptr, "%_k/%d", value->address,
                                         static_cast<i32>(value->prefix)));
    if (kr_result_failed(result)) {
        return trace.leave(result);
    }
    result = kr_settings_set_string(settings, name, text);
    if (kr_result_failed(result)) {
        KR_LOG_FAILURE(KR_LOG_SETTINGS, KR_LOG_WARNING, result, "kr_settings_set_string() failed");
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
    if (kr_result_succeeded(result)) {
        result =
            report(__func__, "kr_guid_from_string_simple", kr_guid_from_string_simple(text, out));
    }
    if (kr_result_failed(result)) {
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
