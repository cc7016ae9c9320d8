/// The public parsers, and the failure line that all parts of the engine share.
#include "printf/parser_engine.h"
#include "printf/printf.h"

using namespace kr::detail;

kr_result kr::detail::format_no_room(const char* function) {
    KR_LOG_AS(KR_LOG_PRINTF, KR_LOG_WARNING, function, "Buffer too small.");
    return kr_result_make_error(KR_SUPPLIED_BUFFER_IS_NOT_LARGE_ENOUGH);
}

kr_result kr_printf_format_parse_flags(const char** cursor, u32* flags) {
    return parse_flags<true>(cursor, flags);
}

kr_result kr_printf_format_parse_width(const char** cursor, u32* width) {
    return parse_width<true>(cursor, width);
}

kr_result kr_printf_format_parse_precision(const char** cursor, u32* precision) {
    return parse_precision<true>(cursor, precision);
}

kr_result kr_printf_format_parse_size_mod(const char** cursor, u32* size_modifier) {
    return parse_size_modifier<true>(cursor, size_modifier);
}
