/// The test of a block for zeros, twice: by a plain loop and on 16-byte vectors. Private to the
/// library's base and to the tests, which hold one against the other.
#pragma once

#include <algorithm>
#include <cstring>

#include "platform/types.h"
#include "platform/vectors.h"

namespace kr::detail {

namespace plain {

inline bool is_zero(const void* buf, size_t size) {
    const auto* bytes = static_cast<const u8*>(buf);
    for (; size >= sizeof(u64); size -= sizeof(u64), bytes += sizeof(u64)) {
        u64 word = 0;
        std::memcpy(&word, bytes, sizeof word);
        if (word != 0) {
            return false;
        }
    }
    return std::all_of(bytes, bytes + size, [](u8 value) { return value == 0; });
}

} // namespace plain

#if KR_VECTORS
namespace vectors {

/// Reads nothing outside the block.
inline bool is_zero(const void* buf, size_t size) {
    if (size < block_bytes) {
        return plain::is_zero(buf, size);
    }
    const auto block_is_zero = [](const u8* block) {
        const __m128i low = _mm_or_si128(load(block), load(block + vector_bytes));
        const __m128i high =
            _mm_or_si128(load(block + 2 * vector_bytes), load(block + 3 * vector_bytes));
        const __m128i zeros = _mm_cmpeq_epi8(_mm_or_si128(low, high), _mm_setzero_si128());
        return _mm_movemask_epi8(zeros) == 0xFFFF;
    };
    const auto* bytes = static_cast<const u8*>(buf);
    // The last block may overlap the one before it.
    const u8* const last = bytes + (size - block_bytes);
    for (; bytes < last; bytes += block_bytes) {
        if (!block_is_zero(bytes)) {
            return false;
        }
    }
    return block_is_zero(last);
}

} // namespace vectors
#endif

} // namespace kr::detail
