/// Typed settings: one getter and one setter per type over the string entries of the store. Public.
/// No state, no lock: as thread-safe as the store.
///
/// Common to all getters: the output is written on success only. KR_SUCCESS; the failure of the
/// conversion, with a warning; the allocation's failure; KR_GENERIC when the entry is not a string
/// or cannot be read, with a warning; KR_INVALID_ARGUMENT_TO_FUNCTION for a null pointer. A missing
/// entry is KR_NOT_FOUND without a line, so that callers keep their default; the getters of
/// addresses, subnets and GUIDs answer it with KR_GENERIC and a warning.
///
/// Common to all setters: KR_SUCCESS; KR_GENERIC when the registry refuses, with a warning, the old
/// value staying in place; KR_INVALID_ARGUMENT_TO_FUNCTION for a null pointer. Nothing is stored
/// when the value is refused.
#pragma once

#include "base/time_value.h"
#include "platform/types.h"
#include "result/result.h"
#include "settings/store.h"

struct KRGUID;

/// An IPv4 network. `address` has its first dotted component in the most significant byte;
/// `prefix` is the prefix length, at most 255.
struct kr_ip_subnet {
    u32 address;
    u32 prefix;
};

// The base types, stored as decimal text. Reading takes the leading number of the text (blanks and
// a sign before it, anything after it, 0 when there is none) and fails with KR_GENERIC when it does
// not fit 64 signed bits.

/// The low 32 bits of the number: no range check, 4294967297 reads as 1.
[[nodiscard]] kr_result kr_settings_get_signed_int(kr_settings_handle settings, const kr_char* name,
                                                   i32* out);
[[nodiscard]] kr_result kr_settings_set_signed_int(kr_settings_handle settings, const kr_char* name,
                                                   i32 value);
/// The low 32 bits of the number: no range check, -1 reads as 4294967295.
[[nodiscard]] kr_result kr_settings_get_unsigned_int(kr_settings_handle settings,
                                                     const kr_char* name, u32* out);
[[nodiscard]] kr_result kr_settings_set_unsigned_int(kr_settings_handle settings,
                                                     const kr_char* name, u32 value);
/// Values above the largest i64 can be stored and not read back.
[[nodiscard]] kr_result kr_settings_get_UINT64(kr_settings_handle settings, const kr_char* name,
                                               u64* out);
[[nodiscard]] kr_result kr_settings_set_UINT64(kr_settings_handle settings, const kr_char* name,
                                               u64 value);
[[nodiscard]] kr_result kr_settings_get_INT64(kr_settings_handle settings, const kr_char* name,
                                              i64* out);
[[nodiscard]] kr_result kr_settings_set_INT64(kr_settings_handle settings, const kr_char* name,
                                              i64 value);

// The sized types. Reading takes the 32-bit number as above and fails with KR_OVERFLOW, without a
// line, when it is out of the type's range.

[[nodiscard]] kr_result kr_settings_get_UINT8(kr_settings_handle settings, const kr_char* name,
                                              u8* out);
[[nodiscard]] kr_result kr_settings_set_UINT8(kr_settings_handle settings, const kr_char* name,
                                              u8 value);
[[nodiscard]] kr_result kr_settings_get_INT8(kr_settings_handle settings, const kr_char* name,
                                             i8* out);
[[nodiscard]] kr_result kr_settings_set_INT8(kr_settings_handle settings, const kr_char* name,
                                             i8 value);
[[nodiscard]] kr_result kr_settings_get_UINT16(kr_settings_handle settings, const kr_char* name,
                                               u16* out);
[[nodiscard]] kr_result kr_settings_set_UINT16(kr_settings_handle settings, const kr_char* name,
                                               u16 value);
[[nodiscard]] kr_result kr_settings_get_INT16(kr_settings_handle settings, const kr_char* name,
                                              i16* out);
[[nodiscard]] kr_result kr_settings_set_INT16(kr_settings_handle settings, const kr_char* name,
                                              i16 value);
[[nodiscard]] kr_result kr_settings_get_UINT32(kr_settings_handle settings, const kr_char* name,
                                               u32* out);
[[nodiscard]] kr_result kr_settings_set_UINT32(kr_settings_handle settings, const kr_char* name,
                                               u32 value);
[[nodiscard]] kr_result kr_settings_get_INT32(kr_settings_handle settings, const kr_char* name,
                                              i32* out);
[[nodiscard]] kr_result kr_settings_set_INT32(kr_settings_handle settings, const kr_char* name,
                                              i32 value);

/// Stored as the digit 1 or 0. Reads as a UINT8: 0 for 0 and for a text without a number, 1 for 1
/// to 255, KR_OVERFLOW above.
[[nodiscard]] kr_result kr_settings_get_BOOL(kr_settings_handle settings, const kr_char* name,
                                             u32* out);
/// Any value but 0 is true.
[[nodiscard]] kr_result kr_settings_set_BOOL(kr_settings_handle settings, const kr_char* name,
                                             i32 value);

/// An IPv4 address, stored as a dotted quad; the first component is the most significant byte.
/// Reading fails with KR_GENERIC on anything but four components of at most 255, and with
/// KR_INVALID_ARGUMENT_TO_FUNCTION on a character outside ASCII.
[[nodiscard]] kr_result kr_settings_get_ip_address(kr_settings_handle settings, const kr_char* name,
                                                   u32* out);
[[nodiscard]] kr_result kr_settings_set_ip_address(kr_settings_handle settings, const kr_char* name,
                                                   u32 value);

/// A subnet, stored as address, "/" and prefix length. Reading also takes a prefix in hexadecimal
/// (0x10) or octal (010); it fails as for an address, and with KR_GENERIC without a "/" or with a
/// prefix above 255. Neither side checks that the prefix is at most 32.
[[nodiscard]] kr_result kr_settings_get_ip_subnet(kr_settings_handle settings, const kr_char* name,
                                                  kr_ip_subnet* out);
/// A prefix above 255 is KR_INVALID_ARGUMENT_TO_FUNCTION.
[[nodiscard]] kr_result kr_settings_set_ip_subnet(kr_settings_handle settings, const kr_char* name,
                                                  const kr_ip_subnet* value);

/// A GUID, stored as 32 hexadecimal digits. Reading fails with KR_GENERIC on another length and
/// with KR_INVALID_ARGUMENT_TO_FUNCTION on another character.
[[nodiscard]] kr_result kr_settings_get_guid(kr_settings_handle settings, const kr_char* name,
                                             KRGUID* out);
[[nodiscard]] kr_result kr_settings_set_guid(kr_settings_handle settings, const kr_char* name,
                                             const KRGUID* value);

/// A duration, stored as its count of nanoseconds. Reads as a relative time in nanoseconds.
[[nodiscard]] kr_result kr_settings_get_relative_time(kr_settings_handle settings,
                                                      const kr_char* name, kr_time* out);
/// A duration of 0 is KR_ZERO; one too long for 64 bits of nanoseconds is KR_OVERFLOW; an unknown
/// unit is KR_UNEXPECTED_BEHAVIOUR.
[[nodiscard]] kr_result kr_settings_set_relative_time(kr_settings_handle settings,
                                                      const kr_char* name, const kr_time* value);
