/// The allocator hooks and the raw layer on the runtime heap.
#include "base/memory/memory.h"

#include <cstdlib>
#include <cstring>

#include "log/log.h"
#include "result/failures.h"

using kr::detail::invalid_argument;

constinit kr_memory_allocator kr_memory_allocate_hook = kr_memory_allocate_raw;
constinit kr_memory_deallocator kr_memory_deallocate_hook = kr_memory_deallocate_raw;

void kr_memory_set_hooks(kr_memory_allocator allocate, kr_memory_deallocator deallocate) {
    kr_memory_allocate_hook = allocate != nullptr ? allocate : kr_memory_allocate_raw;
    kr_memory_deallocate_hook = deallocate != nullptr ? deallocate : kr_memory_deallocate_raw;
}

kr_result kr_memory_allocate_raw(void** out, size_t size) {
    if (out == nullptr) {
        return invalid_argument();
    }
    if (size == 0) {
        KR_LOG(KR_LOG_MEMORY, KR_LOG_DEBUG, "Allocation size must be greater than zero");
        size = 1;
    }
    void* const block = std::malloc(size);
    if (block == nullptr) {
        KR_LOG(KR_LOG_MEMORY, KR_LOG_ERROR, "Out of memory!");
        return kr_result_make_error(KR_OUT_OF_MEMORY);
    }
    *out = block;
    return KR_SUCCESS;
}

void kr_memory_deallocate_raw(void* ptr) {
    KR_LOG(KR_LOG_MEMORY, KR_LOG_DEBUG, "memory_ptr = %p", ptr);
    std::free(ptr);
}

void kr_memcpy(void* dst, const void* src, size_t size) {
    // memcpy must not see a null pointer, not even with nothing to copy.
    if (size != 0) {
        std::memcpy(dst, src, size);
    }
}
