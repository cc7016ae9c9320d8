/// The copies between narrow and wide text, one character at a time and with vector loads.
#include "base/widen.h"

#include <bit>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace kr::detail {

void widen_text_portable(const char* src, kr_char* dst) {
    do {
        *dst++ = widen(*src);
    } while (*src++ != '\0');
}

size_t narrow_ascii_portable(const kr_char* src, char* dst, size_t room) {
    size_t count = 0;
    // One unsigned test finds the terminator and what is not ASCII: 1 to 127 go through.
    while (count < room && static_cast<u32>(src[count]) - 1 < 127) {
        dst[count] = static_cast<char>(src[count]);
        ++count;
    }
    return count;
}

#if defined(__SSE2__)

namespace {

constexpr std::uintptr_t page_bytes = 4096;
constexpr size_t vector_bytes = sizeof(__m128i);

/// Whether the 16 bytes from `address` on lie in one page: then they may be read when the first of
/// them may. The text's end is not known, so no other bound is at hand.
bool in_one_page(const void* address) {
    return std::bit_cast<std::uintptr_t>(address) % page_bytes <= page_bytes - vector_bytes;
}

/// The read past the text is harmless and on purpose; the sanitizers cannot know that.
[[gnu::no_sanitize_address, gnu::no_sanitize_thread]] __m128i load(const void* address) {
    return _mm_loadu_si128(static_cast<const __m128i*>(address));
}

void store(void* address, __m128i value) {
    _mm_storeu_si128(static_cast<__m128i*>(address), value);
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
        const auto ends = static_cast<u32>(_mm_movemask_epi8(_mm_cmpeq_epi8(bytes, zero)));
        const __m128i signs = _mm_cmpgt_epi8(zero, bytes);
        if (ends != 0) {
            const u32 length = static_cast<u32>(std::countr_zero(ends));
            u32 done = 0;
            if (length >= 8) {
                store(dst, _mm_unpacklo_epi8(bytes, signs));
                done = 8;
            }
            widen_text_portable(src + done, dst + done);
            return;
        }
        store(dst, _mm_unpacklo_epi8(bytes, signs));
        store(dst + 8, _mm_unpackhi_epi8(bytes, signs));
        src += vector_bytes;
        dst += vector_bytes;
    }
}

size_t narrow_ascii(const kr_char* src, char* dst, size_t room) {
    constexpr size_t vector_chars = vector_bytes / sizeof(kr_char);
    const __m128i zero = _mm_setzero_si128();
    const __m128i beyond_ascii = _mm_set1_epi16(static_cast<i16>(0xFF80));
    size_t count = 0;
    while (room - count >= vector_chars) {
        if (!in_one_page(src + count)) {
            if (narrow_ascii_portable(src + count, dst + count, 1) == 0) {
                return count;
            }
            ++count;
            continue;
        }
        const __m128i units = load(src + count);
        const __m128i ascii = _mm_cmpeq_epi16(_mm_and_si128(units, beyond_ascii), zero);
        const __m128i end = _mm_cmpeq_epi16(units, zero);
        if (_mm_movemask_epi8(_mm_andnot_si128(end, ascii)) != 0xFFFF) {
            break;
        }
        _mm_storel_epi64(reinterpret_cast<__m128i*>(dst + count), _mm_packus_epi16(units, units));
        count += vector_chars;
    }
    return count + narrow_ascii_portable(src + count, dst + count, room - count);
}

#else

void widen_text(const char* src, kr_char* dst) {
    widen_text_portable(src, dst);
}

size_t narrow_ascii(const kr_char* src, char* dst, size_t room) {
    return narrow_ascii_portable(src, dst, room);
}

#endif

} // namespace kr::detail
