/// How a byte of narrow text becomes one unit of wide text: the one place that says so. For the
/// library's own sources; touches the two blocks that it is given.
#pragma once

#include <emmintrin.h>

#include <cstddef>

#include "platform/types.h"

namespace kr::detail {

/// Widens as a signed char: ASCII keeps its value, 0x80 to 0xFF become 0xFF80 to 0xFFFF.
constexpr kr_char widen(char byte) {
    return static_cast<kr_char>(static_cast<i16>(static_cast<signed char>(byte)));
}

inline __m128i widen_low_half(__m128i bytes) {
    return _mm_unpacklo_epi8(bytes, _mm_cmpgt_epi8(_mm_setzero_si128(), bytes));
}

inline __m128i widen_high_half(__m128i bytes) {
    return _mm_unpackhi_epi8(bytes, _mm_cmpgt_epi8(_mm_setzero_si128(), bytes));
}

inline void widen_8(const char* src, kr_char* dst) {
    const __m128i bytes = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(src));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(dst), widen_low_half(bytes));
}

inline void widen_16(const char* src, kr_char* dst) {
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(dst), widen_low_half(bytes));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + 8), widen_high_half(bytes));
}

/// Widens `count` bytes; no terminator is looked for or written, nothing beyond is read or written.
/// The blocks do not overlap. The last block of a longer text overlaps the one before it, which is
/// cheaper than a loop over the rest.
inline void widen(const char* src, size_t count, kr_char* dst) {
    if (count >= 16) {
        const size_t last = count - 16;
        for (size_t i = 0; i < last; i += 16) {
            widen_16(src + i, dst + i);
        }
        widen_16(src + last, dst + last);
    } else if (count >= 8) {
        widen_8(src, dst);
        widen_8(src + count - 8, dst + count - 8);
    } else {
        for (size_t i = 0; i < count; ++i) {
            dst[i] = widen(src[i]);
        }
    }
}

} // namespace kr::detail
