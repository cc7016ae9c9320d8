/// event_text SOURCE LINE: writes what Event Viewer shows of a line in the log's event, by the message
/// file that is registered for the source; exits with the system's error, or 0.
#include <string>

#include "platform/platform.h"

extern "C" int wmain(int argc, kr_char** argv) {
    if (argc != 3) { return 125; }
    const std::wstring key = L"SYSTEM\\CurrentControlSet\\Services\\EventLog\\Application\\";
    kr_char file[MAX_PATH], text[256];
    DWORD size_bytes = sizeof(file);
    // Expands the variables of the value.
    const LSTATUS status = RegGetValueW(HKEY_LOCAL_MACHINE, (key + argv[1]).c_str(), L"EventMessageFile",
                                        RRF_RT_REG_SZ, nullptr, file, &size_bytes);
    if (status != ERROR_SUCCESS) { return static_cast<int>(status); }
    const HMODULE messages = LoadLibraryExW(file, nullptr, LOAD_LIBRARY_AS_DATAFILE);
    kr_char empty[] = L"";
    kr_char* strings[] = {empty, argv[2]};
    const DWORD length = FormatMessageW(FORMAT_MESSAGE_FROM_HMODULE | FORMAT_MESSAGE_ARGUMENT_ARRAY, messages,
                                        0x40001230, 0, text, 256, reinterpret_cast<va_list*>(strings));
    if (messages == nullptr || length == 0) { return static_cast<int>(GetLastError()); }
    std::printf("%ls\n", text);
    return 0;
}
