/// Memory vectors: moving bytes in and out, within a chunk and across chunks.
#include <algorithm>

#include "base/memory/memvec.h"
#include "base/memory/memvec_record.h"
#include "base/memory/typed_memory.h"
#include "result/failures.h"

using kr::detail::invalid_argument;
using kr::detail::memvec_chunk;
using kr::detail::not_implemented;

namespace {

/// Whether `size` bytes from the cursor on lie in its chunk.
bool fits_chunk(const kr_memvec_cursor& cursor, u64 size) {
    return size <= cursor.chunk->size - cursor.offset;
}

/// The address of the cursor's byte in a chunk of flat memory.
u8* flat_address(const memvec_chunk& chunk, u64 offset) {
    return static_cast<u8*>(chunk.data) + offset;
}

/// Calls piece(chunk, offset, size) for each non-empty part of the range, in order, until one
/// fails. The range lies in the vector.
template <typename Piece>
kr_result for_each_piece(const kr_memvec_cursor& cursor, u64 size, Piece piece) {
    const memvec_chunk* chunk = cursor.chunk;
    u64 offset = cursor.offset;
    for (;;) {
        const u64 length = std::min(size, chunk->size - offset);
        if (length != 0) {
            const kr_result result = piece(*chunk, offset, length);
            if (kr_result_failed(result)) {
                return result;
            }
        }
        size -= length;
        // Behind the last chunk stands the head of the list, which is none.
        if (size == 0) {
            return KR_SUCCESS;
        }
        offset = 0;
        chunk = static_cast<const memvec_chunk*>(chunk->next);
    }
}

/// Tells whether the range lies in the vector and is backed throughout.
kr_result check_range(const kr_memvec_cursor& cursor, u64 size) {
    if (size > cursor.vector->size - cursor.position) {
        return invalid_argument();
    }
    return for_each_piece(cursor, size, [](const memvec_chunk& chunk, u64, u64) {
        return chunk.data != nullptr ? KR_SUCCESS : invalid_argument();
    });
}

/// Calls move(pointer) with a typed pointer to the chunk's byte at `offset`.
template <typename Move>
kr_result with_pointer(const memvec_chunk& chunk, u64 offset, Move move) {
    void* pointer = nullptr;
    kr_result result = kr_memory_ptr_ex(chunk.type, chunk.data, static_cast<i32>(offset), &pointer);
    if (kr_result_succeeded(result)) {
        result = move(pointer);
        kr_memory_ptr_release_ex(chunk.type, pointer);
    }
    return result;
}

kr_result copy_out(void* dst, const kr_memvec_cursor& cursor, u64 size) {
    const memvec_chunk& chunk = *cursor.chunk;
    if (chunk.data == nullptr) {
        return invalid_argument();
    }
    if (chunk.type != KR_MEMORY_TYPE_HEAP || !fits_chunk(cursor, size)) {
        return not_implemented();
    }
    return kr_memcpy_ex(KR_MEMORY_TYPE_HEAP, dst, KR_MEMORY_TYPE_HEAP,
                        flat_address(chunk, cursor.offset), size);
}

kr_result copy_in(const kr_memvec_cursor& cursor, const void* src, u64 size) {
    const memvec_chunk& chunk = *cursor.chunk;
    if (chunk.data == nullptr || !fits_chunk(cursor, size)) {
        return invalid_argument();
    }
    if (chunk.type != KR_MEMORY_TYPE_HEAP) {
        return not_implemented();
    }
    return kr_memcpy_ex(KR_MEMORY_TYPE_HEAP, flat_address(chunk, cursor.offset),
                        KR_MEMORY_TYPE_HEAP, src, size);
}

} // namespace

kr_result kr_memvec_assign(u32 dst_type, kr_memvec_cursor* cursor, u32 src_type, void* src,
                           u64 size) {
    if (cursor == nullptr || src == nullptr) {
        return invalid_argument();
    }
    if (dst_type != KR_MEMORY_TYPE_MEMVEC || !fits_chunk(*cursor, size)) {
        return not_implemented();
    }
    memvec_chunk& chunk = *cursor->chunk;
    if (chunk.data != nullptr && chunk.type == KR_MEMORY_TYPE_HEAP) {
        return kr_memcpy_ex(KR_MEMORY_TYPE_HEAP, flat_address(chunk, cursor->offset), src_type, src,
                            size);
    }
    if (chunk.data == nullptr && cursor->offset == 0 && size == chunk.size) {
        chunk.data = src;
        chunk.type = src_type;
        chunk.borrowed = 1;
        return KR_SUCCESS;
    }
    return not_implemented();
}

kr_result kr_memvec_copy(u32 dst_type, void* dst, u32 src_type, const void* src, u64 size) {
    if (dst == nullptr || src == nullptr) {
        return invalid_argument();
    }
    if (dst_type == KR_MEMORY_TYPE_HEAP && src_type == KR_MEMORY_TYPE_MEMVEC) {
        return copy_out(dst, *static_cast<const kr_memvec_cursor*>(src), size);
    }
    if (dst_type == KR_MEMORY_TYPE_MEMVEC && src_type == KR_MEMORY_TYPE_HEAP) {
        return copy_in(*static_cast<kr_memvec_cursor*>(dst), src, size);
    }
    return not_implemented();
}

kr_result kr_memvec_write(kr_memvec_cursor* cursor, const u8* src, u64 size) {
    if (cursor == nullptr || src == nullptr) {
        return invalid_argument();
    }
    const kr_result result = check_range(*cursor, size);
    if (kr_result_failed(result)) {
        return result;
    }
    return for_each_piece(*cursor, size, [&src](const memvec_chunk& chunk, u64 offset, u64 length) {
        const auto move = [&](void* pointer) {
            return kr_memcpy_ex(chunk.type, pointer, KR_MEMORY_TYPE_HEAP, src, length);
        };
        const kr_result moved = with_pointer(chunk, offset, move);
        src += length;
        return moved;
    });
}

kr_result kr_memvec_read(u8* dst, kr_memvec_cursor* cursor, u64 size) {
    if (cursor == nullptr || dst == nullptr) {
        return invalid_argument();
    }
    const kr_result result = check_range(*cursor, size);
    if (kr_result_failed(result)) {
        return result;
    }
    return for_each_piece(*cursor, size, [&dst](const memvec_chunk& chunk, u64 offset, u64 length) {
        const auto move = [&](void* pointer) {
            return kr_memcpy_ex(KR_MEMORY_TYPE_HEAP, dst, chunk.type, pointer, length);
        };
        const kr_result moved = with_pointer(chunk, offset, move);
        dst += length;
        return moved;
    });
}

void kr_memvec_fill(kr_memvec_cursor* cursor, u8 value, u64 size) {
    if (cursor == nullptr || kr_result_failed(check_range(*cursor, size))) {
        return;
    }
    (void)for_each_piece(*cursor, size, [value](const memvec_chunk& chunk, u64 offset, u64 length) {
        // Flat memory is all that can be set and needs no typed pointer; for the other types
        // the typed operation only reports that it cannot.
        const bool flat = chunk.type == KR_MEMORY_TYPE_HEAP || chunk.type == KR_MEMORY_TYPE_FLAT;
        kr_memset_ex(chunk.type, flat ? flat_address(chunk, offset) : chunk.data, value, length);
        return KR_SUCCESS;
    });
}
