/// The stand-in's threads and priorities.
#pragma once

#include "platform/host/win_types.h"

namespace kr::host::detail {

/// The calling thread's id once it was asked for, before that 0. The model: a word that stands at a
/// place known from the start costs no call where the library has become part of a shared one.
[[gnu::tls_model("initial-exec")]] inline constinit thread_local DWORD thread_id = 0;
DWORD find_thread_id();

} // namespace kr::host::detail

/// Unique among the running threads; no system call after the first on a thread.
inline DWORD GetCurrentThreadId() {
    const DWORD id = kr::host::detail::thread_id;
    return id != 0 ? id : kr::host::detail::find_thread_id();
}

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
inline constexpr int THREAD_PRIORITY_NORMAL = 0;
inline constexpr int THREAD_PRIORITY_HIGHEST = 2;
inline constexpr int THREAD_PRIORITY_TIME_CRITICAL = 15;
inline constexpr int THREAD_PRIORITY_ERROR_RETURN = 0x7FFFFFFF;
/// Kept and given back; the scheduler is not told. 87 for other values, 6 for no thread.
BOOL SetThreadPriority(HANDLE thread, int priority);
int GetThreadPriority(HANDLE thread);
