/// The walks over 16-bit text that the wide-string operations stand on, and the test of a block for
/// zeros, twice: as plain loops and on 16-byte vectors. Private to this directory and to the tests,
/// which hold one against the other. Inline, because most texts are short and a call would cost as
/// much as the walk.
///
/// Common to both: strings are NUL-terminated and aligned as kr_char is; a position is returned as
/// a number of characters.
#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>

#include "base/text/vector_text.h"
#include "platform/types.h"
#include "platform/vectors.h"

namespace kr::detail {

namespace plain {

inline u64 length(const kr_char* s) {
    u64 at = 0;
    while (s[at] != 0) {
        ++at;
    }
    return at;
}

/// The length, or `limit` when there is no terminator among the first `limit` characters. Reads no
/// more than these.
inline u64 length_within(const kr_char* s, u64 limit) {
    u64 at = 0;
    while (at < limit && s[at] != 0) {
        ++at;
    }
    return at;
}

/// The position of the first `c` or of the terminator, whichever comes first.
inline u64 find_or_end(const kr_char* s, kr_char c) {
    u64 at = 0;
    while (s[at] != 0 && s[at] != c) {
        ++at;
    }
    return at;
}

/// The position of the first difference or of the common end, or `limit` when the first `limit`
/// characters are equal.
inline u64 mismatch(const kr_char* a, const kr_char* b, u64 limit) {
    u64 at = 0;
    while (at < limit && a[at] == b[at] && a[at] != 0) {
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
/// A vector or a block of vectors that begins at a character of the text and lies within one page
/// may be read whole, as its page is there. So blocks are read unaligned where the page has room
/// for them, and aligned where it has not or where the walk is long.
namespace vectors {

/// Two vectors: their outcomes fit in one vector, a byte for each character.
inline constexpr u64 pair_chars = 2 * vector_chars;
inline constexpr u64 pair_bytes = 2 * vector_bytes;
inline constexpr u64 block_chars = 2 * pair_chars;
inline constexpr u64 block_bytes = 2 * pair_bytes;
inline constexpr u64 unlimited = UINT64_MAX;

inline u64 misalignment(const void* ptr, u64 alignment) {
    return reinterpret_cast<std::uintptr_t>(ptr) & (alignment - 1);
}

inline u64 bytes_left_in_page(const void* ptr) {
    return page_bytes - misalignment(ptr, page_bytes);
}

KR_READS_WHOLE_VECTORS inline __m128i load(const kr_char* at, u64 vector) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(at) + vector);
}

/// One bit per character of two outcomes.
inline u32 bits_of(__m128i first, __m128i second) {
    return static_cast<u32>(_mm_movemask_epi8(_mm_packs_epi16(first, second)));
}

template <typename Bits>
u64 lowest(Bits bits) {
    return static_cast<u64>(std::countr_zero(u64{bits})); // of 64 bits: one that is wide already
}

/// The hits among the characters from `at` on, one bit each.
template <typename Hit>
u32 hits_in_pair(const kr_char* at, Hit hit) {
    return bits_of(hit(load(at, 0)), hit(load(at, 1)));
}

/// first_hit from the aligned block on that holds `s`; the first `known` characters of the text
/// have no hit. Bits of characters before the text are shifted out.
template <typename Hit>
[[gnu::noinline]] u64 first_hit_beyond(const kr_char* s, u64 known, u64 limit, Hit hit) {
    const u64 before = misalignment(s, block_bytes) / sizeof(kr_char);
    u64 seen = block_chars - before;
    if (known == 0) {
        const kr_char* const block = s - before;
        const u64 bits = hits_in_pair(block, hit) | u64{hits_in_pair(block + pair_chars, hit)}
                                                        << pair_chars;
        if (bits >> before != 0) {
            return std::min(lowest(bits >> before), limit);
        }
    }
    for (; seen < limit; seen += block_chars) {
        const kr_char* const block = s + seen;
        const __m128i hits[] = {hit(load(block, 0)), hit(load(block, 1)), hit(load(block, 2)),
                                hit(load(block, 3))};
        const __m128i any =
            _mm_or_si128(_mm_or_si128(hits[0], hits[1]), _mm_or_si128(hits[2], hits[3]));
        if (_mm_movemask_epi8(any) != 0) {
            const u32 bits = bits_of(hits[0], hits[1]) | bits_of(hits[2], hits[3]) << pair_chars;
            return std::min(seen + lowest(bits), limit);
        }
    }
    return limit;
}

/// The position of the first character for which `hit` gives a set lane, at most `limit`, which is
/// not 0. Most texts end in what is inline.
template <typename Hit>
[[gnu::always_inline]] inline u64 first_hit(const kr_char* s, u64 limit, Hit hit) {
    if (!in_one_page(s, block_bytes)) [[unlikely]] {
        return first_hit_beyond(s, 0, limit, hit);
    }
    if (const u32 bits = hits_in_pair(s, hit); bits != 0) {
        return std::min(lowest(bits), limit);
    }
    if (limit <= pair_chars) {
        return limit;
    }
    if (const u32 bits = hits_in_pair(s + pair_chars, hit); bits != 0) {
        return std::min(pair_chars + lowest(bits), limit);
    }
    return first_hit_beyond(s, block_chars, limit, hit);
}

struct is_terminator {
    __m128i operator()(__m128i chars) const { return _mm_cmpeq_epi16(chars, _mm_setzero_si128()); }
};

inline u64 length(const kr_char* s) {
    return first_hit(s, unlimited, is_terminator{});
}

inline u64 length_within(const kr_char* s, u64 limit) {
    return limit == 0 ? 0 : first_hit(s, limit, is_terminator{});
}

inline u64 find_or_end(const kr_char* s, kr_char c) {
    const __m128i wanted = _mm_set1_epi16(static_cast<short>(c));
    return first_hit(s, unlimited, [wanted](__m128i chars) {
        return _mm_or_si128(_mm_cmpeq_epi16(chars, wanted), is_terminator{}(chars));
    });
}

/// Lanes where the texts differ or end.
inline __m128i stops(const kr_char* a, const kr_char* b, u64 vector) {
    const __m128i x = load(a, vector);
    return is_terminator{}(_mm_and_si128(x, _mm_cmpeq_epi16(x, load(b, vector))));
}

/// The texts are aligned differently, so pairs are read unaligned: as many as fit in the pages that
/// both texts have reached, then single characters until one has crossed into its next page.
inline u64 mismatch(const kr_char* a, const kr_char* b, u64 limit) {
    u64 at = 0;
    while (at < limit) {
        const u64 room = std::min(bytes_left_in_page(a + at), bytes_left_in_page(b + at));
        for (u64 left = room / pair_bytes; left != 0; --left) {
            const u32 bits = bits_of(stops(a + at, b + at, 0), stops(a + at, b + at, 1));
            if (bits != 0) {
                return std::min(at + lowest(bits), limit);
            }
            at += pair_chars;
            if (at >= limit) {
                return limit;
            }
        }
        const u64 step = std::min(room % pair_bytes / sizeof(kr_char) + 1, limit - at);
        const u64 equal = plain::mismatch(a + at, b + at, step);
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
        const auto* at = reinterpret_cast<const __m128i*>(block);
        const __m128i low = _mm_or_si128(_mm_loadu_si128(at), _mm_loadu_si128(at + 1));
        const __m128i high = _mm_or_si128(_mm_loadu_si128(at + 2), _mm_loadu_si128(at + 3));
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
#else
namespace vectors = plain;
#endif

/// What the operations use.
#if KR_READS_ARE_WATCHED
namespace scan = plain;
#else
namespace scan = vectors;
#endif

} // namespace kr::detail
