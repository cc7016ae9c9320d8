/// The stand-in's locks, threads and priorities.
#pragma once

#include "platform/host/win_types.h"

#include <atomic>
#include <sys/single_threaded.h>

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

/// The calling thread's id once it was asked for, before that 0.
inline constinit thread_local DWORD thread_id = 0;
DWORD find_thread_id();

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

/// Unique among the running threads; no system call after the first on a thread.
inline DWORD GetCurrentThreadId() {
    const DWORD id = kr::host::detail::thread_id;
    return id != 0 ? id : kr::host::detail::find_thread_id();
}

// Entering and leaving stand here because they are on every caller's hot path.

inline BOOL TryEnterCriticalSection(CRITICAL_SECTION* section) {
    const DWORD self = GetCurrentThreadId();
    if (kr::host::detail::take(section->state, self)) {
        return TRUE;
    }
    if ((section->state.load(std::memory_order_relaxed) & ~kr::host::detail::sleepers_bit) ==
        self) {
        ++section->depth;
        return TRUE;
    }
    return FALSE;
}

inline void EnterCriticalSection(CRITICAL_SECTION* section) {
    if (TryEnterCriticalSection(section) == FALSE) {
        kr::host::detail::enter_contended(section);
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

/// Starts `start(argument)`; the handle is the caller's to close, before or after the thread ends.
/// 0 with errno and the last error set on failure. Security, stack size and flags are 0.
std::uintptr_t _beginthreadex(void* security, unsigned stack_bytes, unsigned (*start)(void*),
                              void* argument, unsigned flags, unsigned* thread_id);

inline constexpr DWORD WAIT_OBJECT_0 = 0;
inline constexpr DWORD WAIT_TIMEOUT = 258;
inline constexpr DWORD WAIT_FAILED = 0xFFFFFFFF;
/// Waits for a thread's end. WAIT_FAILED with 6 for anything else.
DWORD WaitForSingleObject(HANDLE thread, DWORD timeout_ms);

void Sleep(DWORD duration_ms);
/// A pseudo handle that means the calling thread.
HANDLE GetCurrentThread();

inline constexpr int THREAD_PRIORITY_IDLE = -15;
inline constexpr int THREAD_PRIORITY_LOWEST = -2;
inline constexpr int THREAD_PRIORITY_BELOW_NORMAL = -1;
inline constexpr int THREAD_PRIORITY_NORMAL = 0;
inline constexpr int THREAD_PRIORITY_ABOVE_NORMAL = 1;
inline constexpr int THREAD_PRIORITY_HIGHEST = 2;
inline constexpr int THREAD_PRIORITY_TIME_CRITICAL = 15;
inline constexpr int THREAD_PRIORITY_ERROR_RETURN = 0x7FFFFFFF;
/// Kept and given back; the scheduler is not told. 87 for other values, 6 for no thread.
BOOL SetThreadPriority(HANDLE thread, int priority);
int GetThreadPriority(HANDLE thread);
