/// Line building. Touches the caller's buffer only.
#include "log/line.h"

#include "base/convert/decimal.h"
#include "base/text/copy_text.h"
#include "base/text/text_walk.h"
#include "base/text/widen.h"
#include "log/log.h"

namespace kr::detail {
namespace {

constexpr u32 level_limit = 17;
constexpr char letters[level_limit + 1] = "FEW?I???D???????C";

constexpr const kr_char* reset = KR_TEXT("\x1b[0m");

/// The colour in front of a level's letter.
constexpr const kr_char* color_of(u32 level) {
    switch (level) {
    case KR_LOG_ERROR:
        return KR_TEXT("\x1b[31m");
    case KR_LOG_WARNING:
        return KR_TEXT("\x1b[33m");
    case KR_LOG_DEBUG:
        return KR_TEXT("\x1b[32m");
    case KR_LOG_CALL:
        return KR_TEXT("\x1b[34m");
    default:
        return reset;
    }
}

/// Shown for what is no level.
constexpr u32 unknown_level = 3;
static_assert(letters[unknown_level] == '?');

/// Appends to a buffer and stops at its end: from the first text that does not fit, nothing more is
/// written.
class line_writer {
public:
    explicit line_writer(kr_char* buffer)
        : begin_(buffer), cursor_(buffer), end_(buffer + line_capacity - 1) {}

    /// Room for `count` characters, already taken, or null.
    kr_char* take(size_t count) {
        if (static_cast<size_t>(end_ - cursor_) < count) {
            end_ = cursor_;
            failed_ = true;
            return nullptr;
        }
        kr_char* const place = cursor_;
        cursor_ += count;
        return place;
    }

    void unit(kr_char c) {
        if (kr_char* const place = take(1); place != nullptr) {
            *place = c;
        }
    }

    /// A text of a few characters.
    void units(const kr_char* text) {
        for (; *text != 0; ++text) {
            unit(*text);
        }
    }

    void text(const kr_char* text, size_t length) {
        if (kr_char* const place = take(length); place != nullptr) {
            copy_text(text, length, place);
        }
    }

    template <size_t N>
    void literal(const kr_char (&chars)[N]) {
        text(chars, N - 1);
    }

    void narrow(const char* source, size_t width = 0) {
        if (source == nullptr) {
            source = "(null)";
        }
        const size_t length = text_length(source);
        const size_t padding = width > length ? width - length : 0;
        if (kr_char* place = take(padding + length); place != nullptr) {
            for (size_t i = 0; i < padding; ++i) {
                *place++ = ' ';
            }
            copy_text(source, length, place);
        }
    }

    /// At least `width` characters, zeroes behind the sign.
    void decimal(u64 magnitude, bool negative, u32 width) {
        const u32 digits = decimal_digit_count(magnitude);
        const u32 length = digits + (negative ? 1 : 0);
        const u32 padding = width > length ? width - length : 0;
        if (kr_char* place = take(padding + length); place != nullptr) {
            if (negative) {
                *place++ = '-';
            }
            for (u32 i = 0; i < padding; ++i) {
                *place++ = '0';
            }
            write_decimal(magnitude, place);
        }
    }

    /// As "%0<width>d" of the 32 bits.
    void decimal(u32 value, u32 width) {
        // What nearly every line needs: a category of two digits, a sequence number of three.
        if (width == 2 && value < 100) {
            text(digit_pairs<kr_char>[value].digits, 2);
            return;
        }
        if (width == 3 && value < 1'000) {
            unit(static_cast<kr_char>('0' + value / 100));
            text(digit_pairs<kr_char>[value % 100].digits, 2);
            return;
        }
        const i64 number = static_cast<i32>(value);
        decimal(static_cast<u64>(number < 0 ? -number : number), number < 0, width);
    }

