/// Any text as a dotted quad, against a model that cuts it at the dots; every address as text and
/// back.
#pragma once

#include <cstring>
#include <optional>

#include "base/convert/net_address.h"
#include "models/input.h"

namespace kr::test {

inline std::optional<u32> dotted_quad(std::string text) {
    u32 ip = 0;
    text += '.';
    for (u32 component = 0; component < 4; ++component) {
        const size_t dot = text.find('.');
        if (dot == 0 || dot == std::string::npos || dot > 3 ||
            text.find_first_not_of("0123456789") < dot) {
            return std::nullopt;
        }
        const unsigned long value = std::stoul(text.substr(0, dot));
        if (value > 255) {
            return std::nullopt;
        }
        ip = ip << 8 | static_cast<u32>(value);
        text.erase(0, dot + 1);
    }
    return text.empty() ? std::optional(ip) : std::nullopt;
}

inline void check_address(std::span<const u8> input) {
    const std::string text(text_of(input));
    constexpr u32 untouched = 0x5A5A5A5A;
    u32 ip = untouched;
    const kr_result result = kr_string_to_ipv4(exact_text<char>(text), &ip);
    const std::optional<u32> expected = dotted_quad(text);
    expect(result == (expected ? KR_SUCCESS : kr_result_make_error(KR_GENERIC)));
    expect(ip == expected.value_or(untouched));

    u32 any = 0;
    std::memcpy(&any, input.data(), std::min(input.size(), sizeof any));
    const exact_block<char> written(KR_STRING_IPV4_CHARS);
    expect(kr_string_to_ipv4(kr_string_from_ipv4(any, written.get()), &ip) == KR_SUCCESS &&
           ip == any);
}

} // namespace kr::test
