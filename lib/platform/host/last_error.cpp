/// The calling thread's last error, and what errno means as one.
#include "platform/host/last_error.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>

namespace {
thread_local DWORD last_error = 0;
}

DWORD GetLastError() {
    return last_error;
}

void SetLastError(DWORD error) {
    last_error = error;
}

namespace kr::host::detail {

DWORD error_from_errno(int error) {
    constexpr struct {
        int error;
        LONG meaning;
    } rows[] = {
        {ENOENT, ERROR_FILE_NOT_FOUND},
        {ENOTDIR, ERROR_PATH_NOT_FOUND},
        {ELOOP, ERROR_PATH_NOT_FOUND},
        {EACCES, ERROR_ACCESS_DENIED},
        {EPERM, ERROR_ACCESS_DENIED},
        {EISDIR, ERROR_ACCESS_DENIED},
        {ETXTBSY, ERROR_ACCESS_DENIED},
        {EROFS, ERROR_WRITE_PROTECT},
        {EEXIST, ERROR_FILE_EXISTS},
        {ENOSPC, ERROR_DISK_FULL},
        {EDQUOT, ERROR_DISK_FULL},
        {EFBIG, ERROR_DISK_FULL},
        {EMFILE, ERROR_TOO_MANY_OPEN_FILES},
        {ENFILE, ERROR_TOO_MANY_OPEN_FILES},
        {ENOMEM, ERROR_NOT_ENOUGH_MEMORY},
        {EINVAL, ERROR_INVALID_PARAMETER},
        {ENAMETOOLONG, ERROR_FILENAME_EXCED_RANGE},
        {EBADF, ERROR_INVALID_HANDLE},
        {EPIPE, ERROR_NO_DATA},
        {EIO, ERROR_IO_DEVICE},
    };
    const auto* const row = std::ranges::find(rows, error, [](const auto& r) { return r.error; });
    return static_cast<DWORD>(row == std::end(rows) ? ERROR_GEN_FAILURE : row->meaning);
}

DWORD error_from_errno(int error, const std::string& path) {
    if (error == ENOENT) {
        const std::filesystem::path folder = std::filesystem::path(path).parent_path();
        std::error_code ignored;
        if (!folder.empty() && !std::filesystem::is_directory(folder, ignored)) {
            return ERROR_PATH_NOT_FOUND;
        }
    }
    return error_from_errno(error);
}

} // namespace kr::host::detail
