/// How the stand-in's calls meet injected faults and recorders. Private to this directory.
#pragma once

#include <atomic>
#include <concepts>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "platform/host/win_types.h"

namespace kr::host::detail {

inline constexpr u32 watch_calls = 1;
inline constexpr u32 watch_stopped_clock = 2;
inline constexpr u32 watch_fixed_offset = 4;
/// Which of the rare things are on: the one word that a call looks at when none is.
extern std::atomic<u32> watched;

struct injected {
    u32 error;
    u32 amount;
};
std::optional<injected> report_call(std::string_view call, const std::string& argument);

/// Records the call and says what an armed fault makes of it. `describe`, where given, is a
/// function and its arguments; it gives the call's main argument for the record, as std::string,
/// and runs only when someone watches. Callers hold no lock.
template <typename... Describe>
std::optional<injected> intercept(std::string_view call, const Describe&... describe) {
    if ((watched.load(std::memory_order_relaxed) & watch_calls) == 0) [[likely]] {
        return std::nullopt;
    }
    if constexpr (sizeof...(describe) == 0) {
        return report_call(call, {});
    } else {
        return report_call(call, std::invoke(describe...));
    }
}

/// The first statement of a call that reports an error number: that of an injected fault, or 0.
///     if (const LONG fault = injected_status(__func__, key_argument, key)) { return fault; }
template <typename... Describe>
LONG injected_status(std::string_view call, const Describe&... describe) {
    const std::optional<injected> fault = intercept(call, describe...);
    return fault ? static_cast<LONG>(fault->error) : ERROR_SUCCESS;
}

/// The first statement of a call that sets the last error: whether it is to fail; the last error is
/// set then.
template <typename... Describe>
bool injected_failure(std::string_view call, const Describe&... describe) {
    const LONG status = injected_status(call, describe...);
    if (status != ERROR_SUCCESS) {
        SetLastError(static_cast<DWORD>(status));
    }
    return status != ERROR_SUCCESS;
}

/// Sets the last error (a DWORD or one of the constants) and gives `value`, by which the call says
/// that it failed.
template <std::integral Error, typename Value = BOOL>
Value fail(Error error, Value value = {}) {
    SetLastError(static_cast<DWORD>(error));
    return value;
}

/// Text for the record of a call; null reads as empty.
std::string text_argument(const WCHAR* text);

} // namespace kr::host::detail
