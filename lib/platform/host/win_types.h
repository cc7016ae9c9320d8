/// The stand-in's basic types, error numbers and the calling thread's last error.
#pragma once

#include "platform/types.h"

#define WINAPI

using BOOL = int;
using BYTE = u8;
using WORD = u16;
using DWORD = u32;
using LONG = i32;
using ULONG = u32;
using LONGLONG = i64;
using WCHAR = char16_t;
using HRESULT = i32;
using LSTATUS = LONG;

inline constexpr BOOL FALSE = 0;
inline constexpr BOOL TRUE = 1;
inline constexpr DWORD MAX_PATH = 260;
inline constexpr DWORD INFINITE = 0xFFFFFFFF;

/// Handles are numbers in disguise: never dereferenced, and a stale one is recognised.
using HANDLE = void*;
using HMODULE = struct HINSTANCE__*;
using HWND = struct HWND__*;
inline const HANDLE INVALID_HANDLE_VALUE = reinterpret_cast<HANDLE>(static_cast<std::intptr_t>(-1));

/// Only ever passed as null by this project.
struct SECURITY_ATTRIBUTES;
struct OVERLAPPED;
using PSID = void*;

union LARGE_INTEGER {
    struct {
        DWORD LowPart;
        LONG HighPart;
    } u;
    LONGLONG QuadPart;
};

struct FILETIME {
    DWORD dwLowDateTime;
    DWORD dwHighDateTime;
};

inline constexpr HRESULT S_OK = 0;
inline constexpr HRESULT E_FAIL = static_cast<HRESULT>(0x80004005);
inline constexpr HRESULT E_INVALIDARG = static_cast<HRESULT>(0x80070057);

inline constexpr DWORD NO_ERROR = 0;
inline constexpr LONG ERROR_SUCCESS = 0;
inline constexpr LONG ERROR_FILE_NOT_FOUND = 2;
inline constexpr LONG ERROR_PATH_NOT_FOUND = 3;
inline constexpr LONG ERROR_TOO_MANY_OPEN_FILES = 4;
inline constexpr LONG ERROR_ACCESS_DENIED = 5;
inline constexpr LONG ERROR_INVALID_HANDLE = 6;
inline constexpr LONG ERROR_NOT_ENOUGH_MEMORY = 8;
inline constexpr LONG ERROR_WRITE_PROTECT = 19;
inline constexpr LONG ERROR_GEN_FAILURE = 31;
inline constexpr LONG ERROR_SHARING_VIOLATION = 32;
inline constexpr LONG ERROR_HANDLE_DISK_FULL = 39;
inline constexpr LONG ERROR_FILE_EXISTS = 80;
inline constexpr LONG ERROR_INVALID_PARAMETER = 87;
inline constexpr LONG ERROR_DISK_FULL = 112;
inline constexpr LONG ERROR_INSUFFICIENT_BUFFER = 122;
inline constexpr LONG ERROR_INVALID_NAME = 123;
inline constexpr LONG ERROR_BAD_PATHNAME = 161;
inline constexpr LONG ERROR_ALREADY_EXISTS = 183;
inline constexpr LONG ERROR_BAD_EXE_FORMAT = 193;
inline constexpr LONG ERROR_FILENAME_EXCED_RANGE = 206;
inline constexpr LONG ERROR_NO_DATA = 232;
inline constexpr LONG ERROR_MORE_DATA = 234;
inline constexpr LONG ERROR_NO_MORE_ITEMS = 259;
inline constexpr LONG ERROR_MR_MID_NOT_FOUND = 317;
inline constexpr LONG ERROR_INVALID_ADDRESS = 487;
inline constexpr LONG ERROR_INVALID_IMAGE_HASH = 577;
inline constexpr LONG ERROR_NOACCESS = 998;
inline constexpr LONG ERROR_BADDB = 1009;
inline constexpr LONG ERROR_KEY_DELETED = 1018;
inline constexpr LONG ERROR_SERVICE_ALREADY_RUNNING = 1056;
inline constexpr LONG ERROR_SERVICE_DISABLED = 1058;
inline constexpr LONG ERROR_SERVICE_NOT_ACTIVE = 1062;
inline constexpr LONG ERROR_SERVICE_MARKED_FOR_DELETE = 1072;
inline constexpr LONG ERROR_SERVICE_EXISTS = 1073;
inline constexpr LONG ERROR_DUPLICATE_SERVICE_NAME = 1078;
inline constexpr LONG ERROR_IO_DEVICE = 1117;
inline constexpr LONG ERROR_NO_SYSTEM_RESOURCES = 1450;
inline constexpr LONG ERROR_RESOURCE_TYPE_NOT_FOUND = 1813;
inline constexpr LONG ERROR_RESOURCE_NAME_NOT_FOUND = 1814;

/// The calling thread's last error. A call that succeeds leaves it alone, unless it says otherwise.
DWORD GetLastError();
void SetLastError(DWORD error);
