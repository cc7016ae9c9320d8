/// Small utilities on heap buffers: grow, duplicate, test for zeros. Public; allocates through the
/// hooks and keeps no state: safe from any thread.
#pragma once

#include "../../platform/types.h"
#include "../../result/result.h"

/// Makes sure that `*buf`, a heap block of `*size` bytes or null, holds `new_size` bytes; content
/// is kept, and a buffer never shrinks. On success with a new block the old one is released, and
/// `*buf` and `*size` describe the new one. Returns KR_SUCCESS; the allocation's or copy's failure
/// with buffer and size untouched; KR_INVALID_ARGUMENT_TO_FUNCTION for a null argument.
[[nodiscard]] kr_result kr_memory_grow(void** buf, size_t* size, size_t new_size);

/// As kr_memory_grow, but a new block has `needed + reserve` bytes. A sum that no size_t holds is
/// KR_OUT_OF_MEMORY.
[[nodiscard]] kr_result kr_memory_grow_reserve(void** buf, size_t* capacity, size_t needed,
                                               size_t reserve);

/// Copies `size` bytes of `src` into a new block, which the caller releases with the deallocate
/// hook.
/// Returns KR_SUCCESS; the allocation's failure with `out` untouched;
/// KR_INVALID_ARGUMENT_TO_FUNCTION for a null `out`, or a null `src` with a size.
[[nodiscard]] kr_result kr_memdup(const void* src, void** out, size_t size);

/// Whether every one of `size` bytes is 0; true for an empty block.
[[nodiscard]] bool kr_memory_is_zero(const void* buf, size_t size);
