/// Files and standard streams on file descriptors. A file handle is its descriptor in disguise, so
/// that a write costs no look-up.
#include "platform/host/files.h"

#include "platform/host/driver_images.h"
#include "platform/host/intercept.h"
#include "platform/host/paths.h"
#include "platform/host/thread_handles.h"
#include "platform/host/world.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <mutex>
#include <sys/stat.h>
#include <unistd.h>
#include <unordered_map>

namespace {

using namespace kr::host;

/// Handles are 4 above a multiple of 8 (see handle_table.h): descriptor n is (n + 1) * 8 + 4.
constexpr int MAX_DESCRIPTORS = 65536;

constexpr u8 OPEN = 1;
constexpr u8 READABLE = 2;
constexpr u8 WRITABLE = 4;
constexpr u8 STANDARD = 8;
/// What each descriptor is open for; 0 for those that are not ours.
std::array<std::atomic<u8>, MAX_DESCRIPTORS> descriptor_flags;

HANDLE handle_of(int descriptor) {
    return reinterpret_cast<HANDLE>((static_cast<std::uintptr_t>(descriptor) + 1) * 8 + 4);
}

/// The descriptor and its flags; flags 0 when the handle is not an open file.
struct open_descriptor {
    int number;
    u8 flags;
};

open_descriptor descriptor_of(HANDLE handle) {
    const auto value = reinterpret_cast<std::uintptr_t>(handle);
    const std::uintptr_t number = value / 8 - 1;
    if (value % 8 != 4 || number >= MAX_DESCRIPTORS) {
        return {-1, 0};
    }
    return {static_cast<int>(number), descriptor_flags[number].load(std::memory_order_acquire)};
}

/// The open files by descriptor: what sharing and the records of calls need to know.
struct open_file {
    dev_t device;
    ino_t inode;
    DWORD access;
    DWORD sharing;
    std::string path;
};

struct open_files {
    std::mutex lock;
    std::unordered_map<int, open_file> by_descriptor;
};

open_files& files() {
    static auto& instance = *new open_files;
    return instance;
}

std::string file_argument(HANDLE handle) {
    const open_descriptor file = descriptor_of(handle);
    const std::lock_guard hold(files().lock);
    const auto found = files().by_descriptor.find(file.number);
    if (found != files().by_descriptor.end()) {
        return found->second.path;
    }
    constexpr const char* standard[] = {"stdin", "stdout", "stderr"};
    return file.number >= 0 && file.number < 3 ? standard[file.number] : "?";
}

std::string path_argument(const WCHAR* path) {
    return to_utf8(path == nullptr ? u"" : path);
}

BOOL fail(DWORD error) {
    SetLastError(error);
    return FALSE;
}

constexpr DWORD READS = GENERIC_READ | FILE_READ_DATA;
constexpr DWORD WRITES = GENERIC_WRITE | FILE_WRITE_DATA;

constexpr bool wants_write(DWORD access) {
    return (access & (WRITES | FILE_APPEND_DATA)) != 0;
}

/// 32 when the file is open in a way that excludes the new access, or the other way round.
bool sharing_allows(const open_file& old, DWORD access, DWORD sharing) {
    const auto excluded = [](DWORD wanted, DWORD shared) {
        return ((wanted & READS) != 0 && (shared & FILE_SHARE_READ) == 0) ||
               (wants_write(wanted) && (shared & FILE_SHARE_WRITE) == 0);
    };
    return !excluded(access, old.sharing) && !excluded(old.access, sharing);
}

int open_flags(DWORD access, DWORD disposition) {
    int flags = O_CLOEXEC | O_NOCTTY;
    if (!wants_write(access)) {
        flags |= O_RDONLY;
    } else {
        flags |= (access & READS) != 0 ? O_RDWR : O_WRONLY;
    }
    if (wants_write(access) && (access & WRITES) == 0) {
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
    return static_cast<u8>(OPEN | ((access & READS) != 0 ? READABLE : 0) |
                           (wants_write(access) ? WRITABLE : 0));
}

/// Enters a freshly opened descriptor in the table, or says why it may not stay open.
DWORD admit(int descriptor, const char* path, DWORD access, DWORD sharing, bool truncate) {
    struct stat status {};
    if (descriptor >= MAX_DESCRIPTORS) {
        return ERROR_TOO_MANY_OPEN_FILES;
    }
    if (fstat(descriptor, &status) != 0) {
        return detail::error_from_errno(errno);
    }
    if (S_ISDIR(status.st_mode)) {
        return ERROR_ACCESS_DENIED;
    }
    const std::lock_guard hold(files().lock);
    if (S_ISREG(status.st_mode)) {
        for (const auto& [number, file] : files().by_descriptor) {
            if (file.device == status.st_dev && file.inode == status.st_ino &&
                !sharing_allows(file, access, sharing)) {
                return ERROR_SHARING_VIOLATION;
            }
        }
        if (truncate && ftruncate(descriptor, 0) != 0) {
            return detail::error_from_errno(errno);
        }
    }
    files().by_descriptor[descriptor] = {status.st_dev, status.st_ino, access, sharing, path};
    descriptor_flags[static_cast<std::size_t>(descriptor)].store(access_flags(access),
                                                                 std::memory_order_release);
    return NO_ERROR;
}

/// The administrator of the host may write what is read-only; Windows lets nobody.
bool is_read_only(const struct stat& status) {
    return S_ISREG(status.st_mode) && (status.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) == 0;
}

} // namespace

HANDLE CreateFileW(const WCHAR* path, DWORD access, DWORD sharing, SECURITY_ATTRIBUTES*,
                   DWORD disposition, DWORD attributes, HANDLE) {
    if (detail::injected_failure("CreateFileW", [&] { return path_argument(path); })) {
        return INVALID_HANDLE_VALUE;
    }
    if (disposition < CREATE_NEW || disposition > TRUNCATE_EXISTING) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return INVALID_HANDLE_VALUE;
    }
    const std::optional<std::string> native = detail::host_path(path);
    if (!native) {
        return INVALID_HANDLE_VALUE;
    }
    struct stat before {};
    const bool existed = stat(native->c_str(), &before) == 0;
    const bool truncate = disposition == CREATE_ALWAYS || disposition == TRUNCATE_EXISTING;
    if (existed && disposition != CREATE_NEW && (wants_write(access) || truncate) &&
        is_read_only(before)) {
        SetLastError(ERROR_ACCESS_DENIED);
        return INVALID_HANDLE_VALUE;
    }
    // Emptying an existing file needs the right to write, whatever was asked for.
    const DWORD opened_for = truncate && !wants_write(access) ? access | FILE_WRITE_DATA : access;
    const mode_t mode = (attributes & FILE_ATTRIBUTE_READONLY) != 0 ? 0444 : 0666;
    const int descriptor = open(native->c_str(), open_flags(opened_for, disposition), mode);
    if (descriptor < 0) {
        SetLastError(detail::error_from_errno(errno, *native));
        return INVALID_HANDLE_VALUE;
    }
    const DWORD refused =
        admit(descriptor, path_argument(path).c_str(), access, sharing, truncate && existed);
    if (refused != NO_ERROR) {
        close(descriptor);
        SetLastError(refused);
        return INVALID_HANDLE_VALUE;
    }
    if (disposition == CREATE_ALWAYS || disposition == OPEN_ALWAYS) {
        SetLastError(existed ? ERROR_ALREADY_EXISTS : NO_ERROR);
    }
    return handle_of(descriptor);
}

