/// Formats that are checked when the program is compiled: a format that the engine would refuse, or
/// arguments that do not fit its conversions, stop the compilation. Public; types only.
#pragma once

#include <array>
#include <type_traits>

#include "../platform/types.h"
#include "conversion_table.h"

struct KRGUID;

namespace kr::detail {

// The check calls one of these where it finds a fault. None is constexpr, so the call stops the
// compilation, and the compiler's message names it. They have no definition.
void format_ends_inside_a_conversion();
void format_repeats_a_flag();
void format_takes_no_width_from_an_argument();
void format_takes_no_precision();
void format_holds_an_unknown_conversion();
void format_conversion_needs_a_size_modifier();
void format_has_too_few_arguments();
void format_has_too_many_arguments();
void argument_must_be_a_32_bit_integer();
void argument_must_be_a_64_bit_integer();
void argument_must_be_a_narrow_string();
void argument_must_be_a_kr_char_string();
void argument_must_be_a_pointer();
void argument_must_be_the_address_of_a_guid();
void argument_must_be_the_address_of_a_result();

/// What an argument becomes in a variable argument list.
enum class argument_type : u8 {
    integer32,
    integer64,
    narrow_string,
    wide_string,
    guid,
    result,
    pointer, ///< any other pointer
    null,    ///< nullptr
    other,   ///< floating point, scoped enumerations, classes
};

template <typename T>
consteval argument_type argument_type_of_pointer() {
    using pointee = std::remove_cv_t<T>;
    if (std::is_same_v<pointee, char>) {
        return argument_type::narrow_string;
    }
    if (std::is_same_v<pointee, kr_char>) {
        return argument_type::wide_string;
    }
    if (std::is_same_v<pointee, KRGUID>) {
        return argument_type::guid;
    }
    // A result is a plain u32, so the address of any u32 passes.
    if (std::is_same_v<pointee, u32>) {
        return argument_type::result;
    }
    return argument_type::pointer;
}

template <typename T>
consteval argument_type argument_type_of() {
    using type = std::remove_cv_t<T>;
    if constexpr (std::is_pointer_v<type>) {
        return argument_type_of_pointer<std::remove_pointer_t<type>>();
    } else if constexpr (std::is_null_pointer_v<type>) {
        return argument_type::null;
    } else if constexpr (std::is_integral_v<type> ||
                         (std::is_enum_v<type> && std::is_convertible_v<type, long long>)) {
        if constexpr (sizeof(type) <= 4) {
            return argument_type::integer32;
        } else if constexpr (sizeof(type) == 8) {
            return argument_type::integer64;
        } else {
            return argument_type::other;
        }
    } else {
        return argument_type::other;
    }
}

/// Signed and unsigned are not told apart: the bits are the same and every caller means them.
consteval void check_argument(format_argument wanted, u32 size_modifier, argument_type given) {
    switch (wanted) {
    case format_argument::integer:
        if (size_modifier == KR_PRINTF_SIZE_64) {
            if (given != argument_type::integer64) {
                argument_must_be_a_64_bit_integer();
            }
            break;
        }
        [[fallthrough]];
    case format_argument::integer32:
        if (given != argument_type::integer32) {
            argument_must_be_a_32_bit_integer();
        }
        break;
    case format_argument::narrow_string:
        if (given != argument_type::narrow_string && given != argument_type::null) {
            argument_must_be_a_narrow_string();
        }
        break;
    case format_argument::wide_string:
        if (given != argument_type::wide_string && given != argument_type::null) {
            argument_must_be_a_kr_char_string();
        }
        break;
    case format_argument::pointer:
        if (given == argument_type::integer32 || given == argument_type::integer64 ||
            given == argument_type::other) {
            argument_must_be_a_pointer();
        }
        break;
    case format_argument::guid:
        if (given != argument_type::guid && given != argument_type::null) {
            argument_must_be_the_address_of_a_guid();
        }
        break;
    case format_argument::result: // null is refused by the engine, so it is here
        if (given != argument_type::result) {
            argument_must_be_the_address_of_a_result();
        }
        break;
    }
}

/// Checks the conversion behind a '%' and moves the cursor behind it. The order of the parts is the
/// engine's.
consteval format_argument check_conversion(const char** cursor, u32* size_modifier) {
    u32 seen = 0;
    for (u8 row = 0; (row = format_find_flag(**cursor)) != format_no_row; ++*cursor) {
        if ((seen & format_flags[row].bit) != 0) {
            format_repeats_a_flag();
        }
        seen |= format_flags[row].bit;
    }
    if (**cursor == '*') {
        format_takes_no_width_from_an_argument();
    }
    while (format_is_digit(**cursor)) {
        ++*cursor;
    }
    if (**cursor == '.') {
        format_takes_no_precision();
    }
    const format_size size = format_find_size(*cursor);
    *size_modifier = size.value;
    *cursor += size.length;

    const u8 row = format_take_conversion(cursor);
    if (row == format_no_row) {
        if (**cursor == '\0') {
            format_ends_inside_a_conversion();
        }
        format_holds_an_unknown_conversion();
    }
    if (format_conversions[row].needs_size() && size.value == KR_PRINTF_SIZE_NONE) {
        format_conversion_needs_a_size_modifier();
    }
    return format_conversions[row].argument;
}

consteval void check_format(const char* format, const argument_type* arguments, size_t count) {
    size_t used = 0;
    while (*format != '\0') {
        if (*format++ != '%') {
            continue;
        }
        if (*format == '%') {
            ++format;
            continue;
        }
        u32 size_modifier = 0;
        const format_argument wanted = check_conversion(&format, &size_modifier);
        if (used == count) {
            format_has_too_few_arguments();
        }
        check_argument(wanted, size_modifier, arguments[used++]);
    }
    if (used != count) {
        format_has_too_many_arguments();
    }
}

} // namespace kr::detail

/// A literal format whose conversions were checked against Args.
template <typename... Args>
struct kr_format {
    const char* text;

    // NOLINTNEXTLINE(google-explicit-constructor): a literal converts in place, as callers write it
    consteval kr_format(const char* format) : text(format) {
        constexpr std::array<kr::detail::argument_type, sizeof...(Args) + 1> arguments = {
            kr::detail::argument_type_of<Args>()...};
        kr::detail::check_format(format, arguments.data(), sizeof...(Args));
    }
};
