/// The C runtime's wide-character and number routines for 16-bit text.
#include "platform/host/crt.h"

#include <algorithm>
#include <atomic>
#include <concepts>
#include <cstdarg>
#include <limits>
#include <memory>
#include <string>
#include <type_traits>

namespace {

template <typename Char>
constexpr Char fold_ascii(Char unit, char first, char last, int distance) {
    return unit >= static_cast<Char>(first) && unit <= static_cast<Char>(last)
               ? static_cast<Char>(unit + distance)
               : unit;
}

} // namespace

int _wcsicmp(const WCHAR* a, const WCHAR* b) {
    return _wcsnicmp(a, b, std::numeric_limits<std::size_t>::max());
}

int _wcsnicmp(const WCHAR* a, const WCHAR* b, std::size_t count) {
    for (; count != 0; ++a, ++b, --count) {
        const int difference = towlower(*a) - towlower(*b);
        if (difference != 0 || *a == 0) {
            return difference;
        }
    }
    return 0;
}

WCHAR towlower(WCHAR unit) {
    return fold_ascii(unit, 'A', 'Z', 'a' - 'A');
}

namespace {

std::atomic<_invalid_parameter_handler> invalid_parameter{nullptr};

errno_t refuse(errno_t error) {
    if (const _invalid_parameter_handler handler = invalid_parameter.load(); handler != nullptr) {
        handler(nullptr, nullptr, nullptr, 0, 0);
    }
    errno = error;
    return error;
}

/// Copies to target[used..]; a failure empties the target.
errno_t copy_checked(WCHAR* target, std::size_t size_chars, std::size_t used, const WCHAR* text) {
    if (text == nullptr) {
        *target = 0;
        return refuse(EINVAL);
    }
    for (std::size_t i = used; i < size_chars; ++i) {
        target[i] = text[i - used];
        if (target[i] == 0) {
            return 0;
        }
    }
    *target = 0;
    return refuse(ERANGE);
}

} // namespace

_invalid_parameter_handler _set_invalid_parameter_handler(_invalid_parameter_handler handler) {
    return invalid_parameter.exchange(handler);
}

errno_t wcscpy_s(WCHAR* target, std::size_t size_chars, const WCHAR* text) {
    if (target == nullptr || size_chars == 0) {
        return refuse(EINVAL);
    }
    return copy_checked(target, size_chars, 0, text);
}

errno_t wcscat_s(WCHAR* target, std::size_t size_chars, const WCHAR* text) {
    if (target == nullptr || size_chars == 0) {
        return refuse(EINVAL);
    }
    std::size_t used = 0;
    while (used < size_chars && target[used] != 0) {
        ++used;
    }
    if (used == size_chars) {
        *target = 0;
        return refuse(EINVAL);
    }
    return copy_checked(target, size_chars, used, text);
}

namespace {

constexpr int NO_DIGIT = 36;

template <typename Char>
constexpr int digit_value(Char unit) {
    if (unit >= '0' && unit <= '9') {
        return static_cast<int>(unit - '0');
    }
    const Char lower = fold_ascii(unit, 'A', 'Z', 'a' - 'A');
    return lower >= 'a' && lower <= 'z' ? static_cast<int>(lower - 'a') + 10 : NO_DIGIT;
}

template <typename Char>
constexpr bool is_blank(Char unit) {
    return unit == ' ' || (unit >= '\t' && unit <= '\r');
}

/// Takes the prefix that the base allows and settles base 0.
template <typename Char>
void take_prefix(const Char*& at, int& base) {
    const bool hex =
        at[0] == '0' && fold_ascii(at[1], 'A', 'Z', 'a' - 'A') == 'x' && digit_value(at[2]) < 16;
    if (base == 0) {
        base = hex ? 16 : at[0] == '0' ? 8 : 10;
    }
    if (base == 16 && hex) {
        at += 2;
    }
}

/// Reads digits into `magnitude`; returns whether they exceeded `limit`. `at` passes all of them.
template <typename Char>
bool take_digits(const Char*& at, int base, u64 limit, u64& magnitude) {
    bool overflow = false;
    const u64 radix = static_cast<u64>(base);
    for (int digit = 0; (digit = digit_value(*at)) < base; ++at) {
        const u64 added = static_cast<u64>(digit);
        overflow = overflow || magnitude > (limit - added) / radix;
        magnitude = magnitude * radix + added;
    }
    return overflow;
}

/// One conversion for every width: unsigned types take a sign too and wrap, as C has it.
template <std::integral Value, typename Char>
Value number_from_text(const Char* text, Char** end, int base) {
    if (end != nullptr) {
        *end = const_cast<Char*>(text);
    }
    if (text == nullptr || base < 0 || base == 1 || base > 36) {
        errno = EINVAL;
        return 0;
    }
    const Char* at = text;
    while (is_blank(*at)) {
        ++at;
    }
    const bool negative = *at == '-';
    if (negative || *at == '+') {
        ++at;
    }
    take_prefix(at, base);

    using limits = std::numeric_limits<Value>;
    const u64 limit =
        static_cast<u64>(limits::max()) + (std::is_signed_v<Value> && negative ? 1U : 0U);
    const Char* const digits = at;
    u64 magnitude = 0;
    const bool overflow = take_digits(at, base, limit, magnitude);
    if (at != digits && end != nullptr) {
        *end = const_cast<Char*>(at);
    }
    if (overflow) {
        errno = ERANGE;
        return std::is_signed_v<Value> && negative ? limits::min() : limits::max();
    }
    return static_cast<Value>(negative ? 0 - magnitude : magnitude);
}

} // namespace

LONG wcstol(const WCHAR* text, WCHAR** end, int base) {
    return number_from_text<LONG>(text, end, base);
}

ULONG wcstoul(const WCHAR* text, WCHAR** end, int base) {
    return number_from_text<ULONG>(text, end, base);
}

i64 _wcstoi64(const WCHAR* text, WCHAR** end, int base) {
    return number_from_text<i64>(text, end, base);
}

i64 _strtoi64(const char* text, char** end, int base) {
    return number_from_text<i64>(text, end, base);
}

int _snprintf(char* buffer, std::size_t room, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, arguments);
    va_end(arguments);
    const std::size_t whole_bytes = length < 0 ? 0 : static_cast<std::size_t>(length) + 1;
    const auto whole = std::make_unique<char[]>(whole_bytes);
    if (length >= 0) {
        std::vsnprintf(whole.get(), whole_bytes, format, again);
        std::memcpy(buffer, whole.get(), std::min(room, whole_bytes));
    }
    va_end(again);
    return length < 0 || static_cast<std::size_t>(length) > room ? -1 : length;
}
