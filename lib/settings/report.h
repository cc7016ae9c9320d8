/// The lines of settings that cannot be read or stored. Private to this directory.
#pragma once

#include "log/failure.h"
#include "result/result.h"

namespace kr::detail {

/// Says in the name of `function` that `operation` has failed, unless it has not or there is only
/// no such setting. Gives `result` back.
inline kr_result report(const char* function, const char* operation, kr_result result) {
    if (kr_result_failed(result) && !kr_result_is(result, KR_NOT_FOUND)) {
        KR_LOG_FAILURE_AS(KR_LOG_SETTINGS, KR_LOG_WARNING, function, result, "%s() failed.",
                          operation);
    }
    return result;
}

} // namespace kr::detail
