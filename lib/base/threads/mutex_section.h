/// The system's lock inside a kr_mutex and the guard that holds it, without the calls of
/// base/threads/sync.h in between. For the library's own sources; reaches the system.
#pragma once

#include "base/threads/sync.h"
#include "platform/platform.h"

namespace kr::detail {

static_assert(sizeof(kr_mutex) >= sizeof(CRITICAL_SECTION), "kr_mutex has room for the lock");
static_assert(alignof(kr_mutex) >= alignof(CRITICAL_SECTION), "kr_mutex is aligned for the lock");

inline CRITICAL_SECTION* section_of(kr_mutex* mutex) {
    return reinterpret_cast<CRITICAL_SECTION*>(mutex->opaque);
}

/// Holds a lock for a scope.
class mutex_guard {
public:
    explicit mutex_guard(kr_mutex& mutex) : section_(section_of(&mutex)) { lock(); }
    mutex_guard(const mutex_guard&) = delete;
    mutex_guard& operator=(const mutex_guard&) = delete;
    ~mutex_guard() { unlock(); }

    /// For a pause: the guard must hold its lock again when its scope ends.
    void unlock() { LeaveCriticalSection(section_); }
    void lock() { EnterCriticalSection(section_); }

private:
    CRITICAL_SECTION* section_;
};

} // namespace kr::detail
