/// Integers from narrow and wide text by strict rules of the library's own: decimal digits only.
/// Public; keeps no state: safe from any thread. Messages go to the category `other`.
#pragma once

#include "../../platform/types.h"
#include "../../result/result.h"

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
