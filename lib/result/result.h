/// Result codes: the 32-bit value that every operation of the library returns, its layout, the
/// library's own codes, and how results are built, tested and mapped to Win32 error numbers.
/// Public; touches nothing but the process-wide source word. Everything here is safe from any
/// thread.
#pragma once

#include "../platform/types.h"
#include "codes.h"

/// bit 31: the operation failed; bits 24-30: code space; bits 16-23: source, the id of the program
/// component that built the result; bits 0-15: code within the space.
using kr_result = u32;

/// The code spaces. Only KR_SPACE_INTERNAL and KR_SPACE_WIN32 results are built on this platform;
/// the others are described when they arrive from elsewhere.
enum : u32 {
    KR_SPACE_BSD = 0x01,
    KR_SPACE_INTERNAL = 0x02,
    KR_SPACE_LINUX = 0x03,
    KR_SPACE_WIN32 = 0x04,
    KR_SPACE_NTSTATUS = 0x06,
    KR_SPACE_MACH = 0x0C,
    KR_SPACE_FORTH = 0x0E,
};

/// The library's own codes.
enum : u16 {
#define KR_ROW(name, code, text) name = code,
    KR_INTERNAL_CODES(KR_ROW)
#undef KR_ROW
#define KR_ROW(name, code) name = code,
        KR_INTERNAL_CODES_UNTEXTED(KR_ROW)
#undef KR_ROW
};

inline constexpr kr_result KR_SUCCESS = 0x02000000;
/// Not a result; described as invalid.
inline constexpr kr_result KR_RESULT_INVALID = 0xFFFFFFFF;

inline constexpr u32 KR_RESULT_ERROR_BIT = 0x80000000;
inline constexpr u32 KR_RESULT_SPACE_MASK = 0x7F000000;
inline constexpr u32 KR_RESULT_SPACE_SHIFT = 24;
inline constexpr u32 KR_RESULT_SOURCE_MASK = 0x00FF0000;
inline constexpr u32 KR_RESULT_SOURCE_SHIFT = 16;
inline constexpr u32 KR_RESULT_CODE_MASK = 0x0000FFFF;

/// The source of every result that this process builds: bits 16-23 count, the others are ignored.
/// Initially 0. A program that stamps its results sets it once, before it uses the library.
extern u32 kr_result_source;

/// A failure with one of the library's own codes.
inline kr_result kr_result_make_error(u16 code) {
    return (kr_result_source & KR_RESULT_SOURCE_MASK) | KR_RESULT_ERROR_BIT | KR_SUCCESS | code;
}

/// A success that carries one of the library's own codes as information.
inline kr_result kr_result_make_success(u16 code) {
    return (kr_result_source & KR_RESULT_SOURCE_MASK) | KR_SUCCESS | code;
}

/// A failure that wraps the low 16 bits of a Win32 error number.
inline kr_result kr_result_make_win32(u32 error) {
    return (kr_result_source & KR_RESULT_SOURCE_MASK) | KR_RESULT_ERROR_BIT |
           (KR_SPACE_WIN32 << KR_RESULT_SPACE_SHIFT) | (error & KR_RESULT_CODE_MASK);
}

constexpr bool kr_result_failed(kr_result result) {
    return (result & KR_RESULT_ERROR_BIT) != 0;
}

constexpr bool kr_result_succeeded(kr_result result) {
    return !kr_result_failed(result);
}

/// The code space, bits 24-30.
constexpr u32 kr_result_space(kr_result result) {
    return (result & KR_RESULT_SPACE_MASK) >> KR_RESULT_SPACE_SHIFT;
}

/// The code within its space, bits 0-15.
constexpr u16 kr_result_code(kr_result result) {
    return static_cast<u16>(result & KR_RESULT_CODE_MASK);
}

/// Whether `result` carries the internal code `code`, as a failure or as information; error bit
/// and source are ignored.
constexpr bool kr_result_is(kr_result result, u16 code) {
    return kr_result_space(result) == KR_SPACE_INTERNAL && kr_result_code(result) == code;
}

/// A Win32 error number as a result: the mapped internal code where there is one, KR_SUCCESS for 0,
/// the wrapped low 16 bits otherwise.
kr_result kr_result_from_win32(u32 error);

/// A result as a Win32 error number: 0 for a success, the code of a wrapped error, the mapped
/// number whatever the space, else 160 (ERROR_BAD_ARGUMENTS). Not the inverse of
/// kr_result_from_win32: 39 and 183 come back as 112 and 80.
u32 kr_result_to_win32(kr_result result);
