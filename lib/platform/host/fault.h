/// Injected faults and the log of calls, for tests on the host. Every call that platform.h
/// declares can be armed and recorded, except what cannot fail: the last error, the runtime's
/// routines, critical sections, the time of day, sleeping, thread ids, the debugger output.
///
/// While nothing is armed and nothing recorded a call pays one relaxed load for this. All of it is
/// safe from any thread.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/host/win_types.h"

namespace kr::host {

namespace detail {
struct armed_state;
struct recorder_state;
} // namespace detail

struct fault_plan {
    /// The name of the call, for instance "WriteFile".
    std::string call;
    /// What the call reports; nothing is done then. 0: it reports success, cut short as
    /// `amount` says (WriteFile: bytes really written; SizeofResource: the size given;
    /// LockResource: null whatever the amount). For SHGetFolderPathW the HRESULT.
    u32 error = 0;
    /// The first call that fails, 1 being the next one.
    u32 nth = 1;
    /// Fail every call from the nth on, not only that one.
    bool sticky = false;
    u32 amount = 0;
    /// Instead of a failure: what another thread or program does just before the call, which is
    /// then made as always. Runs in the calling thread.
    std::function<void()> meanwhile = {};
};

/// A plan that holds from here to the end of the scope. Several may be armed at once, also for one
/// call; each counts for itself, and the one armed first decides.
class armed_fault {
public:
    explicit armed_fault(const fault_plan& plan);
    ~armed_fault();
    armed_fault(const armed_fault&) = delete;
    armed_fault& operator=(const armed_fault&) = delete;

    /// How often the call was made to fail. A sweep over `nth` is done when this stays 0.
    [[nodiscard]] u32 hits() const;

private:
    std::shared_ptr<detail::armed_state> state_;
};

struct call_record {
    std::string name;
    /// The call's main argument as UTF-8: a path, a name, or for a handle what it stands for (the
    /// path of a file or key, "manager", "service NAME", "thread"); empty where there is none.
    std::string argument;

    bool operator==(const call_record&) const = default;
};

/// Records the calls of all threads from here to the end of the scope. Recorders nest: each has
/// the calls made during its own life.
class call_recorder {
public:
    call_recorder();
    ~call_recorder();
    call_recorder(const call_recorder&) = delete;
    call_recorder& operator=(const call_recorder&) = delete;

    /// The calls so far, in order.
    [[nodiscard]] std::vector<call_record> calls() const;
    /// The calls so far as lines "NAME ARGUMENT" (the name alone where there is no argument).
    [[nodiscard]] std::vector<std::string> lines() const;
    [[nodiscard]] size_t count(std::string_view call) const;

private:
    std::shared_ptr<detail::recorder_state> state_;
};

} // namespace kr::host
