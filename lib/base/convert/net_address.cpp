/// Address texts and host names. Reaches the system's resolver and the log.
#include "base/convert/net_address.h"

#include <cstring>

#include "base/convert/decimal.h"
#include "log/log.h"
#include "platform/platform.h"
#include "result/failures.h"

namespace {

using kr::detail::invalid_argument;

using kr::detail::is_decimal_digit;

constexpr u32 ipv4_bytes = 4;
constexpr u32 max_component_digits = 3;
constexpr u32 max_component = 255;

/// The first address of a resolver's answer; false where it has none of this family.
bool first_address(const hostent& answer, u32* out) {
    if (answer.h_addrtype != AF_INET || answer.h_length != ipv4_bytes ||
        answer.h_addr_list[0] == nullptr) {
        return false;
    }
    u8 network_order[ipv4_bytes];
    std::memcpy(network_order, answer.h_addr_list[0], ipv4_bytes);
    *out = u32{network_order[0]} << 24 | u32{network_order[1]} << 16 | u32{network_order[2]} << 8 |
           network_order[3];
    return true;
}

} // namespace

char* kr_string_from_ipv4(u32 ip, char* out) {
    // The longest text fits with its terminator: the count says nothing that is not known.
    (void)_snprintf(out, KR_STRING_IPV4_CHARS, "%u.%u.%u.%u", ip >> 24, ip >> 16 & 0xFFu,
                    ip >> 8 & 0xFFu, ip & 0xFFu);
    return out;
}

kr_result kr_string_to_ipv4(const char* text, u32* out) {
    if (text == nullptr || out == nullptr) {
        return invalid_argument();
    }
    u32 address = 0;
    for (i32 shift = 24; shift >= 0; shift -= 8) {
        u32 component = 0;
        u32 digits = 0;
        for (; is_decimal_digit(*text) && digits < max_component_digits; ++text, ++digits) {
            component = component * 10 + static_cast<u32>(*text - '0');
        }
        const char expected = shift > 0 ? '.' : '\0';
        if (digits == 0 || component > max_component || *text != expected) {
            return kr_result_make_error(KR_GENERIC);
        }
        ++text;
        address |= component << shift;
    }
    *out = address;
    return KR_SUCCESS;
}

i32 kr_string_from_mac(const u8 mac[KR_MAC_BYTES], char* out) {
    return _snprintf(out, KR_STRING_MAC_CHARS, "%02X:%02X:%02X:%02X:%02X:%02X", u32{mac[0]},
                     u32{mac[1]}, u32{mac[2]}, u32{mac[3]}, u32{mac[4]}, u32{mac[5]});
}

kr_result kr_string_hoststr_to_ipv4(const char* text, u32* out) {
    if (text == nullptr || out == nullptr) {
        return invalid_argument();
    }
    if (!is_decimal_digit(*text)) {
        const hostent* const answer = gethostbyname(text);
        if (answer == nullptr || !first_address(*answer, out)) {
            const auto error = static_cast<u32>(WSAGetLastError());
            KR_LOG(KR_LOG_OTHER, KR_LOG_ERROR, "Cannot resolve \"%s\". h_errno contains %u", text,
                   error);
            return kr_result_make_error(KR_DNS_HOSTNAME);
        }
        return kr_result_make_success(KR_DNS_HOSTNAME);
    }
    const kr_result result = kr_string_to_ipv4(text, out);
    if (kr_result_failed(result)) {
        KR_LOG(KR_LOG_OTHER, KR_LOG_ERROR,
               "\"%s\" cannot be interpreted as IP address in a.b.c.d form. Result is %_r (%_z)",
               text, &result, &result);
        return kr_result_make_error(KR_IP_ADDRESS_HOSTNAME);
    }
    return kr_result_make_success(KR_IP_ADDRESS_HOSTNAME);
}

kr_result kr_string_ipv4_to_hoststr(u32 ip, char* out) {
    if (out == nullptr) {
        return invalid_argument();
    }
    const u8 network_order[ipv4_bytes] = {static_cast<u8>(ip >> 24), static_cast<u8>(ip >> 16),
                                          static_cast<u8>(ip >> 8), static_cast<u8>(ip)};
    char address[ipv4_bytes];
    std::memcpy(address, network_order, ipv4_bytes);
    const hostent* const answer = gethostbyaddr(address, ipv4_bytes, AF_INET);
    if (answer == nullptr) {
        return kr_result_make_error(KR_DNS_HOSTNAME);
    }
    const void* const end = std::memchr(answer->h_name, '\0', KR_STRING_HOST_CHARS);
    if (end == nullptr) {
        return kr_result_make_error(KR_SUPPLIED_BUFFER_IS_NOT_LARGE_ENOUGH);
    }
    std::memcpy(out, answer->h_name,
                static_cast<size_t>(static_cast<const char*>(end) - answer->h_name) + 1);
    return kr_result_make_success(KR_DNS_HOSTNAME);
}
