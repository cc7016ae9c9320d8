/// The typed memory operations: looks up a type's table and calls it.
#include "base/memory/typed_memory.h"

#include <atomic>
#include <cstring>

#include "base/memory/memory.h"
#include "log/log.h"
#include "result/failures.h"

using kr::detail::invalid_argument;
using kr::detail::not_implemented;

namespace {

kr_result heap_allocate(void** out, size_t size) {
    return kr_memory_allocate_hook(out, size);
}

void heap_deallocate(void* ptr) {
    kr_memory_deallocate_hook(ptr);
}

void flat_set(void* ptr, u8 value, size_t size) {
    // memset must not see a null pointer, not even with nothing to fill.
    if (ptr != nullptr) {
        std::memset(ptr, value, size);
    }
}

kr_result heap_seek(void* base, i32 offset, void** out) {
    if (base == nullptr) {
        return invalid_argument();
    }
    *out = static_cast<char*>(base) + offset;
    return KR_SUCCESS;
}

void heap_release(void*) {}

kr_result heap_prepare(void* ptr, size_t) {
    return ptr != nullptr ? KR_SUCCESS : invalid_argument();
}

constexpr kr_memory_operations heap_operations = {
    .allocate = heap_allocate,
    .deallocate = heap_deallocate,
    .set = flat_set,
    .seek = heap_seek,
    .release = heap_release,
    .prepare = heap_prepare,
};

constexpr kr_memory_operations flat_operations = {
    .set = flat_set,
};

constexpr kr_memory_operations no_operations = {};

constinit std::atomic<const kr_memory_operations*> vector_operations = nullptr;

/// The table of a type; one without any operation for an unknown type.
const kr_memory_operations& operations_of(u32 type) {
    const kr_memory_operations* found = nullptr;
    switch (type) {
    case KR_MEMORY_TYPE_HEAP:
        found = &heap_operations;
        break;
    case KR_MEMORY_TYPE_FLAT:
        found = &flat_operations;
        break;
    case KR_MEMORY_TYPE_MEMVEC:
        found = vector_operations.load(std::memory_order_acquire);
        break;
    default:
        break;
    }
    return found != nullptr ? *found : no_operations;
}

bool both_heap(u32 dst_type, u32 src_type) {
    return dst_type == KR_MEMORY_TYPE_HEAP && src_type == KR_MEMORY_TYPE_HEAP;
}

} // namespace

void kr_memory_set_vector_operations(const kr_memory_operations* operations) {
    vector_operations.store(operations, std::memory_order_release);
}

kr_result kr_memory_allocate_ex(u32 type, void** out, size_t size) {
    const auto allocate = operations_of(type).allocate;
    if (allocate == nullptr) {
        return not_implemented();
    }
    return out != nullptr ? allocate(out, size) : invalid_argument();
}

void kr_memory_deallocate_ex(u32 type, void* ptr) {
    const auto deallocate = operations_of(type).deallocate;
    if (deallocate == nullptr) {
        KR_LOG(KR_LOG_MEMORY, KR_LOG_ERROR, "Cannot deallocate memory of type %u", type);
        return;
    }
    deallocate(ptr);
}

kr_result kr_memcpy_ex(u32 dst_type, void* dst, u32 src_type, const void* src, size_t size) {
    if (both_heap(dst_type, src_type)) {
        if ((dst == nullptr || src == nullptr) && size != 0) {
            return invalid_argument();
        }
        kr_memcpy(dst, src, size);
        return KR_SUCCESS;
    }
    for (const u32 type : {dst_type, src_type}) {
        if (const auto copy = operations_of(type).copy; copy != nullptr) {
            return copy(dst_type, dst, src_type, src, size);
        }
    }
    KR_LOG(KR_LOG_MEMORY, KR_LOG_DEBUG, "memcpy for %u <- %u types is not implemented.", dst_type,
           src_type);
    return not_implemented();
}

void kr_memset_ex(u32 type, void* ptr, u8 value, size_t size) {
    const auto set = operations_of(type).set;
    if (set == nullptr) {
        KR_LOG(KR_LOG_MEMORY, KR_LOG_ERROR, "Cannot memset memory of type %u", type);
        return;
    }
    set(ptr, value, size);
}

kr_result kr_memory_ptr_ex(u32 type, void* base, i32 offset, void** out) {
    const auto seek = operations_of(type).seek;
    if (seek == nullptr) {
        return not_implemented();
    }
    return out != nullptr ? seek(base, offset, out) : invalid_argument();
}

kr_result kr_memory_ptr_advance_ex(u32 type, i32 offset, void** ptr) {
    if (ptr == nullptr) {
        return invalid_argument();
    }
    void* advanced = nullptr;
    const kr_result result = kr_memory_ptr_ex(type, *ptr, offset, &advanced);
    if (kr_result_failed(result)) {
        return result;
    }
    kr_memory_ptr_release_ex(type, *ptr);
    *ptr = advanced;
    return result;
}

void kr_memory_ptr_release_ex(u32 type, void* ptr) {
    if (const auto release = operations_of(type).release; release != nullptr) {
        release(ptr);
    }
}

kr_result kr_memory_prepare_ex(u32 type, void* ptr, size_t size) {
    const auto prepare = operations_of(type).prepare;
    return prepare != nullptr ? prepare(ptr, size) : not_implemented();
}

kr_result kr_memory_split_ex(u32 type, void* ptr, size_t size) {
    const auto split = operations_of(type).split;
    return split != nullptr ? split(ptr, size) : not_implemented();
}

kr_result kr_memory_assign_ex(u32 dst_type, void* dst, u32 src_type, void* src, size_t size) {
    if (both_heap(dst_type, src_type)) {
        return kr_memcpy_ex(dst_type, dst, src_type, src, size);
    }
    const auto assign = operations_of(dst_type).assign;
    return assign != nullptr ? assign(dst_type, dst, src_type, src, size) : not_implemented();
}
