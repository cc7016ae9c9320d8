/// The registry's calls on keys and values.
#include "platform/host/registry.h"

#include "platform/host/intercept.h"
#include "platform/host/registry_store.h"
#include "platform/host/world.h"

#include <algorithm>
#include <cstring>

namespace {

using namespace kr::host;
using detail::locked_registry;
using detail::open_key;
using detail::registry_key;
using detail::registry_value;

std::u16string_view view_of(const WCHAR* text) {
    return text == nullptr ? std::u16string_view() : std::u16string_view(text);
}

/// For the record of a call: the whole path of a key, "?" for a handle that is none.
std::string key_argument(HKEY handle, const WCHAR* path = nullptr) {
    locked_registry registry;
    open_key key;
    const LONG status = registry.find(handle, 0, &key);
    if (status != ERROR_SUCCESS) {
        return status == ERROR_KEY_DELETED ? "deleted key" : "?";
    }
    const std::u16string_view below = view_of(path);
    return to_utf8(below.empty() ? key.path : key.path + u'\\' + std::u16string(below));
}

std::string name_argument(const WCHAR* name) {
    return to_utf8(view_of(name));
}

/// The rights that the generic bits stand for.
REGSAM specific_rights(REGSAM access) {
    constexpr REGSAM generic_read = 0x80000000;
    constexpr REGSAM generic_write = 0x40000000;
    constexpr REGSAM generic_all = 0x10000000;
    constexpr REGSAM maximum_allowed = 0x02000000;
    return access | ((access & generic_read) != 0 ? KEY_READ : 0) |
           ((access & generic_write) != 0 ? KEY_WRITE : 0) |
           ((access & (generic_all | maximum_allowed)) != 0 ? KEY_ALL_ACCESS : 0);
}

/// Goes from `key` down the path as far as it leads; `path` keeps what is missing.
void walk_down(open_key& key, std::u16string_view& path) {
    while (true) {
        std::u16string_view rest = path;
        const std::u16string_view name = detail::take_key_name(rest);
        const auto subkey = name.empty() ? nullptr : key.key->find_subkey(name);
        if (subkey == nullptr) {
            path = name.empty() ? std::u16string_view() : path;
            return;
        }
        key.key = subkey;
        key.path.append(u"\\").append(subkey->name);
        path = rest;
    }
}

/// Finds the key at `path` below `parent`; on 2 `key` is the lowest that exists and `path` what is
/// missing below it.
LONG find_path(locked_registry& registry, HKEY parent, std::u16string_view& path, open_key* key) {
    if (path.starts_with(u'\\')) {
        return ERROR_BAD_PATHNAME;
    }
    if (const LONG status = registry.find(parent, 0, key); status != ERROR_SUCCESS) {
        return status;
    }
    if (!detail::is_key_path(path)) {
        return ERROR_INVALID_PARAMETER;
    }
    walk_down(*key, path);
    return path.empty() ? LONG{ERROR_SUCCESS} : LONG{ERROR_FILE_NOT_FOUND};
}

LONG open_path(HKEY parent, const WCHAR* path, REGSAM access, HKEY* opened) {
    if (opened == nullptr) {
        return ERROR_INVALID_PARAMETER;
    }
    locked_registry registry;
    open_key key;
    std::u16string_view rest = view_of(path);
    if (const LONG status = find_path(registry, parent, rest, &key); status != ERROR_SUCCESS) {
        return status;
    }
    key.access = specific_rights(access);
    *opened = registry.add_handle(std::move(key));
    return ERROR_SUCCESS;
}

LONG create_path(HKEY parent, const WCHAR* given, REGSAM access, HKEY* opened, DWORD* disposition) {
    std::u16string_view path = view_of(given);
    if (opened == nullptr) {
        return ERROR_INVALID_PARAMETER;
    }
    locked_registry registry;
    open_key key;
    LONG status = find_path(registry, parent, path, &key);
    if (status != ERROR_SUCCESS && status != ERROR_FILE_NOT_FOUND) {
        return status;
    }
    const bool creates = status == ERROR_FILE_NOT_FOUND;
    if (creates) {
        const std::shared_ptr<registry_key> lowest = key.key;
        std::shared_ptr<registry_key> first_new;
        for (auto name = detail::take_key_name(path); !name.empty();
             name = detail::take_key_name(path)) {
            auto subkey = std::make_shared<registry_key>(key.key.get(), name);
            key.key->insert_subkey(subkey);
            key.key = subkey;
            key.path.append(u"\\").append(name);
            first_new = first_new == nullptr ? subkey : first_new;
        }
        status = registry.commit([&] { lowest->remove_subkey(*first_new); });
        if (status != ERROR_SUCCESS) {
            return status;
        }
    }
    key.access = specific_rights(access);
    *opened = registry.add_handle(std::move(key));
    if (disposition != nullptr) {
        *disposition = creates ? REG_CREATED_NEW_KEY : REG_OPENED_EXISTING_KEY;
    }
    return ERROR_SUCCESS;
}

/// Takes a key with all below it out of the tree.
LONG remove_key(locked_registry& registry, const std::shared_ptr<registry_key>& key) {
    registry_key* const parent = key->parent;
    if (parent == nullptr) {
        return ERROR_ACCESS_DENIED;
    }
    parent->remove_subkey(*key);
    key->mark_deleted(true);
    return registry.commit([&] {
        key->mark_deleted(false);
        parent->insert_subkey(key);
    });
}

} // namespace

