/// Building one line of text: the same characters as the layout's format would give, put down field
/// by field. For the log's own sources. Touches the caller's buffer only.
///
/// The formats, with the three fields of the stamp in front where the destination takes one:
///
///     stamp            "%_s.%03d.%03d; "                 date, milliseconds, sequence
///     thread_first     "%8s:%s:%08X; %s%c%s(%02d); %_s; %s()\n"
///     function_first   "%s%c%s(%02d); %s%s(); %_s; %s:%s:%08X\n"
///     bare             "%s%c%s: %_s\n"
///     profile          "[%06ll_u] msec - %s(); %s:%s:%08X\n"
///     secondary        "%_s\n", with a stamp "%_s %_s\n"
///     failure          "kr_printf_format in %s() failed.\n"
#pragma once

#include <cstddef>

#include "log/thread_labels.h"
#include "platform/types.h"

namespace kr::detail {

/// Characters of a line with its terminator: 8192 bytes.
inline constexpr size_t line_capacity = 4096;

enum class line_layout : u8 { thread_first, function_first, bare };

/// The stamp in front of a line.
struct line_stamp {
    /// "date.milliseconds." and its length.
    const kr_char* text;
    size_t length;
    u32 sequence;
};

/// What a line is made of. Narrow texts may be null and then show as "(null)".
struct line_fields {
    /// Null: none.
    const line_stamp* stamp;
    const char* domain;
    const char* function;
    const thread_label* thread;
    u32 category;
    /// Without flags. Any value but a level's shows as '?'.
    u32 level;
    /// Levels of indentation, at most maximum_depth; function_first only.
    u32 depth;
    bool colors;
    const kr_char* message;
    size_t message_length;
};

/// Each builds into a buffer of line_capacity characters and returns the line's size in bytes with
/// its terminator, or 0 when it does not fit; the buffer then holds no line.
[[nodiscard]] size_t build_line(line_layout layout, const line_fields& fields, kr_char* buffer);
/// `date` null: none.
[[nodiscard]] size_t build_secondary_line(const kr_char* date, const kr_char* message,
                                          size_t message_length, kr_char* buffer);
[[nodiscard]] size_t build_profile_line(u64 elapsed_ms, const char* domain, const char* function,
                                        const thread_label& thread, kr_char* buffer);
[[nodiscard]] size_t build_failure_line(const char* function, kr_char* buffer);

} // namespace kr::detail
