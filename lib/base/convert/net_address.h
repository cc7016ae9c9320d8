/// Text forms of IPv4 and MAC addresses, and host names through the system's resolver. Public.
/// IPv4 addresses are host-order numbers whose most significant byte is the first of the four
/// components. Texts are NUL-terminated. A null pointer is KR_INVALID_ARGUMENT_TO_FUNCTION where
/// there is a result, and must not come where there is none. Any thread.
#pragma once

#include "../../platform/types.h"
#include "../../result/result.h"

/// Room, in characters with the terminator, for "255.255.255.255".
inline constexpr u32 KR_STRING_IPV4_CHARS = 16;
/// Room, in characters with the terminator, for "AA:BB:CC:DD:EE:FF".
inline constexpr u32 KR_STRING_MAC_CHARS = 18;
inline constexpr u32 KR_MAC_BYTES = 6;
/// Room, in characters with the terminator, for the longest name of a host.
inline constexpr u32 KR_STRING_HOST_CHARS = 256;

/// Writes "a.b.c.d" into `out` (KR_STRING_IPV4_CHARS characters). Returns `out`.
char* kr_string_from_ipv4(u32 ip, char* out);

/// Reads exactly four components of one to three decimal digits, each at most 255, joined by '.';
/// leading zeros do not mean octal. KR_GENERIC for anything else, without a message and with `out`
/// untouched.
[[nodiscard]] kr_result kr_string_to_ipv4(const char* text, u32* out);

/// Writes six pairs of upper-case hexadecimal digits joined by ':' into `out`
/// (KR_STRING_MAC_CHARS characters). Returns the number of characters before the terminator.
i32 kr_string_from_mac(const u8 mac[KR_MAC_BYTES], char* out);

/// A host's address from its name or from its dotted form; a text that starts with a digit is taken
/// for the latter, and an empty one for a name. The success says which: KR_DNS_HOSTNAME or
/// KR_IP_ADDRESS_HOSTNAME as information. The same codes as failures: the name did not resolve, the
/// dotted form is broken; both are logged in the category `other` at error level. `out` is written
/// on success only. On Windows the process must have started Winsock before a name can resolve;
/// until then a name is a failure like any other.
[[nodiscard]] kr_result kr_string_hoststr_to_ipv4(const char* text, u32* out);

/// The official name of the host at `ip`, by reverse look-up, into `out` (KR_STRING_HOST_CHARS
/// characters). Success carries KR_DNS_HOSTNAME as information; no answer is the failure
/// KR_DNS_HOSTNAME; a name of more than 255 characters, which no honest resolver gives, is
/// KR_SUPPLIED_BUFFER_IS_NOT_LARGE_ENOUGH. Failures have no message and leave `out` untouched.
[[nodiscard]] kr_result kr_string_ipv4_to_hoststr(u32 ip, char* out);
