/// The public operations of the number, string and character conversions.
#include "printf/plain_conversions.h"

#include "printf/plain_engine.h"

using namespace kr::detail;

kr_result kr_printf_format_uint_internal(u32 radix, const kr_char* digits, u32 flags, u32 width,
                                         u32, u32, kr_char** cursor, size_t remaining, u64 value,
                                         size_t* required) {
    if (radix < 2 || radix > 16 || digits == nullptr) {
        return invalid_argument();
    }
    return format_with_output(cursor, remaining, required, [&](format_output& out) {
        return format_unsigned_value<true>(radix, digits, flags, width, out, value);
    });
}

kr_result kr_printf_format_uint(u32 radix, const kr_char* digits, u32 flags, u32 width,
                                u32 precision, u32 size_modifier, kr_char** cursor,
                                size_t remaining, va_list* args, size_t* required) {
    if (radix < 2 || radix > 16 || digits == nullptr) {
        return invalid_argument();
    }
    return format_argument_with_output(
        cursor, remaining, args, required, [&](format_output& out, va_list* list) {
            return format_unsigned<true>(radix, digits, {flags, width, precision, size_modifier},
                                         out, list);
        });
}

kr_result kr_printf_format_sint(u32 flags, u32 width, u32 precision, u32 size_modifier,
                                kr_char** cursor, size_t remaining, va_list* args,
                                size_t* required) {
    return format_argument_with_output(
        cursor, remaining, args, required, [&](format_output& out, va_list* list) {
            return format_signed<true>({flags, width, precision, size_modifier}, out, list);
        });
}

kr_result kr_printf_format_string(u32 flags, u32 width, u32 precision, u32 size_modifier,
                                  kr_char** cursor, size_t remaining, va_list* args,
                                  size_t* required) {
    return format_argument_with_output(
        cursor, remaining, args, required, [&](format_output& out, va_list* list) {
            return format_narrow_string<true>({flags, width, precision, size_modifier}, out, list);
        });
}

kr_result kr_printf_format_ustring(u32 flags, u32 width, u32 precision, u32 size_modifier,
                                   kr_char** cursor, size_t remaining, va_list* args,
                                   size_t* required) {
    return format_argument_with_output(
        cursor, remaining, args, required, [&](format_output& out, va_list* list) {
            return format_wide_string<true>({flags, width, precision, size_modifier}, out, list);
        });
}

kr_result kr_printf_format_char(u32, u32, u32, u32, kr_char** cursor, size_t remaining,
                                va_list* args, size_t* required) {
    return format_argument_with_output(
        cursor, remaining, args, required,
        [&](format_output& out, va_list* list) { return format_character<true>(out, list); });
}
