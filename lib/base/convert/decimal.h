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

/// The same without a leading zero: "0" to "9" have one digit, and a character to be overwritten.
template <typename Char>
inline constexpr std::array<digit_pair<Char>, 100> leading_pairs = [] {
    std::array<digit_pair<Char>, 100> table = digit_pairs<Char>;
    for (u32 i = 0; i < 10; ++i) {
        table[i] = {{static_cast<Char>('0' + i), Char{}}};
    }
    return table;
}();

template <typename Char>
inline void put_pair(const digit_pair<Char>& pair, Char* out) {
    std::memcpy(out, &pair, sizeof(pair));
}

/// A number below 100^Pairs as a binary fraction: the first pair of digits stands above the point,
/// and each multiplication by 100 lifts the next one there. Nothing is divided, and the pairs do
/// not wait for their remainders. The scale is rounded up; 57 bits keep the error below the last
/// digit for up to four pairs, and the products below 2^64.
template <u32 Pairs>
class decimal_fraction {
    static_assert(Pairs >= 2 && Pairs <= 4);
    static constexpr u32 point = 57;
    static constexpr u64 below_point = (u64{1} << point) - 1;
    static constexpr u64 scale = (u64{1} << point) / powers_of_ten[2 * (Pairs - 1)] + 1;

public:
    explicit constexpr decimal_fraction(u32 value) : value_(value * scale) {}

    [[nodiscard]] constexpr u32 pair() const { return static_cast<u32>(value_ >> point); }
    constexpr void next() { value_ = (value_ & below_point) * 100; }

private:
    u64 value_;
};

/// Writes the digits of a value of 2 * Pairs - 1 or 2 * Pairs digits; returns their end.
template <u32 Pairs, typename Char>
inline Char* write_pairs(u32 value, Char* out) {
    decimal_fraction<Pairs> rest(value);
    put_pair(leading_pairs<Char>[rest.pair()], out);
    out += rest.pair() < 10 ? 1 : 2;
    for (u32 i = 1; i < Pairs; ++i, out += 2) {
        rest.next();
        put_pair(digit_pairs<Char>[rest.pair()], out);
    }
    return out;
}

/// Writes the 8 digits of a value below 10^8, leading zeroes too; returns their end. Its quarters
/// do not wait for one another.
template <typename Char>
inline Char* write_8_digits(u32 value, Char* out) {
    const u32 high = value / 10'000;
    const u32 low = value % 10'000;
    put_pair(digit_pairs<Char>[high / 100], out);
    put_pair(digit_pairs<Char>[high % 100], out + 2);
    put_pair(digit_pairs<Char>[low / 100], out + 4);
    put_pair(digit_pairs<Char>[low % 100], out + 6);
    return out + 8;
}

/// Writes the digits of a value below 10^8; returns their end.
template <typename Char>
inline Char* write_short_decimal(u32 value, Char* out) {
    if (value < 100) {
        if (value < 10) {
            *out = static_cast<Char>('0' + value);
            return out + 1;
        }
        put_pair(digit_pairs<Char>[value], out);
        return out + 2;
    }
    if (value < 10'000) {
        return write_pairs<2>(value, out);
    }
    return value < 1'000'000 ? write_pairs<3>(value, out) : write_pairs<4>(value, out);
}

/// Writes the digits of a value from 10^8 on; returns their end. Out of line: it is long, and rare.
template <typename Char>
[[gnu::noinline]] static Char* write_long_decimal(u64 value, Char* out) {
    constexpr u64 eight_digits = 100'000'000;
    const u64 high = value / eight_digits;
    if (high >= eight_digits) {
        out = write_short_decimal(static_cast<u32>(high / eight_digits), out);
        out = write_8_digits(static_cast<u32>(high % eight_digits), out);
    } else {
        out = write_short_decimal(static_cast<u32>(high), out);
    }
    return write_8_digits(static_cast<u32>(value % eight_digits), out);
}

/// Writes the digits of `value`, no terminator, and nothing behind them; returns their end.
template <typename Char>
inline Char* write_decimal(u64 value, Char* out) {
    if (value < 10) [[likely]] { // the number that feels every branch
        *out = static_cast<Char>('0' + value);
        return out + 1;
    }
    return value < 100'000'000 ? write_short_decimal(static_cast<u32>(value), out)
                               : write_long_decimal(value, out);
}

} // namespace kr::detail
