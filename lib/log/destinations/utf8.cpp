/// Lines as UTF-8.
#include "log/destinations/utf8.h"

#include <bit>
#include <cstring>
#include <utility>

#include "platform/vectors.h"

namespace kr::detail {
namespace {

constexpr u32 replacement = 0xFFFD;

constexpr bool is_high_surrogate(u32 unit) {
    return unit >= 0xD800 && unit <= 0xDBFF;
}

constexpr bool is_low_surrogate(u32 unit) {
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

char* encode_point(u32 point, char* out) {
    const auto tail = [&](u32 shift) {
        return static_cast<char>(0x80 | (point >> shift & 0x3F));
    };
    if (point < 0x80) {
        *out++ = static_cast<char>(point);
    } else if (point < 0x800) {
        *out++ = static_cast<char>(0xC0 | point >> 6);
        *out++ = tail(0);
    } else if (point < 0x10000) {
        *out++ = static_cast<char>(0xE0 | point >> 12);
        *out++ = tail(6);
        *out++ = tail(0);
    } else {
        *out++ = static_cast<char>(0xF0 | point >> 18);
        *out++ = tail(12);
        *out++ = tail(6);
        *out++ = tail(0);
    }
    return out;
}

/// The text that is left and where its bytes go. `stop` is a newline where it gets a return, else a
/// unit that no ASCII character equals.
struct encoding {
    const kr_char* text;
    const kr_char* end;
    char* out;
    kr_char stop;

    [[nodiscard]] size_t left() const { return static_cast<size_t>(end - text); }
};

void encode_one(encoding& e) {
    u32 point = *e.text++;
    if (point == '\n' && e.stop == '\n') {
        *e.out++ = '\r';
    } else if (is_high_surrogate(point) && e.text != e.end && is_low_surrogate(*e.text)) {
        point = 0x10000 + ((point - 0xD800) << 10) + (*e.text++ - 0xDC00u);
    } else if (is_high_surrogate(point) || is_low_surrogate(point)) {
        point = replacement;
    }
    e.out = encode_point(point, e.out);
}

#if KR_VECTORS
using vectors::bits_of;
using vectors::equal_lanes;
using vectors::load;
using vectors::store;
using vectors::vector_chars;

constexpr size_t ascii_step = 2 * vector_chars;
constexpr u32 all_lanes = 0xFFFF;

__m128i has_none_of(__m128i units, u32 bits) {
    const __m128i found = _mm_and_si128(units, vectors::fill(static_cast<kr_char>(bits)));
    return equal_lanes(found, kr_char{});
}

/// Narrows 16 units to `out`. Gives a bit for each that is plain: below 0x80 and not `stop`.
u32 narrow_plain(const kr_char* text, kr_char stop, char* out) {
    const __m128i first = load(text), second = load(text + vector_chars);
    const __m128i bytes = _mm_packus_epi16(first, second);
    const __m128i ascii = _mm_packs_epi16(has_none_of(first, 0xFF80), has_none_of(second, 0xFF80));
    store(out, bytes);
    return bits_of(_mm_andnot_si128(equal_lanes(bytes, static_cast<char>(stop)), ascii));
}

/// The last units of a text, as far as they are plain: the vector overlaps what was encoded, where
/// that was plain and so is as many bytes.
void narrow_end(encoding& e) {
    const size_t encoded = ascii_step - e.left();
    char bytes[ascii_step];
    const u32 plain = narrow_plain(e.end - ascii_step, e.stop, bytes);
    const auto count = static_cast<size_t>(std::countr_one(plain));
    if (count > encoded) {
        store(e.out - encoded, load(bytes));
        e.text += count - encoded;
        e.out += count - encoded;
    }
}

__m128i chosen(__m128i lanes, __m128i yes, __m128i no) {
    return _mm_or_si128(_mm_and_si128(lanes, yes), _mm_andnot_si128(lanes, no));
}

__m128i with_bits(__m128i lanes, u32 bits) {
    return _mm_or_si128(lanes, vectors::fill(static_cast<kr_char>(bits)));
}

/// The last byte of a sequence.
__m128i tail_of(__m128i units) {
    return with_bits(_mm_and_si128(units, _mm_set1_epi16(0x3F)), 0x80);
}

__m128i followed_by(__m128i leads, __m128i tails) {
    return _mm_or_si128(leads, _mm_slli_epi16(tails, 8));
}

u64 low_half(__m128i lanes) {
    return static_cast<u64>(_mm_cvtsi128_si64(lanes));
}

u64 high_half(__m128i lanes) {
    return low_half(_mm_unpackhi_epi64(lanes, lanes));
}

/// Writes each of `Count` slots of four bytes where the bytes in use of the one before it end. What
/// is written too much, the next one overwrites. `sizes` has a byte for each. No branch: how the
/// sizes follow each other cannot be foretold.
template <size_t Count>
[[gnu::always_inline]] inline char* write_slots(u64 sizes, const u64* slots, char* out) {
    // Each byte of the product is the sum of the sizes up to its own.
    const u64 ends = sizes * 0x0101010101010101u;
    const auto write = [&](size_t i) {
        const auto slot = static_cast<u32>(slots[i / 2] >> i % 2 * 32);
        std::memcpy(out + (i == 0 ? 0 : ends >> 8 * (i - 1) & 0xFF), &slot, sizeof slot);
    };
    [&]<size_t... I>(std::index_sequence<I...>) {
        (write(I), ...);
    }
    (std::make_index_sequence<Count>{});
    return out + (ends >> 8 * (Count - 1) & 0xFF);
}

/// Eight units of one or two bytes; two share a slot.
char* write_short(__m128i units, __m128i one, char* out) {
    const __m128i second = _mm_srli_epi32(units, 16);
    const __m128i first = _mm_and_si128(units, _mm_set1_epi32(0xFFFF));
    const __m128i first_is_one = _mm_srai_epi32(_mm_slli_epi32(one, 16), 16);
    const __m128i pairs =
        chosen(first_is_one, _mm_or_si128(first, _mm_slli_epi32(second, 8)), units);
    const __m128i sizes = _mm_add_epi32(_mm_set1_epi32(4), _mm_madd_epi16(one, _mm_set1_epi16(1)));
    const __m128i halves = _mm_packs_epi32(sizes, _mm_setzero_si128());
    const u64 slots[] = {low_half(pairs), high_half(pairs)};
    return write_slots<4>(low_half(_mm_packus_epi16(halves, halves)), slots, out);
}

/// Eight units of one to three bytes.
char* write_long(__m128i starts, __m128i tails, __m128i sizes, char* out) {
    const __m128i low = _mm_unpacklo_epi16(starts, tails);
    const __m128i high = _mm_unpackhi_epi16(starts, tails);
    const u64 slots[] = {low_half(low), high_half(low), low_half(high), high_half(high)};
    return write_slots<8>(low_half(_mm_packus_epi16(sizes, sizes)), slots, out);
}

/// Eight units. Up to two bytes behind the last one are written as well. Whether all were ASCII.
bool encode_eight(encoding& e) {
    const __m128i units = load(e.text);
    const __m128i one = has_none_of(units, 0xFF80);
    const __m128i one_or_two = has_none_of(units, 0xF800);
    const bool is_short = bits_of(one_or_two) == all_lanes;
    const __m128i not_here =
        is_short ? equal_lanes(units, e.stop)
                 : _mm_or_si128(equal_lanes(units, e.stop),
                                has_none_of(_mm_xor_si128(units, _mm_set1_epi16(-0x2800)), 0xF800));
    if (bits_of(not_here) != 0) {
        for (const kr_char* const next = e.text + vector_chars; e.text < next;) {
            encode_one(e);
        }
        return false;
    }
    const __m128i tails = tail_of(units);
    const __m128i two_bytes = followed_by(with_bits(_mm_srli_epi16(units, 6), 0xC0), tails);
    const __m128i up_to_two = chosen(one, units, two_bytes);
    e.text += vector_chars;
    if (is_short) {
        e.out = write_short(up_to_two, one, e.out);
        return bits_of(one) == all_lanes;
    }
    const __m128i leads =
        followed_by(with_bits(_mm_srli_epi16(units, 12), 0xE0), tail_of(_mm_srli_epi16(units, 6)));
    const __m128i sizes = _mm_add_epi16(_mm_add_epi16(one, one_or_two), _mm_set1_epi16(3));
    e.out = write_long(chosen(one_or_two, up_to_two, leads), tails, sizes, e.out);
    return false;
}

/// All but the last few units. What is written too much has room, as each unit left has three
/// bytes.
void encode_by_vectors(encoding& e) {
    const size_t length = e.left();
    while (e.left() >= ascii_step) {
        if (narrow_plain(e.text, e.stop, e.out) == all_lanes) {
            e.text += ascii_step;
            e.out += ascii_step;
            continue;
        }
        // Where there is one such unit there are more.
        while (!encode_eight(e) && e.left() >= vector_chars) {
        }
    }
    if (length >= ascii_step && e.left() != 0) {
        narrow_end(e);
    }
    while (e.left() >= vector_chars) {
        encode_eight(e);
    }
}
#else
void encode_by_vectors(encoding&) {}
#endif

} // namespace

size_t encode_utf8(const kr_char* text, size_t length, newline_form newline, char* out) {
    const kr_char stop = newline == newline_form::cr_lf ? kr_char{'\n'} : kr_char{0x80};
    encoding e = {.text = text, .end = text + length, .out = out, .stop = stop};
    encode_by_vectors(e);
    while (e.text != e.end) {
        encode_one(e);
    }
    return static_cast<size_t>(e.out - out);
}

} // namespace kr::detail
