/// The walk over text to the first character that matches, twice: one character at a time and on
/// 16-byte vectors. For the library's own sources and for the tests, which hold one against the
/// other; touches the language only. Inline, because most texts are short and a call would cost as
/// much as the walk.
///
/// Common to both: a text is aligned as its characters are, and either its terminator matches or
/// the limit lies within it; a position is a number of characters.
#pragma once

#include <algorithm>
#include <cstdint>

#include "platform/types.h"
#include "platform/vectors.h"

namespace kr::detail {

inline constexpr u64 no_limit = UINT64_MAX;

// What a walk looks for: of one character, and of each lane of a vector.

template <typename Char>
struct is_either {
    Char first, second;

    constexpr bool operator()(Char character) const {
        return character == first || character == second;
    }
#if KR_VECTORS
    __m128i operator()(__m128i chars) const {
        return _mm_or_si128(vectors::equal_lanes(chars, first),
                            vectors::equal_lanes(chars, second));
    }
#endif
};

template <typename Char>
struct is_terminator {
    constexpr bool operator()(Char character) const { return character == Char{}; }
#if KR_VECTORS
    __m128i operator()(__m128i chars) const {
        return vectors::equal_lanes(chars, Char{});
    }
#endif
};

/// The terminator, or a unit beyond ASCII.
struct ends_ascii {
    constexpr bool operator()(kr_char unit) const { return static_cast<u32>(unit) - 1 >= 127; }
#if KR_VECTORS
    __m128i operator()(__m128i units) const {
        // Moved so that 1 is the smallest of the signed numbers.
        const __m128i moved = _mm_sub_epi16(units, _mm_set1_epi16(INT16_MIN + 1));
        return _mm_cmpgt_epi16(moved, _mm_set1_epi16(INT16_MIN + 126));
    }
#endif
};

namespace plain {

/// The position of the first character of `text` that matches, or `limit` when none of the first
/// `limit` does. Reads no more than these.
template <typename Char, typename Match>
constexpr u64 first_match(const Char* text, Match match, u64 limit) {
    u64 at = 0;
    while (at < limit && !match(text[at])) {
        ++at;
    }
    return at;
}

} // namespace plain

#if KR_VECTORS
/// A vector or a block of vectors that begins at a character of the text and lies within one page
/// may be read whole, as its page is there. So chunks are read unaligned where the page has room
/// for them, and blocks aligned where it has not or where the walk is long.
namespace vectors {

/// As many characters as one vector has bytes: a bit for each fits in its outcome.
inline constexpr u64 chunk_chars = vector_bytes;
template <typename Char>
inline constexpr u64 block_chars = block_bytes / sizeof(Char);

/// One bit for each character of a chunk's outcomes.
template <typename Char>
u32 bits_of(const __m128i* outcomes) {
    return bits_of(sizeof(Char) == 1 ? outcomes[0] : _mm_packs_epi16(outcomes[0], outcomes[1]));
}

template <typename Char, typename Match>
[[gnu::always_inline]] inline u32 matches_in_chunk(const Char* at, Match match) {
    if constexpr (sizeof(Char) == 1) {
        const __m128i outcome = match(load_beyond(at));
        return bits_of<Char>(&outcome);
    } else {
        const __m128i outcomes[] = {match(load_beyond(at)), match(load_beyond(at + vector_chars))};
        return bits_of<Char>(outcomes);
    }
}

template <typename Char>
u64 bits_of_block(const __m128i* outcomes) {
    u64 bits = bits_of<Char>(outcomes);
    for (u64 chunk = 1; chunk < block_chars<Char> / chunk_chars; ++chunk) {
        bits |= u64{bits_of<Char>(outcomes + chunk * sizeof(Char))} << chunk * chunk_chars;
    }
    return bits;
}

/// first_match from the aligned block on that holds `text`; the first `known` characters do not
/// match. Bits of characters before the text are shifted out. Static: an object without
/// optimisation must not bring its copy into the library's place.
template <typename Char, typename Match>
[[gnu::noinline]] static u64 first_match_beyond(const Char* text, Match match, u64 limit,
                                                u64 known) {
    const u64 before = misalignment(text, block_bytes) / sizeof(Char);
    constexpr u64 step = vector_bytes / sizeof(Char);
    u64 seen = block_chars<Char> - before;
    if (known < seen) {
        const Char* const block = text - before;
        const __m128i outcomes[] = {match(load_beyond(block)), match(load_beyond(block + step)),
                                    match(load_beyond(block + 2 * step)),
                                    match(load_beyond(block + 3 * step))};
        if (const u64 bits = bits_of_block<Char>(outcomes) >> before; bits != 0) {
            return std::min(lowest(bits), limit);
        }
    }
    for (; seen < limit; seen += block_chars<Char>) {
        const Char* const block = text + seen;
        const __m128i outcomes[] = {match(load_beyond(block)), match(load_beyond(block + step)),
                                    match(load_beyond(block + 2 * step)),
                                    match(load_beyond(block + 3 * step))};
        const __m128i any = _mm_or_si128(_mm_or_si128(outcomes[0], outcomes[1]),
                                         _mm_or_si128(outcomes[2], outcomes[3]));
        if (_mm_movemask_epi8(any) != 0) {
            return std::min(seen + lowest(bits_of_block<Char>(outcomes)), limit);
        }
    }
    return limit;
}

/// As plain::first_match; the first character is read whatever the limit. Most walks end in what is
/// inline.
template <typename Char, typename Match>
[[gnu::always_inline]] inline u64 first_match(const Char* text, Match match, u64 limit) {
    constexpr u64 near_chars = 2 * chunk_chars;
    if (!in_one_page(text, near_chars * sizeof(Char))) [[unlikely]] {
        return first_match_beyond(text, match, limit, 0);
    }
    if (const u32 bits = matches_in_chunk(text, match); bits != 0) {
        return std::min(lowest(bits), limit);
    }
    if (limit <= chunk_chars) {
        return limit;
    }
    if (const u32 bits = matches_in_chunk(text + chunk_chars, match); bits != 0) {
        return std::min(chunk_chars + lowest(bits), limit);
    }
    return first_match_beyond(text, match, limit, near_chars);
}

} // namespace vectors
#endif

/// Characters before the terminator.
template <typename Char>
[[gnu::always_inline]] inline u64 text_length(const Char* text) {
    return scan::first_match(text, is_terminator<Char>{}, no_limit);
}

/// The same, or `limit` when there is no terminator among the first `limit` characters.
template <typename Char>
inline u64 text_length_within(const Char* text, u64 limit) {
    return limit == 0 ? 0 : scan::first_match(text, is_terminator<Char>{}, limit);
}

} // namespace kr::detail
