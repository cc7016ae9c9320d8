/// The engine's driver: one walk over the format, for measuring and for writing, and the public
/// entry points.
#include "printf/printf.h"

#include <initializer_list>
#include <span>

#include "base/text/text_walk.h"
#include "base/text/widen.h"
#include "printf/library_engine.h"
#include "printf/parser_engine.h"
#include "printf/plain_engine.h"

using namespace kr::detail;

kr_result kr::detail::format_no_room(const char* function) {
    KR_LOG_AS(KR_LOG_PRINTF, KR_LOG_WARNING, function, "Buffer too small.");
    return kr_result_make_error(KR_SUPPLIED_BUFFER_IS_NOT_LARGE_ENOUGH);
}

namespace {

kr_result syntax_error() {
    return kr_result_make_error(KR_PRINTF_FORMAT_STRING_SYNTAX_ERROR);
}

/// The number of characters that the output may have when a literal has been put: room for the
/// terminator stays behind it.
inline size_t literal_limit(const format_output& out) {
    return out.measuring() ? SIZE_MAX : (out.size - 1) / sizeof(kr_char);
}

/// Takes literal characters while there is room for them; moves both cursors. An `out` of null only
/// counts.
inline void take_literals(const char** format, kr_char* out, size_t* chars, size_t limit) {
    constexpr is_either<char> literals_end = {'%', '\0'};
    const size_t taken = scan::first_match(*format, literals_end, limit - *chars);
    if (out != nullptr) {
        widen(*format, taken, out + *chars);
    }
    *format += taken;
    *chars += taken;
}

inline bool ends_literals(char character) {
    return character == '%' || character == '\0';
}

/// Puts literal characters up to the next '%' or the end, at least one, while the output has less
/// than `limit` characters; whether all had room.
///
/// Between two conversions there are mostly one to three. They are looked at one by one: the
/// processor guesses their number and goes on, where a vector's answer would have to be waited for.
inline bool put_literals(const char** format, format_output& out, size_t limit) {
    constexpr size_t singly = 4;
    if (out.chars + singly <= limit) {
        const char* const from = *format;
        size_t taken = 0;
        do {
            if (!out.measuring()) {
                out.base[out.chars + taken] = widen(from[taken]);
            }
            ++taken;
        } while (taken < singly && !ends_literals(from[taken]));
        *format += taken;
        out.count(taken);
        if (ends_literals(**format)) {
            return true;
        }
        take_literals(format, out.base, &out.chars, limit);
        if (ends_literals(**format)) {
            return true;
        }
    }
    // Where pages or the room end.
    do {
        if (out.chars >= limit) {
            return false;
        }
        if (!out.measuring()) {
            out.base[out.chars] = widen(**format);
        }
        out.count(1);
        ++*format;
    } while (!ends_literals(**format));
    return true;
}

/// The settings that an unsigned conversion works with; false when its size modifier is missing.
inline bool shape_settings(format_shape shape, format_settings& settings) {
    const u32 size = settings.size_modifier;
    if (shape == format_shape::always_32) {
        settings.size_modifier = KR_PRINTF_SIZE_NONE;
        return true;
    }
    if (shape == format_shape::byte_digits) {
        settings = {.flags = KR_PRINTF_FLAG_ZEROES, .width = 2};
        return true;
    }
    if (size == KR_PRINTF_SIZE_NONE) {
        return false;
    }
    if (shape == format_shape::sized_digits) {
        settings.flags = KR_PRINTF_FLAG_ZEROES;
        settings.width = size == KR_PRINTF_SIZE_SHORT ? 4 : size == KR_PRINTF_SIZE_LONG ? 8 : 16;
    }
    settings.size_modifier = size == KR_PRINTF_SIZE_LONG ? u32{KR_PRINTF_SIZE_NONE} : size;
    return true;
}

template <bool Traced>
inline kr_result run_conversion(const format_conversion& conversion, format_settings settings,
                                format_output& out, va_list* args) {
    switch (conversion.operation) {
    case format_operation::signed_integer:
        return format_signed<Traced>(settings, out, args);
    case format_operation::shaped_integer:
        if (!shape_settings(conversion.shape, settings)) {
            return syntax_error();
        }
        [[fallthrough]];
    case format_operation::unsigned_integer:
        return format_unsigned<Traced>(
            conversion.radix, conversion.upper ? kr_printf_digits_upper : kr_printf_digits_lower,
            settings, out, args);
    case format_operation::narrow_string:
        return format_narrow_string<Traced>(settings, out, args);
    case format_operation::wide_string:
        return format_wide_string<Traced>(settings, out, args);
    case format_operation::character:
        return format_character<Traced>(out, args);
    case format_operation::pointer:
        return format_pointer<Traced>(KR_PRINTF_SIZE_NONE, out, args);
    case format_operation::kr_pointer:
        return format_kr_pointer<Traced>(out, args);
    case format_operation::guid:
        return format_guid<Traced>(out, args);
    case format_operation::ipv4:
        return format_ipv4<Traced>(out, args);
    case format_operation::result:
        return format_result<Traced>(out, args);
    case format_operation::description:
        return format_description<Traced>(settings.size_modifier, out, args);
    }
    return syntax_error();
}

/// One of the parsers. The format must go on behind what it took.
template <bool Traced, typename Parser>
inline kr_result parse_part(const format_scope<Traced>& scope, const char* part, Parser parser,
                            const char** cursor, u32* value) {
    const kr_result result = parser(cursor, value);
    if (kr_result_failed(result)) {
        scope.warn("%s parsing failed Result is %_r (%_z)", part, &result, &result);
        return result;
    }
    return **cursor == '\0' ? syntax_error() : result;
}

/// Parses what stands before the letter.
template <bool Traced>
inline kr_result parse_settings(const format_scope<Traced>& scope, const char** cursor,
                                format_settings& settings) {
    kr_result result = parse_part(scope, "Flag", parse_flags<Traced>, cursor, &settings.flags);
    if (kr_result_succeeded(result)) {
        result = parse_part(scope, "Width", parse_width<Traced>, cursor, &settings.width);
    }
    if (kr_result_succeeded(result)) {
        result =
            parse_part(scope, "Precision", parse_precision<Traced>, cursor, &settings.precision);
    }
    if (kr_result_succeeded(result)) {
        result = parse_part(scope, "Size modifier", parse_size_modifier<Traced>, cursor,
                            &settings.size_modifier);
    }
    return result;
}

/// Runs the conversion of a row.
template <bool Traced>
inline kr_result run_row(const format_scope<Traced>& scope, u8 row, format_settings settings,
                         format_output& out, va_list* args) {
    const format_conversion& conversion = format_conversions[row];
    const kr_result result = run_conversion<Traced>(conversion, settings, out, args);
    if (kr_result_failed(result)) {
        scope.warn("Processing '%s' type failed Result is %_r (%_z)", conversion.name, &result,
                   &result);
    }
    return result;
}

/// The conversion behind a '%' in any form that the grammar knows.
template <bool Traced>
[[gnu::noinline]] kr_result format_any_form(const format_scope<Traced>& scope, const char** cursor,
                                            format_output& out, va_list* args) {
    format_settings settings;
    const kr_result parsed = parse_settings(scope, cursor, settings);
    if (kr_result_failed(parsed)) {
        return parsed;
    }
    const char* letter = *cursor;
    const u8 row = format_take_conversion(&letter);
    if (row == format_no_row) {
        const kr_result unknown = syntax_error();
        if (**cursor != '_') {
            scope.warn("Unknown type Result is %_r (%_z)", &unknown, &unknown);
        }
        return unknown;
    }
    *cursor = letter;
    return run_row<Traced>(scope, row, settings, out, args);
}

/// Takes a conversion whose only flag is a zero, as they nearly all are; nothing of any other.
inline u8 take_usual_form(const char** cursor, format_settings& settings) {
    const char* at = *cursor;
    if (*at == '0') {
        settings.flags = KR_PRINTF_FLAG_ZEROES;
        ++at;
    }
    if (*at == '0') { // a flag repeated, not a width
        return format_no_row;
    }
    for (; format_is_digit(*at); ++at) {
        settings.width = settings.width * 10 + static_cast<u32>(*at - '0');
    }
    const format_size size = format_find_size(at);
    settings.size_modifier = size.value;
    at += size.length;
    const u8 row = format_take_conversion(&at);
    if (row != format_no_row) {
        *cursor = at;
    }
    return row;
}

/// Handles the conversion behind a '%' and moves the cursor behind it. A letter alone is compiled
/// for itself, without all that flags and widths could ask for.
inline kr_result format_conversion_at(const format_scope<false>& scope, const char** cursor,
                                      format_output& out, va_list* args) {
    const char* at = *cursor;
    u8 row = format_take_conversion(&at);
    if (row != format_no_row) {
        *cursor = at;
        return run_row<false>(scope, row, {}, out, args);
    }
    format_settings settings;
    row = take_usual_form(cursor, settings);
    if (row != format_no_row) {
        return run_row<false>(scope, row, settings, out, args);
    }
    // Copies: what a call may change does not stay in registers.
    format_output own = out;
    const char* rest = *cursor;
    const kr_result result = format_any_form<false>(scope, &rest, own, args);
    *cursor = rest;
    out = own;
    return result;
}

/// The trace wants to hear of every parser.
inline kr_result format_conversion_at(const format_scope<true>& scope, const char** cursor,
                                      format_output& out, va_list* args) {
    return format_any_form<true>(scope, cursor, out, args);
}

/// The walk itself: everything but the terminator.
template <bool Traced>
inline kr_result walk(const format_scope<Traced>& scope, const char* format, format_output& out,
                      va_list* args) {
    const size_t limit = literal_limit(out);
    // The text in front of the first conversion is often long.
    if (*format != '%') {
        take_literals(&format, out.base, &out.chars, limit);
    }
    for (;;) {
        if (*format != '%') {
            if (*format != '\0' && !put_literals(&format, out, limit)) {
                return format_no_room("kr_printf_format");
            }
            if (*format == '\0') {
                return KR_SUCCESS;
            }
        }
        ++format;
        if (*format == '%') { // stands for itself
            if (!put_literals(&format, out, limit)) {
                return format_no_room("kr_printf_format");
            }
            continue;
        }
        const kr_result result = format_conversion_at(scope, &format, out, args);
        if (kr_result_failed(result)) {
            return result;
        }
    }
}

template <bool Traced>
kr_result format_all(kr_char* buffer, size_t buffer_size, const char* format, va_list* args,
                     size_t* required_size) {
    const format_scope<Traced> scope("kr_printf_format");
    scope.enter();
    if (format == nullptr) {
        return scope.leave(invalid_argument());
    }
    if (buffer != nullptr && buffer_size < sizeof(kr_char)) {
        return scope.leave_without_room();
    }
    format_output out = {buffer, buffer == nullptr ? 0 : buffer_size};
    kr_result result = walk<Traced>(scope, format, out, args);
    if (kr_result_succeeded(result) && !out.measuring()) {
        const format_room room = out.room_of(0);
        if (room.chars < 1) {
            result = format_no_room("kr_printf_format");
        } else {
            *room.at = 0;
        }
    }
    if (kr_result_failed(result)) {
        // What is not supported is a defect of the format to the caller.
        if (kr_result_is(result, KR_FUNCTION_NOT_IMPLEMENTED)) {
            result = syntax_error();
        }
        return scope.leave(result);
    }
    if (required_size != nullptr) {
        *required_size = out.bytes() + sizeof(kr_char);
    }
    return scope.leave(KR_SUCCESS);
}

/// format_all as it is nearly always called: one function without calls between its parts, which
/// keeps the output's state in registers.
[[gnu::flatten]] kr_result format_untraced(kr_char* buffer, size_t buffer_size, const char* format,
                                           va_list* args, size_t* required_size) {
    return format_all<false>(buffer, buffer_size, format, args, required_size);
}

/// The public functions that a call came through, the outermost first; kr_printf_format is not
/// among them.
using caller_names = std::initializer_list<const char*>;

[[gnu::noinline]] kr_result format_traced(std::span<const char* const> callers, kr_char* buffer,
                                          size_t buffer_size, const char* format, va_list* args,
                                          size_t* required_size) {
    if (callers.empty()) {
        return format_all<true>(buffer, buffer_size, format, args, required_size);
    }
    const format_scope<true> scope(callers.front());
    scope.enter();
    return scope.leave(
        format_traced(callers.subspan(1), buffer, buffer_size, format, args, required_size));
}

/// Chooses the engine.
inline kr_result format_call(caller_names callers, kr_char* buffer, size_t buffer_size,
                             const char* format, va_list* args, size_t* required_size) {
    if (format_is_traced()) [[unlikely]] {
        return format_traced({callers.begin(), callers.size()}, buffer, buffer_size, format, args,
                             required_size);
    }
    return format_untraced(buffer, buffer_size, format, args, required_size);
}

/// The same for the functions that leave a string whatever happens.
inline kr_result string_call(caller_names callers, kr_char* buffer, size_t buffer_size,
                             const char* format, va_list* args) {
    if (buffer == nullptr) {
        return invalid_argument();
    }
    const kr_result result = format_call(callers, buffer, buffer_size, format, args, nullptr);
    if (kr_result_failed(result) && buffer_size >= sizeof(kr_char)) {
        buffer[0] = 0;
    }
    return result;
}

} // namespace

