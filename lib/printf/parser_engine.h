/// The parsers of one conversion's flags, width, precision and size modifier, written once for the
/// public operations and for the driver. For the engine's own sources.
#pragma once

#include "printf/engine.h"

namespace kr::detail {

template <bool Traced>
inline kr_result parse_flags(const char** cursor, u32* flags) {
    const format_scope<Traced> scope("kr_printf_format_parse_flags");
    scope.enter();
    *flags = 0;
    for (u8 row = 0; (row = format_find_flag(**cursor)) != format_no_row; ++*cursor) {
        const format_flag& flag = format_flags[row];
        if ((*flags & flag.bit) != 0) {
            scope.warn("%s", flag.duplicate_message);
            return scope.leave(kr_result_make_error(KR_PRINTF_FORMAT_STRING_SYNTAX_ERROR));
        }
        scope.debug("%s", flag.name_message);
        *flags |= flag.bit;
    }
    return scope.leave(KR_SUCCESS);
}

template <bool Traced>
inline kr_result parse_width(const char** cursor, u32* width) {
    const format_scope<Traced> scope("kr_printf_format_parse_width");
    scope.enter();
    *width = 0;
    if (**cursor == '*') {
        scope.warn("'*' in width field not supported.");
        return scope.leave(not_implemented());
    }
    for (; format_is_digit(**cursor); ++*cursor) {
        *width = *width * 10 + static_cast<u32>(**cursor - '0');
        scope.debug("Width set to %u", *width);
    }
    return scope.leave(KR_SUCCESS);
}

template <bool Traced>
inline kr_result parse_precision(const char** cursor, u32* precision) {
    const format_scope<Traced> scope("kr_printf_format_parse_precision");
    scope.enter();
    *precision = 0;
    if (**cursor == '.') {
        scope.warn("Precision not supported.");
        return scope.leave(not_implemented());
    }
    return scope.leave(KR_SUCCESS);
}

template <bool Traced>
inline kr_result parse_size_modifier(const char** cursor, u32* size_modifier) {
    const format_scope<Traced> scope("kr_printf_format_parse_size_mod");
    scope.enter();
    const format_size size = format_find_size(*cursor);
    *size_modifier = size.value;
    if (size.length != 0) {
        scope.debug("%s", size.message);
        *cursor += size.length;
    }
    return scope.leave(KR_SUCCESS);
}

} // namespace kr::detail
