/// The walks over 16-bit text that the wide-string operations stand on, twice: as plain loops and
/// on 16-byte vectors. Private to this directory and to the tests, which hold one against the
/// other.
///
/// Common to both: strings are NUL-terminated and aligned as kr_char is; a position is returned as
/// a number of characters.
#pragma once

#include "platform/types.h"
#include "platform/vectors.h"

namespace kr::detail {

namespace plain {

inline u64 length(const kr_char* s) {
    u64 at = 0;
    while (s[at] != 0) {
        ++at;
    }
    return at;
}

/// The length, or `limit` when there is no terminator among the first `limit` characters. Reads no
/// more than these.
inline u64 length_within(const kr_char* s, u64 limit) {
    u64 at = 0;
    while (at < limit && s[at] != 0) {
        ++at;
    }
    return at;
}

/// The position of the first `c` or of the terminator, whichever comes first.
inline u64 find_or_end(const kr_char* s, kr_char c) {
    u64 at = 0;
    while (s[at] != 0 && s[at] != c) {
        ++at;
    }
    return at;
}

/// The position of the first difference or of the common end, or `limit` when the first `limit`
/// characters are equal.
inline u64 mismatch(const kr_char* a, const kr_char* b, u64 limit) {
    u64 at = 0;
    while (at < limit && a[at] == b[at] && a[at] != 0) {
        ++at;
    }
    return at;
}

bool is_zero(const void* buf, size_t size);

} // namespace plain

#if KR_VECTORS
namespace vectors {

u64 length(const kr_char* s);
u64 length_within(const kr_char* s, u64 limit);
u64 find_or_end(const kr_char* s, kr_char c);
u64 mismatch(const kr_char* a, const kr_char* b, u64 limit);
/// Reads nothing outside the block.
bool is_zero(const void* buf, size_t size);

} // namespace vectors
#else
namespace vectors = plain;
#endif

/// What the operations use.
#if KR_READS_ARE_WATCHED
namespace scan = plain;
#else
namespace scan = vectors;
#endif

} // namespace kr::detail
