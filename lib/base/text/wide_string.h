/// The small operations on kr_char strings that the rest of the library stands on, and the module
/// "string". Public; allocates through the hooks and keeps no state: safe from any thread.
///
/// Common to all: a string is NUL-terminated; a length counts characters before the terminator, a
/// byte size includes it unless the name says `clean`. Pointers must not be null and buffers must
/// not overlap, except that an operation which returns a kr_result answers a null pointer with
/// KR_INVALID_ARGUMENT_TO_FUNCTION. Names in `_generic` do not use the runtime library's string
/// routines.
#pragma once

#include "../../log/startup/module.h"
#include "../../platform/types.h"
#include "../../result/result.h"

// Copy and append. `size` counts characters of `dst`, terminator included.

/// Copies `src` with its terminator. Reads no more than `size` characters of it.
/// Returns KR_SUCCESS; KR_INVALID_ARGUMENT_TO_FUNCTION for a null pointer or a size of 0;
/// KR_SUPPLIED_BUFFER_IS_NOT_LARGE_ENOUGH; KR_GENERIC for any other refusal of the runtime. After a
/// failure `dst` is the empty string, if there is one and it has room for a character.
[[nodiscard]] kr_result kr_string_copy_s(kr_char* dst, u64 size, const kr_char* src);

/// Appends `src` with its terminator. Results as kr_string_copy_s; a `dst` without a terminator
/// within `size` is KR_INVALID_ARGUMENT_TO_FUNCTION.
[[nodiscard]] kr_result kr_string_cat_s(kr_char* dst, u64 size, const kr_char* src);

/// Copies `src` with its terminator; `dst` must be large enough.
void kr_string_copy(kr_char* dst, const kr_char* src);

/// Appends `src` with its terminator at the end of `dst`, which must be large enough.
void kr_string_cat(kr_char* dst, const kr_char* src);
void kr_string_cat_generic(kr_char* dst, const kr_char* src);

/// Copies `src`, cut to what fits in `dst_bytes` bytes with a terminator. An odd byte at the end is
/// not used; below 2 bytes nothing is written.
/// Returns whether it was cut.
bool kr_string_copy_trunc(kr_char* dst, u64 dst_bytes, const kr_char* src);

/// Copies at most `size` characters, terminator included.
/// Returns KR_SUCCESS once the terminator is copied; KR_SUPPLIED_BUFFER_IS_NOT_LARGE_ENOUGH with
/// `size` characters written and none of them a terminator; KR_INVALID_ARGUMENT_TO_FUNCTION for a
/// size of 0.
[[nodiscard]] kr_result kr_string_copy_s_generic(kr_char* dst, u64 size, const kr_char* src);

/// Appends while the index stays below `size`; results as kr_string_copy_s_generic. A `dst` that
/// has no terminator within `size` is KR_SUPPLIED_BUFFER_IS_NOT_LARGE_ENOUGH and stays as it is.
[[nodiscard]] kr_result kr_string_cat_s_generic(kr_char* dst, u64 size, const kr_char* src);

// Compare. The answer is a success that carries KR_LESS, KR_EQUAL or KR_GREATER. Ordinal comparison
// takes the units as unsigned numbers; `nocase` folds both first, as the runtime's locale says; `n`
// is the number of units compared at most.

[[nodiscard]] kr_result kr_string_compare(const kr_char* a, const kr_char* b);
[[nodiscard]] kr_result kr_string_compare_generic(const kr_char* a, const kr_char* b);
[[nodiscard]] kr_result kr_string_compare_nocase(const kr_char* a, const kr_char* b);
[[nodiscard]] kr_result kr_string_compare_nocase_generic(const kr_char* a, const kr_char* b);
[[nodiscard]] kr_result kr_string_compare_n(const kr_char* a, const kr_char* b, u64 n);
[[nodiscard]] kr_result kr_string_compare_n_nocase(const kr_char* a, const kr_char* b, u64 n);
[[nodiscard]] kr_result kr_string_compare_n_nocase_generic(const kr_char* a, const kr_char* b,
                                                           u64 n);

