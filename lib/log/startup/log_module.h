/// The log as a module of the library: registration with the first destination, start and end.
/// Public. Used by the program's main thread during start-up and shutdown only.
#pragma once

#include "../../platform/types.h"
#include "../../result/result.h"
#include "module.h"

/// Registers the log module. `destination` is the destination string that the log starts with (see
/// log/destinations/destinations.h); it is not copied and must stay valid as long as the log may
/// start with it, a start after kr_fini() included. Null keeps the one given before; with none ever
/// given the log starts on the console.
void kr_log_register_module(const kr_char* destination);

/// The descriptor of the module "log", for the modules that depend on it.
kr_module* kr_log_module();

/// The module's start: locks, default masks, destination, stored configuration. Undoes what it did,
/// the masks excepted, when it fails: KR_UNEXPECTED_BEHAVIOUR when a main destination is set
/// already or none is set at the end; the allocator's failure.
kr_result kr_log_module_init();

/// The module's end: closes the main destination and forgets names, filter and depths. A secondary
/// destination stays open and set.
kr_result kr_log_module_uninit();
