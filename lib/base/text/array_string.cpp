/// The array of owned wide strings.
#include "base/text/array_string.h"

#include <algorithm>
#include <cstdint>
#include <new>

#include "base/memory/memory.h"
#include "base/memory/typed_memory.h"
#include "base/text/array_string_add.h"
#include "base/text/wide_string.h"
#include "log/failure.h"
#include "result/failures.h"

namespace {

using kr::detail::invalid_argument;
using kr::detail::unexpected_behaviour;

constexpr u32 first_capacity = 10;
constexpr const char* add_name = "kr_array_string_add";

kr_result grow(kr_array_string& arr) {
    if (arr.capacity > UINT32_MAX / 2) {
        return kr_result_make_error(KR_OUT_OF_MEMORY);
    }
    const u32 capacity = arr.capacity == 0 ? first_capacity : arr.capacity * 2;
    const size_t size_bytes = size_t{capacity} * sizeof(kr_char*);
    void* slots = nullptr;
    const kr_result result = kr_memory_allocate_hook(&slots, size_bytes);
    if (kr_result_failed(result)) {
        return result;
    }
    kr_memset_ex(KR_MEMORY_TYPE_HEAP, slots, 0, size_bytes);
    // A damaged record may count more items than there are slots.
    kr_memcpy(slots, arr.items, size_t{std::min(arr.count, arr.capacity)} * sizeof(kr_char*));
    if (arr.items != nullptr) {
        kr_memory_deallocate_hook(arr.items);
    }
    arr.items = static_cast<kr_char**>(slots);
    arr.capacity = capacity;
    return KR_SUCCESS;
}

} // namespace

namespace kr::detail {

kr_result array_string_add(kr_array_string* arr, const kr_char* s, u64 length_chars) {
    if (arr->count >= arr->capacity) {
        const kr_result result = grow(*arr);
        if (kr_result_failed(result)) {
            KR_LOG_FAILURE_AS(KR_LOG_OTHER, KR_LOG_WARNING, add_name, result,
                              "Unable to expand array.");
            return result;
        }
    }
    if (arr->count >= arr->capacity) {
        KR_LOG_AS(
            KR_LOG_OTHER, KR_LOG_ERROR, add_name,
            "UNEXPECTED: array count must be smaller than array capacity. (count %u, capacity "
            "%u)",
            arr->count, arr->capacity);
        return unexpected_behaviour();
    }
    kr_char* copy = nullptr;
    const kr_result result = kr_string_dup_n(&copy, s, length_chars);
    if (kr_result_failed(result)) {
        KR_LOG_FAILURE_AS(KR_LOG_OTHER, KR_LOG_WARNING, add_name, result,
                          "Unable to duplicate string '%_s'", s);
        return result;
    }
    arr->items[arr->count++] = copy;
    return KR_SUCCESS;
}

} // namespace kr::detail

kr_result kr_array_string_new(kr_array_string** out) {
    if (out == nullptr) {
        return invalid_argument();
    }
    void* record = nullptr;
    const kr_result result = kr_memory_allocate_hook(&record, sizeof(kr_array_string));
    if (kr_result_failed(result)) {
        return result;
    }
    *out = new (record) kr_array_string{.capacity = 0, .count = 0, .items = nullptr};
    return KR_SUCCESS;
}

kr_result kr_array_string_add(kr_array_string* arr, const kr_char* s) {
    if (arr == nullptr || s == nullptr) {
        return invalid_argument();
    }
    return kr::detail::array_string_add(arr, s, kr_string_length(s));
}

const kr_char* kr_array_string_get_item(const kr_array_string* arr, u32 index) {
    return arr != nullptr && index < arr->count ? arr->items[index] : nullptr;
}

u32 kr_array_string_count(const kr_array_string* arr) {
    return arr != nullptr ? arr->count : 0;
}

kr_result kr_array_string_remove(kr_array_string* arr, u32 index) {
    if (arr == nullptr) {
        return invalid_argument();
    }
    if (index >= arr->count) {
        return kr_result_make_error(KR_INDEX_OUT_OF_RANGE);
    }
    kr_memory_deallocate_hook(arr->items[index]);
    kr_char** const end = arr->items + arr->count;
    std::copy(arr->items + index + 1, end, arr->items + index);
    *(end - 1) = nullptr;
    --arr->count;
    return KR_SUCCESS;
}

kr_result kr_array_string_remove_value(kr_array_string* arr, const kr_char* s) {
    if (arr == nullptr || s == nullptr) {
        return invalid_argument();
    }
    for (u32 index = 0; index < arr->count; ++index) {
        if (kr_string_equal(arr->items[index], s)) {
            return kr_array_string_remove(arr, index);
        }
    }
    return kr_result_make_error(KR_NOT_FOUND);
}

void kr_array_string_clear(kr_array_string* arr) {
    if (arr == nullptr) {
        return;
    }
    for (u32 index = 0; index < arr->count; ++index) {
        kr_memory_deallocate_hook(arr->items[index]);
        arr->items[index] = nullptr;
    }
    arr->count = 0;
}

kr_result kr_array_string_copy(kr_array_string* dst, const kr_array_string* src) {
    if (dst == nullptr || src == nullptr) {
        return invalid_argument();
    }
    if (dst == src) {
        return KR_SUCCESS;
    }
    kr_array_string_clear(dst);
    for (u32 index = 0; index < src->count; ++index) {
        const kr_result result = kr_array_string_add(dst, src->items[index]);
        if (kr_result_failed(result)) {
            kr_array_string_clear(dst);
            return result;
        }
    }
    return KR_SUCCESS;
}

kr_result kr_array_string_free(kr_array_string* arr) {
    if (arr == nullptr) {
        return invalid_argument();
    }
    kr_array_string_clear(arr);
    if (arr->items != nullptr) {
        kr_memory_deallocate_hook(arr->items);
    }
    kr_memory_deallocate_hook(arr);
    return KR_SUCCESS;
}
