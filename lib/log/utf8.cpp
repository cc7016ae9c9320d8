/// Lines as UTF-8.
#include "log/utf8.h"

#include <cstring>

namespace kr::detail {
namespace {

constexpr u32 replacement = 0xFFFD;

constexpr bool is_high_surrogate(u32 unit) {
    return unit >= 0xD800 && unit <= 0xDBFF;
}

constexpr bool is_low_surrogate(u32 unit) {
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

/// Packs four ASCII units into four bytes; false when one of them is not ASCII or is a newline.
bool pack_four(const kr_char* text, char* out) {
    u64 units = 0;
    std::memcpy(&units, text, sizeof(units));
    constexpr u64 ones = 0x0001000100010001;
    if ((units & 0xFF80 * ones) != 0) {
        return false;
    }
    // Zero exactly where a unit is a newline; a borrow then reaches that unit's top bit.
    const u64 differences = units ^ '\n' * ones;
    if (((differences - ones) & 0x8000 * ones) != 0) {
        return false;
    }
    units |= units >> 8;
    const u32 bytes = static_cast<u32>((units & 0xFFFF) | (units >> 16 & 0xFFFF0000));
    std::memcpy(out, &bytes, sizeof(bytes));
    return true;
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
    while (text != end) {
        if (end - text >= 4 && pack_four(text, out)) {
            text += 4;
            out += 4;
            continue;
        }
        u32 point = *text++;
        if (is_high_surrogate(point) && text != end && is_low_surrogate(*text)) {
            point = 0x10000 + ((point - 0xD800) << 10) + (*text++ - 0xDC00u);
        } else if (is_high_surrogate(point) || is_low_surrogate(point)) {
            point = replacement;
        }
        if (point == '\n' && newline == newline_form::cr_lf) {
            *out++ = '\r';
        }
        out = encode_point(point, out);
    }
    return static_cast<size_t>(out - begin);
}

} // namespace kr::detail
