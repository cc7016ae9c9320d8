/// The stand-in's registry: a tree of keys below HKEY_LOCAL_MACHINE, names compared without regard
/// to case; every handle has all rights. It lives in memory, or in the file that the environment
/// variable KR_HOST_REGISTRY names: `.reg` text, read at the first use, written at every change.
/// When that file is broken, or cannot be read or written, standard error says so, the file stays
/// as it is, and this and every later call that needs the tree fails with 1009 or the file's error
/// number.
///
/// Results common to all calls: 0, 6 (not an open key), 1018 (the key was deleted), 87 (null where
/// a pointer is needed), 161 (a path that begins with '\').
#pragma once

#include "platform/host/win_types.h"

using HKEY = struct HKEY__*;
using REGSAM = DWORD;

inline const HKEY HKEY_LOCAL_MACHINE =
    reinterpret_cast<HKEY>(static_cast<std::intptr_t>(static_cast<LONG>(0x80000002)));

inline constexpr REGSAM KEY_SET_VALUE = 0x0002;
inline constexpr DWORD REG_OPTION_NON_VOLATILE = 0;
inline constexpr DWORD REG_CREATED_NEW_KEY = 1;
inline constexpr DWORD REG_OPENED_EXISTING_KEY = 2;

inline constexpr DWORD REG_NONE = 0;
inline constexpr DWORD REG_SZ = 1;
inline constexpr DWORD REG_EXPAND_SZ = 2;
inline constexpr DWORD REG_BINARY = 3;
inline constexpr DWORD REG_DWORD = 4;
inline constexpr DWORD REG_MULTI_SZ = 7;

/// Opens a key, creating it and what is missing above it. 87 for a name of more than 255
/// characters.
LSTATUS RegCreateKeyExW(HKEY parent, const WCHAR* path, DWORD reserved, WCHAR* key_class,
                        DWORD options, REGSAM access, const SECURITY_ATTRIBUTES* security,
                        HKEY* key, DWORD* disposition);
/// The same with all rights and no further answers; a null or empty path opens `parent` again.
LSTATUS RegCreateKeyW(HKEY parent, const WCHAR* path, HKEY* key);
/// Opens an existing key with all rights; 2 and a null `*key` when it is missing. A null or empty
/// path gives back `parent` itself, not a new handle.
LSTATUS RegOpenKeyW(HKEY parent, const WCHAR* path, HKEY* key);
LSTATUS RegCloseKey(HKEY key);
/// Deletes one key; 5 while it has subkeys, 2 when it is missing. Handles that are open on it stay
/// to be closed; other calls on them give 1018.
LSTATUS RegDeleteKeyW(HKEY parent, const WCHAR* path);
/// 2 when it is missing. A null or empty name is the key's default value, here and below.
LSTATUS RegDeleteValueW(HKEY key, const WCHAR* name);
/// Any output may be null. Lengths are in characters without the terminator, the longest data is in
/// bytes; what is longest may have been deleted since. Classes, security descriptors and times of
/// writing are not modelled: these outputs stay as they are.
LSTATUS RegQueryInfoKeyW(HKEY key, WCHAR* key_class, DWORD* class_chars, DWORD* reserved,
                         DWORD* subkeys, DWORD* longest_subkey_chars, DWORD* longest_class_chars,
                         DWORD* values, DWORD* longest_value_name_chars, DWORD* longest_data_bytes,
                         DWORD* security_bytes, FILETIME* last_write);
/// The subkey at `index`, subkeys being sorted without regard to case. `room_chars` counts the
/// terminator. 259 at the end, 234 when the name does not fit.
LSTATUS RegEnumKeyW(HKEY key, DWORD index, WCHAR* name, DWORD room_chars);
/// The value at `index`, values standing in the order in which they were first set. `name_chars`
/// holds the room with the terminator and receives the length without it. 259 at the end, 234 when
/// the name or the data does not fit.
LSTATUS RegEnumValueW(HKEY key, DWORD index, WCHAR* name, DWORD* name_chars, DWORD* reserved,
                      DWORD* type, BYTE* data, DWORD* data_bytes);
/// 2 when it is missing, and a size of 0 when `data` is null; 234 with the size needed when the
/// data does not fit; null data asks for the size. As on Windows one variable may stand for type
/// and size, and a text stored without its terminator gets one where there is room.
LSTATUS RegQueryValueExW(HKEY key, const WCHAR* name, DWORD* reserved, DWORD* type, BYTE* data,
                         DWORD* data_bytes);
/// Creates or replaces. 87 for a name of more than 16383 characters, 998 for a size without data.
/// As on Windows a string given without its terminator is stored with it when it follows in memory.
LSTATUS RegSetValueExW(HKEY key, const WCHAR* name, DWORD reserved, DWORD type, const BYTE* data,
                       DWORD data_bytes);
