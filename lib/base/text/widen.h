/// How narrow text becomes wide text and ASCII wide text becomes narrow: the one place that says
/// so. For the library's own sources; touches the language only. Any thread.
///
/// Common to all: `count` characters are copied and no terminator; none is looked for, and nothing
/// beside the two blocks is read or written. The blocks do not overlap.
#pragma once

#include <cstring>

#include "base/text/copy_text.h"
#include "platform/types.h"
#include "platform/vectors.h"

namespace kr::detail {

/// Widens as a signed char: ASCII keeps its value, 0x80 to 0xFF become 0xFF80 to 0xFFFF.
constexpr kr_char widen(char byte) {
    return static_cast<kr_char>(static_cast<i16>(static_cast<signed char>(byte)));
}

#if KR_VECTORS
/// The 8 low or the 8 high bytes, widened.
inline __m128i widen_low(__m128i bytes) {
    return _mm_unpacklo_epi8(bytes, _mm_cmpgt_epi8(_mm_setzero_si128(), bytes));
}

inline __m128i widen_high(__m128i bytes) {
    return _mm_unpackhi_epi8(bytes, _mm_cmpgt_epi8(_mm_setzero_si128(), bytes));
}

inline void widen_16(const char* src, kr_char* dst) {
    const __m128i bytes = vectors::load(src);
    vectors::store(dst, widen_low(bytes));
    vectors::store(dst + 8, widen_high(bytes));
}

inline void widen_8(const char* src, kr_char* dst) {
    const __m128i bytes = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(src));
    vectors::store(dst, widen_low(bytes));
}

inline void widen_4(const char* src, kr_char* dst) {
    int bytes = 0;
    std::memcpy(&bytes, src, sizeof bytes);
    _mm_storel_epi64(reinterpret_cast<__m128i*>(dst), widen_low(_mm_cvtsi32_si128(bytes)));
}

/// Narrows 16 units, which are ASCII.
inline void narrow_16(const kr_char* src, char* dst) {
    vectors::store(dst, _mm_packus_epi16(vectors::load(src), vectors::load(src + 8)));
}

inline void narrow_8(const kr_char* src, char* dst) {
    const __m128i units = vectors::load(src);
    _mm_storel_epi64(reinterpret_cast<__m128i*>(dst), _mm_packus_epi16(units, units));
}
#endif

inline void widen(const char* src, size_t count, kr_char* dst) {
#if KR_VECTORS
    if (count >= 16) {
        return copy_by<16, widen_16>(src, count, dst);
    }
    if (count >= 8) {
        return copy_by<8, widen_8>(src, count, dst);
    }
    if (count >= 4) {
        return copy_by<4, widen_4>(src, count, dst);
    }
#endif
    for (size_t i = 0; i < count; ++i) {
        dst[i] = widen(src[i]);
    }
}

/// Narrows units that are ASCII.
inline void narrow(const kr_char* src, size_t count, char* dst) {
#if KR_VECTORS
    if (count >= 16) {
        return copy_by<16, narrow_16>(src, count, dst);
    }
    if (count >= 8) {
        return copy_by<8, narrow_8>(src, count, dst);
    }
#endif
    for (size_t i = 0; i < count; ++i) {
        dst[i] = static_cast<char>(src[i]);
    }
}

/// Copies to wide text whatever the source is.
inline void copy_text(const char* src, size_t count, kr_char* dst) {
    widen(src, count, dst);
}

} // namespace kr::detail
