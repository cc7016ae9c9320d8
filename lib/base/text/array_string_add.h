/// Adding to an array of strings by those who know the length of what they add. Private to the
/// library.
#pragma once

#include "base/text/array_string.h"

namespace kr::detail {

/// As kr_array_string_add. Neither pointer is null; `s` has `length_chars` characters, none of them
/// zero, and a terminator behind them.
kr_result array_string_add(kr_array_string* arr, const kr_char* s, u64 length_chars);

} // namespace kr::detail
