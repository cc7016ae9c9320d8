/// The walk over a format's literal characters. For the engine's own sources; touches the language
/// only.
#pragma once

#include "base/text/text_walk.h"
#include "base/text/widen.h"
#include "platform/types.h"

namespace kr::detail {

/// Takes literal characters while there is room for them; moves both cursors. An `out` of null only
/// counts.
inline void take_literal_vectors(const char** format, kr_char* out, size_t* chars, size_t limit) {
    constexpr is_either<char> literals_end = {'%', '\0'};
    const size_t taken = scan::first_match(*format, literals_end, limit - *chars);
    if (out != nullptr) {
        widen(*format, taken, out + *chars);
    }
    *format += taken;
    *chars += taken;
}

} // namespace kr::detail
