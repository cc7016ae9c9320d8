/// How narrow text becomes wide text and ASCII wide text becomes narrow: the one place that says
/// so. For the library's own sources; touches the language only. Any thread.
///
/// The _portable functions take one character at a time. The others do the same with vector loads
/// where the processor has them; a load may reach past the end of the text, but never into a page
/// that the text does not reach.
#pragma once

#include <cstddef>

#include "platform/types.h"

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

/// Widens `src` with its terminator. The texts do not overlap.
void widen_text(const char* src, kr_char* dst);
void widen_text_portable(const char* src, kr_char* dst);

/// Copies the characters of `src` to `dst` up to the first that is the terminator or not ASCII, at
/// most `room` of them, and returns their number. Writes no terminator, and nothing of `dst` behind
/// the characters copied. With a `room` of 0 `src` is not read.
size_t narrow_ascii(const kr_char* src, char* dst, size_t room);
size_t narrow_ascii_portable(const kr_char* src, char* dst, size_t room);

} // namespace kr::detail
