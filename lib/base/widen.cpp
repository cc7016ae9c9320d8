/// The copies between narrow and wide text, one character at a time and on 16-byte vectors.
#include "base/widen.h"

#include <bit>

namespace kr::detail {

namespace plain {

void widen_text(const char* src, kr_char* dst) {
    do {
        *dst++ = widen(*src);
    } while (*src++ != '\0');
}

size_t narrow_ascii(const kr_char* src, char* dst, size_t room) {
    size_t count = 0;
    // One unsigned test finds the terminator and what is not ASCII: 1 to 127 go through.
    while (count < room && static_cast<u32>(src[count]) - 1 < 127) {
        dst[count] = static_cast<char>(src[count]);
        ++count;
    }
    return count;
}

} // namespace plain

#if KR_VECTORS
namespace vectors {

namespace {

/// The smallest page of the processor.
constexpr std::uintptr_t page_bytes = 4096;
constexpr size_t vector_bytes = sizeof(__m128i);
constexpr size_t vector_chars = vector_bytes / sizeof(kr_char);
constexpr u32 all_bytes = 0xFFFF;

/// Whether the vector at `address` lies in one page: then it may be read when its first byte may.
/// The text's end is not known, so no other bound is at hand.
bool in_one_page(const void* address) {
    return std::bit_cast<std::uintptr_t>(address) % page_bytes <= page_bytes - vector_bytes;
}

KR_READS_WHOLE_VECTORS __m128i load(const void* address) {
    return _mm_loadu_si128(static_cast<const __m128i*>(address));
}

void store(void* address, __m128i value) {
    _mm_storeu_si128(static_cast<__m128i*>(address), value);
}

/// One bit per byte of a comparison's outcome.
u32 bits_of(__m128i outcome) {
    return static_cast<u32>(_mm_movemask_epi8(outcome));
}

} // namespace

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

size_t narrow_ascii(const kr_char* src, char* dst, size_t room) {
    const __m128i zero = _mm_setzero_si128();
    const __m128i beyond_ascii = _mm_set1_epi16(static_cast<i16>(0xFF80));
    size_t count = 0;
    while (room - count >= vector_chars) {
        if (!in_one_page(src + count)) {
            if (plain::narrow_ascii(src + count, dst + count, 1) == 0) {
                return count;
            }
            ++count;
            continue;
        }
        const __m128i units = load(src + count);
        const __m128i ascii = _mm_cmpeq_epi16(_mm_and_si128(units, beyond_ascii), zero);
        const __m128i end = _mm_cmpeq_epi16(units, zero);
        if (bits_of(_mm_andnot_si128(end, ascii)) != all_bytes) {
            break;
        }
        _mm_storel_epi64(reinterpret_cast<__m128i*>(dst + count), _mm_packus_epi16(units, units));
        count += vector_chars;
    }
    return count + plain::narrow_ascii(src + count, dst + count, room - count);
}

} // namespace vectors
#endif

} // namespace kr::detail
