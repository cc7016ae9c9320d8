/// The stand-in's lock: a recursive one of two words. Why it spins before it sleeps stands in
/// lock.cpp.
#pragma once

#include <atomic>
#include <sys/single_threaded.h>

#include "platform/host/threads.h"

/// A recursive lock, for InitializeCriticalSection to DeleteCriticalSection only.
struct CRITICAL_SECTION {
    /// 0: free. Else the holder's id, with sleepers_bit while threads may be asleep on the lock.
    /// One word says all, so that entering and leaving write nothing else. Only the holder can find
    /// its own id here.
    std::atomic<DWORD> state;
    /// How often the holder entered again. Touched by the holder only; 0 while the lock is free.
    unsigned depth;
};

namespace kr::host::detail {

void enter_contended(CRITICAL_SECTION* section);
void wake_one(CRITICAL_SECTION* section);

/// Not part of any thread's id.
inline constexpr DWORD sleepers_bit = 0x80000000;

/// Takes a free lock. A process that has had one thread only needs no locked bus for that, and the
/// runtime's own locks make the same difference.
inline bool take(std::atomic<DWORD>& state, DWORD self) {
    DWORD free = 0;
    if (__libc_single_threaded != 0) {
        if (state.load(std::memory_order_relaxed) != free) {
            return false;
        }
        state.store(self, std::memory_order_relaxed);
        return true;
    }
    return state.compare_exchange_strong(free, self, std::memory_order_acquire,
                                         std::memory_order_relaxed);
}

/// Frees a lock; returns whether threads may be asleep on it.
inline bool give_back(std::atomic<DWORD>& state) {
    if (__libc_single_threaded != 0) {
        state.store(0, std::memory_order_relaxed);
        return false;
    }
    return (state.exchange(0, std::memory_order_release) & sleepers_bit) != 0;
}

} // namespace kr::host::detail

// Entering and leaving stand here because they are on every caller's hot path.

inline void EnterCriticalSection(CRITICAL_SECTION* section) {
    using namespace kr::host::detail;
    const DWORD self = GetCurrentThreadId();
    if (take(section->state, self)) {
        return;
    }
    if ((section->state.load(std::memory_order_relaxed) & ~sleepers_bit) == self) {
        ++section->depth;
    } else {
        enter_contended(section);
    }
}

/// Called by the thread that holds the lock.
inline void LeaveCriticalSection(CRITICAL_SECTION* section) {
    if (section->depth != 0) {
        --section->depth;
        return;
    }
    if (kr::host::detail::give_back(section->state)) {
        kr::host::detail::wake_one(section);
    }
}

void InitializeCriticalSection(CRITICAL_SECTION* section);
void DeleteCriticalSection(CRITICAL_SECTION* section);