BOOL WriteFile(HANDLE file, const void* data, DWORD size_bytes, DWORD* written, OVERLAPPED*) {
    if (const auto fault = detail::intercept("WriteFile", [&] { return file_argument(file); })) {
        if (fault->error != 0) {
            return fail(fault->error);
        }
        size_bytes = std::min(size_bytes, fault->amount);
    }
    if (written != nullptr) {
        *written = 0;
    }
    const open_descriptor target = descriptor_of(file);
    if ((target.flags & WRITABLE) == 0) {
        return fail(target.flags == 0 ? ERROR_INVALID_HANDLE : ERROR_ACCESS_DENIED);
    }
    const char* const bytes = static_cast<const char*>(data);
    for (DWORD done = 0; done < size_bytes;) {
        const ssize_t count = write(target.number, bytes + done, size_bytes - done);
        if (count < 0 && errno != EINTR) {
            return fail(detail::error_from_errno(errno));
        }
        done += count < 0 ? 0 : static_cast<DWORD>(count);
        if (written != nullptr) {
            *written = done;
        }
    }
    return TRUE;
}

BOOL ReadFile(HANDLE file, void* buffer, DWORD size_bytes, DWORD* read_bytes, OVERLAPPED*) {
    if (detail::injected_failure("ReadFile", [&] { return file_argument(file); })) {
        return FALSE;
    }
    const open_descriptor source = descriptor_of(file);
    if ((source.flags & READABLE) == 0) {
        return fail(source.flags == 0 ? ERROR_INVALID_HANDLE : ERROR_ACCESS_DENIED);
    }
    ssize_t count = 0;
    do {
        count = read(source.number, buffer, size_bytes);
    } while (count < 0 && errno == EINTR);
    if (count < 0) {
        return fail(detail::error_from_errno(errno));
    }
    if (read_bytes != nullptr) {
        *read_bytes = static_cast<DWORD>(count);
    }
    return TRUE;
}

