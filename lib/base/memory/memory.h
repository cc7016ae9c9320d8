/// The allocator hooks that every allocation and release of the library goes through, and the raw
/// layer behind them. Public; sources reach the runtime heap and the log. As thread-safe as the
/// runtime heap, but for the setter.
#pragma once

#include "../../platform/types.h"
#include "../../result/result.h"

/// Gets `size` bytes, uninitialised, and stores their address in `out`; leaves `out` alone on a
/// failure. A size of 0 gives a distinct block, too.
using kr_memory_allocator = kr_result (*)(void** out, size_t size);
/// Takes back a block of the matching allocator, or null.
using kr_memory_deallocator = void (*)(void* ptr);

/// The pair in use, valid before any code runs; initially the raw functions below. The library
/// calls these and never the raw functions. A block that an operation of the library hands out is
/// given back with kr_memory_deallocate_hook.
extern kr_memory_allocator kr_memory_allocate_hook;
extern kr_memory_deallocator kr_memory_deallocate_hook;

/// Puts another allocator in; null stands for the raw function. Blocks of the old pair must have
/// been given back, and no other thread may be using the library: the hooks are read without a
/// lock.
void kr_memory_set_hooks(kr_memory_allocator allocate, kr_memory_deallocator deallocate);

/// Gets `size` bytes from the runtime heap; a size of 0 is noted in the log and taken as 1.
/// Returns KR_SUCCESS; KR_OUT_OF_MEMORY, logged, with `out` untouched;
/// KR_INVALID_ARGUMENT_TO_FUNCTION for a null `out`.
[[nodiscard]] kr_result kr_memory_allocate_raw(void** out, size_t size);

/// Gives a block back to the runtime heap, with a debug line. Null is allowed.
void kr_memory_deallocate_raw(void* ptr);

/// Copies `size` bytes between blocks that do not overlap. With a size of 0 the pointers may be
/// null.
void kr_memcpy(void* dst, const void* src, size_t size);
