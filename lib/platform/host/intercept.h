/// How the stand-in's calls meet injected faults and recorders. Private to this directory.
#pragma once

#include "platform/host/win_types.h"

#include <atomic>
#include <optional>
#include <string>
#include <string_view>

namespace kr::host::detail {

inline constexpr u32 WATCH_CALLS = 1;
inline constexpr u32 WATCH_CLOCK = 2;
/// Which of the rare things are on: the one word that a call looks at when none is.
extern std::atomic<u32> watched;

struct injected {
    u32 error;
    u32 amount;
};
std::optional<injected> report_call(std::string_view call, const std::string& argument);

/// Records the call and says what an armed fault makes of it. `describe()` gives the argument for
/// the record as std::string and runs only when someone watches; callers hold no lock.
template <typename Describe>
std::optional<injected> intercept(std::string_view call, Describe describe) {
    if ((watched.load(std::memory_order_relaxed) & WATCH_CALLS) == 0) [[likely]] {
        return std::nullopt;
    }
    return report_call(call, describe());
}

/// The injected error of a call that reports an error number, or 0.
template <typename Describe>
LONG injected_status(std::string_view call, Describe describe) {
    const std::optional<injected> fault = intercept(call, describe);
    return fault ? static_cast<LONG>(fault->error) : ERROR_SUCCESS;
}

/// Whether the call is to fail; the last error is set then.
template <typename Describe>
bool injected_failure(std::string_view call, Describe describe) {
    const LONG status = injected_status(call, describe);
    if (status != ERROR_SUCCESS) {
        SetLastError(static_cast<DWORD>(status));
    }
    return status != ERROR_SUCCESS;
}

inline bool injected_failure(std::string_view call) {
    return injected_failure(call, [] { return std::string(); });
}

} // namespace kr::host::detail
