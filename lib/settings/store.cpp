/// The settings store over the registry's legacy calls: no access mask and no view flag, so that a
/// 64-bit process works in its native view with the calls' default rights.
#include "settings/store.h"

#include <algorithm>
#include <cstddef>

#include "base/product.h"
#include "base/text/wide_string.h"
#include "log/log.h"
#include "platform/platform.h"
#include "printf/printf.h"
#include "result/failures.h"
#include "settings/handles.h"

namespace {

using kr::detail::generic_failure;
using kr::detail::invalid_argument;

constexpr size_t domain_path_capacity_chars = 256;
/// Texts up to this length, terminator included, are read without a block.
constexpr size_t short_text_chars = 128;

HKEY key_of(kr_settings_handle settings) {
    return reinterpret_cast<HKEY>(settings);
}

kr_settings_handle handle_of(HKEY key) {
    return reinterpret_cast<kr_settings_handle>(key);
}

/// An empty name would make the registry answer with the parent itself: an existence test would
/// then close the caller's own handle, and a deletion would delete the parent.
bool names_a_key(const kr_char* name) {
    return name != nullptr && name[0] != 0;
}

/// Behind the component's name, a backslash adds nothing to the path.
bool names_a_domain(const kr_char* name) {
    return names_a_key(name) && name[0] != KR_TEXT('\\');
}

kr_result generic_unless_done(LSTATUS error) {
    return error == ERROR_SUCCESS ? KR_SUCCESS : generic_failure();
}

kr_result not_found_or_generic_unless_done(LSTATUS error) {
    return error == ERROR_FILE_NOT_FOUND ? kr_result_make_error(KR_NOT_FOUND)
                                         : generic_unless_done(error);
}

struct domain_path {
    kr_char text[domain_path_capacity_chars];

    kr_result compose(const kr_char* domain) {
        if (!names_a_domain(domain)) {
            return invalid_argument();
        }
        return kr_printf_format2_checked(text, sizeof(text), nullptr, "%_s%_s\\%_s\\%_s",
                                         KR_TEXT("SOFTWARE\\"), kr_product.vendor,
                                         kr_product.component, domain);
    }
};

kr_result key_exists(HKEY parent, const kr_char* path) {
    HKEY key = nullptr;
    if (RegOpenKeyW(parent, path, &key) != ERROR_SUCCESS) {
        return kr_result_make_success(KR_NO);
    }
    RegCloseKey(key);
    return kr_result_make_success(KR_YES);
}

/// What the two enumerations differ in. Lengths are in characters without the terminator, the
/// capacity with it.
struct enumeration {
    LSTATUS (*measure)(HKEY key, DWORD* count, DWORD* longest_chars);
    LSTATUS (*name_at)(HKEY key, DWORD index, kr_char* name, DWORD capacity_chars);
};

constexpr enumeration groups = {
    [](HKEY key, DWORD* count, DWORD* longest_chars) {
        return RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, count, longest_chars, nullptr,
                                nullptr, nullptr, nullptr, nullptr, nullptr);
    },
    [](HKEY key, DWORD index, kr_char* name, DWORD capacity_chars) {
        return RegEnumKeyW(key, index, name, capacity_chars);
    },
};

constexpr enumeration entries = {
    [](HKEY key, DWORD* count, DWORD* longest_chars) {
        return RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, count,
                                longest_chars, nullptr, nullptr, nullptr);
    },
    // The capacity is this call's own copy: the registry overwrites it with the name's length.
    [](HKEY key, DWORD index, kr_char* name, DWORD capacity_chars) {
        return RegEnumValueW(key, index, name, &capacity_chars, nullptr, nullptr, nullptr, nullptr);
    },
};

/// Fills `out` with room for `count` names; a failure leaves there what the owner releases.
kr_result make_names(u32 count, size_t name_size_bytes, kr::owned_names& out) {
    void* block = nullptr;
    kr_result result = kr_memory_allocate_hook(&block, count * sizeof(kr_char*));
    if (kr_result_failed(result)) {
        return result;
    }
    auto** const names = static_cast<kr_char**>(block);
    *out.out() = names;
    for (u32& made = *out.count_out(); made < count; ++made) {
        result = kr_memory_allocate_hook(&block, name_size_bytes);
        if (kr_result_failed(result)) {
            return result;
        }
        names[made] = static_cast<kr_char*>(block);
    }
    return KR_SUCCESS;
}

