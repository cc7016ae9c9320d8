/// Lengths and copies of short texts for hot paths: most texts of a line are shorter than a vector,
/// and a call costs more than the walk. For the library's own sources; touches the language only.
#pragma once

#include <bit>
#include <cstring>

#include "base/text/vector_text.h"
#include "base/text/wide_string.h"
#include "base/text/widen.h"
#include "platform/types.h"
#include "platform/vectors.h"

namespace kr::detail {

#if KR_VECTORS && !KR_READS_ARE_WATCHED

inline size_t text_length(const char* text) {
    size_t length = 0;
    for (; vectors::in_one_page(text + length); length += vectors::vector_bytes) {
        const u32 ends =
            vectors::bits_of(_mm_cmpeq_epi8(vectors::load(text + length), _mm_setzero_si128()));
        if (ends != 0) {
            return length + static_cast<size_t>(std::countr_zero(ends));
        }
    }
    return length + std::strlen(text + length);
}

inline size_t text_length(const kr_char* text) {
    size_t length = 0;
    for (; vectors::in_one_page(text + length); length += vectors::vector_chars) {
        const u32 ends =
            vectors::bits_of(_mm_cmpeq_epi16(vectors::load(text + length), _mm_setzero_si128()));
        if (ends != 0) {
            return length + static_cast<size_t>(std::countr_zero(ends)) / sizeof(kr_char);
        }
    }
    return length + kr_string_length(text + length);
}

#else

inline size_t text_length(const char* text) {
    return std::strlen(text);
}

inline size_t text_length(const kr_char* text) {
    return kr_string_length(text);
}

#endif

/// Copies `count` characters and no terminator; the blocks do not overlap.
inline void copy_text(const char* src, size_t count, kr_char* dst) {
    widen(src, count, dst);
}

} // namespace kr::detail
