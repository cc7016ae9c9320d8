/// The stand-in's declarations: the same names, types and constants as the Windows SDK, for
/// exactly the calls that this project and its suite make. Included through platform.h only.
///
/// Common to all calls: arguments, results, error numbers and side effects are those of Windows;
/// a failing call sets GetLastError() (or returns the error, where Windows does so) and writes no
/// output. Every call may be made from any thread.
///
/// What it does not model, so that nothing may rest on it: rights of users, and of handles other
/// than those of keys and files; hidden and system files, attributes and flags of an open; what
/// holds the image of a loaded driver against being deleted or overwritten; asynchronous files;
/// sharing, services and events beyond the process (the registry's file is read once); services
/// that are not drivers, their start types but for "disabled", dependencies and accounts; volatile
/// and linked keys and the view of 32-bit programs; code pages and locales other than "C"; names of
/// hosts beyond its table; texts of error numbers that it never gives.
#pragma once

#include "platform/host/clock.h"
#include "platform/host/crt.h"
#include "platform/host/files.h"
#include "platform/host/lock.h"
#include "platform/host/messages.h"
#include "platform/host/net.h"
#include "platform/host/registry.h"
#include "platform/host/resources.h"
#include "platform/host/services.h"
#include "platform/host/threads.h"
#include "platform/host/win_types.h"
