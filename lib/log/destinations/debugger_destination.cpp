/// The destination "windbg". Touches the debugger's output.
#include "base/text/wide_string.h"
#include "log/destinations/destinations.h"
#include "platform/platform.h"

namespace {

void debugger_write(void* /*context*/, const kr_char* line, size_t /*size_bytes*/) {
    OutputDebugStringW(line);
}

} // namespace

u32 kr_debugger_log_init(const kr_char* spec, u32* no_timestamps, void** context,
                         kr_log_write* write, kr_log_close* close) {
    if (!kr_string_equal(spec, KR_TEXT("windbg"))) {
        return 0;
    }
    *no_timestamps = 0;
    *context = nullptr;
    *write = debugger_write;
    *close = nullptr;
    return 1;
}
