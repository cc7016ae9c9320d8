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

using testing::ElementsAre;
using testing::IsEmpty;
using wide = std::basic_string<kr_char>;

constexpr kr_result ok = KR_SUCCESS;
constexpr kr_result yes = 0x0200001F;
constexpr kr_result no = 0x02000020;
constexpr kr_result generic = 0x82000000;
constexpr kr_result out_of_memory = 0x82000002;
constexpr kr_result unexpected = 0x82000003;
constexpr kr_result invalid = 0x8200000C;
constexpr kr_result too_small = 0x82000021;
constexpr kr_result not_implemented = 0x82000022;
constexpr kr_result overflow = 0x8200004D;
constexpr kr_result zero = 0x8200004E;
constexpr kr_result not_found = 0x8200003B;

/// What stands where it was made.
struct pinned {
    pinned() = default;
    pinned(const pinned&) = delete;
    pinned& operator=(const pinned&) = delete;
};

/// UTF-16 as UTF-8; what is broken becomes U+FFFD.
inline std::string utf8(const kr_char* text) {
    const std::size_t length = std::char_traits<kr_char>::length(text);
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
