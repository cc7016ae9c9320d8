/// The list of modules that start-up registers. Stands above all modules that it names.
#include "base/memvec.h"
#include "base/sync.h"
#include "base/wide_string.h"
#include "log/log_module.h"
#include "log/module.h"

namespace kr::detail {
namespace {
/// "spinlock" brings "mutex" along, and "log" brings "time".
constexpr kr_module_descriptor modules[] = {kr_string_module, kr_spinlock_module, kr_mutex_module,
                                            kr_memvec_module, kr_log_module};
} // namespace

constinit const std::span<const kr_module_descriptor> base_modules = modules;
} // namespace kr::detail
