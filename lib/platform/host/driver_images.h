/// Images of kernel drivers: what a start checks, and which are loaded. Private to this directory.
#pragma once

#include "platform/host/win_types.h"

#include <string>
#include <sys/types.h>

namespace kr::host::detail {

struct driver_image {
    dev_t device = 0;
    ino_t inode = 0;
};

/// Opens and checks the image at the host's `path`: 0 with `image` filled, or 2, 3, 5, 193, 577.
DWORD check_driver_image(const std::string& path, driver_image* image);
/// Whether the file is the image of a driver that is loaded: such a file cannot be deleted.
bool is_loaded_image(const driver_image& image);

} // namespace kr::host::detail
