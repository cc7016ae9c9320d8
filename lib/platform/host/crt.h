/// The stand-in's share of the C runtime: the wide-character and number routines for 16-bit text,
/// as overloads beside the C library's own where the names are the same, and what that library
/// lacks. `long` of the Windows runtime is 32 bits wide. All work in the "C" locale.
#pragma once

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <cwctype>

#include "platform/host/win_types.h"

/// Letter case of A to Z ignored.
int _wcsicmp(const WCHAR* a, const WCHAR* b);
int _wcsnicmp(const WCHAR* a, const WCHAR* b, size_t count);
/// Folds A to Z only.
WCHAR towlower(WCHAR unit);

using errno_t = int;
using _invalid_parameter_handler = void (*)(const WCHAR* expression, const WCHAR* function,
                                            const WCHAR* file, unsigned line,
                                            std::uintptr_t reserved);
/// Sets the handler that the checked routines below call before they return a failure, and returns
/// the one before; null (the start) calls nothing. Process-wide.
_invalid_parameter_handler _set_invalid_parameter_handler(_invalid_parameter_handler handler);
/// Copies with the terminator, `size_chars` being the room. 22 for a null pointer or no room, 34
/// when it does not fit; the target is then the empty string (where there is one).
errno_t wcscpy_s(WCHAR* target, size_t size_chars, const WCHAR* text);
/// Appends likewise; 22 also when the target has no terminator within `size_chars`.
errno_t wcscat_s(WCHAR* target, size_t size_chars, const WCHAR* text);

/// Number from text: blanks, a sign, for base 0 or 16 a prefix, digits; wide text may have the
/// decimal digits of other scripts and no-break spaces too. `end` (may be null) receives the first
/// character not used, or `text` when there was no number. Out of range: the nearest limit, errno
/// ERANGE. A base other than 0 and 2..36: 0, errno EINVAL.
LONG wcstol(const WCHAR* text, WCHAR** end, int base);
ULONG wcstoul(const WCHAR* text, WCHAR** end, int base);
i64 _wcstoi64(const WCHAR* text, WCHAR** end, int base);
i64 _strtoi64(const char* text, char** end, int base);
/// Formats at most `room` characters. An exact fit has no terminator; a cut text has neither, and
/// gives -1.
[[gnu::format(printf, 3, 4)]] int _snprintf(char* buffer, size_t room, const char* format, ...);
