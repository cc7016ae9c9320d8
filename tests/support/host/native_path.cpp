/// Paths of the stand-in's files on the host.
#include "platform/host/world.h"
#include "support/system.h"

std::filesystem::path kr::test::native_path(const wide& path) { return kr::host::native_path(path.c_str()); }
