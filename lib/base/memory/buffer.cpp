/// Utilities on heap buffers.
#include "base/memory/buffer.h"

#include <cstdint>

#include "base/memory/owner.h"
#include "base/memory/typed_memory.h"
#include "base/memory/zero_test.h"
#include "log/log.h"
#include "result/failures.h"

using kr::detail::invalid_argument;

namespace {

/// Puts a block of `new_size` bytes with the first `*size` bytes of `*buf` in the place of `*buf`.
kr_result replace_block(void** buf, size_t* size, size_t new_size) {
    kr::owned_block block;
    kr_result result = kr_memory_allocate_hook(block.out(), new_size);
    if (kr_result_failed(result)) {
        return result;
    }
    if (*buf != nullptr) {
        result = kr_memcpy_ex(KR_MEMORY_TYPE_HEAP, block.get(), KR_MEMORY_TYPE_HEAP, *buf, *size);
        if (kr_result_failed(result)) {
            return result;
        }
        kr_memory_deallocate_hook(*buf);
    }
    *buf = block.release();
    *size = new_size;
    return KR_SUCCESS;
}

} // namespace

kr_result kr_memory_grow(void** buf, size_t* size, size_t new_size) {
    if (buf == nullptr || size == nullptr) {
        return invalid_argument();
    }
    if (*buf != nullptr && new_size <= *size) {
        return KR_SUCCESS;
    }
    return replace_block(buf, size, new_size);
}

kr_result kr_memory_grow_reserve(void** buf, size_t* capacity, size_t needed, size_t reserve) {
    if (buf == nullptr || capacity == nullptr) {
        return invalid_argument();
    }
    if (*buf != nullptr && needed <= *capacity) {
        return KR_SUCCESS;
    }
    if (reserve > SIZE_MAX - needed) {
        KR_LOG(KR_LOG_MEMORY, KR_LOG_ERROR, "Out of memory!");
        return kr_result_make_error(KR_OUT_OF_MEMORY);
    }
    return replace_block(buf, capacity, needed + reserve);
}

kr_result kr_memdup(const void* src, void** out, size_t size) {
    if (out == nullptr || (src == nullptr && size != 0)) {
        return invalid_argument();
    }
    const kr_result result = kr_memory_allocate_hook(out, size);
    if (kr_result_succeeded(result)) {
        kr_memcpy(*out, src, size);
    }
    return result;
}

bool kr_memory_is_zero(const void* buf, size_t size) {
    return kr::detail::scan::is_zero(buf, size);
}