LSTATUS RegCreateKeyExW(HKEY parent, const WCHAR* path, DWORD reserved, WCHAR*, DWORD,
                        REGSAM access, const SECURITY_ATTRIBUTES*, HKEY* key, DWORD* disposition) {
    if (const LONG fault = detail::injected_status("RegCreateKeyExW",
                                                   [&] { return key_argument(parent, path); })) {
        return fault;
    }
    if (reserved != 0) {
        return ERROR_INVALID_PARAMETER;
    }
    return create_path(parent, path, access, key, disposition);
}

LSTATUS RegCreateKeyW(HKEY parent, const WCHAR* path, HKEY* key) {
    if (const LONG fault =
            detail::injected_status("RegCreateKeyW", [&] { return key_argument(parent, path); })) {
        return fault;
    }
    return create_path(parent, path, KEY_ALL_ACCESS, key, nullptr);
}

LSTATUS RegOpenKeyExW(HKEY parent, const WCHAR* path, DWORD, REGSAM access, HKEY* key) {
    if (const LONG fault =
            detail::injected_status("RegOpenKeyExW", [&] { return key_argument(parent, path); })) {
        return fault;
    }
    return open_path(parent, path, access, key);
}

LSTATUS RegOpenKeyW(HKEY parent, const WCHAR* path, HKEY* key) {
    if (const LONG fault =
            detail::injected_status("RegOpenKeyW", [&] { return key_argument(parent, path); })) {
        return fault;
    }
    if (view_of(path).empty() && key != nullptr) {
        *key = parent;
        return ERROR_SUCCESS;
    }
    return open_path(parent, path, KEY_ALL_ACCESS, key);
}

LSTATUS RegCloseKey(HKEY key) {
    if (const LONG fault =
            detail::injected_status("RegCloseKey", [&] { return key_argument(key); })) {
        return fault;
    }
    return locked_registry().close(key);
}

LSTATUS RegDeleteKeyW(HKEY parent, const WCHAR* path) {
    if (const LONG fault =
            detail::injected_status("RegDeleteKeyW", [&] { return key_argument(parent, path); })) {
        return fault;
    }
    if (path == nullptr) {
        return ERROR_INVALID_PARAMETER;
    }
    locked_registry registry;
    open_key key;
    std::u16string_view rest = path;
    if (const LONG status = find_path(registry, parent, rest, &key); status != ERROR_SUCCESS) {
        return status;
    }
    return key.key->subkeys().empty() ? remove_key(registry, key.key) : LONG{ERROR_ACCESS_DENIED};
}

LSTATUS RegDeleteTreeW(HKEY parent, const WCHAR* path) {
    if (const LONG fault =
            detail::injected_status("RegDeleteTreeW", [&] { return key_argument(parent, path); })) {
        return fault;
    }
    locked_registry registry;
    open_key key;
    std::u16string_view rest = view_of(path);
    if (const LONG status = find_path(registry, parent, rest, &key); status != ERROR_SUCCESS) {
        return status;
    }
    if (!view_of(path).empty()) {
        return remove_key(registry, key.key);
    }
    registry_key contents(nullptr, {});
    contents.swap_contents(*key.key);
    contents.mark_deleted(true);
    return registry.commit([&] {
        contents.mark_deleted(false);
        contents.swap_contents(*key.key);
    });
}

LSTATUS RegDeleteValueW(HKEY key, const WCHAR* name) {
    if (const LONG fault =
            detail::injected_status("RegDeleteValueW", [&] { return name_argument(name); })) {
        return fault;
    }
    locked_registry registry;
    open_key opened;
    if (const LONG status = registry.find(key, KEY_SET_VALUE, &opened); status != ERROR_SUCCESS) {
        return status;
    }
    const registry_value* const value = opened.key->find_value(view_of(name));
    if (value == nullptr) {
        return ERROR_FILE_NOT_FOUND;
    }
    std::size_t index = 0;
    auto taken = opened.key->take_value(*value, &index);
    return registry.commit([&] { opened.key->insert_value(std::move(taken), index); });
}

