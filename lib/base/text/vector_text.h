/// Reading text of unknown length by 16-byte vectors. For the library's own sources; touches the
/// language only.
#pragma once

#include <cstdint>

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
