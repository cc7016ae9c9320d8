/// The sole door to the system. Sources call the Win32 functions by their own names: on Windows
/// they come from the SDK, elsewhere from the stand-in under platform/host/, which gives the same
/// results, error numbers and side effects. Not public: no header that a program includes may
/// include this one.
///
/// Common to all calls: a failing call's error number is read with GetLastError() on the line
/// after the call (or is the call's own result, as documented), before anything can replace it.
#pragma once

#include "platform/types.h"

#if defined(_WIN32)
#include "platform/windows/sdk.h"
#else
#include "platform/host/host.h"
#endif
