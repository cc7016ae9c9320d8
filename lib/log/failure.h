/// The line that a failing operation leaves where it fails. For the library's own sources.
#pragma once

#include "log/log.h"

/// KR_LOG with `text`, a format literal, and behind it " Result is %_r (%_z)" with `result`, a
/// variable. The arguments of `text` come last. A macro, because a literal is joined that the
/// compiler then checks.
///
///     KR_LOG_FAILURE(KR_LOG_SETTINGS, KR_LOG_WARNING, result, "Unable to add '%_s'.", item);
#define KR_LOG_FAILURE_AS(category, level, function, result, text, ...)                            \
    KR_LOG_AS(category, level, function, text " Result is %_r (%_z)" __VA_OPT__(, ) __VA_ARGS__,   \
              &(result), &(result))
#define KR_LOG_FAILURE(category, level, result, ...)                                               \
    KR_LOG_FAILURE_AS(category, level, __func__, result, __VA_ARGS__)
