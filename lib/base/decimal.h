/// Decimal digits of an unsigned number, two at a time. For the library's own sources; touches the
/// language only.
#pragma once

#include <bit>

#include "platform/types.h"

namespace kr::detail {

inline constexpr u32 max_decimal_digits = 20;

inline constexpr u64 powers_of_ten[max_decimal_digits] = {
    1u,
    10u,
    100u,
    1'000u,
    10'000u,
    100'000u,
    1'000'000u,
    10'000'000u,
    100'000'000u,
    1'000'000'000u,
    10'000'000'000u,
    100'000'000'000u,
    1'000'000'000'000u,
    10'000'000'000'000u,
    100'000'000'000'000u,
    1'000'000'000'000'000u,
    10'000'000'000'000'000u,
    100'000'000'000'000'000u,
    1'000'000'000'000'000'000u,
    10'000'000'000'000'000'000u,
};

/// Number of decimal digits, 1 for 0.
constexpr u32 decimal_digit_count(u64 value) {
    // 1233 / 4096 is just above log10(2): the estimate is the count or one less than it.
    const u32 bits = static_cast<u32>(std::bit_width(value | 1u));
    const u32 estimate = bits * 1233u >> 12u;
    return estimate + static_cast<u32>((value | 1u) >= powers_of_ten[estimate]);
}

template <typename Char>
struct digit_pairs_table {
    Char digits[200];
};

/// "00" to "99".
template <typename Char>
inline constexpr digit_pairs_table<Char> digit_pairs = [] {
    digit_pairs_table<Char> table{};
    for (u32 i = 0; i < 100; ++i) {
        table.digits[2 * i] = static_cast<Char>('0' + i / 10);
        table.digits[2 * i + 1] = static_cast<Char>('0' + i % 10);
    }
    return table;
}();

/// Writes the `count` = decimal_digit_count(value) digits of `value` to out[0] to out[count - 1];
/// no terminator.
template <typename Char>
constexpr void write_decimal(u64 value, u32 count, Char* out) {
    const Char* const pairs = digit_pairs<Char>.digits;
    Char* end = out + count;
    while (value >= 100) {
        const u64 pair = value % 100;
        value /= 100;
        end -= 2;
        end[0] = pairs[2 * pair];
        end[1] = pairs[2 * pair + 1];
    }
    if (value >= 10) {
        end[-2] = pairs[2 * value];
        end[-1] = pairs[2 * value + 1];
    } else {
        end[-1] = static_cast<Char>('0' + value);
    }
}

} // namespace kr::detail
