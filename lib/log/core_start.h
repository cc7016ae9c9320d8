/// The log core's own start and stop. For the log module, tests and benchmarks.
#pragma once

#include "result/result.h"

namespace kr::detail {

/// Empties the core's state and creates its locks; on failure nothing is left behind. Until then,
/// and after the stop, kr_log must find no destination set.
[[nodiscard]] kr_result log_core_start();
/// Empties the thread table and destroys the locks; the result of the last destruction.
kr_result log_core_stop();

} // namespace kr::detail
