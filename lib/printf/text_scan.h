/// Short walks over text that stand in the engine's hot path: most texts of a line are shorter than
/// a vector, and a call costs more than the walk. For the engine's own sources; touches the
/// language only.
#pragma once

#include <bit>
#include <cstring>

#include "base/wide_string.h"
#include "base/widen.h"
#include "platform/types.h"
#include "platform/vectors.h"

namespace kr::detail {

#if KR_VECTORS && !KR_READS_ARE_WATCHED

inline constexpr size_t vector_bytes = sizeof(__m128i);

/// Whether the 16 bytes from `address` on lie in one page. They may be read then, wherever the text
/// that begins there ends.
inline bool in_one_page(const void* address) {
    constexpr std::uintptr_t page_bytes = 4096; // the smallest page of the processor
    return (std::bit_cast<std::uintptr_t>(address) & (page_bytes - 1)) <= page_bytes - vector_bytes;
}

KR_READS_WHOLE_VECTORS inline __m128i load_vector(const void* address) {
    return _mm_loadu_si128(static_cast<const __m128i*>(address));
}

/// One bit for each byte of a comparison's outcome.
inline u32 lanes_of(__m128i outcome) {
    return static_cast<u32>(_mm_movemask_epi8(outcome));
}

inline size_t text_length(const char* text) {
    size_t length = 0;
    for (; in_one_page(text + length); length += vector_bytes) {
        const u32 ends = lanes_of(_mm_cmpeq_epi8(load_vector(text + length), _mm_setzero_si128()));
        if (ends != 0) {
            return length + static_cast<size_t>(std::countr_zero(ends));
        }
    }
    return length + std::strlen(text + length);
}

inline size_t text_length(const kr_char* text) {
    size_t length = 0;
    for (; in_one_page(text + length); length += vector_bytes / sizeof(kr_char)) {
        const u32 ends = lanes_of(_mm_cmpeq_epi16(load_vector(text + length), _mm_setzero_si128()));
        if (ends != 0) {
            return length + static_cast<size_t>(std::countr_zero(ends)) / sizeof(kr_char);
        }
    }
    return length + kr_string_length(text + length);
}

/// Takes whole vectors of literal characters while there is room for them; moves both cursors. An
/// `out` of null only counts.
inline void take_literal_vectors(const char** format, kr_char* out, size_t* chars, size_t limit) {
    const __m128i percent = _mm_set1_epi8('%');
    while (limit - *chars >= vector_bytes && in_one_page(*format)) {
        const __m128i bytes = load_vector(*format);
        const u32 ends = lanes_of(_mm_or_si128(_mm_cmpeq_epi8(bytes, percent),
                                               _mm_cmpeq_epi8(bytes, _mm_setzero_si128())));
        const size_t taken = ends == 0 ? vector_bytes : static_cast<size_t>(std::countr_zero(ends));
        if (out != nullptr) {
            widen(*format, taken, out + *chars);
        }
        *format += taken;
        *chars += taken;
        if (ends != 0) {
            break;
        }
    }
}

#else

inline size_t text_length(const char* text) {
    return std::strlen(text);
}

inline size_t text_length(const kr_char* text) {
    return kr_string_length(text);
}

inline void take_literal_vectors(const char**, kr_char*, size_t*, size_t) {}

#endif

} // namespace kr::detail
