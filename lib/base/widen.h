/// How narrow text becomes wide text and ASCII wide text becomes narrow: the one place that says
/// so. For the library's own sources. Any thread.
///
/// What is in `plain` takes one character at a time, what is in `vectors` does the same with
/// 16-byte vectors; the tests hold one against the other. Texts are NUL-terminated and do not
/// overlap.
#pragma once

#include <cstddef>

#include "platform/types.h"
#include "platform/vectors.h"

namespace kr::detail {

/// Widens as a signed char: ASCII keeps its value, 0x80 to 0xFF become 0xFF80 to 0xFFFF.
constexpr kr_char widen(char byte) {
    return static_cast<kr_char>(static_cast<i16>(static_cast<signed char>(byte)));
}

/// Widens `count` bytes; no terminator is looked for or written. The blocks do not overlap.
inline void widen(const char* src, size_t count, kr_char* dst) {
    for (size_t i = 0; i < count; ++i) {
        dst[i] = widen(src[i]);
    }
}

namespace plain {

/// Widens `src` with its terminator.
void widen_text(const char* src, kr_char* dst);

/// Copies the characters of `src` to `dst` up to the first that is the terminator or not ASCII, at
/// most `room` of them, and returns their number. Writes no terminator, and nothing of `dst` behind
/// the characters copied. With a `room` of 0 `src` is not read.
size_t narrow_ascii(const kr_char* src, char* dst, size_t room);

} // namespace plain

#if KR_VECTORS
namespace vectors {

void widen_text(const char* src, kr_char* dst);
size_t narrow_ascii(const kr_char* src, char* dst, size_t room);

} // namespace vectors
#endif

#if KR_VECTORS && !KR_READS_ARE_WATCHED
using vectors::narrow_ascii;
using vectors::widen_text;
#else
using plain::narrow_ascii;
using plain::widen_text;
#endif

} // namespace kr::detail
