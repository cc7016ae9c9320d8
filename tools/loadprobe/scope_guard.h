/// The probe's scope guard: one platform function, called with one handle or string when the scope
/// ends. Touches the language only.
#pragma once

#include <type_traits>

namespace kr {

/// Calls `action(argument)` when the scope that created it ends, on any path, unless dismissed. The
/// action's result is ignored and no exception leaves the guard. Owns nothing: `argument` must stay
/// valid as long as the guard. Guards run in the reverse order of their creation.
///
///     const scope_guard close_file(CloseHandle, file);
template <typename Argument, typename Result>
class [[nodiscard]] scope_guard {
public:
    scope_guard(Result (*action)(Argument), std::type_identity_t<Argument> argument)
        : action_(action), argument_(argument) {}
    scope_guard(const scope_guard&) = delete;
    scope_guard& operator=(const scope_guard&) = delete;

    ~scope_guard() {
        if (dismissed_) {
            return;
        }
        try {
            (void)action_(argument_);
        } catch (...) { // NOLINT(bugprone-empty-catch): clean-up goes on whatever one action does
        }
    }

    /// Keeps the action from being called.
    void dismiss() { dismissed_ = true; }

private:
    bool dismissed_ = false;
    Result (*action_)(Argument);
    Argument argument_;
};

} // namespace kr
