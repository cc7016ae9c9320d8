/// Any text as a number, by every parser, against the C library's 64-bit conversions with the
/// ranges put on by hand, and against a model of the strict rules in 128 bits. Any number as text,
/// against the C library's.
#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <optional>
#include <string>

#include "base/convert/digit_scan.h"
#include "base/convert/number_from_digits.h"
#include "base/convert/number_from_text.h"
#include "base/convert/number_to_text.h"
#include "text_input.h"

namespace {

using expected = std::optional<i64>;

/// Whether the parser gives what is expected, and leaves its output alone when that is a failure.
template <typename Char, typename Number>
bool gives(kr_result (*parse)(const Char*, Number*), const Char* text, const expected& value) {
    constexpr auto untouched = static_cast<Number>(0x5A5A5A5A5A5A5A5A);
    Number number = untouched;
    const bool taken = parse(text, &number) == KR_SUCCESS;
    return taken == value.has_value() &&
           number == (taken ? static_cast<Number>(*value) : untouched);
}

struct conversion {
    i64 value;
    bool in_range;
    bool whole;
    bool any;
};

conversion convert(const char* text, int base) {
    char* end = nullptr;
    errno = 0;
    const long long value = std::strtoll(text, &end, base);
    return {value, errno == 0, *end == '\0', end != text};
}

void check_runtime_parsers(const char* narrow, const kr_char* wide, bool ascii) {
    const conversion any_base = convert(narrow, 0);
    const conversion decimal = convert(narrow, 10);
    const bool whole = any_base.whole && any_base.in_range;
    const auto within = [](const conversion& c, i64 low, i64 high) {
        return c.whole && c.in_range && c.value >= low && c.value <= high ? expected(c.value)
                                                                          : std::nullopt;
    };
    const expected u16_value = within(any_base, 0, 0xFFFF);
    expected u32_value = within(decimal, -i64{0xFFFFFFFF}, 0xFFFFFFFF);
    if (u32_value == 0 && *narrow != '0') {
        u32_value = std::nullopt;
    }
    const bool plain_zero = narrow[std::strspn(narrow, "-0123456789")] == '\0';
    require(gives(kr_string_to_ui16_a, narrow, u16_value));
    require(gives(kr_string_to_ui32_a, narrow, u32_value));
    require(gives(kr_string_to_si32_a, narrow,
                  whole && any_base.value == static_cast<i32>(any_base.value)
                      ? expected(any_base.value)
                      : std::nullopt));
    require(gives(kr_string_to_si64_a, narrow,
                  decimal.value != 0 || plain_zero ? expected(decimal.value) : std::nullopt));

    char* end = nullptr;
    const auto hexadecimal = static_cast<u32>(std::strtoull(narrow, &end, 16));
    require(gives(kr_string_hexstr_to_ui32_a, narrow,
                  end != narrow ? expected(hexadecimal) : std::nullopt));
    if (ascii) { // what digits and blanks there are beyond, the runtime decides
        const expected wide_value = decimal.in_range ? expected(decimal.value) : std::nullopt;
        require(gives(kr_string_to_ui16_w, wide, u16_value));
        require(gives(kr_string_to_ui32_w, wide, u32_value));
        require(gives(kr_string_to_si64_w, wide, wide_value));
        require(gives(kr_string_to_ui64_w, wide, wide_value));
    }
}

struct strict {
    kr_result result;
    u64 value;
};

strict parse_strictly(std::string_view digits, u64 limit) {
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

void check_strict_parsers(std::string_view text, const char* narrow, const kr_char* wide) {
    strict model = parse_strictly(text, std::numeric_limits<u64>::max());
    if (text.empty()) {
        model.result = kr_result_make_error(KR_INVALID_ARGUMENT_TO_FUNCTION);
    }
    u64 value = 0;
    require(kr_string_to_ui64_a_generic(narrow, &value) == model.result && value == model.value);
    value = 0;
    require(kr_string_to_ui64_w_generic(wide, &value) == model.result && value == model.value);

    const bool negative = text.starts_with('-');
    strict signed_model = parse_strictly(text.substr(negative ? 1 : 0), INT64_MAX);
    if (text.empty()) {
        signed_model.result = kr_result_make_error(KR_INVALID_ARGUMENT_TO_FUNCTION);
    }
    i64 signed_value = 0;
    require(kr_string_to_si64_a_generic(narrow, &signed_value) == signed_model.result);
    const auto magnitude = static_cast<i64>(signed_model.value);
    require(signed_value == (negative ? -magnitude : magnitude));
}

template <typename Char>
void check_blocks(const Char* text) {
#if KR_VECTORS
    const auto one_by_one = kr::detail::plain::scan_digits(text);
    const auto by_blocks = kr::detail::vectors::scan_digits(text);
    require(one_by_one.count == by_blocks.count && one_by_one.value == by_blocks.value);
#endif
}

void check_texts(u64 value) {
    const auto signed_value = static_cast<i64>(value);
    const std::string text = std::to_string(value);
    const std::string signed_text = std::to_string(signed_value);
    char narrow[KR_STRING_INTEGER_CHARS];
    kr_char wide[KR_STRING_INTEGER_CHARS];
    require(kr_string_from_ui64_a_generic(value, narrow) == KR_SUCCESS && narrow == text);
    require(kr_string_from_si64_a(signed_value, narrow) == KR_SUCCESS && narrow == signed_text);
    require(kr_string_from_ui64_w(value, wide) == KR_SUCCESS &&
            wide == std::u16string(text.begin(), text.end()));
    require(kr_string_from_si64_w(signed_value, wide) == KR_SUCCESS &&
            wide == std::u16string(signed_text.begin(), signed_text.end()));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const u8* data, size_t size) {
    const std::string_view text = text_of(data, size);
    const exact_text<char> narrow(text);
    const exact_text<kr_char> wide(text);
    const bool ascii = std::all_of(text.begin(), text.end(), [](char c) { return c > 0; });
    check_runtime_parsers(narrow, wide, ascii);
    check_strict_parsers(text, narrow, wide);
    check_blocks<char>(narrow);
    check_blocks<kr_char>(wide);
    u64 value = 0;
    std::memcpy(&value, data, size < sizeof value ? size : sizeof value);
    check_texts(value);
    return 0;
}
