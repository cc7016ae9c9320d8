/// What errno means as an error number. Private to this directory.
#pragma once

#include <string>

#include "platform/host/win_types.h"

namespace kr::host::detail {

/// The error number for `error`, an errno value; 2 for ENOENT.
DWORD error_from_errno(int error);
/// The same for an operation on `path`: a missing folder on the way to it gives 3.
DWORD error_from_errno(int error, const std::string& path);

} // namespace kr::host::detail
