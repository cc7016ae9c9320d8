/// The conversions of the library's own values and of pointers, as the engine's driver calls them.
/// Public; cursor, remaining, args, required and the results common to all are those of
/// printf/plain_conversions.h. None looks at flags, width and precision. Any thread.
#pragma once

#include <cstdarg>

#include "../platform/types.h"
#include "../result/result.h"
#include "conversion_table.h"

/// Takes a pointer and writes "0x" and its 16 upper-case digits. `size_modifier` is
/// KR_PRINTF_SIZE_NONE or KR_PRINTF_SIZE_64, which mean the same; the others take 32 bits.
/// KR_FUNCTION_NOT_IMPLEMENTED for an unknown one; no argument is taken then, and in writing mode
/// `*cursor` stands behind the "0x".
[[nodiscard]] kr_result kr_printf_format_pointer(u32 flags, u32 width, u32 precision,
                                                 u32 size_modifier, kr_char** cursor,
                                                 size_t remaining, va_list* args, size_t* required);

/// The same, without a size modifier.
[[nodiscard]] kr_result kr_printf_format_kr_pointer(u32 flags, u32 width, u32 precision,
                                                    kr_char** cursor, size_t remaining,
                                                    va_list* args, size_t* required);

/// Takes a pointer to a KRGUID and writes its 16 bytes as 32 upper-case digits, or "(null)".
[[nodiscard]] kr_result kr_printf_format_sguid(u32 flags, u32 width, u32 precision,
                                               u32 size_modifier, kr_char** cursor,
                                               size_t remaining, va_list* args, size_t* required);

/// Takes an IPv4 address as a 32-bit number, its most significant byte the first octet, and writes
/// it in dotted decimal.
[[nodiscard]] kr_result kr_printf_format_ipv4(u32 flags, u32 width, u32 precision,
                                              u32 size_modifier, kr_char** cursor, size_t remaining,
                                              va_list* args, size_t* required);

/// Takes a pointer to a kr_result and writes "0x" and the 8 upper-case digits of its value.
/// KR_INVALID_ARGUMENT_TO_FUNCTION when it is null.
[[nodiscard]] kr_result kr_printf_format_sr(u32 flags, u32 width, u32 precision, u32 size_modifier,
                                            kr_char** cursor, size_t remaining, va_list* args,
                                            size_t* required);

/// Takes a pointer to a kr_result and writes its description; with KR_PRINTF_SIZE_SHORT that of its
/// code alone. In writing mode it needs room for the terminator too, which it does not count.
///  - KR_INVALID_ARGUMENT_TO_FUNCTION: the pointer is null;
///  - any failure of kr_get_result_code_description or kr_get_result_description2.
[[nodiscard]] kr_result kr_printf_format_tr_descr(u32 flags, u32 width, u32 precision,
                                                  u32 size_modifier, kr_char** cursor,
                                                  size_t remaining, va_list* args,
                                                  size_t* required);
