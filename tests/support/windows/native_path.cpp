/// On Windows the C++ library and the system's calls take the same paths.
#include "support/system.h"

std::filesystem::path kr::test::native_path(const wide& path) { return path; }
