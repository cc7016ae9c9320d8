/// The driver's file below the system's folder: its path and the embedded image in it.
#include "driver_file.h"

#include <iterator>
#include <string_view>

#include "platform/platform.h"
#include "report.h"
#include "scope_guard.h"

namespace kr {
namespace {

using text_view = std::basic_string_view<kr_char>;

constexpr text_view fallback_path = KR_TEXT("C:\\Windows\\System32\\drivers\\krdummy.sys");
constexpr text_view path_below_system = KR_TEXT("\\drivers\\krdummy.sys");
static_assert(fallback_path.size() < driver_path_limit);
static_assert(MAX_PATH + path_below_system.size() <= driver_path_limit);

/// Writes `text` and a terminator: what the system leaves in the rest of its buffer is open.
void put(text_view text, kr_char* place) {
    place[text.copy(place, text.size())] = KR_TEXT('\0');
}

/// The embedded image, valid as long as the process.
struct embedded_driver {
    const void* data;
    DWORD size_bytes;
};

/// Finds the driver in the program's own resources.
bool find_embedded_driver(const char* function, embedded_driver* out) {
    HRSRC resource = FindResourceW(nullptr, KR_TEXT("krdummy"), KR_TEXT("Driver"));
    if (resource == nullptr) {
        warn(function, "Unable to find the embedded driver resource, error code = %u",
             GetLastError());
        return false;
    }
    const DWORD size_bytes = SizeofResource(nullptr, resource);
    if (size_bytes == 0) {
        warn(function, "Embedded driver resource has zero size");
        return false;
    }
    HGLOBAL loaded = LoadResource(nullptr, resource);
    if (loaded == nullptr) {
        warn(function, "Unable to load the embedded driver resource into memory, error code = %u",
             GetLastError());
        return false;
    }
    const void* data = LockResource(loaded);
    if (data == nullptr) {
        warn(function, "Unable to lock the embedded driver into memory");
        return false;
    }
    *out = {data, size_bytes};
    return true;
}

} // namespace

driver_path get_driver_path() {
    constexpr const char* function = "kr::get_driver_path";
    driver_path path{};
    const HRESULT status =
        SHGetFolderPathW(nullptr, CSIDL_SYSTEM, nullptr, SHGFP_TYPE_CURRENT, path.text);
    if (status < 0) {
        warn(function, "Unable to SHGetFolderPathW(CSIDL_SYSTEM). HRESULT = %08X",
             static_cast<u32>(status));
        put(fallback_path, path.text);
        return path;
    }
    put(path_below_system, path.text + text_view(path.text).size());
    return path;
}

bool extract_embedded_driver(const kr_char* path) {
    constexpr const char* function = "kr::extract_embedded_driver";
    embedded_driver driver{};
    if (!find_embedded_driver(function, &driver)) {
        return false;
    }
    HANDLE file =
        CreateFileW(path, GENERIC_READ | GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        warn(function,
             "Unable to create the file where the embedded driver is to be extracted (%_s), "
             "error code = %u",
             path, GetLastError());
        return false;
    }
    const scope_guard close_file(CloseHandle, file);
    DWORD written = 0;
    if (!WriteFile(file, driver.data, driver.size_bytes, &written, nullptr)) {
        warn(function, "Unable to write the embedded driver to file '%_s', error code = %u", path,
             GetLastError());
        return false;
    }
    if (written != driver.size_bytes) {
        warn(function,
             "The amount of bytes written (%u) doesn't match the embedded driver size (%u)",
             written, driver.size_bytes);
        return false;
    }
    return true;
}

} // namespace kr
