/// The folders that the system names: its own and the temporary one.
#include "platform/host/files.h"
#include "platform/host/intercept.h"
#include "platform/host/world.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>

using namespace kr::host;
using namespace kr::host::detail;

HRESULT SHGetFolderPathW(HWND, int folder, HANDLE, DWORD, WCHAR* path) {
    if (const LONG fault = injected_status(__func__, [&] { return std::to_string(folder); })) {
        return fault;
    }
    if (folder != CSIDL_SYSTEM || path == nullptr) {
        return E_INVALIDARG;
    }
    constexpr std::u16string_view system = u"C:\\Windows\\System32";
    std::error_code error;
    std::filesystem::create_directories(native_path(u"C:\\Windows\\System32\\drivers"), error);
    if (error) {
        return E_FAIL;
    }
    // What stands behind the terminator is no business of the caller's.
    std::fill_n(path, MAX_PATH, u'?');
    path[system.copy(path, system.size())] = 0;
    return S_OK;
}

DWORD GetTempPathW(DWORD room_chars, WCHAR* buffer) {
    if (injected_failure(__func__)) {
        return 0;
    }
    std::error_code ignored;
    const std::string folder = std::filesystem::temp_directory_path(ignored).string();
    std::u16string path = to_utf16(folder.empty() ? "/tmp" : folder);
    if (path.back() != u'/') {
        path.push_back(u'/');
    }
    if (path.size() >= room_chars) {
        return static_cast<DWORD>(path.size() + 1);
    }
    buffer[path.copy(buffer, path.size())] = 0;
    return static_cast<DWORD>(path.size());
}
