/// The copy of a short text. For the library's own sources; touches the language only.
#pragma once

#include <cstring>

#include "platform/types.h"
#include "platform/vectors.h"

namespace kr::detail {

#if KR_VECTORS
/// Copies at least `Step` characters, that many at a time. The last ones overlap those before them:
/// cheaper than a loop over the rest.
template <size_t Step, auto Copy, typename From, typename To>
[[gnu::always_inline]] inline void copy_by(const From* src, size_t count, To* dst) {
    const size_t last = count - Step;
    for (size_t i = 0; i < last; i += Step) {
        Copy(src + i, dst + i);
    }
    Copy(src + last, dst + last);
}

inline void copy_8(const kr_char* src, kr_char* dst) {
    vectors::store(dst, vectors::load(src));
}

inline void copy_4(const kr_char* src, kr_char* dst) {
    std::memcpy(dst, src, sizeof(u64));
}
#endif

/// Copies `count` characters and no terminator; the blocks do not overlap. Inline: most texts of a
/// line are shorter than what a call costs.
inline void copy_text(const kr_char* src, size_t count, kr_char* dst) {
#if KR_VECTORS
    if (count >= 8) {
        return copy_by<8, copy_8>(src, count, dst);
    }
    if (count >= 4) {
        return copy_by<4, copy_4>(src, count, dst);
    }
#endif
    for (size_t i = 0; i < count; ++i) {
        dst[i] = src[i];
    }
}

} // namespace kr::detail
