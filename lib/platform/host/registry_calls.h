/// What the registry's calls share. Private to this directory.
#pragma once

#include "platform/host/registry_store.h"

namespace kr::host::detail {

/// Null reads as empty.
std::u16string_view view_of(const WCHAR* text);

/// For the record of a call: the whole path of a key, "?" for a handle that is none.
std::string key_argument(HKEY handle, const WCHAR* path = nullptr);
std::string name_argument(const WCHAR* name);

/// Writes an answer that the caller may not have asked for.
void give(DWORD* target, std::size_t number);
/// 234 when the name does not fit with its terminator.
[[nodiscard]] LONG give_name(std::u16string_view text, WCHAR* name, std::size_t room_chars);

} // namespace kr::host::detail
