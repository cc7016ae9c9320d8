/// The conversions of numbers, strings and characters, as the engine's driver calls them. Public
/// for code that formats one value without a format.
///
/// Common to all: `*cursor` is where the next character goes, or null to measure only; `remaining`
/// is the room from there in bytes. `*required` grows by the size of the whole output in bytes,
/// also when the conversion fails for lack of room. In writing mode the characters are written and
/// `*cursor` moves behind them; no terminator is written. A conversion that takes an argument takes
/// exactly one from `*args`. Any thread.
///  - KR_SUPPLIED_BUFFER_IS_NOT_LARGE_ENOUGH: the output does not fit; padding, sign and prefix
///    that came first may have been written, and `*cursor` stands behind them;
///  - KR_INVALID_ARGUMENT_TO_FUNCTION: a null `cursor`, `args`, `required` or `digits`; nothing is
///    counted or taken.
#pragma once

#include <cstdarg>

#include "../platform/types.h"
#include "../result/result.h"
#include "conversion_table.h"

/// The digit tables. Entry 10 also decides the case of the alternate form's prefix.
inline constexpr kr_char kr_printf_digits_lower[] = KR_TEXT("0123456789abcdef");
inline constexpr kr_char kr_printf_digits_upper[] = KR_TEXT("0123456789ABCDEF");

/// `value` in the radix, at least `width` characters wide, padded on the left with zeroes
/// (KR_PRINTF_FLAG_ZEROES) or blanks; KR_PRINTF_FLAG_ALTERNATE prefixes a value other than 0 with
/// "0" in radix 8 and "0x" or "0X" in radix 16. `digits` has 16 entries. Precision and size
/// modifier are not used. KR_INVALID_ARGUMENT_TO_FUNCTION for a radix outside 2 to 16.
[[nodiscard]] kr_result kr_printf_format_uint_internal(u32 radix, const kr_char* digits, u32 flags,
                                                       u32 width, u32 precision, u32 size_modifier,
                                                       kr_char** cursor, size_t remaining,
                                                       u64 value, size_t* required);

/// Takes an unsigned argument of the size modifier's width and formats it as above.
/// KR_FUNCTION_NOT_IMPLEMENTED for an unknown size modifier; no argument is taken then.
[[nodiscard]] kr_result kr_printf_format_uint(u32 radix, const kr_char* digits, u32 flags,
                                              u32 width, u32 precision, u32 size_modifier,
                                              kr_char** cursor, size_t remaining, va_list* args,
                                              size_t* required);

/// Takes a signed argument of the size modifier's width and writes it in decimal; the sign stands
/// before padding zeroes and after padding blanks. KR_FUNCTION_NOT_IMPLEMENTED as above.
[[nodiscard]] kr_result kr_printf_format_sint(u32 flags, u32 width, u32 precision,
                                              u32 size_modifier, kr_char** cursor, size_t remaining,
                                              va_list* args, size_t* required);

/// Takes a narrow string, "(null)" for null, and writes it widened, padded on the left with blanks
/// to `width`. It is written whole or not at all. The other settings are not used.
[[nodiscard]] kr_result kr_printf_format_string(u32 flags, u32 width, u32 precision,
                                                u32 size_modifier, kr_char** cursor,
                                                size_t remaining, va_list* args, size_t* required);

/// The same for a string of kr_char.
[[nodiscard]] kr_result kr_printf_format_ustring(u32 flags, u32 width, u32 precision,
                                                 u32 size_modifier, kr_char** cursor,
                                                 size_t remaining, va_list* args, size_t* required);

/// Takes a 32-bit argument and writes its low byte as one character. The settings are not used.
[[nodiscard]] kr_result kr_printf_format_char(u32 flags, u32 width, u32 precision,
                                              u32 size_modifier, kr_char** cursor, size_t remaining,
                                              va_list* args, size_t* required);
