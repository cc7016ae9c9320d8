/// File handles are file descriptors in disguise, so that a write costs no look-up; what sharing
/// and the records of calls need to know stands in a table beside them. Private to this directory.
#pragma once

#include <array>
#include <atomic>
#include <mutex>
#include <string>
#include <sys/stat.h>
#include <unordered_map>

#include "platform/host/win_types.h"

namespace kr::host::detail {

/// Handles are 4 above a multiple of 8 (see handle_table.h): descriptor n is (n + 1) * 8 + 4.
inline constexpr int max_descriptors = 65536;

inline constexpr u8 opened = 1;
inline constexpr u8 readable = 2;
inline constexpr u8 writable = 4;
inline constexpr u8 standard_stream = 8;
/// What each descriptor is open for; 0 for those that are not ours.
extern std::array<std::atomic<u8>, max_descriptors> descriptor_flags;

HANDLE handle_of(int descriptor);

/// The descriptor and its flags; flags 0 when the handle is not an open file.
struct open_descriptor {
    int number;
    u8 flags;
};

inline open_descriptor descriptor_of(HANDLE handle) {
    const auto value = reinterpret_cast<std::uintptr_t>(handle);
    const std::uintptr_t number = value / 8 - 1;
    if (value % 8 != 4 || number >= max_descriptors) {
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

open_files& files();

/// For the record of a call: the file's path as it was given, or the stream's name.
std::string file_argument(HANDLE handle);

/// The administrator of the host may write what is read-only; Windows lets nobody.
bool is_read_only(const struct stat& status);

} // namespace kr::host::detail
