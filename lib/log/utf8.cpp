/// Lines as UTF-8.
#include "log/utf8.h"

#include <algorithm>
#include <cstring>

#include "base/widen.h"

namespace kr::detail {
namespace {

constexpr u32 replacement = 0xFFFD;

constexpr bool is_high_surrogate(u32 unit) {
    return unit >= 0xD800 && unit <= 0xDBFF;
}

constexpr bool is_low_surrogate(u32 unit) {
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

/// Longest run of ASCII that is copied at once: what follows a newline in it is copied again.
constexpr size_t run_length = 256;

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
    while (text != end) {
        size_t run = narrow_ascii(text, out, std::min(static_cast<size_t>(end - text), run_length));
        if (run != 0) {
            const void* const found =
                newline == newline_form::cr_lf ? std::memchr(out, '\n', run) : nullptr;
            if (found != nullptr) {
                run = static_cast<size_t>(static_cast<const char*>(found) - out);
                out[run] = '\r';
                out[run + 1] = '\n';
                ++text;
                out += 2;
            }
            text += run;
            out += run;
            continue;
        }
        u32 point = *text++;
        if (is_high_surrogate(point) && text != end && is_low_surrogate(*text)) {
            point = 0x10000 + ((point - 0xD800) << 10) + (*text++ - 0xDC00u);
        } else if (is_high_surrogate(point) || is_low_surrogate(point)) {
            point = replacement;
        }
        out = encode_point(point, out);
    }
    return static_cast<size_t>(out - begin);
}

} // namespace kr::detail
