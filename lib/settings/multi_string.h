/// Multi-string settings: a list of strings in one string entry, each item followed by a semicolon,
/// with semicolons and backslashes inside an item escaped by a backslash. Public. No state, no
/// lock; the caller keeps other threads from changing the array meanwhile.
///
/// The empty list is the empty text; a single semicolon is a list of one empty item. Failures are
/// logged as warnings except where the comment says otherwise. A null pointer is answered with
/// KR_INVALID_ARGUMENT_TO_FUNCTION; parsing and composing do not log it.
#pragma once

#include "../platform/types.h"
#include "../result/result.h"
#include "store.h"

struct kr_array_string;

/// Appends the items of `text` to `array`. The last item's semicolon may be missing.
/// KR_SUCCESS; KR_UNEXPECTED_BEHAVIOUR when a backslash stands before anything but a backslash or
/// a semicolon; the allocation's failure. After a failure the array holds the items that it held
/// before.
[[nodiscard]] kr_result kr_settings_parse_multi_string(const kr_char* text, kr_array_string* array);

/// Builds the text of all items in a new block, which the caller releases with
/// kr_memory_deallocate_hook. KR_SUCCESS; KR_INVALID_ARGUMENT_TO_FUNCTION when the array has a null
/// item; KR_OVERFLOW, without a line, when the text would take 4 GiB or more; the allocation's
/// failure.
[[nodiscard]] kr_result kr_settings_compose_multi_string(const kr_array_string* array,
                                                         kr_char** out);

/// Appends the items of an entry to `array`, which is unchanged after a failure. KR_NOT_FOUND,
/// without a line, when there is no such entry; otherwise the results of
/// kr_settings_get_string_alloc and kr_settings_parse_multi_string.
[[nodiscard]] kr_result kr_settings_get_multi_string(kr_settings_handle settings,
                                                     const kr_char* name, kr_array_string* array);

/// Stores the items of `array` as an entry. The results of kr_settings_compose_multi_string and
/// kr_settings_set_string; nothing is stored when composing fails.
[[nodiscard]] kr_result kr_settings_set_multi_string(kr_settings_handle settings,
                                                     const kr_char* name,
                                                     const kr_array_string* array);
