/// The destination "eventlog:". Touches the system's event log.
#include "base/text/wide_string.h"
#include "log/destinations/destinations.h"
#include "platform/platform.h"

namespace {

constexpr DWORD line_event_id = 0x40001230;

/// For a call of the system that failed with `error`.
void warn(const char* function, const char* call, DWORD error) {
    const kr_result result = kr_result_make_win32(error);
    KR_LOG_AS(KR_LOG_OTHER, KR_LOG_WARNING, function, "%s() failed. Result is 0x%08X (%_z)", call,
              static_cast<u32>(error), &result);
}

} // namespace

u32 kr_event_log_init(const kr_char* spec, u32* no_timestamps, void** context, kr_log_write* write,
                      kr_log_close* close) {
    constexpr const kr_char* prefix = KR_TEXT("eventlog:");
    if (!kr_string_starts_with(spec, prefix)) {
        return 0;
    }
    const HANDLE source = RegisterEventSourceW(nullptr, spec + kr_string_length(prefix));
    if (source == nullptr) {
        KR_LOG(KR_LOG_OTHER, KR_LOG_WARNING, "RegisterEventSource() failed.");
        return 0;
    }
    *no_timestamps = 1;
    *context = source;
    *write = event_log_do_log;
    *close = event_log_uninit;
    return 1;
}

void event_log_do_log(void* context, const kr_char* line, size_t /*size_bytes*/) {
    const kr_char* strings[] = {KR_TEXT(""), line};
    if (ReportEventW(context, EVENTLOG_INFORMATION_TYPE, 0, line_event_id, nullptr, 2, 0, strings,
                     nullptr) == FALSE) {
        warn(__func__, "ReportEvent", GetLastError());
    }
}

kr_result event_log_uninit(void* context) {
    if (DeregisterEventSource(context) == FALSE) {
        const DWORD error = GetLastError();
        warn(__func__, "DeregisterEventSource", error);
        return kr_result_from_win32(error);
    }
    return KR_SUCCESS;
}
