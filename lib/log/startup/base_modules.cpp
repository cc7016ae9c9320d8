/// The list of modules that start-up registers. Stands above all modules that it names.
#include "base/memory/memvec.h"
#include "base/text/wide_string.h"
#include "base/threads/sync.h"
#include "log/startup/log_module.h"
#include "log/startup/module_list.h"

namespace kr::detail {
namespace {
/// "spinlock" brings "mutex" along, and "log" brings "time".
constexpr kr_module_descriptor modules[] = {kr_string_module, kr_spinlock_module, kr_mutex_module,
                                            kr_memvec_module, kr_log_module};
} // namespace

constinit const std::span<const kr_module_descriptor> base_modules = modules;
} // namespace kr::detail
