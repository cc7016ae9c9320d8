/// How narrow text becomes wide text and ASCII wide text becomes narrow: the one place that says
/// so. For the library's own sources. Any thread.
///
/// What is in `plain` takes one character at a time, what is in `vectors` does the same with
/// 16-byte vectors; the tests hold one against the other. Texts are NUL-terminated and do not
/// overlap.
#pragma once

#include <cstddef>
#include <cstring>

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
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(dst), widen_low(bytes));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + 8), widen_high(bytes));
}

inline void widen_8(const char* src, kr_char* dst) {
    const __m128i bytes = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(src));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(dst), widen_low(bytes));
}

inline void widen_4(const char* src, kr_char* dst) {
    int bytes = 0;
    std::memcpy(&bytes, src, sizeof bytes);
    _mm_storel_epi64(reinterpret_cast<__m128i*>(dst), widen_low(_mm_cvtsi32_si128(bytes)));
}
#endif

/// Widens `count` bytes; no terminator is looked for or written, and nothing beside the two blocks
/// is read or written. The blocks do not overlap.
inline void widen(const char* src, size_t count, kr_char* dst) {
#if KR_VECTORS
    // The last vector overlaps the one before it: cheaper than a loop over the rest.
    if (count >= 16) {
        const size_t last = count - 16;
        for (size_t i = 0; i < last; i += 16) {
            widen_16(src + i, dst + i);
        }
        widen_16(src + last, dst + last);
        return;
    }
    if (count >= 8) {
        widen_8(src, dst);
        widen_8(src + count - 8, dst + count - 8);
        return;
    }
    if (count >= 4) {
        widen_4(src, dst);
        widen_4(src + count - 4, dst + count - 4);
        return;
    }
#endif
    for (size_t i = 0; i < count; ++i) {
        dst[i] = widen(src[i]);
    }
}

namespace plain {

/// Widens `src` with its terminator.
void widen_text(const char* src, kr_char* dst);

/// Copies the characters of `src` to `dst` up to the first that is the terminator, `stop` or not
/// ASCII, at most `room` of them, and returns their number. Writes no terminator, and nothing of
/// `dst` behind the characters copied. With a `room` of 0 `src` is not read.
size_t narrow_ascii(const kr_char* src, char* dst, size_t room, char stop = '\0');

} // namespace plain

#if KR_VECTORS
namespace vectors {

void widen_text(const char* src, kr_char* dst);
size_t narrow_ascii(const kr_char* src, char* dst, size_t room, char stop = '\0');

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
