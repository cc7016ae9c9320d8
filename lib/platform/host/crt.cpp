/// The C runtime's wide-character and number routines for 16-bit text.
#include "platform/host/crt.h"

#include <algorithm>
#include <atomic>
#include <cctype>
#include <concepts>
#include <cstdarg>
#include <limits>
#include <string>
#include <type_traits>

int _wcsicmp(const WCHAR* a, const WCHAR* b) {
    return _wcsnicmp(a, b, std::numeric_limits<size_t>::max());
}

int _wcsnicmp(const WCHAR* a, const WCHAR* b, size_t count) {
    for (; count != 0; ++a, ++b, --count) {
        const int difference = towlower(*a) - towlower(*b);
        if (difference != 0 || *a == 0) {
            return difference;
        }
    }
    return 0;
}

WCHAR towlower(WCHAR unit) {
    return unit >= u'A' && unit <= u'Z' ? static_cast<WCHAR>(unit + (u'a' - u'A')) : unit;
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
errno_t copy_checked(WCHAR* target, size_t size_chars, size_t used, const WCHAR* text) {
    if (text == nullptr) {
        *target = 0;
        return refuse(EINVAL);
    }
    for (size_t i = used; i < size_chars; ++i) {
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

errno_t wcscpy_s(WCHAR* target, size_t size_chars, const WCHAR* text) {
    if (target == nullptr || size_chars == 0) {
        return refuse(EINVAL);
    }
    return copy_checked(target, size_chars, 0, text);
}

errno_t wcscat_s(WCHAR* target, size_t size_chars, const WCHAR* text) {
    if (target == nullptr || size_chars == 0) {
        return refuse(EINVAL);
    }
    size_t used = 0;
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

/// The unit as a number may hold it: as ASCII, with the decimal digits of all scripts that the
/// runtime of Windows knows and the no-break space as it takes them; 0 for one that ends any
/// number.
template <typename Char>
char number_unit(Char unit) {
    constexpr u16 zeros[] = {0x0660, 0x06F0, 0x0966, 0x09E6, 0x0A66, 0x0AE6, 0x0B66, 0x0C66, 0x0CE6,
                             0x0D66, 0x0E50, 0x0ED0, 0x0F20, 0x1040, 0x17E0, 0x1810, 0xFF10};
    if (unit > 0 && unit < 0x80) {
        const char ascii = static_cast<char>(unit);
        return std::isalnum(ascii) != 0 || std::isspace(ascii) != 0 || ascii == '+' || ascii == '-'
                   ? ascii
                   : '\0';
    }
    if constexpr (sizeof(Char) == 2) {
        for (const u16 zero : zeros) {
            if (unit >= zero && unit - zero < 10) {
                return static_cast<char>('0' + (unit - zero));
            }
        }
        return unit == 0xA0 ? ' ' : '\0';
    }
    return '\0';
}

/// One conversion for every width, on the C library's widest: unsigned types take a sign too and
/// wrap, as C has it.
template <std::integral Value, typename Char>
Value number_from_text(const Char* text, Char** end, int base) {
    if (end != nullptr) {
        *end = const_cast<Char*>(text);
    }
    if (text == nullptr || base < 0 || base == 1 || base > 36) {
        errno = EINVAL;
        return 0;
    }
    std::string ascii;
    while (const char unit = number_unit(text[ascii.size()])) {
        ascii.push_back(unit);
    }
    char* stop = nullptr;
    const i64 value = std::strtoll(ascii.c_str(), &stop, base);
    if (end != nullptr) {
        *end = const_cast<Char*>(text + (stop - ascii.c_str()));
    }
    using limits = std::numeric_limits<Value>;
    constexpr i64 highest = limits::max();
    constexpr i64 lowest = std::is_signed_v<Value> ? i64{limits::min()} : -highest;
    if (value < lowest || value > highest) {
        errno = ERANGE;
        return std::is_signed_v<Value> && value < 0 ? limits::min() : limits::max();
    }
    return static_cast<Value>(value);
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

int _snprintf(char* buffer, size_t room, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    char* whole = nullptr;
    const int length = vasprintf(&whole, format, arguments);
    va_end(arguments);
    if (length < 0) {
        return -1;
    }
    const size_t length_bytes = static_cast<size_t>(length);
    std::memcpy(buffer, whole, std::min(room, length_bytes + 1));
    std::free(whole);
    return length_bytes > room ? -1 : length;
}
