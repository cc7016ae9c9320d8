/// Windows paths to paths of the host system. Private to this directory.
#pragma once

#include <optional>
#include <string>

#include "platform/host/win_types.h"

namespace kr::host::detail {

/// The host's path; the last error is set (3 for an empty or missing path, 123 for a character
/// that no name holds) when there is none.
std::optional<std::string> host_path(const WCHAR* path);
/// The folder that stands for the drives, made on first use.
const std::string& drive_root();

} // namespace kr::host::detail
