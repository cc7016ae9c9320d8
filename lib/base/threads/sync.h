/// The library's lock, and the modules "mutex" and "spinlock". Public; sources reach the system's
/// critical sections.
#pragma once

#include "../../log/startup/module.h"
#include "../../platform/types.h"
#include "../../result/result.h"

/// A lock that the thread which holds it may enter again. Embedded by value in what it protects;
/// not moved or copied between init and destroy. The storage is the system's critical section,
/// kept opaque so that this header needs none of the system's.
struct kr_mutex {
    void* opaque[5];
};

/// Readies the lock. Always KR_SUCCESS.
kr_result kr_mutex_init(kr_mutex* mutex);

/// Waits until the lock is free, then takes it; each lock is undone by one unlock.
void kr_mutex_lock(kr_mutex* mutex);

/// Called by the thread that holds the lock.
void kr_mutex_unlock(kr_mutex* mutex);

/// Releases what the lock holds of the system. Nobody may hold it. Always KR_SUCCESS.
kr_result kr_mutex_destroy(kr_mutex* mutex);

/// The module "mutex": nothing to start or stop.
kr_module* kr_mutex_module();

/// The module "spinlock": a name in the start-up order without operations of its own; depends on
/// "mutex".
kr_module* kr_spinlock_module();
