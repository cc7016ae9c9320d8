/// The registry's calls on values, and the figures of a key.
#include "platform/host/registry.h"

#include "platform/host/intercept.h"
#include "platform/host/registry_calls.h"

#include <algorithm>
#include <cstring>

namespace {

using namespace kr::host;
using namespace kr::host::detail;

template <typename List>
std::size_t longest_name(const List& list) {
    std::size_t longest = 0;
    for (const auto& each : list) {
        longest = std::max(longest, each->name.size());
    }
    return longest;
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

} // namespace

LSTATUS RegDeleteValueW(HKEY key, const WCHAR* name) {
    if (const LONG fault =
            injected_status("RegDeleteValueW", [&] { return name_argument(name); })) {
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

LSTATUS RegQueryInfoKeyW(HKEY key, WCHAR* key_class, DWORD* class_chars, DWORD* reserved,
                         DWORD* subkeys, DWORD* longest_subkey_chars, DWORD* longest_class_chars,
                         DWORD* values, DWORD* longest_value_name_chars, DWORD* longest_data_bytes,
                         DWORD* security_bytes, FILETIME* last_write) {
    if (const LONG fault = injected_status("RegQueryInfoKeyW", [&] { return key_argument(key); })) {
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

LSTATUS RegEnumValueW(HKEY key, DWORD index, WCHAR* name, DWORD* name_chars, DWORD* reserved,
                      DWORD* type, BYTE* data, DWORD* data_bytes) {
    if (const LONG fault = injected_status("RegEnumValueW", [&] { return key_argument(key); })) {
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
            injected_status("RegQueryValueExW", [&] { return name_argument(name); })) {
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
    if (const LONG fault = injected_status("RegSetValueExW", [&] { return name_argument(name); })) {
        return fault;
    }
    const std::u16string_view wanted = view_of(name);
    if (reserved != 0 || wanted.size() > MAX_VALUE_NAME_CHARS ||
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
