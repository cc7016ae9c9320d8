/// The public operations of the library's own conversions.
#include "printf/library_conversions.h"

#include "printf/library_engine.h"

using namespace kr::detail;

kr_result kr::detail::measure_code_description(kr_result result, size_t* size) {
    // Longer than any message of the system.
    kr_char text[4096];
    *size = sizeof(text);
    return kr_get_result_code_description(result, text, size);
}

kr_result kr_printf_format_pointer(u32, u32, u32, u32 size_modifier, kr_char** cursor,
                                   size_t remaining, va_list* args, size_t* required) {
    return format_argument_with_output(cursor, remaining, args, required,
                                       [&](format_output& out, va_list* list) {
                                           return format_pointer<true>(size_modifier, out, list);
                                       });
}

kr_result kr_printf_format_kr_pointer(u32, u32, u32, kr_char** cursor, size_t remaining,
                                      va_list* args, size_t* required) {
    return format_argument_with_output(
        cursor, remaining, args, required,
        [&](format_output& out, va_list* list) { return format_kr_pointer<true>(out, list); });
}

kr_result kr_printf_format_sguid(u32, u32, u32, u32, kr_char** cursor, size_t remaining,
                                 va_list* args, size_t* required) {
    return format_argument_with_output(
        cursor, remaining, args, required,
        [&](format_output& out, va_list* list) { return format_guid<true>(out, list); });
}

kr_result kr_printf_format_ipv4(u32, u32, u32, u32, kr_char** cursor, size_t remaining,
                                va_list* args, size_t* required) {
    return format_argument_with_output(
        cursor, remaining, args, required,
        [&](format_output& out, va_list* list) { return format_ipv4<true>(out, list); });
}

kr_result kr_printf_format_sr(u32, u32, u32, u32, kr_char** cursor, size_t remaining, va_list* args,
                              size_t* required) {
    return format_argument_with_output(
        cursor, remaining, args, required,
        [&](format_output& out, va_list* list) { return format_result<true>(out, list); });
}

kr_result kr_printf_format_tr_descr(u32, u32, u32, u32 size_modifier, kr_char** cursor,
                                    size_t remaining, va_list* args, size_t* required) {
    return format_argument_with_output(
        cursor, remaining, args, required, [&](format_output& out, va_list* list) {
            return format_description<true>(size_modifier, out, list);
        });
}