kr_result enumerate(const enumeration& what, kr_settings_handle settings, kr_char*** names,
                    u32* count) {
    if (settings == nullptr || names == nullptr || count == nullptr) {
        return invalid_argument();
    }
    DWORD found = 0;
    DWORD longest_chars = 0;
    if (what.measure(key_of(settings), &found, &longest_chars) != ERROR_SUCCESS) {
        return generic_failure();
    }
    const DWORD capacity_chars = longest_chars + 1;

    kr::owned_names list;
    const kr_result result = make_names(found, size_t{capacity_chars} * sizeof(kr_char), list);
    if (kr_result_failed(result)) {
        return result;
    }
    DWORD index = 0;
    for (kr_char* name : list.get()) {
        if (what.name_at(key_of(settings), index++, name, capacity_chars) != ERROR_SUCCESS) {
            return generic_failure();
        }
    }
    *names = list.release(count);
    return KR_SUCCESS;
}

LSTATUS query(kr_settings_handle settings, const kr_char* name, DWORD* type, void* data,
              DWORD* size_bytes) {
    return RegQueryValueExW(key_of(settings), name, nullptr, type, static_cast<BYTE*>(data),
                            size_bytes);
}

/// Whether a stored string of `size_bytes` ends in a terminator. An odd last byte belongs to no
/// character.
bool is_terminated(const kr_char* text, size_t size_bytes) {
    const size_t length_chars = size_bytes / sizeof(kr_char);
    return length_chars > 0 && text[length_chars - 1] == 0;
}

} // namespace

kr_result kr_settings_domain_exists(const kr_char* domain) {
    domain_path path;
    if (kr_result_failed(path.compose(domain))) {
        return kr_result_make_success(KR_NO);
    }
    return key_exists(HKEY_LOCAL_MACHINE, path.text);
}

kr_result kr_settings_domain_open(const kr_char* domain, kr_settings_handle* out) {
    if (out == nullptr) {
        return invalid_argument();
    }
    domain_path path;
    const kr_result result = path.compose(domain);
    if (kr_result_failed(result)) {
        return result;
    }
    HKEY key = nullptr;
    if (RegCreateKeyW(HKEY_LOCAL_MACHINE, path.text, &key) != ERROR_SUCCESS) {
        return generic_failure();
    }
    *out = handle_of(key);
    return KR_SUCCESS;
}

kr_result kr_settings_domain_close(kr_settings_handle domain) {
    return domain == nullptr ? invalid_argument()
                             : generic_unless_done(RegCloseKey(key_of(domain)));
}

kr_result kr_settings_domain_delete(const kr_char* domain) {
    domain_path path;
    const kr_result result = path.compose(domain);
    if (kr_result_failed(result)) {
        return result;
    }
    return generic_unless_done(RegDeleteKeyW(HKEY_LOCAL_MACHINE, path.text));
}

kr_result kr_settings_group_exists(kr_settings_handle parent, const kr_char* name) {
    return parent != nullptr && names_a_key(name) ? key_exists(key_of(parent), name)
                                                  : kr_result_make_success(KR_NO);
}

kr_result kr_settings_group_open(kr_settings_handle parent, const kr_char* name,
                                 kr_settings_handle* out) {
    if (parent == nullptr || !names_a_key(name) || out == nullptr) {
        return invalid_argument();
    }
    HKEY key = nullptr;
    const LSTATUS error = RegCreateKeyW(key_of(parent), name, &key);
    if (error != ERROR_SUCCESS) {
        KR_LOG(KR_LOG_SETTINGS, KR_LOG_WARNING, "Unable to open subkey '%_s', error code = %ld",
               name, static_cast<i32>(error));
        return generic_failure();
    }
    *out = handle_of(key);
    return KR_SUCCESS;
}

kr_result kr_settings_group_close(kr_settings_handle group) {
    return group == nullptr ? invalid_argument() : generic_unless_done(RegCloseKey(key_of(group)));
}

kr_result kr_settings_group_delete(kr_settings_handle parent, const kr_char* name) {
    if (parent == nullptr || !names_a_key(name)) {
        return invalid_argument();
    }
    return not_found_or_generic_unless_done(RegDeleteKeyW(key_of(parent), name));
}

