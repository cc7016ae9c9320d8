/// Lines as UTF-8.
#include "log/destinations/utf8.h"

#include "base/text/widen.h"

namespace kr::detail {
namespace {

constexpr u32 replacement = 0xFFFD;

constexpr bool is_high_surrogate(u32 unit) {
    return unit >= 0xD800 && unit <= 0xDBFF;
}

constexpr bool is_low_surrogate(u32 unit) {
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

char* encode_point(u32 point, char* out) {
    const auto tail = [&](u32 shift) {
        return static_cast<char>(0x80 | (point >> shift & 0x3F));
    };
    if (point < 0x80) {
        *out++ = static_cast<char>(point);
    } else if (point < 0x800) {
        *out++ = static_cast<char>(0xC0 | point >> 6);
        *out++ = tail(0);
    } else if (point < 0x10000) {
        *out++ = static_cast<char>(0xE0 | point >> 12);
        *out++ = tail(6);
        *out++ = tail(0);
    } else {
        *out++ = static_cast<char>(0xF0 | point >> 18);
        *out++ = tail(12);
        *out++ = tail(6);
        *out++ = tail(0);
    }
    return out;
}

} // namespace

size_t encode_utf8(const kr_char* text, size_t length, newline_form newline, char* out) {
    const char* const begin = out;
    const kr_char* const end = text + length;
    const bool returns = newline == newline_form::cr_lf;
    for (;;) {
        const size_t run =
            narrow_ascii(text, out, static_cast<size_t>(end - text), returns ? '\n' : '\0');
        text += run;
        out += run;
        if (text == end) {
            return static_cast<size_t>(out - begin);
        }
        u32 point = *text++;
        if (point == '\n' && returns) {
            *out++ = '\r';
        } else if (is_high_surrogate(point) && text != end && is_low_surrogate(*text)) {
            point = 0x10000 + ((point - 0xD800) << 10) + (*text++ - 0xDC00u);
        } else if (is_high_surrogate(point) || is_low_surrogate(point)) {
            point = replacement;
        }
        out = encode_point(point, out);
    }
}

} // namespace kr::detail
