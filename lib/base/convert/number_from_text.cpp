/// Integers from text by the runtime's conversions. Reaches the runtime's number routines and the
/// log.
#include "base/convert/number_from_text.h"

#include <limits>
#include <type_traits>

#include "base/convert/decimal.h"
#include "base/convert/digit_scan.h"
#include "log/log.h"
#include "platform/platform.h"
#include "result/failures.h"

namespace {

using kr::detail::decimal_number;
using kr::detail::is_decimal_digit;
using kr::detail::is_one_digit;
using kr::detail::parse_decimal;
using kr::detail::parse_end;

constexpr u64 max_of_i64 = std::numeric_limits<i64>::max();

/// The answer to a null text or output, of which the text is looked at first.
kr_result missing(const void* text) {
    return text == nullptr ? kr::detail::unexpected_behaviour() : kr::detail::invalid_argument();
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
    if (is_one_digit(text)) [[likely]] {
        *out = static_cast<Number>(*text - '0');
        return true;
    }
    if (is_decimal_digit(*text)) {
        const decimal_number<kr_char> number = parse_decimal<max_of_i64>(text);
        if (number.end == parse_end::overflow) {
            return false;
        }
        if (number.stop < 0x80) [[likely]] {
            *out = static_cast<Number>(number.value);
            return true;
        }
    }
    return convert_wide_64_by_runtime(text, out);
}

/// kr_string_to_ui64_w of what is not one digit.
[[gnu::noinline]] kr_result read_longer_ui64(const kr_char* text, u64* out) {
    if (text == nullptr || out == nullptr) {
        return missing(text);
    }
    if (!convert_wide_64(text, out)) [[unlikely]] {
        return reject<kr_char>("kr_string_to_ui64_w",
                               "Cannot convert %_s to 64 bit unsigned integer.\n", text);
    }
    return KR_SUCCESS;
}

} // namespace

kr_result kr_string_to_ui16_w(const kr_char* text, u16* out) {
    if (text == nullptr || out == nullptr) {
        return missing(text);
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
    if (text == nullptr || out == nullptr) {
        return missing(text);
    }
    const narrow_number number = convert_narrow(text, 0);
    if (!number.whole_text || number.value < 0 || number.value > std::numeric_limits<u16>::max()) {
        return reject<char>(__func__, "Cannot convert %s to 16 bit integer.", text);
    }
    *out = static_cast<u16>(number.value);
    return KR_SUCCESS;
}

kr_result kr_string_to_ui32_w(const kr_char* text, u32* out) {
    if (text == nullptr || out == nullptr) {
        return missing(text);
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
    if (text == nullptr || out == nullptr) {
        return missing(text);
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
    if (text == nullptr || out == nullptr) {
        return missing(text);
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
    if (text == nullptr || out == nullptr) {
        return missing(text);
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
    if (text == nullptr || out == nullptr) {
        return missing(text);
    }
    if (!convert_wide_64(text, out)) [[unlikely]] {
        return reject<kr_char>(__func__, "Cannot convert %_s to 64 bit integer.\n", text);
    }
    return KR_SUCCESS;
}

// One digit is decided here: what is more stands out of line, so that its registers need no saving.
kr_result kr_string_to_ui64_w(const kr_char* text, u64* out) {
    if (text != nullptr && out != nullptr && is_one_digit(text)) {
        *out = static_cast<u64>(*text - '0');
        return KR_SUCCESS;
    }
    return read_longer_ui64(text, out);
}

kr_result kr_string_to_si64_a(const char* text, i64* out) {
    if (text == nullptr || out == nullptr) {
        return missing(text);
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
