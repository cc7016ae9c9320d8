/// One conversion of the subset that the formatting engine shares with the C library, and what the
/// C library makes of it. The differences by design are written out here.
#pragma once

#include <cstdio>
#include <string>

#include "platform/types.h"
#include "printf/printf.h"

namespace kr::test {

struct model_conversion {
    bool zeroes = false;
    bool alternate = false;
    u32 width = 0;
    const char* size = ""; ///< "", "h", "l", "ll" or "z"
    char letter = 'd';     ///< one of diouxXsc%
    u64 value = 0;         ///< cut to 32 bits unless `size` is "ll" or "z"
    std::string text;      ///< for s
    std::string before, behind;

    [[nodiscard]] bool is_64() const { return *size == 'z' || (*size == 'l' && size[1] == 'l'); }

    /// The format as the engine reads it.
    [[nodiscard]] std::string format() const {
        if (letter == '%') {
            return before + "%%" + behind;
        }
        return before + '%' + (zeroes ? "0" : "") + (alternate ? "#" : "") +
               (width == 0 ? "" : std::to_string(width)) + size + letter + behind;
    }

    /// The same for the C library.
    [[nodiscard]] std::string c_format() const {
        if (letter == '%') {
            return before + "%%" + behind;
        }
        const bool number = letter != 's' && letter != 'c';
        std::string out = before + '%';
        if (zeroes && number) { // the engine pads texts with blanks only
            out += '0';
        }
        if (alternate && (letter == 'x' || letter == 'X' || letter == 'o')) { // others ignore it
            out += '#';
        }
        if (width != 0 && letter != 'c') { // a character ignores the width
            out += std::to_string(width);
        }
        // h and l name 32 bits: they do not narrow and do not widen.
        return out + (number && is_64() ? "ll" : "") + letter + behind;
    }

    /// Calls `format_it(format, argument)` with the argument as its type.
    template <typename Format>
    auto call(const std::string& format, Format format_it) const {
        if (letter == 's') {
            return format_it(format.c_str(), text.c_str());
        }
        if (is_64() && letter != 'c') {
            return format_it(format.c_str(), static_cast<unsigned long long>(value));
        }
        return format_it(format.c_str(), static_cast<u32>(value));
    }

    [[nodiscard]] std::string expected() const {
        return call(c_format(), [](const char* c, auto argument) {
            std::string out(static_cast<size_t>(std::snprintf(nullptr, 0, c, argument)) + 1, '\0');
            std::snprintf(out.data(), out.size(), c, argument);
            out.pop_back();
            return out;
        });
    }

    [[nodiscard]] kr_result run(kr_char* buffer, size_t size_bytes, size_t* required) const {
        return call(format(), [&](const char* f, auto argument) {
            return kr_printf_format2(buffer, size_bytes, required, f, argument);
        });
    }
};

} // namespace kr::test
