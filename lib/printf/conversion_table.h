/// The one description of what a format may hold: the flags, the size modifiers, the conversions
/// and the grammar that joins them. The engine, the compile-time check and the tests read it.
/// Public; constants and constexpr functions only.
#pragma once

#include <array>
#include <iterator>

#include "../platform/types.h"

/// Flags of a conversion. Only KR_PRINTF_FLAG_ALTERNATE and KR_PRINTF_FLAG_ZEROES change the
/// output.
enum : u32 {
    KR_PRINTF_FLAG_GROUPING = 0x01,
    KR_PRINTF_FLAG_LEFT = 0x02,
    KR_PRINTF_FLAG_SIGN = 0x04,
    KR_PRINTF_FLAG_SPACE = 0x08,
    KR_PRINTF_FLAG_ALTERNATE = 0x10,
    KR_PRINTF_FLAG_ZEROES = 0x20,
};

/// Size modifiers. SHORT and LONG read 32 bits as NONE does: an argument is never narrowed to 16.
enum : u32 {
    KR_PRINTF_SIZE_NONE = 0,
    KR_PRINTF_SIZE_SHORT = 1,
    KR_PRINTF_SIZE_LONG = 2,
    KR_PRINTF_SIZE_64 = 3,
};

namespace kr::detail {

struct format_flag {
    char character;
    u32 bit;
    const char* name_message;
    const char* duplicate_message;
};

inline constexpr format_flag format_flags[] = {
    {'\'', KR_PRINTF_FLAG_GROUPING, "Flag thousands' groupings", "Duplicate ''' flag"},
    {'-', KR_PRINTF_FLAG_LEFT, "Flag left-justified", "Duplicate '-' flag"},
    {'+', KR_PRINTF_FLAG_SIGN, "Flag always sign", "Duplicate '+' flag"},
    {' ', KR_PRINTF_FLAG_SPACE, "Flag space", "Duplicate ' ' flag"},
    {'#', KR_PRINTF_FLAG_ALTERNATE, "Flag alternate form", "Duplicate '#' flag"},
    {'0', KR_PRINTF_FLAG_ZEROES, "Flag leading zeroes", "Duplicate '0' flag"},
};

/// What a conversion takes from the argument list.
enum class format_argument : u8 {
    integer,   ///< 32 or 64 bits, as the size modifier says
    integer32, ///< 32 bits whatever the size modifier says
    narrow_string,
    wide_string,
    pointer,
    guid,
    result,
};

/// What the engine does for a conversion.
enum class format_operation : u8 {
    signed_integer,
    unsigned_integer,
    shaped_integer, ///< unsigned, of another shape than the format says
    narrow_string,
    wide_string,
    character,
    pointer,
    kr_pointer,
    guid,
    ipv4,
    result,
    description,
};

/// Where an unsigned conversion takes its flags, its width and its size modifier from.
enum class format_shape : u8 {
    from_format,
    /// Flags and width from the format, always 32 bits.
    always_32,
    /// At least two digits, zero-padded, always 32 bits.
    byte_digits,
    /// Flags and width from the format, a size modifier is required.
    sized,
    /// As many zero-padded digits as the required size modifier's type has.
    sized_digits,
};

struct format_conversion {
    const char* name; ///< in the failure lines; i shares the name of d
    bool library;     ///< the letter follows an underscore
    char letter;
    format_operation operation;
    format_argument argument;
    format_shape shape = format_shape::from_format;
    u8 radix = 10;
    bool upper = false;

