/// Integers from narrow and wide text as the runtime converts. Public; keeps no state: safe from
/// any thread. Messages go to the category `other`.
#pragma once

#include "../../platform/types.h"
#include "../../result/result.h"

// Common to all: `text` is NUL-terminated. A null one is KR_UNEXPECTED_BEHAVIOUR, else a null `out`
// is KR_INVALID_ARGUMENT_TO_FUNCTION, both without a message. `out` is written on KR_SUCCESS only;
// a rejected text is logged whole at error level (but see kr_string_to_si64_a) and gives
// KR_GENERIC. Leading blanks and a sign are read as the runtime reads them. What `errno` held
// before changes no outcome, and what it holds afterwards says nothing: it is cleared before the
// runtime converts, and left alone where a wide text of plain digits is read without the runtime.

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

/// Hexadecimal, with or without "0x"; what follows the digits is ignored. Of 9 to 16 digits the low
/// 32 bits are kept; what longer ones give is the runtime's affair.
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
