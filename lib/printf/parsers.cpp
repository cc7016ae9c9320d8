/// The public parsers.
#include "printf/parser_engine.h"
#include "printf/printf.h"
#include "result/failures.h"

using namespace kr::detail;

namespace {

using format_parser = kr_result(const char** cursor, u32* value);

template <format_parser Parse>
kr_result parse(const char** cursor, u32* value) {
    if (cursor == nullptr || *cursor == nullptr || value == nullptr) {
        return invalid_argument();
    }
    return Parse(cursor, value);
}

} // namespace

kr_result kr_printf_format_parse_flags(const char** cursor, u32* flags) {
    return parse<parse_flags<true>>(cursor, flags);
}

kr_result kr_printf_format_parse_width(const char** cursor, u32* width) {
    return parse<parse_width<true>>(cursor, width);
}

kr_result kr_printf_format_parse_precision(const char** cursor, u32* precision) {
    return parse<parse_precision<true>>(cursor, precision);
}

kr_result kr_printf_format_parse_size_mod(const char** cursor, u32* size_modifier) {
    return parse<parse_size_modifier<true>>(cursor, size_modifier);
}
