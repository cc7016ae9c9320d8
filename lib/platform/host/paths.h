/// Windows paths to paths of the host system, and what errno means as an error number. Private to
/// this directory.
#pragma once

#include "platform/host/win_types.h"

#include <optional>
#include <string>

namespace kr::host::detail {

/// The host's path; the last error is set (3 for an empty or missing path, 123 for a character
/// that no name holds) when there is none.
std::optional<std::string> host_path(const WCHAR* path);
/// The folder that stands for the drives, made on first use.
const std::string& drive_root();

/// The error number for `error`, an errno value; 2 for ENOENT.
DWORD error_from_errno(int error);
/// The same for an operation on `path`: a missing folder on the way to it gives 3.
DWORD error_from_errno(int error, const std::string& path);

} // namespace kr::host::detail
