/// The standard streams and the console.
#include "platform/host/files.h"

#include <algorithm>
#include <atomic>
#include <csignal>
#include <unistd.h>

#include "platform/host/descriptors.h"
#include "platform/host/intercept.h"
#include "platform/host/world.h"

using namespace kr::host::detail;

namespace {

/// A new console interprets no sequences, as on Windows.
constexpr DWORD first_mode = ENABLE_PROCESSED_OUTPUT | ENABLE_WRAP_AT_EOL_OUTPUT;
constexpr DWORD known_modes = first_mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING;

/// Of the process's one terminal.
std::atomic<DWORD> console_mode = first_mode;

bool is_console(HANDLE handle) {
    const open_descriptor target = descriptor_of(handle);
    return target.flags != 0 && isatty(target.number) != 0;
}

} // namespace

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
    (void)once;
    descriptor_flags[number].store(
        static_cast<u8>(opened | standard_stream | (number == 0 ? readable : writable)),
        std::memory_order_release);
    return handle_of(static_cast<int>(number));
}

BOOL GetConsoleMode(HANDLE console, DWORD* mode) {
    if (injected_failure(__func__, file_argument, console)) {
        return FALSE;
    }
    if (!is_console(console)) {
        return fail(ERROR_INVALID_HANDLE);
    }
    *mode = console_mode;
    return TRUE;
}

BOOL SetConsoleMode(HANDLE console, DWORD mode) {
    if (injected_failure(__func__, file_argument, console)) {
        return FALSE;
    }
    if (!is_console(console)) {
        return fail(ERROR_INVALID_HANDLE);
    }
    if ((mode & ~known_modes) != 0) {
        return fail(ERROR_INVALID_PARAMETER);
    }
    console_mode = mode;
    return TRUE;
}

BOOL WriteConsoleW(HANDLE console, const void* text, DWORD length_chars, DWORD* written, void*) {
    if (injected_failure(__func__, file_argument, console)) {
        return FALSE;
    }
    if (!is_console(console)) {
        return fail(ERROR_INVALID_HANDLE);
    }
    std::u16string shown(static_cast<const WCHAR*>(text), length_chars);
    if ((console_mode & ENABLE_VIRTUAL_TERMINAL_PROCESSING) == 0) {
        // The glyph that Windows shows for an escape character that it does not interpret.
        std::replace(shown.begin(), shown.end(), u'\x1B', u'\u2190');
    }
    const std::string bytes = kr::host::to_utf8(shown);
    if (!WriteFile(console, bytes.data(), static_cast<DWORD>(bytes.size()), nullptr, nullptr)) {
        return FALSE;
    }
    if (written != nullptr) {
        *written = length_chars;
    }
    return TRUE;
}
