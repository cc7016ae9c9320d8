/// What tests ask of the system beside the calls under test; the same on both systems.
#pragma once

#include "platform/platform.h"
#include "support/suite.h"

namespace kr::test {

inline DWORD error_of(BOOL done) { return done != FALSE ? 0 : GetLastError(); }

/// A path of the calling thread's own in the folder for temporary files, ending in `name`.
inline wide scratch_path(const wide& name) {
    kr_char folder[MAX_PATH + 1];
    EXPECT_GT(GetTempPathW(MAX_PATH + 1, folder), 1u);
    return folder + widen("kr" + std::to_string(GetCurrentThreadId())) + name;
}

/// The file's bytes, or "no such file".
inline std::string read_file(const wide& path) {
    const HANDLE file = CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                    OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) { return "no such file"; }
    std::string bytes(100'000, '\0');
    DWORD size = 0;
    EXPECT_TRUE(ReadFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &size, nullptr));
    CloseHandle(file);
    bytes.resize(size);
    return bytes;
}

} // namespace kr::test