/// Whether the matching comparison says KR_EQUAL.
[[nodiscard]] bool kr_string_equal(const kr_char* a, const kr_char* b);
[[nodiscard]] bool kr_string_equal_nocase(const kr_char* a, const kr_char* b);
[[nodiscard]] bool kr_string_equal_n(const kr_char* a, const kr_char* b, u64 n);
[[nodiscard]] bool kr_string_equal_n_nocase(const kr_char* a, const kr_char* b, u64 n);

/// Whether the first length(prefix) units are equal.
[[nodiscard]] bool kr_string_starts_with(const kr_char* s, const kr_char* prefix);
[[nodiscard]] bool kr_string_starts_with_nocase(const kr_char* s, const kr_char* prefix);

// Length, size, search, case.

/// Characters before the terminator.
[[nodiscard]] u64 kr_string_length(const kr_char* s);

/// Bytes with the terminator: 2 for the empty string.
[[nodiscard]] u64 kr_string_bytesize(const kr_char* s);
[[nodiscard]] u64 kr_string_bytesize_generic(const kr_char* s);

/// Bytes without the terminator.
[[nodiscard]] u64 kr_string_bytesize_clean(const kr_char* s);
[[nodiscard]] u64 kr_string_bytesize_clean_generic(const kr_char* s);

/// The first `c` of `s`, or null. Searching for 0 finds the terminator; the generic form never
/// does.
[[nodiscard]] const kr_char* kr_string_find_char(const kr_char* s, kr_char c);
[[nodiscard]] const kr_char* kr_string_find_char_generic(const kr_char* s, kr_char c);

/// The last `c` of `s`, or null. The terminator is never found.
[[nodiscard]] const kr_char* kr_string_find_last_char(const kr_char* s, kr_char c);

/// The first occurrence of `sub`, compared ordinally, or null. Nothing is found in an empty `s`,
/// not even an empty `sub`.
[[nodiscard]] const kr_char* kr_string_find(const kr_char* s, const kr_char* sub);

/// A comparison of the shape of kr_string_compare_n.
using kr_string_comparison = kr_result (*)(const kr_char* a, const kr_char* b, u64 n);

/// As kr_string_find, but a position `q` matches when the low 16 bits of `cmp(q, sub, length(sub))`
/// are KR_EQUAL.
[[nodiscard]] const kr_char* kr_string_find_with(const kr_char* s, const kr_char* sub,
                                                 kr_string_comparison cmp);

/// Folds every unit of `s` in place with the runtime's towlower; returns `s`, which may be null.
kr_char* kr_string_to_lower(kr_char* s);

// New buffers. Each allocates through the hook; the caller releases `*out` with the deallocate
// hook. Returns KR_SUCCESS, or the allocation's failure with `out` untouched.

[[nodiscard]] kr_result kr_string_dup(kr_char** out, const kr_char* s);
/// Copies `n` units, which `s` must hold, and adds a terminator. An `n` that no buffer can hold is
/// KR_OUT_OF_MEMORY.
[[nodiscard]] kr_result kr_string_dup_n(kr_char** out, const kr_char* s, u64 n);
[[nodiscard]] kr_result kr_string_concat2(const kr_char* a, const kr_char* b, kr_char** out);
[[nodiscard]] kr_result kr_string_concat3(const kr_char* a, const kr_char* b, const kr_char* c,
                                          kr_char** out);
[[nodiscard]] kr_result kr_string_concat5(const kr_char* a, const kr_char* b, const kr_char* c,
                                          const kr_char* d, const kr_char* e, kr_char** out);

// The module "string".

/// The narrow-string functions that the module installs when it starts; null before. Written at
/// start-up only.
struct kr_string_table {
    /// Copies at most `size` characters, terminator included; results as kr_string_copy_s_generic.
    kr_result (*copy)(char* dst, u64 size, const char* src);
    /// Characters before the terminator.
    u64 (*length)(const char* s);
};
extern kr_string_table kr_string_functions;

/// The module "string": fills the table above. No stop, no dependencies.
kr_module* kr_string_module();
