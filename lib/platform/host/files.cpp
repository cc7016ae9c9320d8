/// Opening, writing, closing and deleting files.
#include "platform/host/files.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

#include "platform/host/descriptors.h"
#include "platform/host/intercept.h"
#include "platform/host/last_error.h"
#include "platform/host/paths.h"
#include "platform/host/thread_handles.h"

namespace {

using namespace kr::host;
using namespace kr::host::detail;

constexpr DWORD reads = GENERIC_READ | FILE_READ_DATA;
constexpr DWORD writes = GENERIC_WRITE | FILE_WRITE_DATA;

constexpr bool wants_write(DWORD access) {
    return (access & (writes | FILE_APPEND_DATA)) != 0;
}

/// What the other handles of the file have to share. Nothing for a handle that neither reads nor
/// writes nor deletes: sharing does not concern it.
constexpr DWORD needed_sharing(DWORD access) {
    return ((access & reads) != 0 ? FILE_SHARE_READ : 0) |
           (wants_write(access) ? FILE_SHARE_WRITE : 0) |
           ((access & DELETE) != 0 ? FILE_SHARE_DELETE : 0);
}

/// Whether an open handle of the file excludes the new access, or the other way round. With the
/// lock of the open files held.
bool is_excluded(const struct stat& status, DWORD access, DWORD sharing) {
    const DWORD needed = needed_sharing(access);
    return needed != 0 && std::ranges::any_of(files().by_descriptor, [&](const auto& entry) {
               const open_file& other = entry.second;
               const DWORD others_need = needed_sharing(other.access);
               return other.device == status.st_dev && other.inode == status.st_ino &&
                      others_need != 0 &&
                      ((needed & ~other.sharing) != 0 || (others_need & ~sharing) != 0);
           });
}

int open_flags(DWORD access, DWORD disposition) {
    int flags = O_CLOEXEC | O_NOCTTY;
    if (!wants_write(access)) {
        flags |= O_RDONLY;
    } else {
        flags |= (access & reads) != 0 ? O_RDWR : O_WRONLY;
    }
    if (wants_write(access) && (access & writes) == 0) {
        flags |= O_APPEND;
    }
    if (disposition == CREATE_NEW) {
        flags |= O_CREAT | O_EXCL;
    } else if (disposition == CREATE_ALWAYS || disposition == OPEN_ALWAYS) {
        flags |= O_CREAT;
    }
    return flags;
}

u8 access_flags(DWORD access) {
    return static_cast<u8>(opened | ((access & reads) != 0 ? readable : 0) |
                           (wants_write(access) ? writable : 0));
}

/// Enters a freshly opened descriptor in the table, or says why it may not stay open.
DWORD admit(int descriptor, const char* path, DWORD access, DWORD sharing, bool truncate) {
    struct stat status {};
    if (descriptor >= max_descriptors) {
        return ERROR_TOO_MANY_OPEN_FILES;
    }
    if (fstat(descriptor, &status) != 0) {
        return error_from_errno(errno);
    }
    if (S_ISDIR(status.st_mode)) {
        return ERROR_ACCESS_DENIED;
    }
    const std::lock_guard hold(files().lock);
    if (S_ISREG(status.st_mode)) {
        if (is_excluded(status, access, sharing)) {
            return ERROR_SHARING_VIOLATION;
        }
        if (truncate && ftruncate(descriptor, 0) != 0) {
            return error_from_errno(errno);
        }
    }
    files().by_descriptor[descriptor] = {status.st_dev, status.st_ino, access, sharing, path};
    descriptor_flags[static_cast<size_t>(descriptor)].store(access_flags(access),
                                                            std::memory_order_release);
    return NO_ERROR;
}

} // namespace

