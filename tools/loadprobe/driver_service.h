/// The test driver's kernel service. Reaches the Service Control Manager.
#pragma once

#include "platform/types.h"

namespace kr {

/// Installs the driver at `path` as the demand-start kernel service `service_name`, starts it,
/// stops it at once and removes the service. Returns whether it started; a warning says why not.
/// The service is gone when this returns, unless the system refuses: one whose driver does not stop
/// stays until a restart. A service of that name that was there before is left alone, and counts as
/// a failure. Needs the rights of an administrator.
[[nodiscard]] bool load_driver(const kr_char* path, const kr_char* service_name);

} // namespace kr
