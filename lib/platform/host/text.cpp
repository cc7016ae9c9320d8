/// UTF-8 and UTF-16: one decoder and one encoder each way, for the rest of the stand-in.
#include "platform/host/text.h"

#include <cstring>

#include "platform/host/world.h"

namespace kr::host::detail {

namespace {

constexpr char32_t replacement = 0xFFFD;

constexpr bool is_lead_surrogate(char32_t unit) {
    return unit >= 0xD800 && unit < 0xDC00;
}

constexpr bool is_trail_surrogate(char32_t unit) {
    return unit >= 0xDC00 && unit < 0xE000;
}

void append_utf8(std::string& out, char32_t point) {
    if (point < 0x80) {
        out.push_back(static_cast<char>(point));
        return;
    }
    const int more = point < 0x800 ? 1 : point < 0x10000 ? 2 : 3;
    constexpr u8 leads[] = {0, 0xC0, 0xE0, 0xF0};
    out.push_back(static_cast<char>(leads[more] | point >> (6 * more)));
    for (int i = more - 1; i >= 0; --i) {
        out.push_back(static_cast<char>(0x80 | (point >> (6 * i) & 0x3F)));
    }
}

void append_utf16(std::u16string& out, char32_t point) {
    if (point < 0x10000) {
        out.push_back(static_cast<WCHAR>(point));
        return;
    }
    out.push_back(static_cast<WCHAR>(0xD800 + ((point - 0x10000) >> 10)));
    out.push_back(static_cast<WCHAR>(0xDC00 + ((point - 0x10000) & 0x3FF)));
}

/// Takes one character off the front of `text`; a broken sequence gives no value and takes its
/// longest valid beginning, one byte at the least.
bool take_utf8(std::string_view& text, char32_t& point) {
    const auto byte_at = [&](size_t i) {
        return static_cast<u8>(text[i]);
    };
    const u8 lead = byte_at(0);
    size_t length = lead < 0x80                   ? 1U
                    : lead >= 0xC2 && lead < 0xE0 ? 2U
                    : lead >= 0xE0 && lead < 0xF0 ? 3U
                    : lead >= 0xF0 && lead < 0xF5 ? 4U
                                                  : 0U;
    if (length <= 1) {
        point = lead;
        text.remove_prefix(1);
        return length == 1;
    }
    // The second byte's range keeps out long forms, surrogates and what lies above 0x10FFFF.
    const u8 lowest = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
    const u8 highest = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
    point = lead & (0x7FU >> length);
    size_t taken = 1;
    for (; taken < length && taken < text.size(); ++taken) {
        const u8 byte = byte_at(taken);
        if (byte < (taken == 1 ? lowest : 0x80) || byte > (taken == 1 ? highest : 0xBF)) {
            break;
        }
        point = point << 6 | (byte & 0x3FU);
    }
    text.remove_prefix(taken);
    return taken == length;
}

} // namespace

bool decode_utf8(std::string_view text, std::u16string& out) {
    bool whole = true;
    out.reserve(out.size() + text.size());
    while (!text.empty()) {
        char32_t point = 0;
        if (!take_utf8(text, point)) {
            whole = false;
            point = replacement;
        }
        append_utf16(out, point);
    }
    return whole;
}

} // namespace kr::host::detail

namespace kr::host {

std::string to_utf8(std::u16string_view text) {
    std::string out;
    out.reserve(text.size());
    for (size_t i = 0; i < text.size(); ++i) {
        char32_t point = text[i];
        if (detail::is_lead_surrogate(point) && i + 1 < text.size() &&
            detail::is_trail_surrogate(text[i + 1])) {
            point = 0x10000 + ((point - 0xD800) << 10) + (text[++i] - 0xDC00U);
        } else if (detail::is_lead_surrogate(point) || detail::is_trail_surrogate(point)) {
            point = detail::replacement;
        }
        detail::append_utf8(out, point);
    }
    return out;
}

std::u16string to_utf16(std::string_view text) {
    std::u16string out;
    detail::decode_utf8(text, out);
    return out;
}

} // namespace kr::host
