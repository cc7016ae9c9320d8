/// Detached worker threads, and the module "thread" that waits for them at shutdown. Public;
/// sources reach the system's threads, and the runtime heap for the thread records.
#pragma once

#include "../../log/startup/module.h"
#include "../../platform/types.h"
#include "../../result/result.h"

/// Any other value counts as KR_THREAD_PRIORITY_NORMAL.
enum : u32 {
    KR_THREAD_PRIORITY_IDLE = 0,
    KR_THREAD_PRIORITY_LOW = 1,
    KR_THREAD_PRIORITY_NORMAL = 2,
    KR_THREAD_PRIORITY_HIGH = 3,
};

/// Starts a detached thread that runs `fn(arg)` at the given priority; the module "thread" must
/// have started. `arg` is passed on as it stands. Any thread. Returns KR_SUCCESS, or without having
/// started anything: KR_GENERIC while the module is not running (before its start, and from the
/// moment its stop begins); KR_OUT_OF_MEMORY; the Win32 error with which the system refused the
/// thread; KR_INVALID_ARGUMENT_TO_FUNCTION for a null `fn`.
[[nodiscard]] kr_result kr_thread_create(void (*fn)(void* arg), u32 priority, void* arg);

/// kr_thread_create with KR_THREAD_PRIORITY_NORMAL.
[[nodiscard]] kr_result kr_thread_create_normal(void (*fn)(void* arg), void* arg);

/// The system's identifier of the calling thread.
[[nodiscard]] u32 kr_thread_current_id();

/// Whether the calling context may block: always 1 on this platform.
[[nodiscard]] u32 kr_thread_context_query();

/// The module "thread". Its stop waits without a limit for every thread that still runs, so it must
/// not be called by one of them. A wait that fails ends the stop with the wrapped Win32 error and
/// nothing destroyed: threads are refused, and a later stop waits for those that are left; a start
/// lets threads be started again and keeps those that still run.
kr_module* kr_thread_module();

/// Registers the module "thread", which is not one of the base modules: a program that starts
/// threads calls this before kr_init().
void kr_thread_module_register();
