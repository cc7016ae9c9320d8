/// The stand-in's locks, threads and priorities.
#pragma once

#include "platform/host/win_types.h"

#include <pthread.h>

/// A recursive lock, for InitializeCriticalSection to DeleteCriticalSection only.
struct CRITICAL_SECTION {
    pthread_mutex_t mutex;
};

void InitializeCriticalSection(CRITICAL_SECTION* section);
void EnterCriticalSection(CRITICAL_SECTION* section);
BOOL TryEnterCriticalSection(CRITICAL_SECTION* section);
void LeaveCriticalSection(CRITICAL_SECTION* section);
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
BOOL SwitchToThread();
/// Unique among the running threads; no system call after the first on a thread.
DWORD GetCurrentThreadId();
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
