/// The first difference of two 16-bit texts, twice: by a plain loop and on 16-byte vectors. Private
/// to the library's base and to the tests, which hold one against the other.
#pragma once

#include <algorithm>

#include "base/text/text_walk.h"
#include "platform/types.h"
#include "platform/vectors.h"

namespace kr::detail {

// How the units of two texts are compared.

struct as_is {
    constexpr u32 operator()(kr_char unit) const { return unit; }
#if KR_VECTORS
    __m128i operator()(__m128i units) const {
        return units;
    }
#endif
};

/// The letters A to Z as a to z.
struct ascii_folded {
    constexpr u32 operator()(kr_char unit) const {
        return unit >= 'A' && unit <= 'Z' ? unit + 0x20u : unit;
    }
#if KR_VECTORS
    __m128i operator()(__m128i units) const {
        // Moved so that 'A' is the smallest of the signed numbers.
        const __m128i moved = _mm_sub_epi16(units, _mm_set1_epi16(INT16_MIN + 'A'));
        const __m128i capitals = _mm_cmplt_epi16(moved, _mm_set1_epi16(INT16_MIN + 26));
        return _mm_add_epi16(units, _mm_and_si128(capitals, _mm_set1_epi16(0x20)));
    }
#endif
};

namespace plain {

/// The position of the first difference or of the common end, or `limit` when the first `limit`
/// characters are equal. Reads no more than these.
template <typename Fold = as_is>
u64 mismatch(const kr_char* a, const kr_char* b, u64 limit, Fold fold = {}) {
    u64 at = 0;
    while (at < limit && fold(a[at]) == fold(b[at]) && a[at] != 0) {
        ++at;
    }
    return at;
}

} // namespace plain

#if KR_VECTORS
namespace vectors {

/// Lanes where the texts differ or end.
template <typename Fold>
__m128i stops(const kr_char* a, const kr_char* b, Fold fold) {
    const __m128i x = load_beyond(a);
    return is_terminator<kr_char>{}(
        _mm_and_si128(x, _mm_cmpeq_epi16(fold(x), fold(load_beyond(b)))));
}

/// The texts are aligned differently, so chunks are read unaligned: as many as fit in the pages
/// that both texts have reached, then single characters until one has crossed into its next page.
template <typename Fold = as_is>
u64 mismatch(const kr_char* a, const kr_char* b, u64 limit, Fold fold = {}) {
    constexpr u64 chunk_bytes = chunk_chars * sizeof(kr_char);
    u64 at = 0;
    while (at < limit) {
        const u64 room = std::min(bytes_left_in_page(a + at), bytes_left_in_page(b + at));
        for (u64 left = room / chunk_bytes; left != 0; --left) {
            const __m128i outcomes[] = {stops(a + at, b + at, fold),
                                        stops(a + at + vector_chars, b + at + vector_chars, fold)};
            if (const u32 bits = bits_of<kr_char>(outcomes); bits != 0) {
                return std::min(at + lowest(bits), limit);
            }
            at += chunk_chars;
            if (at >= limit) {
                return limit;
            }
        }
        const u64 step = std::min(room % chunk_bytes / sizeof(kr_char) + 1, limit - at);
        const u64 equal = plain::mismatch(a + at, b + at, step, fold);
        at += equal;
        if (equal != step) {
            return at;
        }
    }
    return limit;
}

} // namespace vectors
#endif

} // namespace kr::detail
