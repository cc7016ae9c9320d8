/// The formatting engine: narrow formats, wide output. Public.
///
/// A format is a zero-terminated narrow string; every byte that is not part of a conversion becomes
/// one character of the output. A conversion is
///
///     % [flags: each of ' - + space # 0 at most once] [width digits] [h | l | ll | z] letter
///
/// where the letter may be two characters that begin with an underscore. docs/formatting.md lists
/// the conversions with examples. There is no precision, no '*' and no left-justification; of the
/// flags only 0 and # change the output. h and l read 32 bits, ll and z read 64.
///
/// All sizes are in bytes, two for each character, the terminator included. The output is
/// zero-terminated on success. Nothing here allocates, locks or keeps state: safe from any thread.
///
/// Results common to all entry points:
///  - KR_SUCCESS;
///  - KR_SUPPLIED_BUFFER_IS_NOT_LARGE_ENOUGH: the text and its terminator do not fit; "%_z" of a
///    Win32 error whose text exceeds 127 characters (it cannot be measured either);
///  - KR_PRINTF_FORMAT_STRING_SYNTAX_ERROR: the format is defective or asks for what is not
///    supported;
///  - KR_INVALID_ARGUMENT_TO_FUNCTION: a null format, or "%_r" or "%_z" of a null pointer;
///  - KR_GENERIC: "%_z" of a Win32 error that the system has no text for;
///  - KR_UNEXPECTED_BEHAVIOUR: "%_z" with no room left at all.
/// After a failure the buffer holds what was written before it, without a terminator, unless the
/// entry point says otherwise.
///
/// The checked forms take the same arguments as the variadic ones, take literal formats only and
/// refuse, when the program is compiled, what the engine would refuse and arguments that do not fit
/// their conversions. The variadic forms are for formats known only at run time.
#pragma once

#include <cstdarg>
#include <type_traits>

#include "../platform/types.h"
#include "../result/result.h"
#include "format_check.h"

/// Formats `args` into `buffer`, which has `buffer_size` bytes of room. A null buffer only
/// measures; `buffer_size` is not looked at then. `required_size` may be null; on success it
/// receives the size of the whole output, and a call that fails leaves it alone. `args` is copied:
/// the caller's list stays where it is.
[[nodiscard]] kr_result kr_printf_format(kr_char* buffer, size_t buffer_size, const char* format,
                                         va_list args, size_t* required_size);

/// Measures: kr_printf_format with a null buffer.
[[nodiscard]] kr_result kr_printf_get_required_buffer_size(const char* format, va_list args,
                                                           size_t* required_size);

/// kr_printf_format over its own arguments.
[[nodiscard]] kr_result kr_printf_format2(kr_char* buffer, size_t buffer_size,
                                          size_t* required_size, const char* format, ...);

/// kr_printf_format without a required size. `buffer` must not be null
/// (KR_INVALID_ARGUMENT_TO_FUNCTION). A failure leaves the empty string in a buffer of at least 2
/// bytes.
[[nodiscard]] kr_result kr_string_format_va(kr_char* buffer, size_t buffer_size, const char* format,
                                            va_list args);

/// kr_string_format_va over its own arguments.
[[nodiscard]] kr_result kr_string_format(kr_char* buffer, size_t buffer_size, const char* format,
                                         ...);

/// kr_printf_format2 with a checked format.
template <typename... Args>
[[nodiscard]] inline kr_result
kr_printf_format2_checked(kr_char* buffer, size_t buffer_size, size_t* required_size,
                          kr_format<std::type_identity_t<Args>...> format, Args... args) {
    return kr_printf_format2(buffer, buffer_size, required_size, format.text, args...);
}

/// kr_string_format with a checked format.
template <typename... Args>
[[nodiscard]] inline kr_result
kr_string_format_checked(kr_char* buffer, size_t buffer_size,
                         kr_format<std::type_identity_t<Args>...> format, Args... args) {
    return kr_string_format(buffer, buffer_size, format.text, args...);
}

/// The same for an array, whose whole size is the room.
template <size_t Chars, typename... Args>
[[nodiscard]] inline kr_result
kr_printf_format2_checked(kr_char (&buffer)[Chars], size_t* required_size,
                          kr_format<std::type_identity_t<Args>...> format, Args... args) {
    return kr_printf_format2(buffer, sizeof(buffer), required_size, format.text, args...);
}

template <size_t Chars, typename... Args>
[[nodiscard]] inline kr_result
kr_string_format_checked(kr_char (&buffer)[Chars], kr_format<std::type_identity_t<Args>...> format,
                         Args... args) {
    return kr_string_format(buffer, sizeof(buffer), format.text, args...);
}

/// The parsers of one conversion's parts. Each sets its output to 0, consumes what it recognises
/// and leaves `*cursor` on the first character that it did not consume; `*cursor` points into a
/// zero-terminated format. After a failure the output holds what had been recognised. A null
/// pointer is KR_INVALID_ARGUMENT_TO_FUNCTION.
///
/// Flags: KR_PRINTF_FORMAT_STRING_SYNTAX_ERROR for a repeated flag. The bits are those of
/// KR_PRINTF_FLAG_*.
[[nodiscard]] kr_result kr_printf_format_parse_flags(const char** cursor, u32* flags);
/// Decimal digits, modulo 2^32; 0 when there are none. KR_FUNCTION_NOT_IMPLEMENTED for '*'.
[[nodiscard]] kr_result kr_printf_format_parse_width(const char** cursor, u32* width);
/// Always 0. KR_FUNCTION_NOT_IMPLEMENTED for '.'.
[[nodiscard]] kr_result kr_printf_format_parse_precision(const char** cursor, u32* precision);
/// One of KR_PRINTF_SIZE_*. Always succeeds.
[[nodiscard]] kr_result kr_printf_format_parse_size_mod(const char** cursor, u32* size_modifier);
