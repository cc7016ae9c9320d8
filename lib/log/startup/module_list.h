/// The list of modules that start-up registers, as the registry sees it: defined in
/// log/startup/base_modules.cpp, above all modules that it names.
#pragma once

#include <span>

#include "log/startup/module.h"

namespace kr::detail {
/// In the order of registration.
extern const std::span<const kr_module_descriptor> base_modules;
} // namespace kr::detail
