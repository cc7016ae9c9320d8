/// The comparison of two 16-bit texts and the test of a block for zeros, twice: as plain loops and
/// on 16-byte vectors. Private to the library's base and to the tests, which hold one against the
/// other.
#pragma once

#include <algorithm>
#include <cstring>

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

inline bool is_zero(const void* buf, size_t size) {
    const auto* bytes = static_cast<const u8*>(buf);
    for (; size >= sizeof(u64); size -= sizeof(u64), bytes += sizeof(u64)) {
        u64 word = 0;
        std::memcpy(&word, bytes, sizeof word);
        if (word != 0) {
            return false;
        }
    }
    return std::all_of(bytes, bytes + size, [](u8 value) { return value == 0; });
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

/// Reads nothing outside the block.
inline bool is_zero(const void* buf, size_t size) {
    if (size < block_bytes) {
        return plain::is_zero(buf, size);
    }
    const auto block_is_zero = [](const u8* block) {
        const __m128i low = _mm_or_si128(load(block), load(block + vector_bytes));
        const __m128i high =
            _mm_or_si128(load(block + 2 * vector_bytes), load(block + 3 * vector_bytes));
        const __m128i zeros = _mm_cmpeq_epi8(_mm_or_si128(low, high), _mm_setzero_si128());
        return _mm_movemask_epi8(zeros) == 0xFFFF;
    };
    const auto* bytes = static_cast<const u8*>(buf);
    // The last block may overlap the one before it.
    const u8* const last = bytes + (size - block_bytes);
    for (; bytes < last; bytes += block_bytes) {
        if (!block_is_zero(bytes)) {
            return false;
        }
    }
    return block_is_zero(last);
}

} // namespace vectors
#endif

} // namespace kr::detail