BOOL SetFilePointerEx(HANDLE file, LARGE_INTEGER distance, LARGE_INTEGER* position, DWORD origin) {
    if (detail::injected_failure("SetFilePointerEx", [&] { return file_argument(file); })) {
        return FALSE;
    }
    const open_descriptor target = descriptor_of(file);
    if (target.flags == 0) {
        return fail(ERROR_INVALID_HANDLE);
    }
    constexpr int origins[] = {SEEK_SET, SEEK_CUR, SEEK_END};
    if (origin > FILE_END) {
        return fail(ERROR_INVALID_PARAMETER);
    }
    const off_t moved = lseek(target.number, distance.QuadPart, origins[origin]);
    if (moved < 0) {
        return fail(errno == EINVAL ? DWORD{ERROR_NEGATIVE_SEEK} : detail::error_from_errno(errno));
    }
    if (position != nullptr) {
        position->QuadPart = moved;
    }
    return TRUE;
}

BOOL GetFileSizeEx(HANDLE file, LARGE_INTEGER* size_bytes) {
    if (detail::injected_failure("GetFileSizeEx", [&] { return file_argument(file); })) {
        return FALSE;
    }
    struct stat status {};
    const open_descriptor target = descriptor_of(file);
    if (target.flags == 0 || fstat(target.number, &status) != 0) {
        return fail(ERROR_INVALID_HANDLE);
    }
    size_bytes->QuadPart = status.st_size;
    return TRUE;
}

BOOL FlushFileBuffers(HANDLE file) {
    if (detail::injected_failure("FlushFileBuffers", [&] { return file_argument(file); })) {
        return FALSE;
    }
    const open_descriptor target = descriptor_of(file);
    if (target.flags == 0) {
        return fail(ERROR_INVALID_HANDLE);
    }
    // What cannot be synchronised (a pipe, a terminal) has nothing to be flushed.
    if (fsync(target.number) != 0 && errno != EINVAL && errno != EROFS) {
        return fail(detail::error_from_errno(errno));
    }
    return TRUE;
}

BOOL CloseHandle(HANDLE handle) {
    const auto argument = [&] {
        return detail::is_thread_handle(handle) ? std::string("thread") : file_argument(handle);
    };
    if (detail::injected_failure("CloseHandle", argument)) {
        return FALSE;
    }
    const open_descriptor file = descriptor_of(handle);
    if (file.flags == 0) {
        return detail::close_thread_handle(handle) ? TRUE : fail(ERROR_INVALID_HANDLE);
    }
    if ((file.flags & STANDARD) != 0) {
        return TRUE; // the process's own streams stay open for the C library
    }
    const std::lock_guard hold(files().lock);
    auto& flags = descriptor_flags[static_cast<std::size_t>(file.number)];
    if (flags.exchange(0, std::memory_order_acq_rel) == 0) {
        return fail(ERROR_INVALID_HANDLE); // another thread was faster
    }
    files().by_descriptor.erase(file.number);
    close(file.number);
    return TRUE;
}

BOOL DeleteFileW(const WCHAR* path) {
    if (detail::injected_failure("DeleteFileW", [&] { return path_argument(path); })) {
        return FALSE;
    }
    const std::optional<std::string> native = detail::host_path(path);
    if (!native) {
        return FALSE;
    }
    struct stat status {};
    if (lstat(native->c_str(), &status) != 0) {
        return fail(detail::error_from_errno(errno, *native));
    }
    if (S_ISDIR(status.st_mode) || is_read_only(status) ||
        detail::is_loaded_image({status.st_dev, status.st_ino})) {
        return fail(ERROR_ACCESS_DENIED);
    }
    const std::lock_guard hold(files().lock);
    for (const auto& [number, file] : files().by_descriptor) {
        if (file.device == status.st_dev && file.inode == status.st_ino &&
            (file.sharing & FILE_SHARE_DELETE) == 0) {
            return fail(ERROR_SHARING_VIOLATION);
        }
    }
    return unlink(native->c_str()) == 0 ? TRUE : fail(detail::error_from_errno(errno, *native));
}

DWORD GetFileAttributesW(const WCHAR* path) {
    if (detail::injected_failure("GetFileAttributesW", [&] { return path_argument(path); })) {
        return INVALID_FILE_ATTRIBUTES;
    }
    const std::optional<std::string> native = detail::host_path(path);
    if (!native) {
        return INVALID_FILE_ATTRIBUTES;
    }
    struct stat status {};
    if (stat(native->c_str(), &status) != 0) {
        SetLastError(detail::error_from_errno(errno, *native));
        return INVALID_FILE_ATTRIBUTES;
    }
    if (S_ISDIR(status.st_mode)) {
        return FILE_ATTRIBUTE_DIRECTORY;
    }
    return is_read_only(status) ? FILE_ATTRIBUTE_READONLY : FILE_ATTRIBUTE_NORMAL;
}

