/// Memory vectors: the chunk that a cursor stands in is cut and gets its memory.
#include "base/memory/memvec.h"
#include "base/memory/memvec_record.h"
#include "base/memory/typed_memory.h"
#include "result/failures.h"

using kr::detail::invalid_argument;
using kr::detail::list_link;
using kr::detail::memvec_chunk;
using kr::detail::memvec_chunk_pool;
using kr::detail::not_implemented;
using kr::detail::unexpected_behaviour;

namespace {

/// Cuts the first `at` bytes off `chunk` into `front`, a fresh chunk. A backed chunk is heap
/// memory: the two share its block by address, and the front, where the block begins, inherits its
/// owner. Each cursor goes to the part that holds its byte.
void cut_front(memvec_chunk& chunk, u64 at, memvec_chunk& front) {
    front.type = chunk.type;
    front.size = at;
    chunk.size -= at;
    if (chunk.data != nullptr) {
        front.data = chunk.data;
        front.borrowed = chunk.borrowed;
        chunk.data = static_cast<u8*>(chunk.data) + at;
        chunk.borrowed = 1;
    }
    front.insert_before(chunk);
    for (list_link* link = chunk.cursors.next; link != &chunk.cursors;) {
        auto* const cursor = static_cast<kr_memvec_cursor*>(link);
        link = link->next;
        if (cursor->offset < at) {
            cursor->unlink();
            cursor->chunk = &front;
            cursor->insert_before(front.cursors);
        } else {
            cursor->offset -= at;
        }
    }
}

} // namespace

kr_result kr_memvec_split(kr_memvec_cursor* cursor, u64 size) {
    if (cursor == nullptr) {
        return invalid_argument();
    }
    if (cursor->in_use == 0) {
        return unexpected_behaviour();
    }
    memvec_chunk& chunk = *cursor->chunk;
    const u64 before = cursor->offset;
    const bool cuts_before = before != 0;
    const bool cuts_behind = chunk.size - before > size;
    if ((cuts_before || cuts_behind) && chunk.data != nullptr &&
        chunk.type != KR_MEMORY_TYPE_HEAP) {
        return not_implemented();
    }
    // Both chunks are taken before anything is cut, so that a failure changes nothing.
    memvec_chunk* front = nullptr;
    if (cuts_before) {
        const kr_result result = kr::detail::memvec_take_chunk(&front);
        if (kr_result_failed(result)) {
            return result;
        }
    }
    memvec_chunk* middle = nullptr;
    if (cuts_behind) {
        const kr_result result = kr::detail::memvec_take_chunk(&middle);
        if (kr_result_failed(result)) {
            kr_mempool_free(memvec_chunk_pool, front);
            return result;
        }
    }
    if (cuts_before) {
        cut_front(chunk, before, *front);
    }
    if (cuts_behind) {
        cut_front(chunk, size, *middle);
    }
    return KR_SUCCESS;
}

kr_result kr_memvec_prepare(kr_memvec_cursor* cursor, u64 size) {
    const kr_result result = kr_memvec_split(cursor, size);
    if (kr_result_failed(result)) {
        return result;
    }
    memvec_chunk& chunk = *cursor->chunk;
    if (chunk.size != size) {
        return not_implemented();
    }
    if (chunk.data != nullptr) {
        return KR_SUCCESS;
    }
    const kr_result allocated =
        kr_memory_allocate_ex(KR_MEMORY_TYPE_HEAP, &chunk.data, static_cast<size_t>(size));
    if (kr_result_succeeded(allocated)) {
        chunk.borrowed = 0;
        chunk.type = KR_MEMORY_TYPE_HEAP;
    }
    return allocated;
}
