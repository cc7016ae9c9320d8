/// Integers from text and text from integers, narrow and wide. Public; the parsers of the first
/// group go by the runtime's conversions, those named _generic by the library's own rules. Nothing
/// here keeps state: safe from any thread. Messages go to the category `other`.
#pragma once

#include "../../platform/types.h"
#include "../../result/result.h"

/// Room, in characters with the terminator, that every number-to-text operation may use.
inline constexpr u32 KR_STRING_INTEGER_CHARS = 21;

// Text to number as the runtime converts. Common to all: `text` is NUL-terminated and may be null
// (KR_UNEXPECTED_BEHAVIOUR, no message); `out` must not be null and is written on KR_SUCCESS only;
// a rejected text is logged whole at error level (but see kr_string_to_si64_a) and gives
// KR_GENERIC. `errno` is cleared before the conversion and is the caller's to lose. Leading blanks
// and a sign are read as the runtime reads them.

/// Base 0: decimal, hexadecimal after "0x", octal after "0". The whole text must be read and the
/// value, taken as an unsigned 32-bit number, must be at most 65535 (so "-1" is rejected). The
/// empty text is 0.
[[nodiscard]] kr_result kr_string_to_ui16_w(const kr_char* text, u16* out);
/// As kr_string_to_ui16_w.
[[nodiscard]] kr_result kr_string_to_ui16_a(const char* text, u16* out);

/// Base 10. The whole text must be read, and a value of 0 is taken only from a text whose first
/// character is '0'. A negative text gives its two's complement.
[[nodiscard]] kr_result kr_string_to_ui32_w(const kr_char* text, u32* out);
/// As kr_string_to_ui32_w.
[[nodiscard]] kr_result kr_string_to_ui32_a(const char* text, u32* out);

/// Base 0, range of i32; the whole text must be read. The empty text is 0.
[[nodiscard]] kr_result kr_string_to_si32_a(const char* text, i32* out);

/// Hexadecimal, with or without "0x"; what follows the digits is ignored. Of more than 32 bits the
/// low 32 are kept.
[[nodiscard]] kr_result kr_string_hexstr_to_ui32_a(const char* text, u32* out);

/// Base 10, range of i64; what follows the digits is ignored, a text without digits is 0. Only a
/// value out of range is rejected.
[[nodiscard]] kr_result kr_string_to_si64_w(const kr_char* text, i64* out);
/// As kr_string_to_si64_w, also in its range: a value above INT64_MAX is rejected, a negative one
/// is stored as its two's complement.
[[nodiscard]] kr_result kr_string_to_ui64_w(const kr_char* text, u64* out);

/// Base 10; what follows the digits is ignored. A value of 0 is taken only from a text of nothing
/// but '-' and digits (the empty one too). A rejected text is not logged. A value out of range
/// becomes the nearest limit of i64.
[[nodiscard]] kr_result kr_string_to_si64_a(const char* text, i64* out);

// Text to number by strict rules: decimal digits only, no blank, no prefix, and every character
// must be read. `out` is written on KR_SUCCESS only. KR_OVERFLOW: the digits up to some point
// exceed the range, whatever follows them. KR_INVALID_ARGUMENT_TO_FUNCTION: any other defect.

/// Range of u64. A null or empty `text` and a null `out` are KR_INVALID_ARGUMENT_TO_FUNCTION too.
/// Every failure is logged at error level.
[[nodiscard]] kr_result kr_string_to_ui64_a_generic(const char* text, u64* out);
/// The wide twin of kr_string_to_ui64_a_generic; logs nothing.
[[nodiscard]] kr_result kr_string_to_ui64_w_generic(const kr_char* text, u64* out);
/// Range -INT64_MAX to INT64_MAX after at most one leading '-'; "-" alone is 0. Neither pointer may
/// be null. Every failure is logged at debug level.
[[nodiscard]] kr_result kr_string_to_si64_a_generic(const char* text, i64* out);

// Number to text: decimal, '-' before a negative number, NUL-terminated. `out` holds at least
// KR_STRING_INTEGER_CHARS characters. A null `out` is KR_UNEXPECTED_BEHAVIOUR; nothing else fails.

[[nodiscard]] kr_result kr_string_from_si64_w(i64 value, kr_char* out);
[[nodiscard]] kr_result kr_string_from_ui64_w(u64 value, kr_char* out);
[[nodiscard]] kr_result kr_string_from_si64_a(i64 value, char* out);
/// A null `out` is KR_INVALID_ARGUMENT_TO_FUNCTION here, logged at error level.
[[nodiscard]] kr_result kr_string_from_ui64_a_generic(u64 value, char* out);
