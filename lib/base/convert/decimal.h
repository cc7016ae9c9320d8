/// Decimal digits of an unsigned number, two at a time. For the library's own sources; touches the
/// language only.
#pragma once

#include <array>
#include <bit>
#include <cstring>

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

template <typename Char>
constexpr bool is_decimal_digit(Char character) {
    return character >= '0' && character <= '9';
}

/// Number of decimal digits, 1 for 0.
constexpr u32 decimal_digit_count(u64 value) {
    // 1233 / 4096 is just above log10(2): the estimate is the count or one less than it.
    const u32 bits = static_cast<u32>(std::bit_width(value | 1u));
    const u32 estimate = bits * 1233u >> 12u;
    return estimate + static_cast<u32>((value | 1u) >= powers_of_ten[estimate]);
}

template <typename Char>
struct digit_pair {
    Char digits[2];
};

/// "00" to "99".
template <typename Char>
inline constexpr std::array<digit_pair<Char>, 100> digit_pairs = [] {
    std::array<digit_pair<Char>, 100> table{};
    for (u32 i = 0; i < 100; ++i) {
        table[i] = {{static_cast<Char>('0' + i / 10), static_cast<Char>('0' + i % 10)}};
    }
    return table;
}();

template <typename Char>
inline void write_pair(u32 pair, Char* out) {
    std::memcpy(out, &digit_pairs<Char>[pair], sizeof(digit_pair<Char>));
}

/// Writes the 8 digits of a value below 10^8. Its quarters do not wait for one another.
template <typename Char>
inline void write_8_digits(u32 value, Char* out) {
    const u32 high = value / 10'000;
    const u32 low = value % 10'000;
    write_pair(high / 100, out);
    write_pair(high % 100, out + 2);
    write_pair(low / 100, out + 4);
    write_pair(low % 100, out + 6);
}

/// Writes the `count` = decimal_digit_count(value) digits of `value` to out[0] to out[count - 1];
/// no terminator.
template <typename Char>
inline void write_decimal(u64 value, u32 count, Char* out) {
    constexpr u64 eight_digits = 100'000'000;
    Char* end = out + count;
    while (value >= eight_digits) {
        end -= 8;
        write_8_digits(static_cast<u32>(value % eight_digits), end);
        value /= eight_digits;
    }
    auto rest = static_cast<u32>(value);
    while (rest >= 100) {
        end -= 2;
        write_pair(rest % 100, end);
        rest /= 100;
    }
    if (rest >= 10) {
        write_pair(rest, end - 2);
    } else {
        end[-1] = static_cast<Char>('0' + rest);
    }
}

} // namespace kr::detail
