/// The source word and the two mappings between results and Win32 error numbers.
#include "result/result.h"

u32 kr_result_source = 0;

namespace {

struct win32_mapping {
    u32 error;
    u16 code;
};

constexpr win32_mapping from_win32_rows[] = {
    {2, KR_ITEM_DOES_NOT_EXIST},          // ERROR_FILE_NOT_FOUND
    {3, KR_PATH_NOT_FOUND},               // ERROR_PATH_NOT_FOUND
    {5, KR_ACCESS_DENIED},                // ERROR_ACCESS_DENIED
    {32, KR_SHARING_VIOLATION},           // ERROR_SHARING_VIOLATION
    {39, KR_DISK_FULL},                   // ERROR_HANDLE_DISK_FULL
    {53, KR_BAD_NETWORK_PATH},            // ERROR_BAD_NETPATH
    {67, KR_BAD_NETWORK_NAME},            // ERROR_BAD_NET_NAME
    {80, KR_ITEM_ALREADY_EXISTS},         // ERROR_FILE_EXISTS
    {112, KR_DISK_FULL},                  // ERROR_DISK_FULL
    {183, KR_ITEM_ALREADY_EXISTS},        // ERROR_ALREADY_EXISTS
    {1326, KR_WRONG_USERNAME_OR_PASSWORD} // ERROR_LOGON_FAILURE
};

// A table of its own: where two errors share a code, only one of them comes back.
constexpr win32_mapping to_win32_rows[] = {
    {1326, KR_WRONG_USERNAME_OR_PASSWORD},
    {80, KR_ITEM_ALREADY_EXISTS},
    {2, KR_ITEM_DOES_NOT_EXIST},
    {32, KR_SHARING_VIOLATION},
    {5, KR_ACCESS_DENIED},
    {3, KR_PATH_NOT_FOUND},
    {112, KR_DISK_FULL},
    {67, KR_BAD_NETWORK_NAME},
    {53, KR_BAD_NETWORK_PATH},
    {5, KR_ACCESS_DENIED_2},
};

constexpr u32 bad_arguments = 160;

} // namespace

kr_result kr_result_from_win32(u32 error) {
    if (error == 0) {
        return KR_SUCCESS;
    }
    for (const win32_mapping& row : from_win32_rows) {
        if (row.error == error) {
            return kr_result_make_error(row.code);
        }
    }
    return kr_result_make_win32(error);
}

u32 kr_result_to_win32(kr_result result) {
    if (kr_result_succeeded(result)) {
        return 0;
    }
    const u16 code = kr_result_code(result);
    if (kr_result_space(result) == KR_SPACE_WIN32) {
        return code;
    }
    for (const win32_mapping& row : to_win32_rows) {
        if (row.code == code) {
            return row.error;
        }
    }
    return bad_arguments;
}
