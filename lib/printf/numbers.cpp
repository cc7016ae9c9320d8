/// The public operations of the number, string and character conversions.
#include "printf/numbers.h"

#include "printf/number_engine.h"

using namespace kr::detail;

kr_result kr_printf_format_uint_internal(u32 radix, const kr_char* digits, u32 flags, u32 width,
                                         u32, u32, kr_char** cursor, size_t remaining, u64 value,
                                         size_t* required) {
    if (radix < 2 || radix > 16) {
        return kr_result_make_error(KR_INVALID_ARGUMENT_TO_FUNCTION);
    }
    return format_with_output(cursor, remaining, required, [&](format_output& out) {
        return format_unsigned_value<true>(radix, digits, flags, width, out, value);
    });
}

kr_result kr_printf_format_uint(u32 radix, const kr_char* digits, u32 flags, u32 width,
                                u32 precision, u32 size_modifier, kr_char** cursor,
                                size_t remaining, va_list* args, size_t* required) {
    if (radix < 2 || radix > 16) {
        return kr_result_make_error(KR_INVALID_ARGUMENT_TO_FUNCTION);
    }
    return format_with_output(cursor, remaining, required, [&](format_output& out) {
        return format_unsigned<true>(radix, digits, {flags, width, precision, size_modifier}, out,
                                     args);
    });
}

kr_result kr_printf_format_sint(u32 flags, u32 width, u32 precision, u32 size_modifier,
                                kr_char** cursor, size_t remaining, va_list* args,
                                size_t* required) {
    return format_with_output(cursor, remaining, required, [&](format_output& out) {
        return format_signed<true>({flags, width, precision, size_modifier}, out, args);
    });
}

kr_result kr_printf_format_string(u32 flags, u32 width, u32 precision, u32 size_modifier,
                                  kr_char** cursor, size_t remaining, va_list* args,
                                  size_t* required) {
    return format_with_output(cursor, remaining, required, [&](format_output& out) {
        return format_narrow_string<true>({flags, width, precision, size_modifier}, out, args);
    });
}

kr_result kr_printf_format_ustring(u32 flags, u32 width, u32 precision, u32 size_modifier,
                                   kr_char** cursor, size_t remaining, va_list* args,
                                   size_t* required) {
    return format_with_output(cursor, remaining, required, [&](format_output& out) {
        return format_wide_string<true>({flags, width, precision, size_modifier}, out, args);
    });
}

kr_result kr_printf_format_char(u32, u32, u32, u32, kr_char** cursor, size_t remaining,
                                va_list* args, size_t* required) {
    return format_with_output(cursor, remaining, required, [&](format_output& out) {
        return format_character<true>(out, args);
    });
}
