/// Reads decimal digits, twice: one at a time and eight at a time, and on top of them a number of
/// any length against a limit. Private to this directory and to the tests, which hold one against
/// the other.
///
/// Common to both scans: `text` is NUL-terminated; the digits at its start are read, at most 16 of
/// them, so that the value cannot overflow.
#pragma once

#include <bit>

#include "base/convert/decimal.h"
#include "platform/types.h"
#include "platform/vectors.h"

namespace kr::detail {

inline constexpr u32 max_scanned_digits = 16;

struct digit_run {
    u64 value;
    u64 count;
};

namespace plain {

template <typename Char>
digit_run scan_digits(const Char* text, u64 max_count = max_scanned_digits) {
    digit_run run = {0, 0};
    for (; run.count < max_count && is_decimal_digit(text[run.count]); ++run.count) {
        run.value = run.value * 10 + static_cast<u64>(text[run.count] - '0');
    }
    return run;
}

} // namespace plain

#if KR_VECTORS
namespace vectors {

inline constexpr u32 block_digits = 8;

/// Eight characters as the bytes of a word, the first one lowest, each less '0'; a character that
/// is no digit becomes a byte above 9.
KR_READS_WHOLE_VECTORS inline u64 load_block(const char* text) {
    const __m128i block = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(text));
    return static_cast<u64>(_mm_cvtsi128_si64(block)) ^ 0x3030303030303030u;
}

KR_READS_WHOLE_VECTORS inline u64 load_block(const kr_char* text) {
    const __m128i units = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text));
    const __m128i differences = _mm_sub_epi16(units, _mm_set1_epi16('0'));
    // The smaller of the difference, taken as unsigned, and 255: what is no digit stays above 9.
    const __m128i limit = _mm_set1_epi16(255);
    const __m128i bytes = _mm_sub_epi16(differences, _mm_subs_epu16(differences, limit));
    return static_cast<u64>(_mm_cvtsi128_si64(_mm_packus_epi16(bytes, bytes)));
}

/// The number that the eight bytes are, the lowest one being its first digit.
constexpr u64 value_of_block(u64 block) {
    // Pairs of digits, then both halves of four at once, each pair already at its weight.
    const u64 pairs = block * 10 + (block >> 8u);
    constexpr u64 every_other_pair = 0x000000FF000000FFu;
    return ((pairs & every_other_pair) * (100u + (u64{1'000'000u} << 32u)) +
            (pairs >> 16u & every_other_pair) * (1u + (u64{10'000u} << 32u))) >>
           32u;
}

/// Up to eight digits.
template <typename Char>
[[gnu::always_inline]] inline digit_run scan_block(const Char* text) {
    if (!in_one_page(text, block_digits * sizeof(Char))) [[unlikely]] {
        return plain::scan_digits(text, block_digits);
    }
    const u64 block = load_block(text);
    // A byte above 9 gets its high bit set, or has it; a carry reaches bytes behind it only.
    const u64 others = ((block + 0x7676767676767676u) | block) & 0x8080808080808080u;
    if (others == 0) {
        return {value_of_block(block), block_digits};
    }
    const u64 count = static_cast<u64>(std::countr_zero(others)) / 8;
    // Shifted to the word's end the digits stand behind zeros. Two shifts: 64 at once is too far.
    return {value_of_block(block << 8u * (7 - count) << 8u), count};
}

template <typename Char>
[[gnu::always_inline]] inline digit_run scan_digits(const Char* text) {
    const digit_run first = scan_block(text);
    if (first.count < block_digits) {
        return first;
    }
    const digit_run second = scan_block(text + block_digits);
    return {first.value * powers_of_ten[second.count] + second.value, block_digits + second.count};
}

} // namespace vectors
#endif

#if KR_VECTORS && !KR_READS_ARE_WATCHED
namespace digits = vectors;
#else
namespace digits = plain;
#endif

enum class parse_end { terminator, other_character, overflow };

template <typename Char>
struct decimal_number {
    u64 value;
    parse_end end;
    /// The first character that was not taken.
    Char stop;
};

template <typename Char>
constexpr parse_end end_at(Char stop) {
    return stop == Char{} ? parse_end::terminator : parse_end::other_character;
}

/// Whether the text is one digit: most numbers are short, and one digit is not worth a vector.
template <typename Char>
constexpr bool is_one_digit(const Char* text) {
    return is_decimal_digit(text[0]) && text[1] == Char{};
}

/// Reads digits up to the first character that is none, or the first that would take the value
/// above `limit`. Inline for the sake of short numbers.
template <u64 limit, typename Char>
[[gnu::always_inline]] inline decimal_number<Char> parse_decimal(const Char* text) {
    const digit_run run = digits::scan_digits(text);
    u64 value = run.value;
    text += run.count;
    if (run.count == max_scanned_digits) {
        for (; is_decimal_digit(*text); ++text) {
            const auto digit = static_cast<u64>(*text - '0');
            if (value > limit / 10 || (value == limit / 10 && digit > limit % 10)) {
                return {value, parse_end::overflow, *text};
            }
            value = value * 10 + digit;
        }
    }
    return {value, end_at(*text), *text};
}

} // namespace kr::detail
