/// Any text as a number, by every parser, against the C library's 64-bit conversions with the
/// ranges put on by hand, and against a model of the strict rules in 128 bits. Any number as text,
/// against the C library's.
#pragma once

#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <optional>

#include "base/convert/digit_scan.h"
#include "base/convert/number_from_digits.h"
#include "base/convert/number_from_text.h"
#include "base/convert/number_to_text.h"
#include "models/input.h"

namespace kr::test {

using expected_number = std::optional<i64>;

/// Whether the parser gives what is expected, and leaves its output alone when that is a failure.
template <typename Char, typename Number>
bool gives_number(kr_result (*parse)(const Char*, Number*), const Char* text,
                  const expected_number& value) {
    constexpr auto untouched = static_cast<Number>(0x5A5A5A5A5A5A5A5A);
    Number number = untouched;
    const bool taken = parse(text, &number) == KR_SUCCESS;
    return taken == value.has_value() &&
           number == (taken ? static_cast<Number>(*value) : untouched);
}

struct library_number {
    i64 value;
    bool in_range;
    bool whole;
    bool any;
};

inline library_number convert_by_library(const char* text, int base) {
    char* end = nullptr;
    errno = 0;
    const long long value = std::strtoll(text, &end, base);
    return {value, errno == 0, *end == '\0', end != text};
}

inline void check_runtime_parsers(const char* narrow, const kr_char* wide, bool ascii) {
    const library_number any_base = convert_by_library(narrow, 0);
    const library_number decimal = convert_by_library(narrow, 10);
    const bool whole = any_base.whole && any_base.in_range;
    const auto within = [](const library_number& c, i64 low, i64 high) {
        return c.whole && c.in_range && c.value >= low && c.value <= high ? expected_number(c.value)
                                                                          : std::nullopt;
    };
    const expected_number u16_value = within(any_base, 0, 0xFFFF);
    expected_number u32_value = within(decimal, -i64{0xFFFFFFFF}, 0xFFFFFFFF);
    if (u32_value == 0 && *narrow != '0') {
        u32_value = std::nullopt;
    }
    const bool plain_zero = narrow[std::strspn(narrow, "-0123456789")] == '\0';
    expect(gives_number(kr_string_to_ui16_a, narrow, u16_value));
    expect(gives_number(kr_string_to_ui32_a, narrow, u32_value));
    expect(gives_number(kr_string_to_si32_a, narrow,
                        whole && any_base.value == static_cast<i32>(any_base.value)
                            ? expected_number(any_base.value)
                            : std::nullopt));
    expect(gives_number(kr_string_to_si64_a, narrow,
                        decimal.value != 0 || plain_zero ? expected_number(decimal.value)
                                                         : std::nullopt));

    char* end = nullptr;
    const auto hexadecimal = static_cast<u32>(std::strtoull(narrow, &end, 16));
    // Of "0x" without a digit some runtimes take the 0, others nothing.
    const char* const digits = narrow + std::strspn(narrow, " \t\n\v\f\r+-");
    const bool bare_prefix = digits[0] == '0' && (digits[1] == 'x' || digits[1] == 'X') &&
                             std::isxdigit(static_cast<u8>(digits[2])) == 0;
    expect(bare_prefix ||
           gives_number(kr_string_hexstr_to_ui32_a, narrow,
                        end != narrow ? expected_number(hexadecimal) : std::nullopt));
    if (ascii) { // what digits and blanks there are beyond, the runtime decides
        const expected_number wide_value =
            decimal.in_range ? expected_number(decimal.value) : std::nullopt;
        expect(gives_number(kr_string_to_ui16_w, wide, u16_value));
        expect(gives_number(kr_string_to_ui32_w, wide, u32_value));
        expect(gives_number(kr_string_to_si64_w, wide, wide_value));
        expect(gives_number(kr_string_to_ui64_w, wide, wide_value));
    }
}

struct strict_number {
    kr_result result;
    u64 value;
};

inline strict_number parse_strictly(std::string_view digits, u64 limit) {
    __extension__ using u128 = unsigned __int128;
    u128 value = 0;
    for (const char digit : digits) {
        if (digit < '0' || digit > '9') {
            return {kr_result_make_error(KR_INVALID_ARGUMENT_TO_FUNCTION), 0};
        }
        value = value * 10 + static_cast<u128>(digit - '0');
        if (value > limit) {
            return {kr_result_make_error(KR_OVERFLOW), 0};
        }
    }
    return {KR_SUCCESS, static_cast<u64>(value)};
}

inline void check_strict_parsers(std::string_view text, const char* narrow, const kr_char* wide) {
    strict_number model = parse_strictly(text, std::numeric_limits<u64>::max());
    if (text.empty()) {
        model.result = kr_result_make_error(KR_INVALID_ARGUMENT_TO_FUNCTION);
    }
    u64 value = 0;
    expect(kr_string_to_ui64_a_generic(narrow, &value) == model.result && value == model.value);
    value = 0;
    expect(kr_string_to_ui64_w_generic(wide, &value) == model.result && value == model.value);

    const bool negative = text.starts_with('-');
    strict_number signed_model = parse_strictly(text.substr(negative ? 1 : 0), INT64_MAX);
    if (text.empty()) {
        signed_model.result = kr_result_make_error(KR_INVALID_ARGUMENT_TO_FUNCTION);
    }
    i64 signed_value = 0;
    expect(kr_string_to_si64_a_generic(narrow, &signed_value) == signed_model.result);
    const auto magnitude = static_cast<i64>(signed_model.value);
    expect(signed_value == (negative ? -magnitude : magnitude));
}

template <typename Char>
void check_blocks(const Char* text) {
#if KR_VECTORS
    const auto one_by_one = kr::detail::plain::scan_digits(text);
    const auto by_blocks = kr::detail::vectors::scan_digits(text);
    expect(one_by_one.count == by_blocks.count && one_by_one.value == by_blocks.value);
#endif
}

inline void check_number_texts(u64 value) {
    const auto signed_value = static_cast<i64>(value);
    const std::string text = std::to_string(value);
    const std::string signed_text = std::to_string(signed_value);
    const exact_block<char> narrow(KR_STRING_INTEGER_CHARS);
    const exact_block<kr_char> wide(KR_STRING_INTEGER_CHARS);
    expect(kr_string_from_ui64_a_generic(value, narrow.get()) == KR_SUCCESS &&
           narrow.get() == text);
    expect(kr_string_from_si64_a(signed_value, narrow.get()) == KR_SUCCESS &&
           narrow.get() == signed_text);
    expect(kr_string_from_ui64_w(value, wide.get()) == KR_SUCCESS &&
           wide.get() == characters<kr_char>(text));
    expect(kr_string_from_si64_w(signed_value, wide.get()) == KR_SUCCESS &&
           wide.get() == characters<kr_char>(signed_text));
}

inline void check_number(std::span<const u8> input) {
    const std::string text(text_of(input));
    const exact_text<char> narrow(text);
    const exact_text<kr_char> wide{std::string_view(text)};
    const bool ascii = std::all_of(text.begin(), text.end(), [](char c) { return c > 0; });
    check_runtime_parsers(narrow, wide, ascii);
    check_strict_parsers(text, narrow, wide);
    check_blocks<char>(narrow);
    check_blocks<kr_char>(wide);
    u64 value = 0;
    std::memcpy(&value, input.data(), std::min(input.size(), sizeof value));
    check_number_texts(value);
}

} // namespace kr::test