namespace {

void give(DWORD* target, std::size_t number) {
    if (target != nullptr) {
        *target = static_cast<DWORD>(number);
    }
}

template <typename List>
std::size_t longest_name(const List& list) {
    std::size_t longest = 0;
    for (const auto& each : list) {
        longest = std::max(longest, each->name.size());
    }
    return longest;
}

/// 234 when it does not fit with its terminator.
LONG give_name(std::u16string_view text, WCHAR* name, std::size_t room_chars) {
    if (text.size() >= room_chars) {
        return ERROR_MORE_DATA;
    }
    name[text.copy(name, text.size())] = 0;
    return ERROR_SUCCESS;
}

/// A value's type and data as far as asked for; 234 when the data does not fit.
LONG give_data(const registry_value& value, DWORD* type, BYTE* data, DWORD* data_bytes) {
    give(type, value.type);
    const std::size_t room = data_bytes == nullptr ? 0 : *data_bytes;
    give(data_bytes, value.data.size());
    if (data == nullptr) {
        return ERROR_SUCCESS;
    }
    if (value.data.size() > room) {
        return ERROR_MORE_DATA;
    }
    std::ranges::copy(value.data, data);
    return ERROR_SUCCESS;
}

LONG give_subkey_name(HKEY key, DWORD index, WCHAR* name, std::size_t room_chars,
                      DWORD* name_chars) {
    locked_registry registry;
    open_key opened;
    if (const LONG status = registry.find(key, KEY_ENUMERATE_SUB_KEYS, &opened);
        status != ERROR_SUCCESS) {
        return status;
    }
    if (index >= opened.key->subkeys().size()) {
        return ERROR_NO_MORE_ITEMS;
    }
    const std::u16string& subkey = opened.key->subkeys()[index]->name;
    const LONG status = give_name(subkey, name, room_chars);
    if (status == ERROR_SUCCESS) {
        give(name_chars, subkey.size());
    }
    return status;
}

} // namespace

LSTATUS RegQueryInfoKeyW(HKEY key, WCHAR* key_class, DWORD* class_chars, DWORD* reserved,
                         DWORD* subkeys, DWORD* longest_subkey_chars, DWORD* longest_class_chars,
                         DWORD* values, DWORD* longest_value_name_chars, DWORD* longest_data_bytes,
                         DWORD* security_bytes, FILETIME* last_write) {
    if (const LONG fault =
            detail::injected_status("RegQueryInfoKeyW", [&] { return key_argument(key); })) {
        return fault;
    }
    if (reserved != nullptr || (key_class != nullptr && class_chars == nullptr)) {
        return ERROR_INVALID_PARAMETER;
    }
    locked_registry registry;
    open_key opened;
    if (const LONG status = registry.find(key, KEY_QUERY_VALUE, &opened); status != ERROR_SUCCESS) {
        return status;
    }
    if (key_class != nullptr && *class_chars != 0) {
        *key_class = 0;
    }
    std::size_t longest_data = 0;
    for (const auto& value : opened.key->values()) {
        longest_data = std::max(longest_data, value->data.size());
    }
    give(class_chars, 0);
    give(subkeys, opened.key->subkeys().size());
    give(longest_subkey_chars, longest_name(opened.key->subkeys()));
    give(longest_class_chars, 0);
    give(values, opened.key->values().size());
    give(longest_value_name_chars, longest_name(opened.key->values()));
    give(longest_data_bytes, longest_data);
    give(security_bytes, 0);
    if (last_write != nullptr) {
        *last_write = {};
    }
    return ERROR_SUCCESS;
}

LSTATUS RegEnumKeyW(HKEY key, DWORD index, WCHAR* name, DWORD room_chars) {
    if (const LONG fault =
            detail::injected_status("RegEnumKeyW", [&] { return key_argument(key); })) {
        return fault;
    }
    return name == nullptr ? LONG{ERROR_INVALID_PARAMETER}
                           : give_subkey_name(key, index, name, room_chars, nullptr);
}

LSTATUS RegEnumKeyExW(HKEY key, DWORD index, WCHAR* name, DWORD* name_chars, DWORD* reserved,
                      WCHAR* key_class, DWORD* class_chars, FILETIME* last_write) {
    if (const LONG fault =
            detail::injected_status("RegEnumKeyExW", [&] { return key_argument(key); })) {
        return fault;
    }
    if (name == nullptr || name_chars == nullptr || reserved != nullptr ||
        (key_class != nullptr && class_chars == nullptr)) {
        return ERROR_INVALID_PARAMETER;
    }
    const LONG status = give_subkey_name(key, index, name, *name_chars, name_chars);
    if (status == ERROR_SUCCESS) {
        if (key_class != nullptr && *class_chars != 0) {
            *key_class = 0;
        }
        give(class_chars, 0);
        if (last_write != nullptr) {
            *last_write = {};
        }
    }
    return status;
}