kr_result kr_settings_enum_groups(kr_settings_handle parent, kr_char*** names, u32* count) {
    return enumerate(groups, parent, names, count);
}

kr_result kr_settings_enum_entries(kr_settings_handle settings, kr_char*** names, u32* count) {
    return enumerate(entries, settings, names, count);
}

void kr_settings_free_names(kr_char** names, u32 count) {
    if (names == nullptr) {
        return;
    }
    while (count > 0) {
        kr_memory_deallocate_hook(names[--count]);
    }
    kr_memory_deallocate_hook(names);
}

kr_result kr_settings_get_string(kr_settings_handle settings, const kr_char* name, u32 capacity,
                                 kr_char* buffer) {
    if (settings == nullptr || name == nullptr || buffer == nullptr) {
        return invalid_argument();
    }
    // The buffer is written only when the text is known to be good, so the value is read into a
    // place of its own; one that has grown since it was measured is read again while it can fit.
    const u64 capacity_bytes = u64{capacity} * sizeof(kr_char);
    kr_char short_text[short_text_chars];
    kr::owned_block block;
    void* text = short_text;
    DWORD room_bytes = static_cast<DWORD>(std::min<u64>(sizeof(short_text), capacity_bytes));
    DWORD size_bytes = room_bytes;
    DWORD type = REG_NONE;
    LSTATUS error = query(settings, name, &type, text, &size_bytes);
    while (error == ERROR_MORE_DATA && size_bytes > room_bytes && size_bytes <= capacity_bytes) {
        if (kr_result_failed(kr_memory_allocate_hook(block.out(), size_bytes))) {
            return generic_failure();
        }
        text = block.get();
        room_bytes = size_bytes;
        error = query(settings, name, &type, text, &size_bytes);
    }
    if (error != ERROR_SUCCESS || type != REG_SZ) {
        return generic_failure();
    }
    const size_t length_chars = size_bytes / sizeof(kr_char);
    if (!is_terminated(static_cast<const kr_char*>(text), size_bytes)) {
        if (length_chars >= capacity) {
            return generic_failure();
        }
        buffer[length_chars] = 0;
    }
    kr_memcpy(buffer, text, length_chars * sizeof(kr_char));
    return KR_SUCCESS;
}

kr_result kr_settings_get_string_alloc(kr_settings_handle settings, const kr_char* name,
                                       kr_char** out) {
    if (settings == nullptr || name == nullptr || out == nullptr) {
        return invalid_argument();
    }
    DWORD type = REG_NONE;
    DWORD size_bytes = 0;
    LSTATUS error = query(settings, name, &type, nullptr, &size_bytes);
    if (error != ERROR_SUCCESS) {
        return not_found_or_generic_unless_done(error);
    }
    if (type != REG_SZ) {
        return generic_failure();
    }

    kr::owned_block block;
    const kr_result result = kr_memory_allocate_hook(block.out(), size_bytes);
    if (kr_result_failed(result)) {
        return result;
    }
    error = query(settings, name, &type, block.get(), &size_bytes);
    if (error != ERROR_SUCCESS || type != REG_SZ) {
        return generic_failure();
    }
    const kr_char* const text = static_cast<const kr_char*>(block.get());
    if (!is_terminated(text, size_bytes)) {
        // Some other program stored the text without its terminator.
        return kr_string_dup_n(out, text, size_bytes / sizeof(kr_char));
    }
    *out = static_cast<kr_char*>(block.release());
    return KR_SUCCESS;
}

kr_result kr_settings_set_string(kr_settings_handle settings, const kr_char* name,
                                 const kr_char* value) {
    if (settings == nullptr || name == nullptr || value == nullptr) {
        return invalid_argument();
    }
    // The registry takes 32-bit byte counts; a longer text must not be stored cut.
    const u64 size_bytes = kr_string_bytesize(value);
    if (size_bytes > UINT32_MAX) {
        return generic_failure();
    }
    return generic_unless_done(RegSetValueExW(key_of(settings), name, 0, REG_SZ,
                                              reinterpret_cast<const BYTE*>(value),
                                              static_cast<DWORD>(size_bytes)));
}

kr_result kr_settings_delete_entry(kr_settings_handle settings, const kr_char* name) {
    if (settings == nullptr || name == nullptr) {
        return invalid_argument();
    }
    return not_found_or_generic_unless_done(RegDeleteValueW(key_of(settings), name));
}
