/// KRGUID, the library's 16-byte identifier: predicates, text forms and serial numbers. Public;
/// keeps no state: safe from any thread. A null pointer is KR_INVALID_ARGUMENT_TO_FUNCTION, without
/// a message, where there is a result, and must not come where there is none.
///
/// Every text form shows byte 0 first, high nibble first; nothing is ever byte-swapped. Digits are
/// written in upper case, but for the lower-case braced form, and read in either case. Texts are
/// NUL-terminated. Messages go to the category `other`.
#pragma once

#include <cstddef>

#include "../../platform/types.h"
#include "../../result/result.h"

inline constexpr u32 KR_GUID_BYTES = 16;

struct KRGUID {
    u8 bytes[KR_GUID_BYTES];
};
static_assert(sizeof(KRGUID) == KR_GUID_BYTES);

/// Room, in characters with the terminator, for each text form.
inline constexpr u32 KR_GUID_SIMPLE_CHARS = 33;
inline constexpr u32 KR_GUID_BRACED_CHARS = 38;
inline constexpr u32 KR_GUID_BRACED_LOWER_CHARS = 39;

/// Whether all 16 bytes are 0.
[[nodiscard]] bool kr_guid_is_null(const KRGUID* guid);
void kr_guid_set_null(KRGUID* guid);
/// Whether all 16 bytes are 0xFF.
[[nodiscard]] bool kr_guid_is_all_ones(const KRGUID* guid);
void kr_guid_set_all_ones(KRGUID* guid);
[[nodiscard]] bool kr_guid_equal(const KRGUID* a, const KRGUID* b);
void kr_guid_copy(KRGUID* dst, const KRGUID* src);

// Plain form: 32 hexadecimal digits.

/// KR_GENERIC: the text is not 32 characters long. KR_INVALID_ARGUMENT_TO_FUNCTION: one of them is
/// not a hexadecimal digit. `out` is written on success only; nothing is logged. At most 33
/// characters of `text` are read.
[[nodiscard]] kr_result kr_guid_from_string_simple(const kr_char* text, KRGUID* out);
/// As kr_guid_from_string_simple.
[[nodiscard]] kr_result kr_guid_from_string_simple_ascii(const char* text, KRGUID* out);
/// Writes KR_GUID_SIMPLE_CHARS characters. Returns `out`.
kr_char* kr_guid_to_string_simple(const KRGUID* guid, kr_char* out);
/// As kr_guid_to_string_simple.
char* kr_guid_to_string_simple_ascii(const KRGUID* guid, char* out);

// Shortest form: the plain form without its trailing "00" pairs, but never below 8 digits. All
// messages are at debug level.

/// Reads an even number of digits, 2 to 32; the bytes behind them become 0.
/// KR_INVALID_ARGUMENT_TO_FUNCTION, logged: the length is another ("GUID check 1 failed.", `out`
/// untouched) or a character is not a hexadecimal digit ("GUID check 2 failed.", `out` all 0).
[[nodiscard]] kr_result kr_guid_from_string_shortest(const kr_char* text, KRGUID* out);
/// As kr_guid_from_string_shortest; the length is counted in UTF-8 characters.
[[nodiscard]] kr_result kr_guid_from_string_shortest_ascii(const char* text, KRGUID* out);
/// `out` holds `out_size` characters; KR_GUID_SIMPLE_CHARS always suffice.
/// KR_INVALID_ARGUMENT_TO_FUNCTION: the null GUID has no shortest form.
/// KR_SUPPLIED_BUFFER_IS_NOT_LARGE_ENOUGH: the digits and their terminator do not fit. Either way
/// `out` is untouched.
[[nodiscard]] kr_result kr_guid_to_string_shortest(const KRGUID* guid, char* out, size_t out_size);

// Braced forms: "{8-8-8-8}" digits in upper case, "{8-4-4-4-12}" in lower case.

/// Writes KR_GUID_BRACED_CHARS characters. Returns the number before the terminator, 37.
i32 kr_guid_to_string_braced(const KRGUID* guid, char* out);
/// Writes KR_GUID_BRACED_LOWER_CHARS characters. Returns the number before the terminator, 38.
i32 kr_guid_to_string_braced_lower(const KRGUID* guid, char* out);
/// Reads 37 characters: 32 hexadecimal digits, and '{', '}' and '-' wherever they stand.
/// KR_GENERIC: another length. KR_INVALID_ARGUMENT_TO_FUNCTION: another character, or not 32
/// digits. `out` is written on success only; nothing is logged. At most 38 characters are read.
[[nodiscard]] kr_result kr_guid_from_string_braced_ascii(const char* text, KRGUID* out);
/// As kr_guid_from_string_braced_ascii, with 38 characters.
[[nodiscard]] kr_result kr_guid_from_string_braced(const kr_char* text, KRGUID* out);

/// The number of a serial GUID: bytes 0 to 3, most significant first, when bytes 4 to 15 are 0.
/// KR_INVALID_ARGUMENT_TO_FUNCTION, logged at warning level: bytes 4 to 15 are not all 0. `serial`
/// is written on success only.
[[nodiscard]] kr_result kr_guid_to_serial(const KRGUID* guid, u32* serial);
