/// The settings store: named text values in the registry, in domains and groups below
/// `HKLM\SOFTWARE\<vendor>\<component>`. Public. The only room that touches the registry for
/// settings; keeps no state and no lock, so that any thread may use it with its own handles.
///
/// Common to all operations: names and values are NUL-terminated and compared by the registry
/// without regard to letter case. A null pointer or handle, an empty domain or group name, and a
/// domain name that begins with a backslash are answered with KR_INVALID_ARGUMENT_TO_FUNCTION
/// before the registry is touched. A handle that is not open is KR_GENERIC. Outputs are written on
/// success only. Nothing is logged except where the comment says so.
#pragma once

#include "../platform/types.h"
#include "../result/result.h"

struct kr_settings_key;

/// An open domain or group, the same for every operation that takes one. It is the registry's own
/// key handle; the caller closes it.
using kr_settings_handle = kr_settings_key*;

/// KR_YES if the domain's key exists and can be opened, else KR_NO, both successes; a domain name
/// that cannot be one, null and empty included, is KR_NO too. Creates nothing.
[[nodiscard]] kr_result kr_settings_domain_exists(const kr_char* domain);

/// Opens the domain, creating its key and every missing key above it. The caller closes `*out` with
/// kr_settings_domain_close.
/// KR_SUCCESS; KR_GENERIC when the registry refuses; KR_SUPPLIED_BUFFER_IS_NOT_LARGE_ENOUGH when
/// the key path SOFTWARE\<vendor>\<component>\<domain> exceeds 255 characters, in which case the
/// registry is not touched.
[[nodiscard]] kr_result kr_settings_domain_open(const kr_char* domain, kr_settings_handle* out);

/// KR_SUCCESS; KR_GENERIC when the registry refuses the handle.
kr_result kr_settings_domain_close(kr_settings_handle domain);

/// Deletes a domain that has no groups, with its entries. KR_SUCCESS; KR_GENERIC when it is
/// missing, still has groups or the registry refuses; a path too long as in
/// kr_settings_domain_open.
[[nodiscard]] kr_result kr_settings_domain_delete(const kr_char* domain);

/// KR_YES if the group exists below `parent` and can be opened, else KR_NO, as for domains; a null
/// `parent` is KR_NO too.
[[nodiscard]] kr_result kr_settings_group_exists(kr_settings_handle parent, const kr_char* name);

/// Opens the group below `parent`, a domain or a group, creating it when it is missing. The caller
/// closes `*out` with kr_settings_group_close. KR_SUCCESS, or KR_GENERIC and a warning.
[[nodiscard]] kr_result kr_settings_group_open(kr_settings_handle parent, const kr_char* name,
                                               kr_settings_handle* out);

/// KR_SUCCESS; KR_GENERIC when the registry refuses the handle.
kr_result kr_settings_group_close(kr_settings_handle group);

/// Deletes a group that has no groups of its own, with its entries. KR_SUCCESS; KR_NOT_FOUND when
/// there is none; KR_GENERIC otherwise.
[[nodiscard]] kr_result kr_settings_group_delete(kr_settings_handle parent, const kr_char* name);

/// Lists the names of the groups in `parent`, in the registry's order: `*names` points to `*count`
/// strings, which the caller gives back with kr_settings_free_names, also when the count is 0.
/// Never a partial list: KR_SUCCESS; KR_GENERIC when the registry refuses or the key changed
/// meanwhile; the allocation's failure.
[[nodiscard]] kr_result kr_settings_enum_groups(kr_settings_handle parent, kr_char*** names,
                                                u32* count);

/// Lists the names of the entries in `settings`, as kr_settings_enum_groups does.
[[nodiscard]] kr_result kr_settings_enum_entries(kr_settings_handle settings, kr_char*** names,
                                                 u32* count);

/// Releases a list of names and the names in it. A null list is left alone.
void kr_settings_free_names(kr_char** names, u32 count);

/// Reads a string entry into `buffer`, which has room for `capacity` characters, terminator
/// included. KR_SUCCESS; KR_GENERIC when the entry is missing, is not a string, does not fit or
/// cannot be read, or when there is no memory for a text beyond 127 characters. A stored string
/// without a terminator gets one where there is room.
[[nodiscard]] kr_result kr_settings_get_string(kr_settings_handle settings, const kr_char* name,
                                               u32 capacity, kr_char* buffer);

/// Reads a string entry into a block of its own, which the caller releases with
/// kr_memory_deallocate_hook. KR_SUCCESS; KR_NOT_FOUND when there is no such entry; the
/// allocation's failure; KR_GENERIC when the entry is not a string, changes between the two queries
/// so that it no longer fits, or cannot be read. The text always has a terminator, whatever another
/// program stored.
[[nodiscard]] kr_result kr_settings_get_string_alloc(kr_settings_handle settings,
                                                     const kr_char* name, kr_char** out);

/// Stores a string entry, in place of any entry of that name and whatever type. KR_SUCCESS, or
/// KR_GENERIC.
[[nodiscard]] kr_result kr_settings_set_string(kr_settings_handle settings, const kr_char* name,
                                               const kr_char* value);

/// KR_SUCCESS; KR_NOT_FOUND when there is no such entry; KR_GENERIC otherwise.
[[nodiscard]] kr_result kr_settings_delete_entry(kr_settings_handle settings, const kr_char* name);
