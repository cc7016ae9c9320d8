/// The start of a program on Windows, ahead of the runtime's: from here on libraries come from the
/// system's folder alone, never from the program's own or the current one. Linked into programs
/// only.
#include "platform/platform.h"

extern "C" int mainCRTStartup();
extern "C" int kr_start();

/// The entry point of the image.
int kr_start() {
    using set_directories = BOOL(WINAPI*)(DWORD);
    // Looked up by name: a Windows 7 without the update that brings the call starts all the same,
    // and leaves the current folder out at least.
    const HMODULE kernel = GetModuleHandleW(L"kernel32.dll");
    const auto set_default_directories = reinterpret_cast<set_directories>(
        reinterpret_cast<void*>(GetProcAddress(kernel, "SetDefaultDllDirectories")));
    if (set_default_directories == nullptr ||
        set_default_directories(LOAD_LIBRARY_SEARCH_SYSTEM32) == FALSE) {
        (void)SetDllDirectoryW(L"");
    }
    return mainCRTStartup();
}
