/// Lines as UTF-8. For the destinations that store bytes; touches the caller's buffer only.
#pragma once

#include <cstddef>

#include "platform/types.h"

namespace kr::detail {

/// How a newline is stored.
enum class newline_form : u8 { lf, cr_lf };

/// Room that any `length` units of text need, in bytes.
constexpr size_t utf8_room(size_t length) {
    return 3 * length;
}

/// Encodes `length` units of UTF-16 into `out`, which has utf8_room(length) bytes, and returns the
/// number of bytes written; no terminator. A surrogate without its other half becomes U+FFFD.
size_t encode_utf8(const kr_char* text, size_t length, newline_form newline, char* out);

} // namespace kr::detail
