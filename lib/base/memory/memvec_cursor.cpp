/// Memory vectors: cursors.
#include <algorithm>
#include <iterator>

#include "base/memory/memvec.h"
#include "base/memory/memvec_record.h"
#include "result/failures.h"

using kr::detail::invalid_argument;
using kr::detail::list_link;
using kr::detail::memvec_chunk;
using kr::detail::not_implemented;
using kr::detail::unexpected_behaviour;

namespace {

/// The chunk that holds `position` and its start in the vector; null when there is none.
memvec_chunk* find_chunk(kr_memvec& vector, u64 position, u64* start) {
    u64 begin = 0;
    for (list_link* link = vector.chunks.next; link != &vector.chunks; link = link->next) {
        auto* const chunk = static_cast<memvec_chunk*>(link);
        if (position - begin < chunk->size) {
            *start = begin;
            return chunk;
        }
        begin += chunk->size;
    }
    return nullptr;
}

} // namespace

kr_result kr_memvec_seek(kr_memvec_cursor* cursor, i32 offset, kr_memvec_cursor** out) {
    if (cursor == nullptr || out == nullptr) {
        return invalid_argument();
    }
    kr_memvec& vector = *cursor->vector;
    // Both terms fit in 32 bits, so the sum cannot overflow.
    const i64 position = static_cast<i64>(cursor->position) + offset;
    if (position < 0 || static_cast<u64>(position) >= vector.size) {
        return invalid_argument();
    }
    auto* const slot =
        std::find_if(std::begin(vector.cursors), std::end(vector.cursors),
                     [](const kr_memvec_cursor& candidate) { return candidate.in_use == 0; });
    if (slot == std::end(vector.cursors)) {
        return not_implemented();
    }
    u64 start = 0;
    memvec_chunk* const chunk = find_chunk(vector, static_cast<u64>(position), &start);
    if (chunk == nullptr) {
        return unexpected_behaviour();
    }
    slot->in_use = 1;
    slot->vector = &vector;
    slot->position = static_cast<u64>(position);
    slot->chunk = chunk;
    slot->offset = slot->position - start;
    slot->insert_before(chunk->cursors);
    *out = slot;
    return KR_SUCCESS;
}

void kr_memvec_release(kr_memvec_cursor* cursor) {
    if (cursor != nullptr && cursor->in_use != 0) {
        cursor->in_use = 0;
        cursor->unlink();
    }
}
