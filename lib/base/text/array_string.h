/// A growable array that owns copies of wide strings. Public; allocates through the hooks. An array
/// has no lock: one thread at a time.
#pragma once

#include "../../platform/types.h"
#include "../../result/result.h"

/// Made by kr_array_string_new; read by anyone, written by the operations below only.
struct kr_array_string {
    /// Number of slots allocated.
    u32 capacity;
    /// Number of items, at most `capacity`.
    u32 count;
    /// Null while the capacity is 0. The first `count` slots hold strings that the array owns.
    kr_char** items;
};

/// Makes an empty array without slots; the caller releases it with kr_array_string_free.
/// Returns KR_SUCCESS; KR_OUT_OF_MEMORY with `out` untouched; KR_INVALID_ARGUMENT_TO_FUNCTION for a
/// null `out`.
[[nodiscard]] kr_result kr_array_string_new(kr_array_string** out);

/// Appends a copy of `s`. The array grows to 10 slots, then to twice its slots each time, and never
/// shrinks.
/// Returns KR_SUCCESS, or with the items unchanged: KR_INVALID_ARGUMENT_TO_FUNCTION for a null
/// argument; the allocation's failure, logged; KR_UNEXPECTED_BEHAVIOUR, logged, for a record whose
/// count lies beyond its capacity.
[[nodiscard]] kr_result kr_array_string_add(kr_array_string* arr, const kr_char* s);

/// The stored string itself, valid until it is removed; null for a null `arr` or an index that is
/// out of range.
[[nodiscard]] const kr_char* kr_array_string_get_item(const kr_array_string* arr, u32 index);

/// Number of items; 0 for a null `arr`.
[[nodiscard]] u32 kr_array_string_count(const kr_array_string* arr);

/// Releases an item and moves the later ones down, in order.
/// Returns KR_SUCCESS, KR_INVALID_ARGUMENT_TO_FUNCTION for a null `arr`, or KR_INDEX_OUT_OF_RANGE.
kr_result kr_array_string_remove(kr_array_string* arr, u32 index);

/// Removes the first item that equals `s`, letter case included.
/// Returns KR_SUCCESS, KR_INVALID_ARGUMENT_TO_FUNCTION for a null argument, or KR_NOT_FOUND.
kr_result kr_array_string_remove_value(kr_array_string* arr, const kr_char* s);

/// Releases every item; the slots stay. Nothing happens for a null `arr`.
void kr_array_string_clear(kr_array_string* arr);

/// Makes `dst` hold copies of the items of `src`, in order; an array copied onto itself stays.
/// Returns KR_SUCCESS; the first add's failure, with `dst` empty; KR_INVALID_ARGUMENT_TO_FUNCTION
/// for a null argument.
[[nodiscard]] kr_result kr_array_string_copy(kr_array_string* dst, const kr_array_string* src);

/// Releases the items, the slots and the record.
/// Returns KR_SUCCESS, or KR_INVALID_ARGUMENT_TO_FUNCTION for a null `arr`.
kr_result kr_array_string_free(kr_array_string* arr);
