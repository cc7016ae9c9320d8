/// How a byte of narrow text becomes one unit of wide text: the one place that says so. For the
/// library's own sources; touches the language only.
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

} // namespace kr::detail
