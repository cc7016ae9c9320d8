/// Images of kernel drivers: what a start checks. Private to this directory.
#pragma once

#include <string>

#include "platform/host/win_types.h"

namespace kr::host::detail {

/// Opens and checks the image at the host's `path`: 0, or 2, 3, 5, 193, 577.
DWORD check_driver_image(const std::string& path);

} // namespace kr::host::detail
