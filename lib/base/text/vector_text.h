/// Reading text of unknown length by 16-byte vectors, and copying short text. For the library's own
/// sources; touches the language only.
#pragma once

#include <cstdint>
#include <cstring>

#include "platform/types.h"
#include "platform/vectors.h"

#if KR_VECTORS
namespace kr::detail::vectors {

inline constexpr size_t vector_bytes = sizeof(__m128i);
inline constexpr size_t vector_chars = vector_bytes / sizeof(kr_char);
/// The smallest page of the processor.
inline constexpr size_t page_bytes = 4096;

/// Whether the bytes from `address` on, one vector by default, lie in one page: then they may be
/// read when the first of them may. The text's end is not known, so no other bound is at hand.
inline bool in_one_page(const void* address, size_t size_bytes = vector_bytes) {
    return (reinterpret_cast<std::uintptr_t>(address) & (page_bytes - 1)) <=
           page_bytes - size_bytes;
}

KR_READS_WHOLE_VECTORS inline __m128i load(const void* address) {
    return _mm_loadu_si128(static_cast<const __m128i*>(address));
}

inline void store(void* address, __m128i value) {
    _mm_storeu_si128(static_cast<__m128i*>(address), value);
}

/// One bit for each byte of a comparison's outcome.
inline u32 bits_of(__m128i outcome) {
    return static_cast<u32>(_mm_movemask_epi8(outcome));
}

} // namespace kr::detail::vectors
#endif

namespace kr::detail {

/// Copies `count` characters and no terminator; the blocks do not overlap. Inline: most texts of a
/// line are shorter than what a call costs.
inline void copy_text(const kr_char* src, size_t count, kr_char* dst) {
    // The last piece overlaps the one before it: cheaper than a loop over the rest.
#if KR_VECTORS
    if (count >= vectors::vector_chars) {
        const size_t last = count - vectors::vector_chars;
        for (size_t i = 0; i < last; i += vectors::vector_chars) {
            vectors::store(dst + i, vectors::load(src + i));
        }
        vectors::store(dst + last, vectors::load(src + last));
        return;
    }
#endif
    constexpr size_t word_chars = sizeof(u64) / sizeof(kr_char);
    if (count >= word_chars) {
        const size_t last = count - word_chars;
        for (size_t i = 0; i < last; i += word_chars) {
            std::memcpy(dst + i, src + i, sizeof(u64));
        }
        std::memcpy(dst + last, src + last, sizeof(u64));
        return;
    }
    for (size_t i = 0; i < count; ++i) {
        dst[i] = src[i];
    }
}

} // namespace kr::detail
