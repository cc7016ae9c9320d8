/// Windows paths on the host: drives below one folder, letter case ignored there; the system's
/// folder.
#include "platform/host/paths.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <unistd.h>
#include <vector>

#include "platform/host/files.h"
#include "platform/host/fold.h"
#include "platform/host/intercept.h"
#include "platform/host/world.h"

namespace kr::host {

namespace {

namespace fs = std::filesystem;

constexpr bool is_separator(WCHAR unit) {
    return unit == u'\\' || unit == u'/';
}

constexpr bool is_letter(WCHAR unit) {
    return (unit >= u'A' && unit <= u'Z') || (unit >= u'a' && unit <= u'z');
}

/// A folder of our own, removed when this very process ends (a forked child leaves it alone).
class temporary_root {
public:
    temporary_root() {
        std::error_code error;
        std::string pattern = (fs::temp_directory_path(error) / "kr-host-XXXXXX").string();
        if (mkdtemp(pattern.data()) == nullptr) {
            // Without it drive paths would lead into the host's own folders.
            std::perror(pattern.c_str());
            std::abort();
        }
        path_ = pattern;
    }
    ~temporary_root() {
        if (getpid() == owner_) {
            std::error_code ignored;
            fs::remove_all(path_, ignored);
        }
    }
    temporary_root(const temporary_root&) = delete;
    temporary_root& operator=(const temporary_root&) = delete;

    [[nodiscard]] const std::string& path() const { return path_; }

private:
    pid_t owner_ = getpid();
    std::string path_;
};

/// The entry of `folder` called `name` without regard to case, or `name` itself when none is.
fs::path find_entry(const fs::path& folder, std::u16string_view name) {
    fs::path exact = folder / to_utf8(name);
    std::error_code error;
    if (fs::exists(fs::symlink_status(exact, error))) {
        return exact;
    }
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error)) {
        if (detail::equal_folded(to_utf16(entry->path().filename().native()), name)) {
            return entry->path();
        }
    }
    return exact;
}

/// `rest` is what follows the drive's colon. Steps above the drive's top stay there.
std::string drive_path(WCHAR letter, std::u16string_view rest) {
    std::vector<fs::path> way{fs::path(detail::drive_root()) /
                              std::string(1, static_cast<char>(detail::fold(letter)))};
    while (!rest.empty()) {
        size_t length = 0;
        while (length < rest.size() && !is_separator(rest[length])) {
            ++length;
        }
        const std::u16string_view name = rest.substr(0, length);
        rest.remove_prefix(std::min(length + 1, rest.size()));
        if (name == u"..") {
            if (way.size() > 1) {
                way.pop_back();
            }
        } else if (!name.empty() && name != u".") {
            way.push_back(find_entry(way.back(), name));
        }
    }
    return way.back().string();
}

/// The path without the dots and blanks that its last name ends in, unless that is "." or "..".
std::u16string_view without_trailing_dots(std::u16string_view path) {
    const size_t name = path.find_last_of(u"\\/:") + 1;
    const size_t kept = path.find_last_not_of(u". ") + 1;
    return kept > name ? path.substr(0, kept) : path;
}

std::string plain_path(std::u16string_view path) {
    std::u16string slashed(path);
    for (WCHAR& unit : slashed) {
        unit = unit == u'\\' ? u'/' : unit;
    }
    return to_utf8(slashed);
}

} // namespace

namespace detail {

const std::string& drive_root() {
    static const std::string given = [] {
        const char* const named = std::getenv("KR_HOST_ROOT");
        return std::string(named == nullptr ? "" : named);
    }();
    if (!given.empty()) {
        return given;
    }
    static const temporary_root own;
    return own.path();
}

std::optional<std::string> host_path(const WCHAR* path) {
    std::u16string_view rest = path == nullptr ? u"" : path;
    if (rest.starts_with(u"\\\\?\\") || rest.starts_with(u"\\??\\")) {
        rest.remove_prefix(4);
    } else {
        rest = without_trailing_dots(rest);
    }
    if (rest.empty()) {
        return fail(ERROR_PATH_NOT_FOUND, std::nullopt);
    }
    const bool has_drive = rest.size() >= 2 && rest[1] == u':' && is_letter(rest[0]);
    const std::u16string_view names = has_drive ? rest.substr(2) : rest;
    if (names.find_first_of(u"<>\"|?*") != std::u16string_view::npos) {
        return fail(ERROR_INVALID_NAME, std::nullopt);
    }
    if (!has_drive) {
        return plain_path(rest);
    }
    std::error_code ignored; // the open that follows reports what is missing
    fs::create_directories(fs::path(drive_root()) / "C", ignored);
    return drive_path(rest[0], names);
}

} // namespace detail

std::string native_path(const WCHAR* path) {
    return detail::host_path(path).value_or(std::string());
}

} // namespace kr::host

HRESULT SHGetFolderPathW(HWND, int folder, HANDLE, DWORD, WCHAR* path) {
    using namespace kr::host::detail;
    if (const LONG fault = injected_status(__func__, [&] { return std::to_string(folder); })) {
        return fault;
    }
    if (folder != CSIDL_SYSTEM || path == nullptr) {
        return E_INVALIDARG;
    }
    constexpr std::u16string_view system = u"C:\\Windows\\System32";
    std::error_code error;
    std::filesystem::create_directories(*host_path(u"C:\\Windows\\System32\\drivers"), error);
    if (error) {
        return E_FAIL;
    }
    // What stands behind the terminator is no business of the caller's.
    std::fill_n(path, MAX_PATH, u'?');
    path[system.copy(path, system.size())] = 0;
    return S_OK;
}
