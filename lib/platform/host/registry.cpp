/// The registry's calls.
#include "platform/host/registry.h"

#include <algorithm>
#include <cstring>

#include "platform/host/intercept.h"
#include "platform/host/registry_store.h"

namespace {

using namespace kr::host::detail;

using key_ptr = std::shared_ptr<registry_key>;

constexpr LONG done = ERROR_SUCCESS;

/// How every call begins: the error of an injected fault, or 87 unless the arguments are `valid`.
template <typename... Describe>
LONG refused(const char* call, bool valid, const Describe&... describe) {
    const LONG fault = injected_status(call, describe...);
    return fault != done || valid ? fault : ERROR_INVALID_PARAMETER;
}

/// Runs `work(key, store)` on the key that a handle stands for, under the registry's lock.
template <typename Work>
LONG on_key(HKEY handle, Work work) {
    const locked_registry registry;
    key_ptr key;
    const LONG status = registry->find(handle, &key);
    return status == done ? work(*key, *registry.operator->()) : status;
}

std::u16string_view view_of(const WCHAR* text) {
    return text == nullptr ? std::u16string_view() : std::u16string_view(text);
}

/// Finds the key at `path` below `parent`; on 2 `key` is the lowest that exists and `path` what is
/// missing below it.
LONG find_path(const locked_registry& registry, HKEY parent, std::u16string_view& path,
               key_ptr* key) {
    if (path.starts_with(u'\\')) {
        return ERROR_BAD_PATHNAME;
    }
    if (const LONG status = registry->find(parent, key); status != done) {
        return status;
    }
    if (!is_key_path(path)) {
        return ERROR_INVALID_PARAMETER;
    }
    *key = walk_down(std::move(*key), path);
    return path.empty() ? done : LONG{ERROR_FILE_NOT_FOUND};
}

LONG create_path(HKEY parent, const WCHAR* given, HKEY* opened, DWORD* disposition) {
    std::u16string_view path = view_of(given);
    const locked_registry registry;
    key_ptr key;
    LONG status = find_path(registry, parent, path, &key);
    const bool creates = status == ERROR_FILE_NOT_FOUND;
    if (creates) {
        key = make_below(std::move(key), path);
        status = registry->save();
    }
    if (status != done) {
        return status;
    }
    *opened = registry->add_handle(std::move(key));
    if (disposition != nullptr) {
        *disposition = creates ? REG_CREATED_NEW_KEY : REG_OPENED_EXISTING_KEY;
    }
    return done;
}

/// Writes an answer that the caller may not have asked for.
void give(DWORD* target, size_t number) {
    if (target != nullptr) {
        *target = static_cast<DWORD>(number);
    }
}

/// 234 when the name does not fit with its terminator.
LONG give_name(std::u16string_view text, WCHAR* name, size_t room_chars) {
    if (text.size() >= room_chars) {
        return ERROR_MORE_DATA;
    }
    name[text.copy(name, text.size())] = 0;
    return done;
}

/// Whether a text of whole characters does not end in its terminator.
bool lacks_terminator(DWORD type, const BYTE* data, size_t size) {
    WCHAR last = 0;
    const bool is_text = type == REG_SZ || type == REG_EXPAND_SZ || type == REG_MULTI_SZ;
    if (is_text && size != 0 && size % sizeof last == 0) {
        std::memcpy(&last, data + size - sizeof last, sizeof last);
    }
    return last != 0;
}

/// A value's type and data as far as asked for; 234 when the data does not fit. A text without a
/// terminator gets one where there is room; the size stays as stored. One variable may stand for
/// type and size: the size is written last.
LONG give_data(const registry_value& value, DWORD* type, BYTE* data, DWORD* data_bytes) {
    const size_t room = data_bytes == nullptr ? 0 : *data_bytes;
    const size_t size = value.data.size();
    give(type, value.type);
    give(data_bytes, size);
    if (data == nullptr) {
        return done;
    }
    if (size > room) {
        return ERROR_MORE_DATA;
    }
    std::ranges::copy(value.data, data);
    if (lacks_terminator(value.type, data, size) && size + sizeof(WCHAR) <= room) {
        std::memset(data + size, 0, sizeof(WCHAR));
    }
    return done;
}

/// The size to be stored: Windows looks at the unit behind a string that was given without its
/// terminator, and takes it along when it is one.
size_t stored_size(DWORD type, const BYTE* data, size_t size) {
    WCHAR behind = 1;
    if (lacks_terminator(type, data, size)) {
        std::memcpy(&behind, data + size, sizeof behind);
    }
    return behind == 0 ? size + sizeof behind : size;
}

} // namespace

LSTATUS RegCreateKeyExW(HKEY parent, const WCHAR* path, DWORD reserved, WCHAR*, DWORD, REGSAM,
                        const SECURITY_ATTRIBUTES*, HKEY* key, DWORD* disposition) {
    const bool valid = reserved == 0 && key != nullptr;
    if (const LONG status = refused(__func__, valid, key_argument, parent, path)) {
        return status;
    }
    return create_path(parent, path, key, disposition);
}

LSTATUS RegCreateKeyW(HKEY parent, const WCHAR* path, HKEY* key) {
    if (const LONG status = refused(__func__, key != nullptr, key_argument, parent, path)) {
        return status;
    }
    return create_path(parent, path, key, nullptr);
}

