/// The destination "stdout". Touches standard output: through the runtime's stream where that goes
/// to a file or a pipe, so that lines keep their place between the program's own output, and
/// directly, behind what the stream holds, where it is a console, which takes wide text.
#include "base/text/wide_string.h"
#include "log/destinations/destinations.h"
#include "log/destinations/utf8.h"
#include "platform/platform.h"

namespace {

/// The console behind standard output, or null. Taken at selection.
constinit std::atomic<HANDLE> console = nullptr;

HANDLE find_console() {
    const HANDLE output = GetStdHandle(STD_OUTPUT_HANDLE);
    DWORD mode = 0;
    return GetConsoleMode(output, &mode) != FALSE ? output : nullptr;
}

void console_write(void* /*context*/, const kr_char* line, size_t /*size_bytes*/) {
    size_t left = kr_string_length(line);
    if (const HANDLE handle = console.load(std::memory_order_relaxed); handle != nullptr) {
        (void)std::fflush(stdout);
        DWORD written = 0;
        (void)WriteConsoleW(handle, line, static_cast<DWORD>(left), &written, nullptr);
        return;
    }
    constexpr size_t piece_length = 1'024;
    char bytes[kr::detail::utf8_room(piece_length)];
    while (left > 0) {
        size_t length = left < piece_length ? left : piece_length;
        // A surrogate pair stays in one piece.
        if (length < left && (line[length - 1] & 0xFC00) == 0xD800) {
            --length;
        }
        const size_t size =
            kr::detail::encode_utf8(line, length, kr::detail::newline_form::lf, bytes);
        (void)std::fwrite(bytes, 1, size, stdout);
        line += length;
        left -= length;
    }
}

} // namespace

u32 kr_console_log_init(const kr_char* spec, u32* no_timestamps, void** context,
                        kr_log_write* write, kr_log_close* close) {
    if (!kr_string_equal(spec, KR_TEXT("stdout"))) {
        return 0;
    }
    console.store(find_console(), std::memory_order_relaxed);
    *no_timestamps = 0;
    *context = nullptr;
    *write = console_write;
    *close = nullptr;
    return 1;
}