// A va_list is an array on one calling convention and a pointer on the other, and as a parameter
// its address has a type of its own on the first. So each entry point copies the list once into a
// local, whose address is right on both.

kr_result kr_printf_format(kr_char* buffer, size_t buffer_size, const char* format, va_list args,
                           size_t* required_size) {
    va_list list;
    va_copy(list, args);
    const kr_result result = format_call({}, buffer, buffer_size, format, &list, required_size);
    va_end(list);
    return result;
}

kr_result kr_printf_get_required_buffer_size(const char* format, va_list args,
                                             size_t* required_size) {
    va_list list;
    va_copy(list, args);
    const kr_result result = format_call({__func__}, nullptr, 0, format, &list, required_size);
    va_end(list);
    return result;
}

kr_result kr_printf_format2(kr_char* buffer, size_t buffer_size, size_t* required_size,
                            const char* format, ...) {
    va_list list;
    va_start(list, format);
    const kr_result result =
        format_call({__func__}, buffer, buffer_size, format, &list, required_size);
    va_end(list);
    return result;
}

kr_result kr_string_format_va(kr_char* buffer, size_t buffer_size, const char* format,
                              va_list args) {
    va_list list;
    va_copy(list, args);
    const kr_result result = string_call({__func__}, buffer, buffer_size, format, &list);
    va_end(list);
    return result;
}

kr_result kr_string_format(kr_char* buffer, size_t buffer_size, const char* format, ...) {
    va_list list;
    va_start(list, format);
    const kr_result result =
        string_call({__func__, "kr_string_format_va"}, buffer, buffer_size, format, &list);
    va_end(list);
    return result;
}
