/// Copies between ASCII and wide text, and the counts of UTF-8 text. Public; allocates through the
/// hooks of base/memory only, keeps no state: safe from any thread. Texts are NUL-terminated. A
/// null pointer is KR_INVALID_ARGUMENT_TO_FUNCTION where there is a result, and must not come where
/// there is none. Messages go to the category `other` at error level.
#pragma once

#include <cstddef>

#include "../../platform/types.h"
#include "../../result/result.h"

/// Copies `src` with its terminator into `dst`, which holds `dst_size` characters.
/// KR_INVALID_ARGUMENT_TO_FUNCTION, logged: a character is not ASCII.
/// KR_SUPPLIED_BUFFER_IS_NOT_LARGE_ENOUGH: `src` and its terminator need more than `dst_size`; a
/// `dst_size` of 0 gives it whatever the pointers are.
/// On failure `dst` holds the characters before that point, without a terminator; `src` is not read
/// past it.
[[nodiscard]] kr_result kr_wchar_to_ascii(const kr_char* src, char* dst, size_t dst_size);
/// As kr_wchar_to_ascii.
[[nodiscard]] kr_result kr_krchar_to_ascii(const kr_char* src, char* dst, size_t dst_size);

/// Widens `src` with its terminator into `dst`, which must have room for strlen(src) + 1
/// characters. ASCII is what has a meaning: a byte of 0x80 or more becomes 0xFF80 to 0xFFFF.
void kr_ascii_to_wchar(const char* src, kr_char* dst);
/// As kr_ascii_to_wchar.
void kr_ascii_to_krchar(const char* src, kr_char* dst);

// New strings. The caller releases *out with the deallocate hook. *out is written on success only.
// A failed allocation is logged and its result returned.

/// Widens as kr_ascii_to_wchar.
[[nodiscard]] kr_result kr_ascii_to_wchar_strdup(const char* src, kr_char** out);
/// As kr_ascii_to_wchar_strdup.
[[nodiscard]] kr_result kr_ascii_to_krchar_strdup(const char* src, kr_char** out);
/// Converts as kr_wchar_to_ascii; a character that is not ASCII gives that operation's result.
[[nodiscard]] kr_result kr_krchar_to_ascii_strdup(const kr_char* src, char** out);

// UTF-8 counts. The lead byte alone gives a sequence's length (2 to 6 bytes), the bytes behind it
// are not examined, except that no walk passes the terminator: a sequence that the end of the text
// cuts short counts one character and the bytes that are there. A byte 0x80 to 0xBF where a lead
// byte should stand is logged and counts no character and one byte. A null `text` gives
// 0x8200000C (KR_INVALID_ARGUMENT_TO_FUNCTION) in place of the count.

/// Characters before the terminator.
[[nodiscard]] u64 kr_string_char_count_utf8(const char* text);
/// Bytes before the terminator: strlen(text), with a line in the log for each stray byte.
[[nodiscard]] u64 kr_string_bytesize_clean_utf8(const char* text);
/// kr_string_bytesize_clean_utf8 plus the terminator. The value for a null `text` is not raised.
[[nodiscard]] u64 kr_string_bytesize_utf8(const char* text);