LSTATUS RegEnumValueW(HKEY key, DWORD index, WCHAR* name, DWORD* name_chars, DWORD* reserved,
                      DWORD* type, BYTE* data, DWORD* data_bytes) {
    if (const LONG fault =
            detail::injected_status("RegEnumValueW", [&] { return key_argument(key); })) {
        return fault;
    }
    if (name == nullptr || name_chars == nullptr || reserved != nullptr ||
        (data != nullptr && data_bytes == nullptr)) {
        return ERROR_INVALID_PARAMETER;
    }
    locked_registry registry;
    open_key opened;
    if (const LONG status = registry.find(key, KEY_QUERY_VALUE, &opened); status != ERROR_SUCCESS) {
        return status;
    }
    if (index >= opened.key->values().size()) {
        return ERROR_NO_MORE_ITEMS;
    }
    const registry_value& value = *opened.key->values()[index];
    if (const LONG status = give_name(value.name, name, *name_chars); status != ERROR_SUCCESS) {
        return status;
    }
    give(name_chars, value.name.size());
    return give_data(value, type, data, data_bytes);
}

LSTATUS RegQueryValueExW(HKEY key, const WCHAR* name, DWORD* reserved, DWORD* type, BYTE* data,
                         DWORD* data_bytes) {
    if (const LONG fault =
            detail::injected_status("RegQueryValueExW", [&] { return name_argument(name); })) {
        return fault;
    }
    if (reserved != nullptr || (data != nullptr && data_bytes == nullptr)) {
        return ERROR_INVALID_PARAMETER;
    }
    locked_registry registry;
    open_key opened;
    if (const LONG status = registry.find(key, KEY_QUERY_VALUE, &opened); status != ERROR_SUCCESS) {
        return status;
    }
    const registry_value* const value = opened.key->find_value(view_of(name));
    return value == nullptr ? LONG{ERROR_FILE_NOT_FOUND}
                            : give_data(*value, type, data, data_bytes);
}

namespace {

/// The size to be stored: Windows looks at the unit behind a string that was given without its
/// terminator, and takes it along when it is one.
std::size_t stored_size(DWORD type, const BYTE* data, DWORD data_bytes) {
    if ((type != REG_SZ && type != REG_EXPAND_SZ && type != REG_MULTI_SZ) ||
        data_bytes < sizeof(WCHAR) || data_bytes % sizeof(WCHAR) != 0) {
        return data_bytes;
    }
    WCHAR around[2];
    std::memcpy(&around[0], data + data_bytes - sizeof(WCHAR), sizeof(WCHAR));
    if (around[0] == 0) {
        return data_bytes;
    }
    std::memcpy(&around[1], data + data_bytes, sizeof(WCHAR));
    return around[1] == 0 ? data_bytes + sizeof(WCHAR) : data_bytes;
}

} // namespace

LSTATUS RegSetValueExW(HKEY key, const WCHAR* name, DWORD reserved, DWORD type, const BYTE* data,
                       DWORD data_bytes) {
    if (const LONG fault =
            detail::injected_status("RegSetValueExW", [&] { return name_argument(name); })) {
        return fault;
    }
    const std::u16string_view wanted = view_of(name);
    if (reserved != 0 || wanted.size() > detail::MAX_VALUE_NAME_CHARS ||
        (data == nullptr && data_bytes != 0)) {
        return ERROR_INVALID_PARAMETER;
    }
    locked_registry registry;
    open_key opened;
    if (const LONG status = registry.find(key, KEY_SET_VALUE, &opened); status != ERROR_SUCCESS) {
        return status;
    }
    std::vector<u8> bytes;
    if (data_bytes != 0) {
        bytes.assign(data, data + stored_size(type, data, data_bytes));
    }
    if (registry_value* const old = opened.key->find_value(wanted); old != nullptr) {
        std::swap(old->type, type);
        old->data.swap(bytes);
        return registry.commit([&] {
            old->type = type;
            old->data = std::move(bytes);
        });
    }
    const registry_value& fresh = opened.key->insert_value(std::make_unique<registry_value>(
        registry_value{std::u16string(wanted), type, std::move(bytes)}));
    return registry.commit([&] { opened.key->take_value(fresh, nullptr); });
}
