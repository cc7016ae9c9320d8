/// The records behind a memory vector, for the sources base/memory/memvec*.cpp and their tests.
#pragma once

#include "base/memory/list_link.h"
#include "base/memory/mempool.h"
#include "base/memory/memvec.h"
#include "platform/types.h"

struct kr_memvec;

namespace kr::detail {

/// A stretch of a vector; an element of the chunk pool. The chunks of a vector cover it without
/// gaps, in the order of its list.
struct memvec_chunk : list_link {
    /// One of KR_MEMORY_TYPE_* or any other number that came with lent memory; tells nothing while
    /// the chunk is not backed.
    u32 type = 0;
    /// 1: the vector does not free `data`.
    u32 borrowed = 0;
    /// Memory of the type `type`; null while the chunk is not backed.
    void* data = nullptr;
    u64 size = 0;
    /// The cursors in use that stand in this chunk.
    list_link cursors;
};

} // namespace kr::detail

struct kr_memvec_cursor : kr::detail::list_link {
    u32 in_use = 0;
    kr_memvec* vector = nullptr;
    /// From the start of the vector and from the start of the chunk.
    u64 position = 0;
    kr::detail::memvec_chunk* chunk = nullptr;
    u64 offset = 0;
};

/// A vector's header; an element of the vector pool.
struct kr_memvec {
    kr::detail::list_link chunks;
    u64 size = 0;
    kr_memvec_cursor cursors[KR_MEMVEC_CURSOR_COUNT];
    /// Blocks of the allocate hook that begin with their link and live as long as the vector.
    /// Nothing in the library adds one; the vector's end frees those of a program that does.
    kr::detail::list_link extra_blocks;
};

namespace kr::detail {

/// The module's pools; null unless it has started.
extern kr_mempool* memvec_vector_pool;
extern kr_mempool* memvec_chunk_pool;

/// Takes a chunk from its pool: not backed, empty, in no list.
[[nodiscard]] kr_result memvec_take_chunk(memvec_chunk** out);

} // namespace kr::detail
