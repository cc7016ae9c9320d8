/// The walks over 16-bit text on 16-byte vectors, and the tests of a block for zeros.
#include "base/wide_scan.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>

namespace kr::detail {

namespace plain {

bool is_zero(const void* buf, size_t size) {
    const auto* bytes = static_cast<const u8*>(buf);
    for (; size >= sizeof(u64); size -= sizeof(u64), bytes += sizeof(u64)) {
        u64 word = 0;
        std::memcpy(&word, bytes, sizeof word);
        if (word != 0) {
            return false;
        }
    }
    return std::all_of(bytes, bytes + size, [](u8 byte) { return byte == 0; });
}

} // namespace plain

#if KR_VECTORS
namespace vectors {

namespace {

constexpr u64 vector_bytes = sizeof(__m128i);
constexpr u64 vector_chars = vector_bytes / sizeof(kr_char);
/// Four vectors are looked at together; an aligned stride lies within one page as a vector does.
constexpr u64 stride_vectors = 4;
constexpr u64 stride_bytes = stride_vectors * vector_bytes;
/// The smallest page of the processor.
constexpr u64 page_bytes = 4096;
constexpr u32 all_bytes = 0xFFFF;

u64 misalignment(const void* ptr, u64 alignment) {
    return reinterpret_cast<std::uintptr_t>(ptr) & (alignment - 1);
}

/// One bit per byte of a comparison's outcome.
u32 bits_of(__m128i outcome) {
    return static_cast<u32>(_mm_movemask_epi8(outcome));
}

/// The position of the lowest bit, in characters.
template <typename Bits>
u64 first_char(Bits bits) {
    return static_cast<u64>(std::countr_zero(bits)) / sizeof(kr_char);
}

/// The bits of four outcomes, in order.
u64 bits_of(const __m128i (&outcomes)[stride_vectors]) {
    u64 bits = 0;
    for (u64 i = 0; i < stride_vectors; ++i) {
        bits |= u64{bits_of(outcomes[i])} << (i * vector_bytes);
    }
    return bits;
}

constexpr u64 unlimited = UINT64_MAX;

/// The position of the first character for which `hit` gives a set lane; with a limit, at most
/// that. The string starts somewhere in the first vector, whose bytes before it are shifted out;
/// from there on every vector is aligned, and is read only when the walk has reached it.
template <bool limited, typename Hit>
KR_READS_WHOLE_VECTORS u64 first_hit(const kr_char* s, u64 limit, Hit hit) {
    const u64 before = misalignment(s, vector_bytes);
    const auto* at = reinterpret_cast<const __m128i*>(reinterpret_cast<const char*>(s) - before);
    u32 bits = bits_of(hit(_mm_load_si128(at))) >> before;
    u64 seen = 0;
    if (bits == 0) {
        seen = (vector_bytes - before) / sizeof(kr_char);
        for (++at; misalignment(at, stride_bytes) != 0; ++at, seen += vector_chars) {
            if (limited && seen >= limit) {
                return limit;
            }
            bits = bits_of(hit(_mm_load_si128(at)));
            if (bits != 0) {
                break;
            }
        }
    }
    if (bits != 0) {
        return std::min(seen + first_char(bits), limit);
    }
    for (;; at += stride_vectors, seen += stride_vectors * vector_chars) {
        if (limited && seen >= limit) {
            return limit;
        }
        const __m128i hits[stride_vectors] = {hit(_mm_load_si128(at)), hit(_mm_load_si128(at + 1)),
                                              hit(_mm_load_si128(at + 2)),
                                              hit(_mm_load_si128(at + 3))};
        const __m128i any =
            _mm_or_si128(_mm_or_si128(hits[0], hits[1]), _mm_or_si128(hits[2], hits[3]));
        if (bits_of(any) != 0) {
            return std::min(seen + first_char(bits_of(hits)), limit);
        }
    }
}

struct is_terminator {
    __m128i operator()(__m128i chars) const { return _mm_cmpeq_epi16(chars, _mm_setzero_si128()); }
};

/// Number of whole vectors from `ptr` to the end of its page.
u64 vectors_in_page(const kr_char* ptr) {
    return (page_bytes - misalignment(ptr, page_bytes)) / vector_bytes;
}

/// The bits of the characters that are equal in both strings and no terminator.
KR_READS_WHOLE_VECTORS u32 going_on(const kr_char* a, const kr_char* b) {
    const __m128i x = _mm_loadu_si128(reinterpret_cast<const __m128i*>(a));
    const __m128i y = _mm_loadu_si128(reinterpret_cast<const __m128i*>(b));
    return bits_of(
        _mm_andnot_si128(_mm_cmpeq_epi16(x, _mm_setzero_si128()), _mm_cmpeq_epi16(x, y)));
}

} // namespace

u64 length(const kr_char* s) {
    return first_hit<false>(s, unlimited, is_terminator{});
}

u64 length_within(const kr_char* s, u64 limit) {
    return limit == 0 ? 0 : first_hit<true>(s, limit, is_terminator{});
}

u64 find_or_end(const kr_char* s, kr_char c) {
    const __m128i wanted = _mm_set1_epi16(static_cast<short>(c));
    return first_hit<false>(s, unlimited, [wanted](__m128i chars) {
        return _mm_or_si128(_mm_cmpeq_epi16(chars, wanted), is_terminator{}(chars));
    });
}

/// The strings are aligned differently, so vectors are read unaligned: as many as fit in the pages
/// that both strings have reached, then one vector's worth of single characters to get past the
/// end of a page.
KR_READS_WHOLE_VECTORS u64 mismatch(const kr_char* a, const kr_char* b, u64 limit) {
    u64 at = 0;
    while (at < limit) {
        for (u64 left = std::min(vectors_in_page(a + at), vectors_in_page(b + at)); left != 0;
             --left) {
            const u32 bits = going_on(a + at, b + at);
            if (bits != all_bytes) {
                return std::min(at + first_char(bits ^ all_bytes), limit);
            }
            at += vector_chars;
            if (at >= limit) {
                return limit;
            }
        }
        const u64 step = std::min(vector_chars, limit - at);
        const u64 equal = plain::mismatch(a + at, b + at, step);
        at += equal;
        if (equal != step) {
            return at;
        }
    }
    return limit;
}

bool is_zero(const void* buf, size_t size) {
    const auto* bytes = static_cast<const u8*>(buf);
    if (size < stride_bytes) {
        return plain::is_zero(buf, size);
    }
    const auto stride_is_zero = [](const u8* stride) {
        const auto* at = reinterpret_cast<const __m128i*>(stride);
        const __m128i low = _mm_or_si128(_mm_loadu_si128(at), _mm_loadu_si128(at + 1));
        const __m128i high = _mm_or_si128(_mm_loadu_si128(at + 2), _mm_loadu_si128(at + 3));
        return bits_of(_mm_cmpeq_epi8(_mm_or_si128(low, high), _mm_setzero_si128())) == all_bytes;
    };
    // The last stride may overlap the one before it.
    const u8* const last = bytes + (size - stride_bytes);
    for (; bytes < last; bytes += stride_bytes) {
        if (!stride_is_zero(bytes)) {
            return false;
        }
    }
    return stride_is_zero(last);
}

} // namespace vectors
#endif

} // namespace kr::detail
