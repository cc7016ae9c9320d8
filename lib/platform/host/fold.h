/// Letter case as the system's own tables have it, for names of keys, services, resources and
/// files. Private to this directory.
#pragma once

#include <string>
#include <string_view>

#include "platform/host/win_types.h"

namespace kr::host::detail {

/// The upper-case form of one unit, for letters of every script that have one of one unit.
WCHAR fold(WCHAR unit);
bool equal_folded(std::u16string_view a, std::u16string_view b);

} // namespace kr::host::detail