    [[nodiscard]] size_t finish() {
        if (failed_) {
            return 0;
        }
        const auto length = static_cast<size_t>(cursor_ - begin_);
        begin_[length] = 0;
        return (length + 1) * sizeof(kr_char);
    }

private:
    kr_char* begin_;
    kr_char* cursor_;
    kr_char* end_;
    bool failed_ = false;
};

void append_stamp(line_writer& line, const line_stamp& stamp) {
    line.text(stamp.text, stamp.length);
    line.decimal(stamp.sequence, 3);
    line.literal(KR_TEXT("; "));
}

/// "%s%c%s"
inline void append_letter(line_writer& line, const line_fields& fields) {
    const u32 level = fields.level < level_limit ? fields.level : unknown_level;
    if (fields.colors) {
        line.units(color_of(level));
    }
    line.unit(static_cast<kr_char>(letters[level]));
    if (fields.colors) {
        line.units(reset);
    }
}

/// "%s%c%s(%02d); "
inline void append_letter_and_category(line_writer& line, const line_fields& fields) {
    append_letter(line, fields);
    line.unit('(');
    line.decimal(fields.category, 2);
    line.literal(KR_TEXT("); "));
}

/// ":%s:%08X\n"
void append_thread(line_writer& line, const thread_label& thread) {
    line.unit(':');
    line.text(thread.text, thread_label_length);
    line.unit('\n');
}

void append_thread_first(line_writer& line, const line_fields& fields) {
    line.narrow(fields.domain, 8);
    line.unit(':');
    line.text(fields.thread->text, thread_label_length);
    line.literal(KR_TEXT("; "));
    append_letter_and_category(line, fields);
    line.text(fields.message, fields.message_length);
    line.literal(KR_TEXT("; "));
    line.narrow(fields.function);
    line.literal(KR_TEXT("()\n"));
}

void append_function_first(line_writer& line, const line_fields& fields) {
    constexpr kr_char dots[] = KR_TEXT("........................................");
    static_assert(sizeof(dots) / sizeof(kr_char) == 2 * maximum_depth + 1);
    append_letter_and_category(line, fields);
    line.text(dots, 2 * size_t{fields.depth});
    line.narrow(fields.function);
    line.literal(KR_TEXT("(); "));
    line.text(fields.message, fields.message_length);
    line.literal(KR_TEXT("; "));
    line.narrow(fields.domain);
    append_thread(line, *fields.thread);
}

void append_bare(line_writer& line, const line_fields& fields) {
    append_letter(line, fields);
    line.literal(KR_TEXT(": "));
    line.text(fields.message, fields.message_length);
    line.unit('\n');
}

} // namespace

size_t build_line(line_layout layout, const line_fields& fields, kr_char* buffer) {
    line_writer line(buffer);
    if (fields.stamp != nullptr) {
        append_stamp(line, *fields.stamp);
    }
    switch (layout) {
    case line_layout::thread_first:
        append_thread_first(line, fields);
        break;
    case line_layout::function_first:
        append_function_first(line, fields);
        break;
    case line_layout::bare:
        append_bare(line, fields);
        break;
    }
    return line.finish();
}

size_t build_secondary_line(const kr_char* date, const kr_char* message, size_t message_length,
                            kr_char* buffer) {
    line_writer line(buffer);
    if (date != nullptr) {
        line.text(date, text_length(date));
        line.unit(' ');
    }
    line.text(message, message_length);
    line.unit('\n');
    return line.finish();
}

size_t build_profile_line(u64 elapsed_ms, const char* domain, const char* function,
                          const thread_label& thread, kr_char* buffer) {
    line_writer line(buffer);
    line.unit('[');
    line.decimal(elapsed_ms, false, 6);
    line.literal(KR_TEXT("] msec - "));
    line.narrow(function);
    line.literal(KR_TEXT("(); "));
    line.narrow(domain);
    append_thread(line, thread);
    return line.finish();
}

size_t build_failure_line(const char* function, kr_char* buffer) {
    line_writer line(buffer);
    line.literal(KR_TEXT("kr_printf_format in "));
    line.narrow(function);
    line.literal(KR_TEXT("() failed.\n"));
    return line.finish();
}

} // namespace kr::detail