HANDLE CreateFileW(const WCHAR* path, DWORD access, DWORD sharing, SECURITY_ATTRIBUTES*,
                   DWORD disposition, DWORD, HANDLE) {
    if (injected_failure(__func__, text_argument, path)) {
        return INVALID_HANDLE_VALUE;
    }
    if (disposition < CREATE_NEW || disposition > TRUNCATE_EXISTING) {
        return fail(ERROR_INVALID_PARAMETER, INVALID_HANDLE_VALUE);
    }
    const std::optional<std::string> native = host_path(path);
    if (!native) {
        return INVALID_HANDLE_VALUE;
    }
    struct stat before {};
    const bool existed = stat(native->c_str(), &before) == 0;
    const bool truncate = disposition == CREATE_ALWAYS || disposition == TRUNCATE_EXISTING;
    if (existed && disposition != CREATE_NEW && (wants_write(access) || truncate) &&
        is_read_only(before)) {
        return fail(ERROR_ACCESS_DENIED, INVALID_HANDLE_VALUE);
    }
    // Emptying an existing file needs the right to write, whatever was asked for.
    const DWORD opened_for = truncate && !wants_write(access) ? access | FILE_WRITE_DATA : access;
    const int descriptor = open(native->c_str(), open_flags(opened_for, disposition), 0666);
    if (descriptor < 0) {
        return fail(error_from_errno(errno, *native), INVALID_HANDLE_VALUE);
    }
    const DWORD refused =
        admit(descriptor, text_argument(path).c_str(), access, sharing, truncate && existed);
    if (refused != NO_ERROR) {
        close(descriptor);
        return fail(refused, INVALID_HANDLE_VALUE);
    }
    const bool may_create = disposition == CREATE_ALWAYS || disposition == OPEN_ALWAYS;
    SetLastError(existed && may_create ? ERROR_ALREADY_EXISTS : NO_ERROR);
    return handle_of(descriptor);
}

BOOL WriteFile(HANDLE file, const void* data, DWORD size_bytes, DWORD* written, OVERLAPPED*) {
    if (const auto fault = intercept(__func__, file_argument, file)) {
        if (fault->error != 0) {
            return fail(fault->error);
        }
        size_bytes = std::min(size_bytes, fault->amount);
    }
    if (written != nullptr) {
        *written = 0;
    }
    const open_descriptor target = descriptor_of(file);
    if ((target.flags & writable) == 0) {
        return fail(target.flags == 0 ? ERROR_INVALID_HANDLE : ERROR_ACCESS_DENIED);
    }
    const char* const bytes = static_cast<const char*>(data);
    for (DWORD done = 0; done < size_bytes;) {
        const ssize_t count = write(target.number, bytes + done, size_bytes - done);
        if (count < 0 && errno != EINTR) {
            return fail(error_from_errno(errno));
        }
        done += count < 0 ? 0 : static_cast<DWORD>(count);
        if (written != nullptr) {
            *written = done;
        }
    }
    return TRUE;
}

BOOL CloseHandle(HANDLE handle) {
    const auto argument = [&] {
        return is_thread_handle(handle) ? std::string("thread") : file_argument(handle);
    };
    if (injected_failure(__func__, argument)) {
        return FALSE;
    }
    const open_descriptor file = descriptor_of(handle);
    if (file.flags == 0) {
        return close_thread_handle(handle) ? TRUE : fail(ERROR_INVALID_HANDLE);
    }
    if ((file.flags & standard_stream) != 0) {
        return TRUE; // the process's own streams stay open for the C library
    }
    const std::lock_guard hold(files().lock);
    auto& flags = descriptor_flags[static_cast<size_t>(file.number)];
    if (flags.exchange(0, std::memory_order_acq_rel) == 0) {
        return fail(ERROR_INVALID_HANDLE); // another thread was faster
    }
    files().by_descriptor.erase(file.number);
    close(file.number);
    return TRUE;
}

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
    if (S_ISDIR(status.st_mode) || is_read_only(status)) {
        return fail(ERROR_ACCESS_DENIED);
    }
    const std::lock_guard hold(files().lock);
    if (is_excluded(status, DELETE, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE)) {
        return fail(ERROR_SHARING_VIOLATION);
    }
    return unlink(native->c_str()) == 0 ? TRUE : fail(error_from_errno(errno, *native));
}
