/// Memory pools: elements of one size, handed out from a stock that grows by itself. Public. Takes
/// its memory through the allocate hook; logs nothing.
///
/// A pool may be used by several threads at once. Its lock is held for bookkeeping only, never
/// while memory is allocated. The element handed out next is the one that came back last; elements
/// that were never handed out follow in the order in which they were made. Elements are not zeroed.
#pragma once

#include "../../platform/types.h"
#include "../../result/result.h"
#include "../time/time_value.h"

/// Flag of kr_mempool_create: a pool that has reached its bound refuses instead of waiting.
inline constexpr u32 KR_MEMPOOL_FAIL_WHEN_FULL = 0x00000001;

/// Number of elements per growth where the creator gives 0.
inline constexpr u32 KR_MEMPOOL_DEFAULT_GROW_COUNT = 10;

struct kr_mempool;

/// Creates a pool whose stock is `grow_count` elements (0: KR_MEMPOOL_DEFAULT_GROW_COUNT) of
/// `element_size` bytes, each a block of its own from the allocate hook, and which grows by as many
/// when it runs out, up to `max_count` elements (0: no bound). The initial stock is made in full
/// even where it exceeds `max_count`. `name` and `time_out` are copied here; no operation waits by
/// the pool's time-out. The caller owns `*out` and ends it with kr_mempool_destroy.
/// Returns KR_SUCCESS; KR_INVALID_ARGUMENT_TO_FUNCTION when a pointer is null, `element_size` is 0
/// or bit 31 of `flags` is set; KR_FUNCTION_NOT_IMPLEMENTED when `reserved` is not 0; the
/// allocator's failure, after which nothing stays allocated.
[[nodiscard]] kr_result kr_mempool_create(const kr_char* name, u64 element_size, u32 flags,
                                          u32 grow_count, u32 max_count, const kr_time* time_out,
                                          u64 reserved, kr_mempool** out);

/// Hands out one element in constant time; a growth costs its allocations and, when the room for
/// pointers is doubled, one copy of them. Any thread. A pool at its bound waits, its lock free and
/// the processor yielded, until another thread gives an element back, however long that takes.
/// Returns KR_SUCCESS; KR_MEMORY_POOL_IS_FULL at the bound of a pool with
/// KR_MEMPOOL_FAIL_WHEN_FULL; KR_INVALID_ARGUMENT_TO_FUNCTION when a pointer is null; the
/// allocator's failure during growth, which leaves the pool as it was: a later call tries again.
[[nodiscard]] kr_result kr_mempool_alloc(kr_mempool* pool, void** out);

/// Gives `element` back, in constant time whatever the size of the stock. A pointer that the pool
/// did not hand out, or that came back already, changes nothing; it is not dereferenced. Any
/// thread.
void kr_mempool_free(kr_mempool* pool, void* element);

/// Frees every element, handed out or not, and the pool. No other thread may be using the pool or
/// its elements. Null is ignored.
void kr_mempool_destroy(kr_mempool* pool);
