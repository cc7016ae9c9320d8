/// Integers from text by strict rules. Works on caller's memory only; logs to `other`.
#include "base/convert/number_from_digits.h"

#include <limits>

#include "base/convert/digit_scan.h"
#include "log/log.h"
#include "result/failures.h"

namespace {

using kr::detail::decimal_number;
using kr::detail::invalid_argument;
using kr::detail::is_one_digit;
using kr::detail::parse_decimal;
using kr::detail::parse_end;

constexpr u64 max_of_u64 = std::numeric_limits<u64>::max();
constexpr u64 max_of_i64 = std::numeric_limits<i64>::max();

kr_result result_of(parse_end defect) {
    return defect == parse_end::overflow ? kr_result_make_error(KR_OVERFLOW) : invalid_argument();
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

} // namespace

kr_result kr_string_to_ui64_a_generic(const char* text, u64* out) {
    if (text != nullptr && out != nullptr && is_one_digit(text)) {
        *out = static_cast<u64>(*text - '0');
        return KR_SUCCESS;
    }
    if (text == nullptr) {
        KR_LOG(KR_LOG_OTHER, KR_LOG_ERROR, "Passed string is null");
        return invalid_argument();
    }
    if (*text == '\0') {
        KR_LOG(KR_LOG_OTHER, KR_LOG_ERROR, "Empty string passed");
        return invalid_argument();
    }
    if (out == nullptr) {
        KR_LOG(KR_LOG_OTHER, KR_LOG_ERROR, "Output pointer is null");
        return invalid_argument();
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
        return invalid_argument();
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
        return invalid_argument();
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
