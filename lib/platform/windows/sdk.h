/// The SDK headers behind platform.h on Windows, with the macros that keep them small.
#pragma once

// clang-format off: winsock2.h must precede windows.h
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
