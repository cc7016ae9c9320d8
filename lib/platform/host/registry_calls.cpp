/// What the registry's calls share.
#include "platform/host/registry_calls.h"

#include "platform/host/world.h"

namespace kr::host::detail {

std::u16string_view view_of(const WCHAR* text) {
    return text == nullptr ? std::u16string_view() : std::u16string_view(text);
}

std::string key_argument(HKEY handle, const WCHAR* path) {
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

void give(DWORD* target, std::size_t number) {
    if (target != nullptr) {
        *target = static_cast<DWORD>(number);
    }
}

LONG give_name(std::u16string_view text, WCHAR* name, std::size_t room_chars) {
    if (text.size() >= room_chars) {
        return ERROR_MORE_DATA;
    }
    name[text.copy(name, text.size())] = 0;
    return ERROR_SUCCESS;
}

} // namespace kr::host::detail
