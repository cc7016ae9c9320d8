/// A format's output with all that holds for every format checked on the way.
#pragma once

#include <cstdarg>

#include "printf/printf.h"
#include "support/guarded_buffer.h"

namespace kr::test {

/// A pointer as it stands in an argument's slot.
inline u64 slot_of(const void* pointer) { return reinterpret_cast<std::uintptr_t>(pointer); }

/// Calls `call` with a list of the other arguments.
template <typename Call>
kr_result with_list(const Call* call, ...) {
    va_list args;
    va_start(args, call);
    const kr_result result = (*call)(&args);
    va_end(args);
    return result;
}

/// The text, or the failure as eight digits. Measuring reports exactly what writing needs, an odd
/// byte more changes nothing, less is refused without a byte touched outside and without a size
/// reported.
template <typename... Args>
std::string formatted(const char* format, Args... args) {
    const auto run = [&](kr_char* buffer, size_t size, size_t* required) {
        return kr_printf_format2(buffer, size, required, format, args...);
    };
    size_t measured = 0;
    const kr_result result = run(nullptr, 0, &measured);
    if (kr_result_failed(result)) {
        guarded_buffer<kr_char> buffer(512);
        EXPECT_EQ(run(buffer.data(), buffer.size_bytes(), &measured), result);
        EXPECT_EQ(measured, 0u);
        char text[16];
        std::snprintf(text, sizeof(text), "%08X", result);
        return text;
    }
    std::string text;
    // Much room too: the engine writes numbers at once where the longest has room.
    for (const size_t more : {0, 1, 100}) {
        guarded_buffer<kr_char> buffer(byte_count{measured + more});
        size_t required = 0;
        EXPECT_EQ(run(buffer.data(), buffer.size_bytes(), &required), ok);
        EXPECT_EQ(required, measured);
        EXPECT_TRUE(buffer.untouched((measured + 1) / 2));
        if (more != 0) { EXPECT_EQ(utf8(buffer.data()), text) << format; }
        text = utf8(buffer.data());
        EXPECT_EQ((text.size() + 1) * 2, measured);
    }
    for (size_t size = 0; size < measured; ++size) {
        guarded_buffer<kr_char> buffer(byte_count{size});
        size_t required = 7;
        const kr_result failure = run(buffer.data(), size, &required);
        // A description that finds no room at all has an answer of its own.
        EXPECT_TRUE(failure == too_small || failure == unexpected) << std::hex << failure;
        EXPECT_EQ(required, 7u);
    }
    return text;
}

} // namespace kr::test
