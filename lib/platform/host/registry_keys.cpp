/// The registry's calls that open, make, list and delete keys.
#include "platform/host/registry.h"

#include "platform/host/intercept.h"
#include "platform/host/registry_calls.h"

namespace {

using namespace kr::host;
using namespace kr::host::detail;

/// Goes from `key` down the path as far as it leads; `path` keeps what is missing.
void walk_down(open_key& key, std::u16string_view& path) {
    while (true) {
        std::u16string_view rest = path;
        const std::u16string_view name = take_key_name(rest);
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
    if (!is_key_path(path)) {
        return ERROR_INVALID_PARAMETER;
    }
    walk_down(*key, path);
    return path.empty() ? LONG{ERROR_SUCCESS} : LONG{ERROR_FILE_NOT_FOUND};
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
        for (auto name = take_key_name(path); !name.empty(); name = take_key_name(path)) {
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
    key.access = access;
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
    if (const LONG fault =
            injected_status("RegCreateKeyExW", [&] { return key_argument(parent, path); })) {
        return fault;
    }
    if (reserved != 0) {
        return ERROR_INVALID_PARAMETER;
    }
    return create_path(parent, path, access, key, disposition);
}

LSTATUS RegCreateKeyW(HKEY parent, const WCHAR* path, HKEY* key) {
    if (const LONG fault =
            injected_status("RegCreateKeyW", [&] { return key_argument(parent, path); })) {
        return fault;
    }
    return create_path(parent, path, KEY_ALL_ACCESS, key, nullptr);
}

LSTATUS RegOpenKeyW(HKEY parent, const WCHAR* path, HKEY* key) {
    if (const LONG fault =
            injected_status("RegOpenKeyW", [&] { return key_argument(parent, path); })) {
        return fault;
    }
    if (key == nullptr) {
        return ERROR_INVALID_PARAMETER;
    }
    std::u16string_view rest = view_of(path);
    if (rest.empty()) {
        *key = parent;
        return ERROR_SUCCESS;
    }
    locked_registry registry;
    open_key opened;
    if (const LONG status = find_path(registry, parent, rest, &opened); status != ERROR_SUCCESS) {
        return status;
    }
    opened.access = KEY_ALL_ACCESS;
    *key = registry.add_handle(std::move(opened));
    return ERROR_SUCCESS;
}

LSTATUS RegCloseKey(HKEY key) {
    if (const LONG fault = injected_status("RegCloseKey", [&] { return key_argument(key); })) {
        return fault;
    }
    return locked_registry().close(key);
}

LSTATUS RegDeleteKeyW(HKEY parent, const WCHAR* path) {
    if (const LONG fault =
            injected_status("RegDeleteKeyW", [&] { return key_argument(parent, path); })) {
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
            injected_status("RegDeleteTreeW", [&] { return key_argument(parent, path); })) {
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

LSTATUS RegEnumKeyW(HKEY key, DWORD index, WCHAR* name, DWORD room_chars) {
    if (const LONG fault = injected_status("RegEnumKeyW", [&] { return key_argument(key); })) {
        return fault;
    }
    if (name == nullptr) {
        return ERROR_INVALID_PARAMETER;
    }
    locked_registry registry;
    open_key opened;
    if (const LONG status = registry.find(key, KEY_ENUMERATE_SUB_KEYS, &opened);
        status != ERROR_SUCCESS) {
        return status;
    }
    if (index >= opened.key->subkeys().size()) {
        return ERROR_NO_MORE_ITEMS;
    }
    return give_name(opened.key->subkeys()[index]->name, name, room_chars);
}
