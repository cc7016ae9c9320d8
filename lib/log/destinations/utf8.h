/// Lines as UTF-8. For the destinations that store bytes; touches the caller's buffer only.
#pragma once

#include <cstddef>

#include "platform/types.h"

namespace kr::detail {

/// How a newline is stored.
enum class newline_form : u8 { lf, cr_lf };

/// Room that any `length` units of text need, in bytes; the encoder may write two more than the
/// longest text has.
constexpr size_t utf8_room(size_t length) {
    return 3 * length + 2;
}

/// The length of the longest piece at the start of `length` units of text that has up to `limit`
/// units and cuts no surrogate pair. `limit` is 2 or more.
constexpr size_t whole_piece(const kr_char* text, size_t length, size_t limit) {
    if (length <= limit) {
        return length;
    }
    const bool ends_within_pair = (text[limit - 1] & 0xFC00) == 0xD800;
    return ends_within_pair ? limit - 1 : limit;
}

/// Encodes `length` units of UTF-16 into `out`, which has utf8_room(length) bytes, and returns the
/// number of bytes written; no terminator. A surrogate without its other half becomes U+FFFD.
size_t encode_utf8(const kr_char* text, size_t length, newline_form newline, char* out);

} // namespace kr::detail
