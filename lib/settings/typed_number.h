/// Typed settings that are stored as decimal numbers: integers, truth values, durations. Public;
/// the contract common to all of them stands in settings/typed.h.
#pragma once

#include "../base/time/time_value.h"
#include "../platform/types.h"
#include "../result/result.h"
#include "store.h"

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

/// A duration, stored as its count of nanoseconds. Reads as a relative time in nanoseconds.
[[nodiscard]] kr_result kr_settings_get_relative_time(kr_settings_handle settings,
                                                      const kr_char* name, kr_time* out);
/// A duration of 0 is KR_ZERO; one too long for 64 bits of nanoseconds is KR_OVERFLOW; an unknown
/// unit is KR_UNEXPECTED_BEHAVIOUR.
[[nodiscard]] kr_result kr_settings_set_relative_time(kr_settings_handle settings,
                                                      const kr_char* name, const kr_time* value);