LSTATUS RegOpenKeyW(HKEY parent, const WCHAR* path, HKEY* key) {
    if (const LONG status = refused(__func__, key != nullptr, key_argument, parent, path)) {
        return status;
    }
    std::u16string_view rest = view_of(path);
    if (rest.empty()) {
        *key = parent;
        return done;
    }
    *key = nullptr;
    const locked_registry registry;
    key_ptr opened;
    const LONG status = find_path(registry, parent, rest, &opened);
    if (status == done) {
        *key = registry->add_handle(std::move(opened));
    }
    return status;
}

LSTATUS RegCloseKey(HKEY key) {
    if (const LONG status = refused(__func__, true, key_argument, key, nullptr)) {
        return status;
    }
    return locked_registry()->close(key);
}

LSTATUS RegDeleteKeyW(HKEY parent, const WCHAR* path) {
    if (const LONG status = refused(__func__, path != nullptr, key_argument, parent, path)) {
        return status;
    }
    const locked_registry registry;
    key_ptr key;
    std::u16string_view rest = path;
    if (const LONG status = find_path(registry, parent, rest, &key); status != done) {
        return status;
    }
    if (!key->subkeys().empty() || key->parent == nullptr) {
        return ERROR_ACCESS_DENIED;
    }
    key->parent->remove_subkey(*key);
    return registry->save();
}

LSTATUS RegEnumKeyW(HKEY key, DWORD index, WCHAR* name, DWORD room_chars) {
    if (const LONG status = refused(__func__, name != nullptr, key_argument, key, nullptr)) {
        return status;
    }
    return on_key(key, [&](registry_key& opened, registry_store&) -> LONG {
        return index < opened.subkeys().size()
                   ? give_name(opened.subkey_at(index).name, name, room_chars)
                   : LONG{ERROR_NO_MORE_ITEMS};
    });
}

LSTATUS RegQueryInfoKeyW(HKEY key, WCHAR*, DWORD*, DWORD*, DWORD* subkeys,
                         DWORD* longest_subkey_chars, DWORD*, DWORD* values,
                         DWORD* longest_value_name_chars, DWORD* longest_data_bytes, DWORD*,
                         FILETIME*) {
    if (const LONG status = refused(__func__, true, key_argument, key, nullptr)) {
        return status;
    }
    return on_key(key, [&](registry_key& opened, registry_store&) {
        give(subkeys, opened.subkeys().size());
        give(longest_subkey_chars, opened.longest_subkey_chars());
        give(values, opened.values().size());
        give(longest_value_name_chars, opened.longest_value_name_chars());
        give(longest_data_bytes, opened.longest_data_bytes());
        return done;
    });
}

LSTATUS RegEnumValueW(HKEY key, DWORD index, WCHAR* name, DWORD* name_chars, DWORD* reserved,
                      DWORD* type, BYTE* data, DWORD* data_bytes) {
    const bool valid = name != nullptr && name_chars != nullptr && reserved == nullptr &&
                       (data == nullptr || data_bytes != nullptr);
    if (const LONG status = refused(__func__, valid, key_argument, key, nullptr)) {
        return status;
    }
    return on_key(key, [&](registry_key& opened, registry_store&) -> LONG {
        if (index >= opened.values().size()) {
            return ERROR_NO_MORE_ITEMS;
        }
        const registry_value& value = *opened.values()[index];
        if (const LONG status = give_name(value.name, name, *name_chars); status != done) {
            return status;
        }
        give(name_chars, value.name.size());
        return give_data(value, type, data, data_bytes);
    });
}

LSTATUS RegQueryValueExW(HKEY key, const WCHAR* name, DWORD* reserved, DWORD* type, BYTE* data,
                         DWORD* data_bytes) {
    const bool valid = reserved == nullptr && (data == nullptr || data_bytes != nullptr);
    if (const LONG status = refused(__func__, valid, text_argument, name)) {
        return status;
    }
    return on_key(key, [&](registry_key& opened, registry_store&) -> LONG {
        if (const registry_value* const value = opened.find_value(view_of(name))) {
            return give_data(*value, type, data, data_bytes);
        }
        if (data == nullptr) {
            give(data_bytes, 0);
        }
        return ERROR_FILE_NOT_FOUND;
    });
}

LSTATUS RegSetValueExW(HKEY key, const WCHAR* name, DWORD reserved, DWORD type, const BYTE* data,
                       DWORD data_bytes) {
    const bool valid = reserved == 0 && view_of(name).size() <= max_value_name_chars;
    if (const LONG status = refused(__func__, valid, text_argument, name)) {
        return status;
    }
    if (data == nullptr && data_bytes != 0) {
        return ERROR_NOACCESS;
    }
    return on_key(key, [&](registry_key& opened, registry_store& store) {
        registry_value value{std::u16string(view_of(name)), type, {}, 0};
        if (data_bytes != 0) {
            value.data.assign(data, data + stored_size(type, data, data_bytes));
        }
        opened.set_value(std::move(value));
        return store.save();
    });
}

LSTATUS RegDeleteValueW(HKEY key, const WCHAR* name) {
    if (const LONG status = refused(__func__, true, text_argument, name)) {
        return status;
    }
    return on_key(key, [&](registry_key& opened, registry_store& store) {
        return opened.remove_value(view_of(name)) ? store.save() : LONG{ERROR_FILE_NOT_FOUND};
    });
}
