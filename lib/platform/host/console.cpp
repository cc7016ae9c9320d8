/// The standard streams and the console.
#include "platform/host/files.h"

#include "platform/host/descriptors.h"
#include "platform/host/intercept.h"
#include "platform/host/world.h"

#include <csignal>
#include <unistd.h>

using namespace kr::host::detail;

HANDLE GetStdHandle(DWORD which) {
    if (injected_failure(__func__)) {
        return INVALID_HANDLE_VALUE;
    }
    const DWORD number = STD_INPUT_HANDLE - which;
    if (number > 2) {
        return fail(ERROR_INVALID_HANDLE, INVALID_HANDLE_VALUE);
    }
    // Windows knows no signal for a reader that has gone: the write fails.
    static const bool once = signal(SIGPIPE, SIG_IGN) != SIG_ERR;
    static_cast<void>(once);
    descriptor_flags[number].store(
        static_cast<u8>(OPEN | STANDARD | (number == 0 ? READABLE : WRITABLE)),
        std::memory_order_release);
    return handle_of(static_cast<int>(number));
}

BOOL GetConsoleMode(HANDLE console, DWORD* mode) {
    if (injected_failure(__func__, file_argument, console)) {
        return FALSE;
    }
    const open_descriptor target = descriptor_of(console);
    if (target.flags == 0 || isatty(target.number) == 0) {
        return fail(ERROR_INVALID_HANDLE);
    }
    *mode = ENABLE_PROCESSED_OUTPUT | ENABLE_VIRTUAL_TERMINAL_PROCESSING;
    return TRUE;
}

BOOL WriteConsoleW(HANDLE console, const void* text, DWORD length_chars, DWORD* written, void*) {
    if (injected_failure(__func__, file_argument, console)) {
        return FALSE;
    }
    DWORD mode = 0;
    if (!GetConsoleMode(console, &mode)) {
        return FALSE;
    }
    const std::string bytes = kr::host::to_utf8({static_cast<const WCHAR*>(text), length_chars});
    if (!WriteFile(console, bytes.data(), static_cast<DWORD>(bytes.size()), nullptr, nullptr)) {
        return FALSE;
    }
    if (written != nullptr) {
        *written = length_chars;
    }
    return TRUE;
}
