/// Integers as narrow and wide decimal text. Public; keeps no state: safe from any thread.
#pragma once

#include "../../platform/types.h"
#include "../../result/result.h"

/// Room, in characters with the terminator, that every number-to-text operation may use.
inline constexpr u32 KR_STRING_INTEGER_CHARS = 21;

// Number to text: decimal, '-' before a negative number, NUL-terminated. `out` holds at least
// KR_STRING_INTEGER_CHARS characters. A null `out` is KR_UNEXPECTED_BEHAVIOUR; nothing else fails.

[[nodiscard]] kr_result kr_string_from_si64_w(i64 value, kr_char* out);
[[nodiscard]] kr_result kr_string_from_ui64_w(u64 value, kr_char* out);
[[nodiscard]] kr_result kr_string_from_si64_a(i64 value, char* out);
/// A null `out` is KR_INVALID_ARGUMENT_TO_FUNCTION here, logged at error level.
[[nodiscard]] kr_result kr_string_from_ui64_a_generic(u64 value, char* out);