    constexpr bool needs_size() const {
        return shape == format_shape::sized || shape == format_shape::sized_digits;
    }
};

inline constexpr format_conversion format_conversions[] = {
    // clang-format off
    {"d", false, 'd', format_operation::signed_integer, format_argument::integer},
    {"d", false, 'i', format_operation::signed_integer, format_argument::integer},
    {"u", false, 'u', format_operation::unsigned_integer, format_argument::integer},
    {"o", false, 'o', format_operation::unsigned_integer, format_argument::integer, format_shape::from_format, 8},
    {"x", false, 'x', format_operation::unsigned_integer, format_argument::integer, format_shape::from_format, 16},
    {"X", false, 'X', format_operation::unsigned_integer, format_argument::integer, format_shape::from_format, 16, true},
    {"s", false, 's', format_operation::narrow_string, format_argument::narrow_string},
    {"c", false, 'c', format_operation::character, format_argument::integer32},
    {"p", false, 'p', format_operation::pointer, format_argument::pointer},
    {"_P", true, 'P', format_operation::pointer, format_argument::pointer},
    {"_p", true, 'p', format_operation::kr_pointer, format_argument::pointer},
    {"_s", true, 's', format_operation::wide_string, format_argument::wide_string},
    {"_g", true, 'g', format_operation::guid, format_argument::guid},
    {"_k", true, 'k', format_operation::ipv4, format_argument::integer32},
    {"_r", true, 'r', format_operation::result, format_argument::result},
    {"_z", true, 'z', format_operation::description, format_argument::result},
    {"_b", true, 'b', format_operation::shaped_integer, format_argument::integer32, format_shape::always_32},
    {"_h", true, 'h', format_operation::shaped_integer, format_argument::integer32, format_shape::byte_digits, 16},
    {"_H", true, 'H', format_operation::shaped_integer, format_argument::integer32, format_shape::byte_digits, 16, true},
    {"_u", true, 'u', format_operation::shaped_integer, format_argument::integer, format_shape::sized},
    {"_x", true, 'x', format_operation::shaped_integer, format_argument::integer, format_shape::sized_digits, 16},
    {"_X", true, 'X', format_operation::shaped_integer, format_argument::integer, format_shape::sized_digits, 16, true},
    // clang-format on
};

/// Row numbers by letter. Bytes above 0x7F have no row.
using format_index = std::array<u8, 256>;
inline constexpr u8 format_no_row = 0xFF;

/// Not constexpr and not defined: reached, it stops the compilation.
void two_conversions_share_a_letter();

consteval format_index format_index_of(bool library) {
    format_index index{};
    index.fill(format_no_row);
    for (size_t row = 0; row < std::size(format_conversions); ++row) {
        const format_conversion& conversion = format_conversions[row];
        if (conversion.library == library) {
            u8& entry = index[static_cast<u8>(conversion.letter)];
            if (entry != format_no_row) {
                two_conversions_share_a_letter();
            }
            entry = static_cast<u8>(row);
        }
    }
    return index;
}

inline constexpr format_index format_plain_index = format_index_of(false);
inline constexpr format_index format_library_index = format_index_of(true);

/// The flags lie between blank and '0'.
inline constexpr char format_first_flag = ' ';
inline constexpr char format_last_flag = '0';

/// Row numbers of the flags by character, from format_first_flag on.
inline constexpr auto format_flag_index = [] {
    std::array<u8, format_last_flag - format_first_flag + 1> index{};
    index.fill(format_no_row);
    for (size_t row = 0; row < std::size(format_flags); ++row) {
        index[static_cast<size_t>(format_flags[row].character - format_first_flag)] =
            static_cast<u8>(row);
    }
    return index;
}();

/// The row of the flag that a character is.
constexpr u8 format_find_flag(char character) {
    if (character > format_last_flag || character < format_first_flag) {
        return format_no_row;
    }
    return format_flag_index[static_cast<size_t>(character - format_first_flag)];
}

constexpr bool format_is_digit(char character) {
    return character >= '0' && character <= '9';
}

/// A size modifier: its value, the characters that it takes and what the trace says of it.
struct format_size {
    u32 value;
    u32 length;
    const char* message;
};

constexpr format_size format_find_size(const char* text) {
    if (text[0] == 'h') {
        return {KR_PRINTF_SIZE_SHORT, 1, "Size modifier set to SHORT"};
    }
    if (text[0] == 'l' && text[1] == 'l') {
        return {KR_PRINTF_SIZE_64, 2, "Size modifier set to LONGLONG"};
    }
    if (text[0] == 'l') {
        return {KR_PRINTF_SIZE_LONG, 1, "Size modifier set to LONG"};
    }
    if (text[0] == 'z') {
        return {KR_PRINTF_SIZE_64, 1, "Size modifier set to 64bit"};
    }
    return {KR_PRINTF_SIZE_NONE, 0, nullptr};
}

/// The row of the conversion whose letter stands at `*cursor`, which moves behind it. An unknown
/// letter or the end of the format has none; `*cursor` is then on that character. (Rows, not
/// pointers: a compiler that sanitizes does not compare those while it compiles.)
constexpr u8 format_take_conversion(const char** cursor) {
    const format_index* index = &format_plain_index;
    if (**cursor == '_') {
        index = &format_library_index;
        ++*cursor;
    }
    const u8 row = (*index)[static_cast<u8>(**cursor)];
    if (row != format_no_row) {
        ++*cursor;
    }
    return row;
}

} // namespace kr::detail
