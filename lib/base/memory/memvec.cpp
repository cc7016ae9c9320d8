/// Memory vectors: life of a vector, the module with its two pools, and the table through which the
/// typed operations reach vectors.
#include "base/memory/memvec.h"

#include <memory>

#include "base/memory/memory.h"
#include "base/memory/mempool.h"
#include "base/memory/memvec_record.h"
#include "base/memory/typed_memory.h"
#include "base/time/time.h"
#include "log/failure.h"
#include "result/failures.h"

using kr::detail::invalid_argument;
using kr::detail::list_link;
using kr::detail::memvec_chunk;
using kr::detail::memvec_chunk_pool;
using kr::detail::memvec_vector_pool;

constinit kr_mempool* kr::detail::memvec_vector_pool = nullptr;
constinit kr_mempool* kr::detail::memvec_chunk_pool = nullptr;

kr_result kr::detail::memvec_take_chunk(memvec_chunk** out) {
    void* element = nullptr;
    const kr_result result = kr_mempool_alloc(memvec_chunk_pool, &element);
    if (kr_result_succeeded(result)) {
        *out = std::construct_at(static_cast<memvec_chunk*>(element));
    }
    return result;
}

kr_result kr_memvec_create(u64 size, kr_memvec_cursor** out) {
    if (out == nullptr || size > KR_MEMVEC_SIZE_LIMIT) {
        return invalid_argument();
    }
    void* element = nullptr;
    kr_result result = kr_mempool_alloc(memvec_vector_pool, &element);
    if (kr_result_failed(result)) {
        return result;
    }
    memvec_chunk* chunk = nullptr;
    result = kr::detail::memvec_take_chunk(&chunk);
    if (kr_result_failed(result)) {
        kr_mempool_free(memvec_vector_pool, element);
        return result;
    }
    auto* const vector = std::construct_at(static_cast<kr_memvec*>(element));
    vector->size = size;
    chunk->size = size;
    chunk->insert_before(vector->chunks);
    kr_memvec_cursor& first = vector->cursors[0];
    first.in_use = 1;
    first.vector = vector;
    first.chunk = chunk;
    first.insert_before(chunk->cursors);
    *out = &first;
    return result;
}

void kr_memvec_destroy(kr_memvec_cursor* cursor) {
    if (cursor == nullptr) {
        return;
    }
    kr_memvec* const vector = cursor->vector;
    while (!vector->chunks.empty()) {
        auto* const chunk = static_cast<memvec_chunk*>(vector->chunks.next);
        chunk->unlink();
        if (chunk->data != nullptr && chunk->borrowed == 0) {
            kr_memory_deallocate_ex(chunk->type, chunk->data);
        }
        kr_mempool_free(memvec_chunk_pool, chunk);
    }
    while (!vector->extra_blocks.empty()) {
        list_link* const block = vector->extra_blocks.next;
        block->unlink();
        kr_memory_deallocate_hook(block);
    }
    kr_mempool_free(memvec_vector_pool, vector);
}

namespace {

kr_memvec_cursor* as_cursor(void* ptr) {
    return static_cast<kr_memvec_cursor*>(ptr);
}

/// Hands a new cursor out as a typed pointer.
kr_result hand_out(kr_result result, kr_memvec_cursor* cursor, void** out) {
    if (kr_result_succeeded(result)) {
        *out = cursor;
    }
    return result;
}

kr_result vector_allocate(void** out, size_t size) {
    kr_memvec_cursor* cursor = nullptr;
    const kr_result result = kr_memvec_create(size, &cursor);
    return hand_out(result, cursor, out);
}

kr_result vector_seek(void* base, i32 offset, void** out) {
    kr_memvec_cursor* cursor = nullptr;
    const kr_result result = kr_memvec_seek(as_cursor(base), offset, &cursor);
    return hand_out(result, cursor, out);
}

constexpr kr_memory_operations vector_operations = {
    .allocate = vector_allocate,
    .deallocate = [](void* ptr) { kr_memvec_destroy(as_cursor(ptr)); },
    .set = nullptr,
    .seek = vector_seek,
    .release = [](void* ptr) { kr_memvec_release(as_cursor(ptr)); },
    .prepare = [](void* ptr, size_t size) { return kr_memvec_prepare(as_cursor(ptr), size); },
    .split = [](void* ptr, size_t size) { return kr_memvec_split(as_cursor(ptr), size); },
    .copy = kr_memvec_copy,
    .assign =
        [](u32 dst_type, void* dst, u32 src_type, void* src, size_t size) {
            return kr_memvec_assign(dst_type, as_cursor(dst), src_type, src, size);
        },
};

void destroy_pool(kr_mempool*& pool) {
    kr_mempool_destroy(pool);
    pool = nullptr;
}

kr_result create_pool(const kr_char* name, u64 element_size, kr_mempool** out) {
    kr_time time_out;
    kr_time_fromSeconds(&time_out, 60);
    return kr_mempool_create(name, element_size, 0, 0, 0, &time_out, 0, out);
}

kr_result memvec_fini() {
    kr_memory_set_vector_operations(nullptr);
    destroy_pool(memvec_chunk_pool);
    destroy_pool(memvec_vector_pool);
    return KR_SUCCESS;
}

} // namespace

kr_result kr_memvec_init() {
    kr_result result = create_pool(KR_TEXT("memvecv"), sizeof(kr_memvec), &memvec_vector_pool);
    if (kr_result_failed(result)) {
        KR_LOG_FAILURE(KR_LOG_OTHER, KR_LOG_ERROR, result,
                       "memvec vector mempool creation failed.");
        return result;
    }
    result = create_pool(KR_TEXT("memvecc"), sizeof(memvec_chunk), &memvec_chunk_pool);
    if (kr_result_failed(result)) {
        KR_LOG_FAILURE(KR_LOG_OTHER, KR_LOG_ERROR, result, "memvec chunk mempool creation failed.");
        destroy_pool(memvec_vector_pool);
        return result;
    }
    kr_memory_set_vector_operations(&vector_operations);
    return KR_SUCCESS;
}

kr_module* kr_memvec_module() {
    static constinit kr_module descriptor = {"memory vector", kr_memvec_init, memvec_fini, nullptr};
    return &descriptor;
}
