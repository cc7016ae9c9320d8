/// The test driver's file: where it goes and how the embedded image gets there. Reaches the
/// system's folders, the program's resources and files.
#pragma once

#include "platform/types.h"

namespace kr {

/// The longest system directory (260 characters with its terminator) and the file's name below it.
inline constexpr u32 driver_path_limit = 260 + 20;

/// A NUL-terminated path, held by value.
struct driver_path {
    kr_char text[driver_path_limit];
};

/// The full path for the extracted driver: "\drivers\krdummy.sys" below the system directory, or
/// "C:\Windows\System32\drivers\krdummy.sys", after a warning, when the system does not name the
/// directory. Never fails.
driver_path get_driver_path();

/// Writes the embedded driver to `path` in one piece, over whatever file is there. The file is
/// closed when this returns. Returns false after a warning when any step fails; a file that was
/// created by then stays.
[[nodiscard]] bool extract_embedded_driver(const kr_char* path);

} // namespace kr
