/// The copies between narrow and wide text, one character at a time and on 16-byte vectors.
#include "base/text/widen.h"

#include <bit>

#include "base/text/vector_text.h"

namespace kr::detail {

namespace plain {

void widen_text(const char* src, kr_char* dst) {
    do {
        *dst++ = widen(*src);
    } while (*src++ != '\0');
}

size_t narrow_ascii(const kr_char* src, char* dst, size_t room, char stop) {
    size_t count = 0;
    // One unsigned test finds the terminator and what is not ASCII: 1 to 127 go through.
    while (count < room && static_cast<u32>(src[count]) - 1 < 127 && src[count] != widen(stop)) {
        dst[count] = static_cast<char>(src[count]);
        ++count;
    }
    return count;
}

} // namespace plain

#if KR_VECTORS
namespace vectors {

constexpr u32 all_bytes = 0xFFFF;

void widen_text(const char* src, kr_char* dst) {
    const __m128i zero = _mm_setzero_si128();
    for (;;) {
        if (!in_one_page(src)) {
            *dst++ = widen(*src);
            if (*src++ == '\0') {
                return;
            }
            continue;
        }
        const __m128i bytes = load(src);
        const __m128i signs = _mm_cmpgt_epi8(zero, bytes);
        const u32 ends = bits_of(_mm_cmpeq_epi8(bytes, zero));
        if (ends != 0) {
            size_t done = 0;
            if (static_cast<size_t>(std::countr_zero(ends)) >= vector_chars) {
                store(dst, _mm_unpacklo_epi8(bytes, signs));
                done = vector_chars;
            }
            plain::widen_text(src + done, dst + done);
            return;
        }
        store(dst, _mm_unpacklo_epi8(bytes, signs));
        store(dst + vector_chars, _mm_unpackhi_epi8(bytes, signs));
        src += vector_bytes;
        dst += vector_bytes;
    }
}

size_t narrow_ascii(const kr_char* src, char* dst, size_t room, char stop) {
    // Packing with saturation leaves 1 to 127 as they are and makes 0 or a negative byte of all
    // else, the terminator included.
    const __m128i zero = _mm_setzero_si128();
    const __m128i stops = _mm_set1_epi8(stop);
    size_t count = 0;
    while (room - count >= 2 * vector_chars) {
        if (!in_one_page(src + count, 2 * vector_bytes)) {
            if (plain::narrow_ascii(src + count, dst + count, 1, stop) == 0) {
                return count;
            }
            ++count;
            continue;
        }
        const __m128i packed =
            _mm_packus_epi16(load(src + count), load(src + count + vector_chars));
        const u32 others = all_bytes ^ bits_of(_mm_andnot_si128(_mm_cmpeq_epi8(packed, stops),
                                                                _mm_cmpgt_epi8(packed, zero)));
        if (others == 0) {
            store(dst + count, packed);
            count += 2 * vector_chars;
            continue;
        }
        if (static_cast<size_t>(std::countr_zero(others)) >= vector_chars) {
            _mm_storel_epi64(reinterpret_cast<__m128i*>(dst + count), packed);
            count += vector_chars;
        }
        break;
    }
    return count + plain::narrow_ascii(src + count, dst + count, room - count, stop);
}

} // namespace vectors
#endif

} // namespace kr::detail
