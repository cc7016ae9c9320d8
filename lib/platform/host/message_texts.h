/// The English texts of the system's error numbers. Private to this directory.
#pragma once

#include "platform/host/win_types.h"

namespace kr::host::detail {

/// The text without the line break at its end; null for a number that is not in the table.
const WCHAR* message_text(DWORD error);

} // namespace kr::host::detail
