/// Integers from text and text from integers. Reaches the runtime's number routines and the log.
#include "base/convert/number_from_text.h"

#include <limits>
#include <type_traits>

#include "base/convert/decimal.h"
#include "base/convert/digit_scan.h"
#include "log/log.h"
#include "platform/platform.h"

namespace {

using kr::detail::is_decimal_digit;

constexpr u64 max_of_u64 = std::numeric_limits<u64>::max();
constexpr u64 max_of_i64 = std::numeric_limits<i64>::max();

// Digits by the library's own rules.

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
    const kr::detail::digit_run run = kr::detail::digits::scan_digits(text);
    u64 value = run.value;
    text += run.count;
    if (run.count == kr::detail::max_scanned_digits) {
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

// By the runtime's conversions.

kr_result no_text() {
    return kr_result_make_error(KR_UNEXPECTED_BEHAVIOUR);
}

/// Logs the rejected text. The format shows it whole.
template <typename Char>
kr_result reject(const char* function, kr_format<const Char*> format,
                 std::type_identity_t<const Char*> text) {
    KR_LOG_AS(KR_LOG_OTHER, KR_LOG_ERROR, function, format, text);
    return kr_result_make_error(KR_GENERIC);
}

/// The narrow 32-bit conversions go through 64 bits: `long` is 32 bits wide here and 64 elsewhere,
/// and a range tested by hand is the same everywhere.
struct narrow_number {
    i64 value;
    bool whole_text;
};

narrow_number convert_narrow(const char* text, int base) {
    char* end = nullptr;
    errno = 0;
    const i64 value = _strtoi64(text, &end, base);
    return {value, *end == '\0' && errno == 0};
}

/// Base 10, by the runtime. False for a value out of range.
template <typename Number>
[[gnu::cold, gnu::noinline]] bool convert_wide_64_by_runtime(const kr_char* text, Number* out) {
    errno = 0;
    // Not _wtoi64: not every runtime reports its range error.
    const i64 value = _wcstoi64(text, nullptr, 10);
    if (errno != 0) {
        return false;
    }
    *out = static_cast<Number>(value);
    return true;
}

/// Base 10. Plain digits are read here; what the runtime alone knows (blanks, signs, digits beyond
/// ASCII) is left to it. False for a value out of the range of i64.
template <typename Number>
[[gnu::always_inline]] inline bool convert_wide_64(const kr_char* text, Number* out) {
    if (is_one_digit(text)) {
        *out = static_cast<Number>(*text - '0');
        return true;
    }
    if (is_decimal_digit(*text)) {
        const decimal_number<kr_char> number = parse_decimal<max_of_i64>(text);
        if (number.end == parse_end::overflow) {
            return false;
        }
        if (number.stop < 0x80) {
            *out = static_cast<Number>(number.value);
            return true;
        }
    }
    return convert_wide_64_by_runtime(text, out);
}

// By the library's strict rules.

kr_result result_of(parse_end defect) {
    return kr_result_make_error(defect == parse_end::overflow ? KR_OVERFLOW
                                                              : KR_INVALID_ARGUMENT_TO_FUNCTION);
}

/// Logs a narrow parser's defect. Out of line: the way of a good number is short.
[[gnu::cold, gnu::noinline]] kr_result refuse(const char* function, u32 level, const char* text,
                                              parse_end defect, char stop) {
    if (defect == parse_end::overflow) {
        KR_LOG_AS(KR_LOG_OTHER, level, function,
                  "Passed string %s contains a number too large to fit into UINT64", text);
    } else {
        KR_LOG_AS(KR_LOG_OTHER, level, function, "Passed string contains illegal character %c",
                  u32{static_cast<u8>(stop)});
    }
    return result_of(defect);
}

// Number to text.

template <typename Char>
void put_unsigned(u64 value, Char* out) {
    const u32 count = kr::detail::decimal_digit_count(value);
    kr::detail::write_decimal(value, count, out);
    out[count] = Char{};
}

template <typename Char>
void put_signed(i64 value, Char* out) {
    auto magnitude = static_cast<u64>(value);
    if (value < 0) {
        magnitude = 0 - magnitude;
        *out++ = '-';
    }
    put_unsigned(magnitude, out);
}

} // namespace

kr_result kr_string_to_ui16_w(const kr_char* text, u16* out) {
    if (text == nullptr) {
        return no_text();
    }
    kr_char* end = nullptr;
    errno = 0;
    const auto value = static_cast<u32>(wcstol(text, &end, 0));
    if (*end != kr_char{} || errno != 0 || value > std::numeric_limits<u16>::max()) {
        return reject<kr_char>(__func__, "Cannot convert %_s to 16 bit integer.\n", text);
    }
    *out = static_cast<u16>(value);
    return KR_SUCCESS;
}

kr_result kr_string_to_ui16_a(const char* text, u16* out) {
    if (text == nullptr) {
        return no_text();
    }
    const narrow_number number = convert_narrow(text, 0);
    if (!number.whole_text || number.value < 0 || number.value > std::numeric_limits<u16>::max()) {
        return reject<char>(__func__, "Cannot convert %s to 16 bit integer.", text);
    }
    *out = static_cast<u16>(number.value);
    return KR_SUCCESS;
}

kr_result kr_string_to_ui32_w(const kr_char* text, u32* out) {
    if (text == nullptr) {
        return no_text();
    }
    kr_char* end = nullptr;
    errno = 0;
    const auto value = static_cast<u32>(wcstoul(text, &end, 10));
    if (*end != kr_char{} || errno != 0 || (value == 0 && *text != '0')) {
        return reject<kr_char>(__func__, "Cannot convert %_s to 32 bit unsigned integer.\n", text);
    }
    *out = value;
    return KR_SUCCESS;
}

kr_result kr_string_to_ui32_a(const char* text, u32* out) {
    if (text == nullptr) {
        return no_text();
    }
    constexpr i64 limit = std::numeric_limits<u32>::max();
    const narrow_number number = convert_narrow(text, 10);
    if (!number.whole_text || number.value < -limit || number.value > limit ||
        (number.value == 0 && *text != '0')) {
        return reject<char>(__func__, "Cannot convert %s to 32 bit unsigned integer.", text);
    }
    *out = static_cast<u32>(number.value);
    return KR_SUCCESS;
}

kr_result kr_string_to_si32_a(const char* text, i32* out) {
    if (text == nullptr) {
        return no_text();
    }
    const narrow_number number = convert_narrow(text, 0);
    if (!number.whole_text || number.value < std::numeric_limits<i32>::min() ||
        number.value > std::numeric_limits<i32>::max()) {
        return reject<char>(__func__, "Cannot convert %s to 32 bit integer.", text);
    }
    *out = static_cast<i32>(number.value);
    return KR_SUCCESS;
}

kr_result kr_string_hexstr_to_ui32_a(const char* text, u32* out) {
    if (text == nullptr) {
        return no_text();
    }
    errno = 0;
    // A 64-bit field: what a 32-bit one makes of nine digits differs from runtime to runtime.
    unsigned long long value = 0;
    if (sscanf(text, "%llX", &value) != 1) {
        return reject<char>(__func__, "Cannot convert %s to 32 bit integer.", text);
    }
    *out = static_cast<u32>(value);
    return KR_SUCCESS;
}

kr_result kr_string_to_si64_w(const kr_char* text, i64* out) {
    if (text == nullptr) {
        return no_text();
    }
    if (!convert_wide_64(text, out)) {
        return reject<kr_char>(__func__, "Cannot convert %_s to 64 bit integer.\n", text);
    }
    return KR_SUCCESS;
}

kr_result kr_string_to_ui64_w(const kr_char* text, u64* out) {
    if (text == nullptr) {
        return no_text();
    }
    if (!convert_wide_64(text, out)) {
        return reject<kr_char>(__func__, "Cannot convert %_s to 64 bit unsigned integer.\n", text);
    }
    return KR_SUCCESS;
}

kr_result kr_string_to_si64_a(const char* text, i64* out) {
    if (text == nullptr) {
        return no_text();
    }
    errno = 0;
    // Not _atoi64, for the reason given for _wtoi64.
    const i64 value = _strtoi64(text, nullptr, 10);
    if (value == 0) {
        const char* c = text;
        while (*c == '-' || is_decimal_digit(*c)) {
            ++c;
        }
        if (*c != '\0') {
            return kr_result_make_error(KR_GENERIC);
        }
    }
    *out = value;
    return KR_SUCCESS;
}

kr_result kr_string_to_ui64_a_generic(const char* text, u64* out) {
    if (text != nullptr && out != nullptr && is_one_digit(text)) {
        *out = static_cast<u64>(*text - '0');
        return KR_SUCCESS;
    }
    if (text == nullptr) {
        KR_LOG(KR_LOG_OTHER, KR_LOG_ERROR, "Passed string is null");
        return kr_result_make_error(KR_INVALID_ARGUMENT_TO_FUNCTION);
    }
    if (*text == '\0') {
        KR_LOG(KR_LOG_OTHER, KR_LOG_ERROR, "Empty string passed");
        return kr_result_make_error(KR_INVALID_ARGUMENT_TO_FUNCTION);
    }
    if (out == nullptr) {
        KR_LOG(KR_LOG_OTHER, KR_LOG_ERROR, "Output pointer is null");
        return kr_result_make_error(KR_INVALID_ARGUMENT_TO_FUNCTION);
    }
    const decimal_number<char> number = parse_decimal<max_of_u64>(text);
    if (number.end != parse_end::terminator) {
        return refuse(__func__, KR_LOG_ERROR, text, number.end, number.stop);
    }
    *out = number.value;
    return KR_SUCCESS;
}

kr_result kr_string_to_ui64_w_generic(const kr_char* text, u64* out) {
    if (text == nullptr || *text == kr_char{} || out == nullptr) {
        return kr_result_make_error(KR_INVALID_ARGUMENT_TO_FUNCTION);
    }
    if (is_one_digit(text)) {
        *out = static_cast<u64>(*text - '0');
        return KR_SUCCESS;
    }
    const decimal_number<kr_char> number = parse_decimal<max_of_u64>(text);
    if (number.end != parse_end::terminator) {
        return result_of(number.end);
    }
    *out = number.value;
    return KR_SUCCESS;
}

kr_result kr_string_to_si64_a_generic(const char* text, i64* out) {
    if (*text == '\0') {
        KR_LOG(KR_LOG_OTHER, KR_LOG_DEBUG, "Empty string passed");
        return kr_result_make_error(KR_INVALID_ARGUMENT_TO_FUNCTION);
    }
    const bool negative = *text == '-';
    const decimal_number<char> number = parse_decimal<max_of_i64>(negative ? text + 1 : text);
    if (number.end != parse_end::terminator) {
        return refuse(__func__, KR_LOG_DEBUG, text, number.end, number.stop);
    }
    const auto value = static_cast<i64>(number.value);
    *out = negative ? -value : value;
    return KR_SUCCESS;
}

kr_result kr_string_from_si64_w(i64 value, kr_char* out) {
    if (out == nullptr) {
        return kr_result_make_error(KR_UNEXPECTED_BEHAVIOUR);
    }
    put_signed(value, out);
    return KR_SUCCESS;
}

kr_result kr_string_from_ui64_w(u64 value, kr_char* out) {
    if (out == nullptr) {
        return kr_result_make_error(KR_UNEXPECTED_BEHAVIOUR);
    }
    put_unsigned(value, out);
    return KR_SUCCESS;
}

kr_result kr_string_from_si64_a(i64 value, char* out) {
    if (out == nullptr) {
        return kr_result_make_error(KR_UNEXPECTED_BEHAVIOUR);
    }
    put_signed(value, out);
    return KR_SUCCESS;
}

kr_result kr_string_from_ui64_a_generic(u64 value, char* out) {
    if (out == nullptr) {
        KR_LOG(KR_LOG_OTHER, KR_LOG_ERROR, "Null pointer passed as output buffer");
        return kr_result_make_error(KR_INVALID_ARGUMENT_TO_FUNCTION);
    }
    put_unsigned(value, out);
    return KR_SUCCESS;
}
