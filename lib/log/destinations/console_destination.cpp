/// The destination "stdout". Touches standard output: through the runtime's stream where that goes
/// to a file or a pipe, so that lines keep their place between the program's own output, and
/// directly, behind what the stream holds, where it is a console, which takes wide text.
#include "base/text/wide_string.h"
#include "log/destinations/console_mode.h"
#include "log/destinations/destinations.h"
#include "log/destinations/utf8.h"
#include "log/layout.h"
#include "platform/platform.h"

namespace {

/// The console behind standard output, or null. Taken at selection.
constinit std::atomic<HANDLE> console = nullptr;

HANDLE find_console() {
    const HANDLE output = GetStdHandle(STD_OUTPUT_HANDLE);
    DWORD mode = 0;
    return GetConsoleMode(output, &mode) != FALSE ? output : nullptr;
}

/// The console's processing of escape sequences, without which colours show raw. Off on a fresh
/// console, and not known to systems before Windows 10. Lines come one at a time; those from before
/// the log's start, which may not, have no colours.
class sequence_processing {
public:
    constexpr sequence_processing() = default;
    sequence_processing(const sequence_processing&) = delete;
    sequence_processing& operator=(const sequence_processing&) = delete;
    /// At the program's end at the latest: the console outlives it.
    ~sequence_processing() { restore(); }

    /// Whether it is on now.
    bool turn_on(HANDLE handle) {
        if (state_ == state::untouched) {
            DWORD mode = 0;
            const bool known = GetConsoleMode(handle, &mode) != FALSE;
            mode_before_ = mode;
            handle_ = handle;
            // Last: from here on restore() puts the mode back.
            state_ =
                known && SetConsoleMode(handle, mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING) != FALSE
                    ? state::on
                    : state::refused;
        }
        return state_ == state::on;
    }

    void restore() {
        if (state_ == state::on) {
            (void)SetConsoleMode(handle_, mode_before_);
        }
        state_ = state::untouched;
    }

private:
    enum class state : u8 { untouched, on, refused };

    std::atomic<state> state_ = state::untouched;
    std::atomic<DWORD> mode_before_ = 0;
    std::atomic<HANDLE> handle_ = nullptr;
};

constinit sequence_processing sequences;

void write_console(HANDLE handle, const kr_char* text, size_t length) {
    DWORD written = 0;
    (void)WriteConsoleW(handle, text, static_cast<DWORD>(length), &written, nullptr);
}

/// Leaves out the sequences, "ESC [ parameters letter".
void write_without_sequences(HANDLE handle, const kr_char* text) {
    constexpr kr_char escape = 0x1B;
    while (const kr_char* const sequence = kr_string_find_char(text, escape)) {
        write_console(handle, text, static_cast<size_t>(sequence - text));
        text = sequence + 1;
        if (*text == '[') {
            do {
                ++text;
            } while (*text != 0 && (*text < '@' || *text > '~'));
        }
        text += *text != 0 ? 1 : 0;
    }
    write_console(handle, text, kr_string_length(text));
}

void write_stream(const kr_char* line) {
    constexpr size_t piece_length = 1'024;
    char bytes[kr::detail::utf8_room(piece_length)];
    for (size_t left = kr_string_length(line); left > 0;) {
        const size_t length = kr::detail::whole_piece(line, left, piece_length);
        const size_t size =
            kr::detail::encode_utf8(line, length, kr::detail::newline_form::lf, bytes);
        (void)std::fwrite(bytes, 1, size, stdout);
        line += length;
        left -= length;
    }
}

void console_write(void* /*context*/, const kr_char* line, size_t /*size_bytes*/) {
    const HANDLE handle = console.load(std::memory_order_relaxed);
    if (handle == nullptr) {
        write_stream(line);
        return;
    }
    (void)std::fflush(stdout);
    const bool colors = kr_log_colors() != 0;
    if (colors && !sequences.turn_on(handle)) {
        write_without_sequences(handle, line);
        return;
    }
    if (!colors) {
        sequences.restore();
    }
    write_console(handle, line, kr_string_length(line));
}

} // namespace

namespace kr::detail {

void restore_console_mode() {
    sequences.restore();
}

} // namespace kr::detail

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
