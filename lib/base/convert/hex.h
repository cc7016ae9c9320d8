/// Bytes as upper-case hexadecimal digits, high nibble first. For the library's own sources;
/// touches the language only.
#pragma once

#include "base/text/vector_text.h"
#include "platform/types.h"
#include "platform/vectors.h"

namespace kr::detail {

inline constexpr char upper_hex_digits[] = "0123456789ABCDEF";
inline constexpr char lower_hex_digits[] = "0123456789abcdef";

/// Writes the two digits of `byte`; returns their end.
template <typename Char>
constexpr Char* write_hex_byte(u8 byte, Char* out, const char* digits = upper_hex_digits) {
    out[0] = static_cast<Char>(digits[byte >> 4]);
    out[1] = static_cast<Char>(digits[byte & 0x0F]);
    return out + 2;
}

/// Writes the 32 digits of 16 bytes, no terminator.
template <typename Char>
inline void write_hex_16(const u8* bytes, Char* out) {
#if KR_VECTORS
    const __m128i value = vectors::load(bytes);
    const __m128i low_nibbles = _mm_set1_epi8(0x0F);
    const __m128i high = _mm_and_si128(_mm_srli_epi16(value, 4), low_nibbles);
    const __m128i low = _mm_and_si128(value, low_nibbles);
    for (const __m128i nibbles : {_mm_unpacklo_epi8(high, low), _mm_unpackhi_epi8(high, low)}) {
        const __m128i letters =
            _mm_and_si128(_mm_cmpgt_epi8(nibbles, _mm_set1_epi8(9)), _mm_set1_epi8('A' - '9' - 1));
        const __m128i digits = _mm_add_epi8(_mm_add_epi8(nibbles, _mm_set1_epi8('0')), letters);
        if constexpr (sizeof(Char) == 1) {
            vectors::store(out, digits);
        } else {
            vectors::store(out, _mm_unpacklo_epi8(digits, _mm_setzero_si128()));
            vectors::store(out + 8, _mm_unpackhi_epi8(digits, _mm_setzero_si128()));
        }
        out += 16;
    }
#else
    for (u32 i = 0; i < 16; ++i) {
        out = write_hex_byte(bytes[i], out);
    }
#endif
}

} // namespace kr::detail
