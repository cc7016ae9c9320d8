/// What tests ask of the system beside the calls under test; the same on both systems.
#pragma once

#include <filesystem>
#include <fstream>

#include "platform/platform.h"
#include "support/suite.h"

namespace kr::test {

inline DWORD error_of(BOOL done) { return done != FALSE ? 0 : GetLastError(); }

/// Where the C++ library finds the file that the system's calls know as `path`. One source per
/// system.
std::filesystem::path native_path(const wide& path);

/// A path of the calling thread's own in the folder for temporary files, ending in `name`.
inline wide scratch_path(const wide& name) {
    const std::string own = "kr" + std::to_string(GetCurrentThreadId());
    const std::u16string folder = (std::filesystem::temp_directory_path() / own).u16string();
    return wide(folder.begin(), folder.end()) + name;
}

/// The file's bytes, or "no such file".
inline std::string read_native_file(const std::filesystem::path& path) {
    std::error_code none; // whatever is wrong with the path, there is no such file
    if (!is_regular_file(path, none)) { return "no such file"; }
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}
inline std::string read_file(const wide& path) { return read_native_file(native_path(path)); }

/// Lets nobody write to the file, or everybody again.
inline void set_read_only(const wide& path, bool read_only) {
    using std::filesystem::perm_options, std::filesystem::perms;
    constexpr perms writes = perms::owner_write | perms::group_write | perms::others_write;
    permissions(native_path(path), writes, read_only ? perm_options::remove : perm_options::add);
}

} // namespace kr::test
