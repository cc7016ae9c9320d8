/// Bytes as upper-case hexadecimal digits, high nibble first. For the library's own sources;
/// touches the language only.
#pragma once

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

#if KR_VECTORS
/// The nibbles of 16 bytes, those of the first 8 and those of the last 8.
struct nibble_halves {
    __m128i first;
    __m128i last;
};

inline nibble_halves nibbles_of(__m128i bytes) {
    const __m128i low_nibbles = _mm_set1_epi8(0x0F);
    const __m128i high = _mm_and_si128(_mm_srli_epi16(bytes, 4), low_nibbles);
    const __m128i low = _mm_and_si128(bytes, low_nibbles);
    return {_mm_unpacklo_epi8(high, low), _mm_unpackhi_epi8(high, low)};
}

/// Nibbles as digits; `ten` is the digit for 10.
inline __m128i hex_digits_of(__m128i nibbles, char ten) {
    const __m128i letters = _mm_and_si128(_mm_cmpgt_epi8(nibbles, _mm_set1_epi8(9)),
                                          _mm_set1_epi8(static_cast<char>(ten - '9' - 1)));
    return _mm_add_epi8(_mm_add_epi8(nibbles, _mm_set1_epi8('0')), letters);
}
#endif

/// Writes the 32 digits of 16 bytes, no terminator.
template <typename Char>
inline void write_hex_16(const u8* bytes, Char* out) {
#if KR_VECTORS
    const nibble_halves nibbles = nibbles_of(vectors::load(bytes));
    for (const __m128i half : {nibbles.first, nibbles.last}) {
        const __m128i digits = hex_digits_of(half, 'A');
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

/// Writes the `Digits` lowest digits of `value`, 8 or 16 of them, leading zeroes too.
template <u32 Digits>
inline void write_hex_number(u64 value, kr_char* out, bool upper) {
    static_assert(Digits == 8 || Digits == 16);
#if KR_VECTORS
    // The most significant byte first.
    const u64 bytes = __builtin_bswap64(Digits == 8 ? value << 32u : value);
    const __m128i digits = hex_digits_of(
        nibbles_of(_mm_cvtsi64_si128(static_cast<i64>(bytes))).first, upper ? 'A' : 'a');
    vectors::store(out, _mm_unpacklo_epi8(digits, _mm_setzero_si128()));
    if constexpr (Digits == 16) {
        vectors::store(out + 8, _mm_unpackhi_epi8(digits, _mm_setzero_si128()));
    }
#else
    for (u32 shift = 4 * Digits; shift != 0; shift -= 8) {
        out = write_hex_byte(static_cast<u8>(value >> (shift - 8)), out,
                             upper ? upper_hex_digits : lower_hex_digits);
    }
#endif
}

} // namespace kr::detail
