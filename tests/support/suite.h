/// What most tests use: results by their names, wide text beside narrow.
#pragma once

#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include <gmock/gmock.h>

#include "log/destinations/utf8.h"
#include "result/result.h"

namespace kr::test {

using testing::ElementsAre, testing::IsEmpty;
using wide = std::basic_string<kr_char>;

constexpr kr_result ok = KR_SUCCESS, yes = 0x0200001F, no = 0x02000020;
constexpr kr_result generic = 0x82000000, out_of_memory = 0x82000002, unexpected = 0x82000003,
                    invalid = 0x8200000C, too_small = 0x82000021, not_implemented = 0x82000022,
                    not_found = 0x8200003B, overflow = 0x8200004D, zero = 0x8200004E;

/// What stands where it was made.
struct pinned {
    pinned() = default;
    pinned(const pinned&) = delete;
    pinned& operator=(const pinned&) = delete;
};

/// UTF-16 as UTF-8; what is broken becomes U+FFFD.
inline std::string utf8(const kr_char* text) {
    const size_t length = std::char_traits<kr_char>::length(text);
    std::string bytes(detail::utf8_room(length), '\0');
    bytes.resize(detail::encode_utf8(text, length, detail::newline_form::lf, bytes.data()));
    return bytes;
}

/// Latin-1 as UTF-16.
inline wide widen(std::string_view text) {
    wide result;
    for (const char byte : text) { result += static_cast<kr_char>(static_cast<u8>(byte)); }
    return result;
}

} // namespace kr::test
