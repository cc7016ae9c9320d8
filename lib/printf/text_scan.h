/// The walk over a format's literal characters, by vectors where there are any. For the engine's
/// own sources; touches the language only.
#pragma once

#include <bit>

#include "base/text/short_text.h"
#include "base/text/vector_text.h"
#include "base/text/widen.h"
#include "platform/types.h"
#include "platform/vectors.h"

namespace kr::detail {

#if KR_VECTORS && !KR_READS_ARE_WATCHED

/// Takes whole vectors of literal characters while there is room for them; moves both cursors. An
/// `out` of null only counts.
inline void take_literal_vectors(const char** format, kr_char* out, size_t* chars, size_t limit) {
    const __m128i percent = _mm_set1_epi8('%');
    while (limit - *chars >= vectors::vector_bytes && vectors::in_one_page(*format)) {
        const __m128i bytes = vectors::load(*format);
        const u32 ends = vectors::bits_of(_mm_or_si128(_mm_cmpeq_epi8(bytes, percent),
                                                       _mm_cmpeq_epi8(bytes, _mm_setzero_si128())));
        size_t taken = vectors::vector_bytes;
        if (ends != 0) {
            taken = static_cast<size_t>(std::countr_zero(ends));
        }
        if (out != nullptr) {
            if (ends == 0) {
                vectors::store(out + *chars, widen_low(bytes));
                vectors::store(out + *chars + vectors::vector_chars, widen_high(bytes));
            } else {
                widen(*format, taken, out + *chars);
            }
        }
        *format += taken;
        *chars += taken;
        if (ends != 0) {
            break;
        }
    }
}

#else

inline void take_literal_vectors(const char**, kr_char*, size_t*, size_t) {}

#endif

} // namespace kr::detail
