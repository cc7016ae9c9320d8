/// The trace convention: entry and return lines and profile lines of a traced function. For the
/// library's own sources and for programs that want their functions in the trace.
#pragma once

#include "log.h"

/// Lives from the entry to the return of one traced function. Reads the category's mask once, so
/// that an entry line always has its return line, whatever configuration does in between. A
/// category outside the table is never traced.
///
///     kr_trace trace(KR_LOG_SETTINGS, __func__);
///     trace.enter("Enter (name = %_s)", name);
///     ...
///     return trace.leave(result);
class kr_trace {
public:
    kr_trace(u32 category, const char* function)
        : category_(category), mask_(kr::detail::log_mask(category)), function_(function) {
        if ((mask_ & KR_LOG_PROFILE) != 0) {
            kr_log_take_uptime(&start_);
        }
    }
    kr_trace(const kr_trace&) = delete;
    kr_trace& operator=(const kr_trace&) = delete;

    /// Writes the profile line, after the return line.
    ~kr_trace() {
        if ((mask_ & KR_LOG_PROFILE) != 0) {
            kr_log_profile(category_, kr_product.name, function_, &start_);
        }
    }

    /// Whether entry and return lines are made.
    [[nodiscard]] bool on() const { return (mask_ & KR_LOG_CALL) != 0; }

    void enter() const { enter("Enter ()"); }

    template <typename... Args>
    void enter(kr_format<std::type_identity_t<Args>...> format, Args... args) const {
        if (on()) {
            kr_log(category_, KR_LOG_CALL, kr_product.name, function_, format.text, args...);
        }
    }

    /// The return line of a function without a result, or with a success to be shown its own way.
    template <typename... Args>
    void leave_with(kr_format<std::type_identity_t<Args>...> format, Args... args) const {
        if (on()) {
            kr_log(category_, KR_LOG_CALL | KR_LOG_RETURN, kr_product.name, function_, format.text,
                   args...);
        }
    }

    void leave() const { leave_with("Return ()"); }

    /// "Return ()" for a success, "Return %_r () %_z" for a failure; returns `result` unchanged.
    kr_result leave(kr_result result) const {
        if (on()) {
            if (kr_result_failed(result)) {
                leave_with("Return %_r () %_z", &result, &result);
            } else {
                leave();
            }
        }
        return result;
    }

private:
    u32 category_;
    u32 mask_;
    const char* function_;
    kr_time start_{};
};
