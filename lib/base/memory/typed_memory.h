/// The typed memory operations: each takes a memory type beside each pointer, so that one call
/// works on a flat block and on a memory vector alike. Public; knows a type only by its table of
/// operations. As thread-safe as what the table's operations are.
#pragma once

#include "../../platform/types.h"
#include "../../result/result.h"

/// Memory types. Any other value is an unknown type.
enum : u32 {
    /// Flat memory of the caller; kr_memset_ex alone accepts it.
    KR_MEMORY_TYPE_FLAT = 5,
    /// A block of the allocate hook; the pointer is the address of byte 0.
    KR_MEMORY_TYPE_HEAP = 104,
    /// A memory vector; the pointer is one of its cursors.
    KR_MEMORY_TYPE_MEMVEC = 10001,
};

/// What one memory type can do. An operation that the type does not have is null. The contracts
/// are those of the public operations below, which pass their arguments on unchanged.
struct kr_memory_operations {
    kr_result (*allocate)(void** out, size_t size) = nullptr;
    void (*deallocate)(void* ptr) = nullptr;
    void (*set)(void* ptr, u8 value, size_t size) = nullptr;
    /// Makes a pointer `offset` bytes from `base`.
    kr_result (*seek)(void* base, i32 offset, void** out) = nullptr;
    /// Gives back a pointer that seek made.
    void (*release)(void* ptr) = nullptr;
    kr_result (*prepare)(void* ptr, size_t size) = nullptr;
    kr_result (*split)(void* ptr, size_t size) = nullptr;
    /// Copies where this type stands on one side at least; heap to heap never comes here.
    kr_result (*copy)(u32 dst_type, void* dst, u32 src_type, const void* src,
                      size_t size) = nullptr;
    /// Assigns to a destination of this type from any type; the destination may keep `src`.
    kr_result (*assign)(u32 dst_type, void* dst, u32 src_type, void* src, size_t size) = nullptr;
};

/// Puts in the memory vector's operations, as its module does when it starts; null takes them out.
/// Until then KR_MEMORY_TYPE_MEMVEC is an unknown type. The table must live until it is taken out.
/// Any thread, though a caller in flight keeps the table that it found.
void kr_memory_set_vector_operations(const kr_memory_operations* operations);

/// Gets `size` bytes of memory of the type `type` and stores the pointer in `out`. The caller gives
/// it back with kr_memory_deallocate_ex and the same type.
/// Returns KR_SUCCESS, the allocation's failure with `out` untouched, KR_FUNCTION_NOT_IMPLEMENTED
/// for a type that cannot allocate, or KR_INVALID_ARGUMENT_TO_FUNCTION for a null `out`.
[[nodiscard]] kr_result kr_memory_allocate_ex(u32 type, void** out, size_t size);

/// Gives memory back. A type that cannot do so is logged and the memory left alone.
void kr_memory_deallocate_ex(u32 type, void* ptr);

/// Copies `size` bytes. The test for two heap blocks comes first, then the destination's type
/// decides, then the source's.
/// Returns KR_SUCCESS, the memory vector's failure, KR_FUNCTION_NOT_IMPLEMENTED, logged, for a pair
/// that no type can copy, or KR_INVALID_ARGUMENT_TO_FUNCTION for a null heap block with a size.
[[nodiscard]] kr_result kr_memcpy_ex(u32 dst_type, void* dst, u32 src_type, const void* src,
                                     size_t size);

/// Fills `size` bytes of heap or flat memory with `value`. Any other type is logged and the memory
/// left alone. Nothing happens for a null `ptr` of these two types.
void kr_memset_ex(u32 type, void* ptr, u8 value, size_t size);

/// Makes a pointer `offset` bytes from `base`, unchecked for heap memory. It is given back with
/// kr_memory_ptr_release_ex and the same type.
/// Returns KR_SUCCESS, the memory vector's failure with `out` untouched,
/// KR_FUNCTION_NOT_IMPLEMENTED, or KR_INVALID_ARGUMENT_TO_FUNCTION for a null `base` or `out`.
[[nodiscard]] kr_result kr_memory_ptr_ex(u32 type, void* base, i32 offset, void** out);

/// Moves `*ptr` by `offset` bytes; the pointer that stood there before is given back.
/// Results as kr_memory_ptr_ex, `ptr` standing for `out`; on a failure `*ptr` stays as it is.
[[nodiscard]] kr_result kr_memory_ptr_advance_ex(u32 type, i32 offset, void** ptr);

/// Gives back a pointer of kr_memory_ptr_ex. Nothing happens for heap memory and unknown types.
void kr_memory_ptr_release_ex(u32 type, void* ptr);

/// Makes sure that `size` bytes at `ptr` are backed by memory; heap memory always is.
/// Returns KR_SUCCESS, the memory vector's failure, KR_FUNCTION_NOT_IMPLEMENTED, or
/// KR_INVALID_ARGUMENT_TO_FUNCTION for a null `ptr`.
[[nodiscard]] kr_result kr_memory_prepare_ex(u32 type, void* ptr, size_t size);

/// Makes `ptr` stand at the start of a chunk of exactly `size` bytes.
/// Returns KR_SUCCESS, the memory vector's failure, or KR_FUNCTION_NOT_IMPLEMENTED (also for heap
/// memory).
[[nodiscard]] kr_result kr_memory_split_ex(u32 type, void* ptr, size_t size);

/// Gives `size` bytes at `dst` the content of `src`: copies between heap blocks; a memory vector as
/// destination copies or borrows `src`.
/// Returns KR_SUCCESS, the copy's or the memory vector's failure, or KR_FUNCTION_NOT_IMPLEMENTED
/// for any other pair.
[[nodiscard]] kr_result kr_memory_assign_ex(u32 dst_type, void* dst, u32 src_type, void* src,
                                            size_t size);
