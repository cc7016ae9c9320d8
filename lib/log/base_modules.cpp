/// The list of modules that start-up registers. Stands above all modules that it names.
#include "log/module.h"

namespace kr::detail {
constinit const std::span<const kr_module_descriptor> base_modules = {};
} // namespace kr::detail
