/// System messages, debugger output and the event log.
#include "platform/host/messages.h"

#include <cstdio>
#include <cstdlib>

#include "platform/host/handle_table.h"
#include "platform/host/intercept.h"
#include "platform/host/message_texts.h"
#include "platform/host/world.h"

using namespace kr::host;
using namespace kr::host::detail;

DWORD FormatMessageW(DWORD flags, const void*, DWORD id, DWORD, WCHAR* buffer, DWORD room_chars,
                     va_list*) {
    if (injected_failure(__func__, [&] { return std::to_string(id); })) {
        return 0;
    }
    if (flags != (FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_MAX_WIDTH_MASK) ||
        buffer == nullptr) {
        return fail(ERROR_INVALID_PARAMETER, DWORD{0});
    }
    const WCHAR* const known = message_text(id);
    if (known == nullptr) {
        return fail(ERROR_MR_MID_NOT_FOUND, DWORD{0});
    }
    const std::u16string text = std::u16string(known).append(u" ");
    if (text.find(u'%') != std::u16string::npos) {
        return fail(ERROR_INVALID_PARAMETER, DWORD{0});
    }
    if (room_chars != 0) {
        buffer[text.copy(buffer, room_chars - 1)] = 0;
    }
    return text.size() < room_chars ? static_cast<DWORD>(text.size())
                                    : fail(ERROR_INSUFFICIENT_BUFFER, DWORD{0});
}

namespace {

struct debugger {
    std::mutex lock;
    debug_sink sink;
};

debugger& the_debugger() {
    return immortal<debugger>();
}

void default_debug_output(std::u16string_view text) {
    static const bool to_stderr = [] {
        const char* const where = std::getenv("KR_HOST_DEBUG");
        return where != nullptr && std::string_view(where) == "stderr";
    }();
    if (to_stderr) {
        const std::string bytes = to_utf8(text);
        std::fwrite(bytes.data(), 1, bytes.size(), stderr);
    }
}

void debug_output(debug_source source, std::u16string_view text) {
    const std::lock_guard hold(the_debugger().lock);
    if (the_debugger().sink) {
        the_debugger().sink(source, text);
    } else {
        default_debug_output(text);
    }
}

using event_sources = handle_table<HANDLE, const std::u16string>;

struct event_records {
    std::mutex lock;
    std::vector<event_record> records;
};

std::string source_argument(HANDLE log) {
    const auto source = immortal<event_sources>().find(log);
    return source == nullptr ? "?" : to_utf8(*source);
}

} // namespace

void OutputDebugStringW(const WCHAR* text) {
    debug_output(debug_source::program, text == nullptr ? u"" : text);
}

HANDLE RegisterEventSourceW(const WCHAR*, const WCHAR* source) {
    if (injected_failure(__func__, text_argument, source)) {
        return nullptr;
    }
    if (source == nullptr || *source == 0) {
        return fail(ERROR_INVALID_PARAMETER, nullptr);
    }
    return immortal<event_sources>().add(std::make_shared<const std::u16string>(source));
}

BOOL ReportEventW(HANDLE log, WORD type, WORD category, DWORD event_id, PSID, WORD string_count,
                  DWORD, const WCHAR** strings, void*) {
    if (injected_failure(__func__, source_argument, log)) {
        return FALSE;
    }
    const auto source = immortal<event_sources>().find(log);
    if (source == nullptr) {
        return fail(ERROR_INVALID_HANDLE);
    }
    auto& events = immortal<event_records>();
    const std::lock_guard hold(events.lock);
    events.records.push_back(
        {*source, type, category, event_id, {strings, strings + string_count}});
    return TRUE;
}

BOOL DeregisterEventSource(HANDLE log) {
    if (injected_failure(__func__, source_argument, log)) {
        return FALSE;
    }
    if (immortal<event_sources>().take(log) == nullptr) {
        return fail(ERROR_INVALID_HANDLE);
    }
    return TRUE;
}

namespace kr::host {

debug_sink set_debug_sink(debug_sink sink) {
    const std::lock_guard hold(the_debugger().lock);
    std::swap(the_debugger().sink, sink);
    return sink;
}

void debug_print_kernel(std::u16string_view text) {
    debug_output(debug_source::kernel, text);
}

std::vector<event_record> event_log() {
    auto& events = immortal<event_records>();
    const std::lock_guard hold(events.lock);
    return events.records;
}

void clear_event_log() {
    auto& events = immortal<event_records>();
    const std::lock_guard hold(events.lock);
    events.records.clear();
}

} // namespace kr::host