BOOL SetFileAttributesW(const WCHAR* path, DWORD attributes) {
    if (detail::injected_failure("SetFileAttributesW", [&] { return path_argument(path); })) {
        return FALSE;
    }
    const std::optional<std::string> native = detail::host_path(path);
    if (!native) {
        return FALSE;
    }
    struct stat status {};
    if (stat(native->c_str(), &status) != 0) {
        return fail(detail::error_from_errno(errno, *native));
    }
    if (S_ISDIR(status.st_mode)) {
        return TRUE; // a read-only folder is no more than a hint to the shell
    }
    constexpr mode_t all_writes = S_IWUSR | S_IWGRP | S_IWOTH;
    const mode_t mode = (attributes & FILE_ATTRIBUTE_READONLY) != 0 ? status.st_mode & ~all_writes
                                                                    : status.st_mode | S_IWUSR;
    return chmod(native->c_str(), mode & 07777) == 0
               ? TRUE
               : fail(detail::error_from_errno(errno, *native));
}

BOOL CreateDirectoryW(const WCHAR* path, SECURITY_ATTRIBUTES*) {
    if (detail::injected_failure("CreateDirectoryW", [&] { return path_argument(path); })) {
        return FALSE;
    }
    const std::optional<std::string> native = detail::host_path(path);
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
        return fail(detail::error_from_errno(errno));
    }
}

BOOL RemoveDirectoryW(const WCHAR* path) {
    if (detail::injected_failure("RemoveDirectoryW", [&] { return path_argument(path); })) {
        return FALSE;
    }
    const std::optional<std::string> native = detail::host_path(path);
    if (!native) {
        return FALSE;
    }
    if (rmdir(native->c_str()) == 0) {
        return TRUE;
    }
    return fail(errno == ENOTDIR ? DWORD{ERROR_DIRECTORY}
                                 : detail::error_from_errno(errno, *native));
}

HANDLE GetStdHandle(DWORD which) {
    if (detail::injected_failure("GetStdHandle")) {
        return INVALID_HANDLE_VALUE;
    }
    const DWORD number = STD_INPUT_HANDLE - which;
    if (number > 2) {
        SetLastError(ERROR_INVALID_HANDLE);
        return INVALID_HANDLE_VALUE;
    }
    // Windows knows no signal for a reader that has gone: the write fails.
    static const bool once = signal(SIGPIPE, SIG_IGN) != SIG_ERR;
    static_cast<void>(once);
    descriptor_flags[number].store(
        static_cast<u8>(OPEN | STANDARD | (number == 0 ? READABLE : WRITABLE)),
        std::memory_order_release);
    return handle_of(static_cast<int>(number));
}

DWORD GetFileType(HANDLE file) {
    struct stat status {};
    const open_descriptor target = descriptor_of(file);
    if (target.flags == 0 || fstat(target.number, &status) != 0) {
        SetLastError(ERROR_INVALID_HANDLE);
        return FILE_TYPE_UNKNOWN;
    }
    if (S_ISFIFO(status.st_mode) || S_ISSOCK(status.st_mode)) {
        return FILE_TYPE_PIPE;
    }
    return S_ISCHR(status.st_mode) ? FILE_TYPE_CHAR : FILE_TYPE_DISK;
}

BOOL GetConsoleMode(HANDLE console, DWORD* mode) {
    const open_descriptor target = descriptor_of(console);
    if (target.flags == 0 || isatty(target.number) == 0) {
        return fail(ERROR_INVALID_HANDLE);
    }
    *mode = ENABLE_PROCESSED_OUTPUT | ENABLE_VIRTUAL_TERMINAL_PROCESSING;
    return TRUE;
}

BOOL SetConsoleMode(HANDLE console, DWORD) {
    DWORD mode = 0;
    return GetConsoleMode(console, &mode);
}

BOOL WriteConsoleW(HANDLE console, const void* text, DWORD length_chars, DWORD* written, void*) {
    if (detail::injected_failure("WriteConsoleW", [&] { return file_argument(console); })) {
        return FALSE;
    }
    DWORD mode = 0;
    if (!GetConsoleMode(console, &mode)) {
        return FALSE;
    }
    const std::string bytes = to_utf8({static_cast<const WCHAR*>(text), length_chars});
    if (!WriteFile(console, bytes.data(), static_cast<DWORD>(bytes.size()), nullptr, nullptr)) {
        return FALSE;
    }
    if (written != nullptr) {
        *written = length_chars;
    }
    return TRUE;
}
