/// Deleting files, attributes, folders: the calls that take a path alone.
#include "platform/host/files.h"

#include "platform/host/descriptors.h"
#include "platform/host/driver_images.h"
#include "platform/host/intercept.h"
#include "platform/host/paths.h"

#include <cerrno>
#include <unistd.h>

using namespace kr::host::detail;

BOOL DeleteFileW(const WCHAR* path) {
    if (injected_failure(__func__, text_argument, path)) {
        return FALSE;
    }
    const std::optional<std::string> native = host_path(path);
    if (!native) {
        return FALSE;
    }
    struct stat status {};
    if (lstat(native->c_str(), &status) != 0) {
        return fail(error_from_errno(errno, *native));
    }
    if (S_ISDIR(status.st_mode) || is_read_only(status) ||
        is_loaded_image({status.st_dev, status.st_ino})) {
        return fail(ERROR_ACCESS_DENIED);
    }
    const std::lock_guard hold(files().lock);
    for (const auto& [number, file] : files().by_descriptor) {
        if (file.device == status.st_dev && file.inode == status.st_ino &&
            (file.sharing & FILE_SHARE_DELETE) == 0) {
            return fail(ERROR_SHARING_VIOLATION);
        }
    }
    return unlink(native->c_str()) == 0 ? TRUE : fail(error_from_errno(errno, *native));
}

DWORD GetFileAttributesW(const WCHAR* path) {
    if (injected_failure(__func__, text_argument, path)) {
        return INVALID_FILE_ATTRIBUTES;
    }
    const std::optional<std::string> native = host_path(path);
    if (!native) {
        return INVALID_FILE_ATTRIBUTES;
    }
    struct stat status {};
    if (stat(native->c_str(), &status) != 0) {
        return fail(error_from_errno(errno, *native), INVALID_FILE_ATTRIBUTES);
    }
    if (S_ISDIR(status.st_mode)) {
        return FILE_ATTRIBUTE_DIRECTORY;
    }
    return is_read_only(status) ? FILE_ATTRIBUTE_READONLY : FILE_ATTRIBUTE_NORMAL;
}

BOOL SetFileAttributesW(const WCHAR* path, DWORD attributes) {
    if (injected_failure(__func__, text_argument, path)) {
        return FALSE;
    }
    const std::optional<std::string> native = host_path(path);
    if (!native) {
        return FALSE;
    }
    struct stat status {};
    if (stat(native->c_str(), &status) != 0) {
        return fail(error_from_errno(errno, *native));
    }
    if (S_ISDIR(status.st_mode)) {
        return TRUE; // a read-only folder is no more than a hint to the shell
    }
    constexpr mode_t all_writes = S_IWUSR | S_IWGRP | S_IWOTH;
    const mode_t mode = (attributes & FILE_ATTRIBUTE_READONLY) != 0 ? status.st_mode & ~all_writes
                                                                    : status.st_mode | S_IWUSR;
    return chmod(native->c_str(), mode & 07777) == 0 ? TRUE
                                                     : fail(error_from_errno(errno, *native));
}

BOOL CreateDirectoryW(const WCHAR* path, SECURITY_ATTRIBUTES*) {
    if (injected_failure(__func__, text_argument, path)) {
        return FALSE;
    }
    const std::optional<std::string> native = host_path(path);
    if (!native) {
        return FALSE;
    }
    if (mkdir(native->c_str(), 0777) == 0) {
        return TRUE;
    }
    switch (errno) {
    case EEXIST:
        return fail(ERROR_ALREADY_EXISTS);
    case ENOENT:
        return fail(ERROR_PATH_NOT_FOUND);
    default:
        return fail(error_from_errno(errno));
    }
}

BOOL RemoveDirectoryW(const WCHAR* path) {
    if (injected_failure(__func__, text_argument, path)) {
        return FALSE;
    }
    const std::optional<std::string> native = host_path(path);
    if (!native) {
        return FALSE;
    }
    if (rmdir(native->c_str()) == 0) {
        return TRUE;
    }
    return fail(errno == ENOTDIR ? DWORD{ERROR_DIRECTORY} : error_from_errno(errno, *native));
}
