/// Memory vectors: a range of bytes of fixed size, made of chunks that get their memory piece by
/// piece: from the heap, or lent by a caller without a copy. Public. Takes its headers and chunks
/// from two pools of the module "memory vector", which must have started; that module also makes
/// memory vectors known to the typed operations (KR_MEMORY_TYPE_MEMVEC,
/// base/memory/typed_memory.h).
///
/// The handle of a vector is a cursor: a position in it. Each vector has 128 of them; the first
/// comes with the vector and stands at position 0. A vector carries no lock: one thread at a time
/// uses it and its cursors. Different vectors may be used by different threads.
///
/// Common to all: sizes, positions and offsets are bytes and are checked in 64 bits; a null pointer
/// gives KR_INVALID_ARGUMENT_TO_FUNCTION (nothing happens in operations without a result); a
/// released cursor and every cursor of a destroyed vector must not be used.
#pragma once

#include "../../log/startup/module.h"
#include "../../platform/types.h"
#include "../../result/result.h"

struct kr_memvec_cursor;

/// The largest vector, 2^31 - 1 bytes: what a cursor walk, which counts in 32 signed bits, reaches.
inline constexpr u64 KR_MEMVEC_SIZE_LIMIT = 0x7FFFFFFF;

/// Number of cursors of one vector, the first included.
inline constexpr u32 KR_MEMVEC_CURSOR_COUNT = 128;

/// Creates a vector of `size` bytes, none of them backed by memory, and stores its first cursor.
/// The caller ends it with kr_memvec_destroy. Returns KR_SUCCESS; KR_INVALID_ARGUMENT_TO_FUNCTION
/// when `size` exceeds KR_MEMVEC_SIZE_LIMIT or the module has not started; the allocator's failure.
[[nodiscard]] kr_result kr_memvec_create(u64 size, kr_memvec_cursor** out);

/// Frees the vector of `cursor`, the memory that it owns and all its cursors. Borrowed memory stays
/// with its lender.
void kr_memvec_destroy(kr_memvec_cursor* cursor);

/// Stores a new cursor `offset` bytes from `cursor`, which stays where it is. The caller gives the
/// new one back with kr_memvec_release. Returns KR_SUCCESS; KR_INVALID_ARGUMENT_TO_FUNCTION for a
/// position before the start or at or behind the end; KR_FUNCTION_NOT_IMPLEMENTED when all cursors
/// are in use; KR_UNEXPECTED_BEHAVIOUR when no chunk holds the position, which the chunks of an
/// intact vector never cause.
[[nodiscard]] kr_result kr_memvec_seek(kr_memvec_cursor* cursor, i32 offset,
                                       kr_memvec_cursor** out);

/// Gives a cursor back. A cursor that is not in use is left alone.
void kr_memvec_release(kr_memvec_cursor* cursor);

/// Cuts the vector's chunks so that `cursor` stands at the start of a chunk of `size` bytes; where
/// the chunk ends earlier it stays shorter. Moves no memory; cursors keep their positions. The
/// parts of an unbacked chunk are unbacked. The parts of a backed heap chunk share its block: each
/// keeps its own bytes, the first part keeps the ownership and the others borrow from it. A `size`
/// of 0 leaves an empty chunk before the cursor. Returns KR_SUCCESS; KR_FUNCTION_NOT_IMPLEMENTED
/// when a chunk backed by another type than heap would have to be cut; KR_UNEXPECTED_BEHAVIOUR for
/// a cursor that its chunk does not know (one that was released); the allocator's failure. A
/// failure leaves the chunks as they were.
[[nodiscard]] kr_result kr_memvec_split(kr_memvec_cursor* cursor, u64 size);

/// kr_memvec_split, then backs the chunk at `cursor` with heap memory that the vector owns, not
/// zeroed, unless it is backed already. Returns KR_SUCCESS; KR_FUNCTION_NOT_IMPLEMENTED when the
/// chunk ends before `size` bytes; the failures of kr_memvec_split; the allocator's failure.
[[nodiscard]] kr_result kr_memvec_prepare(kr_memvec_cursor* cursor, u64 size);

/// Gives `size` bytes at `cursor` the contents of `src`, memory of type `src_type`. Where the chunk
/// is backed by heap memory they are copied. Where it is not backed, the cursor stands at its start
/// and `size` is the chunk's size, the chunk borrows `src` instead, which must outlive the vector
/// and is written through it. Returns KR_SUCCESS; KR_FUNCTION_NOT_IMPLEMENTED in every other case,
/// also for a `dst_type` other than KR_MEMORY_TYPE_MEMVEC; the failures of kr_memcpy_ex.
[[nodiscard]] kr_result kr_memvec_assign(u32 dst_type, kr_memvec_cursor* cursor, u32 src_type,
                                         void* src, u64 size);

/// Copies `size` bytes between heap memory and the chunk at a cursor; the side whose type is
/// KR_MEMORY_TYPE_MEMVEC is a cursor. Never leaves the cursor's chunk. Returns KR_SUCCESS;
/// KR_INVALID_ARGUMENT_TO_FUNCTION when the chunk is not backed, or when writing beyond its end;
/// KR_FUNCTION_NOT_IMPLEMENTED when reading beyond its end, when the chunk is backed by another
/// type than heap, and for every other pair of types.
[[nodiscard]] kr_result kr_memvec_copy(u32 dst_type, void* dst, u32 src_type, const void* src,
                                       u64 size);

/// Write to or read from the vector across its chunks, from the position of `cursor` on. Every
/// chunk in the range must be backed. Return KR_SUCCESS; KR_INVALID_ARGUMENT_TO_FUNCTION when the
/// range passes the vector's end or holds a chunk that is not backed, with nothing copied; the
/// first failure of a typed operation on a borrowed chunk, with what lies before that chunk copied.
[[nodiscard]] kr_result kr_memvec_write(kr_memvec_cursor* cursor, const u8* src, u64 size);
[[nodiscard]] kr_result kr_memvec_read(u8* dst, kr_memvec_cursor* cursor, u64 size);

/// Sets `size` bytes from the position of `cursor` on to `value`, across chunks, with kr_memset_ex
/// of each chunk's type. Does nothing when the range passes the vector's end or holds a chunk that
/// is not backed.
void kr_memvec_fill(kr_memvec_cursor* cursor, u8 value, u64 size);

/// The start of the module "memory vector": creates the two pools and puts the vectors' operations
/// into the typed operations. A failing pool is logged and its result returned; nothing stays.
[[nodiscard]] kr_result kr_memvec_init();

/// The module "memory vector", one of those that start-up registers by itself.
kr_module* kr_memvec_module();
