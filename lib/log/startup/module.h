/// The module registry: which parts of the library need starting, in which order, and how they are
/// undone. Public. Used by the program's main thread during start-up and shutdown only; the table
/// has no lock.
#pragma once

#include "../../platform/types.h"
#include "../../result/result.h"

struct kr_module;

/// Returns the address of a module's descriptor; always the same one for the same module.
using kr_module_descriptor = kr_module* (*)();

/// Describes one module. Lives as long as the process; the registry keeps its address.
struct kr_module {
    /// Used in the message about a failed start only.
    const char* name;
    /// May be null.
    kr_result (*init)();
    /// May be null. Not called for a module whose init failed. Its result is ignored.
    kr_result (*fini)();
    /// Null-terminated array of the modules that must be ready before this one, or null. They must
    /// not form a cycle.
    const kr_module_descriptor* dependencies;
};

/// Number of modules that the registry holds. Further ones are dropped silently.
inline constexpr u32 KR_MODULE_LIMIT = 128;

/// Registers the base modules if that has not happened, then `descriptor` behind its dependencies.
/// A module that is registered already stays where it is; null is ignored. A module that was
/// registered after kr_init() and not started by another one is forgotten by kr_fini(): register it
/// again.
void kr_module_register(kr_module* descriptor);

/// Registers the base modules if that has not happened, and nothing else.
void kr_module_register_base();

/// Starts every module that is registered and not yet started, in the order of registration;
/// registers the base modules first where needed.
/// Returns KR_SUCCESS, or the result of the first init that failed: then the modules which this
/// call started are torn down, newest first, and every module that was not started is forgotten, so
/// that a later call begins anew.
[[nodiscard]] kr_result kr_init();

/// Tears down every started module, newest first. The program may start the library again. A
/// secondary log destination stays open and set: kr_log_close_secondary_destination() before this.
void kr_fini();

/// Tears down the started modules above the first `keep`, newest first.
void kr_fini_to(u32 keep);
