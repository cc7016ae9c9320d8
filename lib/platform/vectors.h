/// Whether the processor's baseline has 16-byte vectors, what code that uses them needs from the
/// compiler, and the small operations on them that all such code shares. Sources include this
/// instead of asking for architectures and compilers themselves.
#pragma once

#include <bit>
#include <cstdint>
#if defined(__SSE2__)
#include <emmintrin.h>
#define KR_VECTORS 1
#else
#define KR_VECTORS 0
#endif

#include "platform/types.h"

/// Marks a function that reads whole aligned vectors, and so bytes beside the object that it was
/// given, though never a page that the object does not reach. The sanitizers cannot know that.
#if defined(__GNUC__)
#define KR_READS_WHOLE_VECTORS                                                                     \
    __attribute__((no_sanitize("address"), no_sanitize("thread"), no_sanitize("undefined")))
#else
#define KR_READS_WHOLE_VECTORS
#endif

/// Builds with a sanitizer that watches reads prefer the plain loops, which it can check; a build
/// for Valgrind asks for them (KR_PLAIN_WALKS).
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define KR_READS_ARE_WATCHED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer) ||                         \
    __has_feature(memory_sanitizer)
#define KR_READS_ARE_WATCHED 1
#endif
#endif
#if !defined(KR_READS_ARE_WATCHED)
#define KR_READS_ARE_WATCHED 0
#endif

namespace kr::detail {

// Code that stands twice, in `plain` and in `vectors`, is called through `scan`: what the
// operations use here.
namespace plain {}
#if KR_VECTORS
namespace vectors {

inline constexpr size_t vector_bytes = sizeof(__m128i);
inline constexpr size_t vector_chars = vector_bytes / sizeof(kr_char);
/// A line of the processor's cache.
inline constexpr u64 block_bytes = 4 * vector_bytes;
/// The smallest page of the processor.
inline constexpr size_t page_bytes = 4096;

inline u64 misalignment(const void* ptr, u64 alignment) {
    return reinterpret_cast<std::uintptr_t>(ptr) & (alignment - 1);
}

inline u64 bytes_left_in_page(const void* ptr) {
    return page_bytes - misalignment(ptr, page_bytes);
}

/// Whether the bytes from `address` on, one vector by default, lie in one page: then they may be
/// read when the first of them may. The text's end is not known, so no other bound is at hand.
inline bool in_one_page(const void* address, size_t size_bytes = vector_bytes) {
    return size_bytes <= bytes_left_in_page(address);
}

inline __m128i load(const void* address) {
    return _mm_loadu_si128(static_cast<const __m128i*>(address));
}

/// The same of bytes that may reach beyond the text, though not beyond its pages.
KR_READS_WHOLE_VECTORS inline __m128i load_beyond(const void* address) {
    return _mm_loadu_si128(static_cast<const __m128i*>(address));
}

inline void store(void* address, __m128i value) {
    _mm_storeu_si128(static_cast<__m128i*>(address), value);
}

/// One bit for each byte of a comparison's outcome.
inline u32 bits_of(__m128i outcome) {
    return static_cast<u32>(_mm_movemask_epi8(outcome));
}

template <typename Char>
__m128i fill(Char character) {
    if constexpr (sizeof(Char) == 1) {
        return _mm_set1_epi8(character);
    } else {
        return _mm_set1_epi16(static_cast<short>(character));
    }
}

template <typename Char>
__m128i equal_lanes(__m128i chars, Char character) {
    if constexpr (sizeof(Char) == 1) {
        return _mm_cmpeq_epi8(chars, fill(character));
    } else {
        return _mm_cmpeq_epi16(chars, fill(character));
    }
}

template <typename Bits>
u64 lowest(Bits bits) {
    return static_cast<u64>(std::countr_zero(u64{bits})); // of 64 bits: one that is wide already
}

} // namespace vectors
#else
namespace vectors = plain;
#endif
#if KR_READS_ARE_WATCHED
namespace scan = plain;
#else
namespace scan = vectors;
#endif

} // namespace kr::detail
