/// The stand-in's files, standard streams, console and system folder.
///
/// Drive paths (`C:\a\b`, also behind `\\?\` or `\??\`) are found below the folder that the
/// environment variable KR_HOST_ROOT names, in a folder per drive; when it is not set, below a
/// fresh temporary folder that goes away with the process. There letter case is ignored, as on
/// Windows. Other paths are used as they are, with '\' read as '/'. Dots and blanks at the end of
/// a path count for nothing, except behind a prefix.
#pragma once

#include "platform/host/win_types.h"

inline constexpr DWORD GENERIC_READ = 0x80000000;
inline constexpr DWORD GENERIC_WRITE = 0x40000000;
inline constexpr DWORD FILE_READ_DATA = 0x0001;
inline constexpr DWORD FILE_WRITE_DATA = 0x0002;
inline constexpr DWORD FILE_APPEND_DATA = 0x0004;
inline constexpr DWORD DELETE = 0x10000;
inline constexpr DWORD FILE_SHARE_READ = 0x1;
inline constexpr DWORD FILE_SHARE_WRITE = 0x2;
inline constexpr DWORD FILE_SHARE_DELETE = 0x4;
inline constexpr DWORD CREATE_NEW = 1;
inline constexpr DWORD CREATE_ALWAYS = 2;
inline constexpr DWORD OPEN_EXISTING = 3;
inline constexpr DWORD OPEN_ALWAYS = 4;
inline constexpr DWORD TRUNCATE_EXISTING = 5;
inline constexpr DWORD FILE_ATTRIBUTE_NORMAL = 0x80;

/// Opens or creates a file. Rights other than the ones above, attributes and flags are accepted
/// and have no effect. Access with FILE_APPEND_DATA and without FILE_WRITE_DATA or GENERIC_WRITE
/// writes at the end always. A handle without any right to read, write or delete neither excludes
/// others nor is excluded. INVALID_HANDLE_VALUE and 2, 3, 5, 32, 80, 87, 112, 123, 206 or 4.
/// Success sets the last error to 0, CREATE_ALWAYS and OPEN_ALWAYS to 183 when the file was there.
HANDLE CreateFileW(const WCHAR* path, DWORD access, DWORD sharing, SECURITY_ATTRIBUTES* security,
                   DWORD disposition, DWORD attributes, HANDLE template_file);
/// Writes all bytes, or fails with 5 (not opened for writing), 6, 112, 232 or 1117; `written` then
/// holds what was written before the failure.
BOOL WriteFile(HANDLE file, const void* data, DWORD size_bytes, DWORD* written,
               OVERLAPPED* overlapped);
/// Releases a handle of a file or of a thread; 6 when it is neither.
BOOL CloseHandle(HANDLE handle);

/// 2 and 3 when missing, 5 for a directory or a read-only file, 32 while a handle is open that does
/// not share deletion.
BOOL DeleteFileW(const WCHAR* path);

inline constexpr DWORD STD_INPUT_HANDLE = static_cast<DWORD>(-10);
inline constexpr DWORD STD_OUTPUT_HANDLE = static_cast<DWORD>(-11);
inline constexpr DWORD STD_ERROR_HANDLE = static_cast<DWORD>(-12);
inline constexpr DWORD ENABLE_PROCESSED_OUTPUT = 0x1;
inline constexpr DWORD ENABLE_WRAP_AT_EOL_OUTPUT = 0x2;
inline constexpr DWORD ENABLE_VIRTUAL_TERMINAL_PROCESSING = 0x4;

HANDLE GetStdHandle(DWORD which);
/// Succeeds for a terminal only, else 6.
BOOL GetConsoleMode(HANDLE console, DWORD* mode);
/// Succeeds for a terminal only, else 6; 87 for a flag that is not above.
BOOL SetConsoleMode(HANDLE console, DWORD mode);
/// Writes to a terminal (as UTF-8), else 6. While sequences are not processed, the escape character
/// shows as U+2190.
BOOL WriteConsoleW(HANDLE console, const void* text, DWORD length_chars, DWORD* written,
                   void* reserved);

inline constexpr int CSIDL_SYSTEM = 0x25;
inline constexpr DWORD SHGFP_TYPE_CURRENT = 0;
/// CSIDL_SYSTEM gives `C:\Windows\System32` (made when missing, with its drivers folder) into a
/// buffer of MAX_PATH characters; E_INVALIDARG for any other folder.
HRESULT SHGetFolderPathW(HWND owner, int folder, HANDLE token, DWORD flags, WCHAR* path);
