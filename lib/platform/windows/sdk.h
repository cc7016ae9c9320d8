/// The SDK headers behind platform.h on Windows, with the macros that keep them small.
#pragma once

// The order matters: winsock2.h before windows.h.
// clang-format off
#include <winsock2.h>
#include <windows.h>
#include <shlobj.h>
#include <process.h>
// clang-format on
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <cwctype>
