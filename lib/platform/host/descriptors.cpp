/// File handles and what is known of the open files.
#include "platform/host/descriptors.h"

#include "platform/host/handle_table.h"

namespace kr::host::detail {

std::array<std::atomic<u8>, max_descriptors> descriptor_flags;

HANDLE handle_of(int descriptor) {
    return reinterpret_cast<HANDLE>((static_cast<std::uintptr_t>(descriptor) + 1) * 8 + 4);
}

open_files& files() {
    return immortal<open_files>();
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

bool is_read_only(const struct stat& status) {
    return S_ISREG(status.st_mode) && (status.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) == 0;
}

} // namespace kr::host::detail
