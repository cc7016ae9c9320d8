/// The log core. Touches the destinations through their slots, the clock, and the thread table;
/// keeps the process-wide buffers, which the output lock guards.
#include "log/core.h"

#include <algorithm>
#include <cstdarg>

#include "base/convert/hex.h"
#include "base/text/text_walk.h"
#include "base/text/wide_string.h"
#include "base/threads/mutex_section.h"
#include "base/threads/sync.h"
#include "base/threads/threads.h"
#include "base/time/time.h"
#include "log/core_start.h"
#include "log/destinations/console_mode.h"
#include "log/destinations/destinations.h"
#include "log/destinations/slots.h"
#include "log/line.h"
#include "log/stamp.h"
#include "log/thread_labels.h"
#include "platform/platform.h"
#include "printf/printf.h"
#include "result/failures.h"

namespace {

using kr::detail::line_capacity;
using kr::detail::line_fields;
using kr::detail::line_layout;
using kr::detail::thread_label;

constexpr size_t line_size = line_capacity * sizeof(kr_char);

/// What the output lock guards.
struct {
    kr_mutex lock;
    /// For logging from a context that may not block, which this platform does not have; others do.
    kr_mutex deferred_lock;
    kr::detail::stamp_clock clock;
    kr_char message[line_capacity];
    kr_char line[line_capacity];
    kr::detail::thread_label_cache labels;
} output;

constinit std::atomic<u64> profile_threshold_ms = 0;

/// The id of the thread that is inside the log, 0 when none: only that thread can find its own id.
constinit std::atomic<u32> inside = 0;

/// A thread's stay inside the log: holds the output lock and the re-entry mark. Not admitted when
/// the thread is inside already, may not block, or is muted.
class log_visit {
public:
    log_visit() : thread_id_(GetCurrentThreadId()) {
        if (inside.load(std::memory_order_relaxed) == thread_id_ ||
            kr_thread_context_query() == 0) {
            return;
        }
        EnterCriticalSection(kr::detail::section_of(&output.lock));
        label_ = &output.labels.of(thread_id_);
        if (label_->muted) {
            label_ = nullptr;
            LeaveCriticalSection(kr::detail::section_of(&output.lock));
            return;
        }
        inside.store(thread_id_, std::memory_order_relaxed);
    }
    log_visit(const log_visit&) = delete;
    log_visit& operator=(const log_visit&) = delete;
    ~log_visit() {
        if (admitted()) {
            inside.store(0, std::memory_order_relaxed);
            LeaveCriticalSection(kr::detail::section_of(&output.lock));
        }
    }

    [[nodiscard]] bool admitted() const { return label_ != nullptr; }
    [[nodiscard]] u32 thread_id() const { return thread_id_; }
    [[nodiscard]] const thread_label& label() const { return *label_; }

private:
    u32 thread_id_;
    /// Set while the lock is held.
    const thread_label* label_ = nullptr;
};

struct log_call {
    u32 category;
    u32 level;
    const char* domain;
    const char* function;
    const char* format;

    [[nodiscard]] bool is_secondary() const { return (level & KR_LOG_SECONDARY) != 0; }
    [[nodiscard]] bool is_call() const { return (level & KR_LOG_CALL) != 0; }
};

void hand_over(const kr_log_destination& destination, size_t size) {
    if (size != 0 && destination.write != nullptr) {
        destination.write(destination.context, output.line, size);
    }
}

/// Without a destination only level-0 lines are made. They go bare to the console, from a buffer of
/// their own: nothing is locked yet.
void write_bare(const log_call& call, va_list args) {
    if (call.level != KR_LOG_FORCED) {
        return;
    }
    kr_log_destination console{};
    if (kr_console_log_init(KR_TEXT("stdout"), &console.no_timestamps, &console.context,
                            &console.write, &console.close) == 0) {
        return;
    }
    kr_char line[line_capacity];
    size_t size = 0;
    if (kr_result_succeeded(kr_printf_format(line, line_size, call.format, args, &size))) {
        console.write(console.context, line, size);
    }
    constexpr kr_char newline[] = KR_TEXT("\n");
    console.write(console.context, newline, sizeof(newline));
    if (console.close != nullptr) {
        (void)console.close(console.context);
    }
}

line_layout layout_in_force() {
    switch (kr_log_formatting()) {
    case 2:
        return line_layout::function_first;
    case 3:
        return line_layout::bare;
    default:
        return line_layout::thread_first;
    }
}

/// Builds the line of the message, `message_length` characters; 0 when it is too long.
size_t build_main_line(const log_call& call, const log_visit& visit, bool stamped,
                       size_t message_length) {
    line_fields fields{
        .stamp = stamped ? &output.clock.stamp() : nullptr,
        .domain = call.domain,
        .function = call.function,
        .thread = &visit.label(),
        .category = call.category,
        .level = call.level & ~u32{KR_LOG_RETURN},
        .depth = 0,
        .colors = kr_log_colors() != 0,
        .message = output.message,
        .message_length = message_length,
    };
    line_layout layout = layout_in_force();
    if (call.is_call()) {
        layout = line_layout::function_first;
        fields.level = KR_LOG_CALL;
        fields.depth = (call.level & KR_LOG_RETURN) != 0
                           ? kr::detail::thread_table_return(visit.thread_id())
                           : kr::detail::thread_table_enter(visit.thread_id());
    } else if (layout == line_layout::function_first) {
        fields.depth = kr::detail::thread_table_depth(visit.thread_id());
    }
    return kr::detail::build_line(layout, fields, output.line);
}

/// Formats the message and builds the line from it; 0 when either fails.
size_t make_line(const log_call& call, const log_visit& visit,
                 const kr_log_destination& destination, va_list args) {
    const bool stamped = destination.no_timestamps == 0;
    if (stamped) {
        output.clock.refresh();
    }
    const bool raw = call.category == KR_LOG_RAW;
    if (!raw) {
        output.clock.count_line();
    }
    size_t size = 0;
    if (kr_result_failed(kr_printf_format(raw ? output.line : output.message, line_size,
                                          call.format, args, &size))) {
        return 0;
    }
    if (raw) {
        return size;
    }
    // Not from the size: a zero character ends the message, and the line goes on behind it.
    const size_t length = kr::detail::text_length(output.message);
    if (call.is_secondary()) {
        return kr::detail::build_secondary_line(stamped ? output.clock.date() : nullptr,
                                                output.message, length, output.line);
    }
    return build_main_line(call, visit, stamped, length);
}

void write_failure(const char* function) {
    hand_over(kr::detail::log_main_slot.get(),
              kr::detail::build_failure_line(function, output.line));
}

void log_line(const log_call& call, va_list args) {
    if (!kr::detail::log_main_slot.is_set()) {
        write_bare(call, args);
        return;
    }
    const kr::detail::log_slot& slot =
        call.is_secondary() ? kr::detail::log_secondary_slot : kr::detail::log_main_slot;
    if (!slot.is_set()) {
        return;
    }
    const log_visit visit;
    if (!visit.admitted()) {
        return;
    }
    // Read under the lock: a destination that was replaced while this thread waited is not used.
    const kr_log_destination destination = slot.get();
    const size_t size = make_line(call, visit, destination, args);
    if (size != 0) {
        hand_over(destination, size);
    } else {
        write_failure(call.function);
    }
}

} // namespace

void kr_log(u32 category, u32 level, const char* domain, const char* function, const char* format,
            ...) {
    va_list args;
    va_start(args, format);
    log_line({.category = category,
              .level = level,
              .domain = domain,
              .function = function,
              .format = format},
             args);
    va_end(args);
}

void kr_log_take_uptime(kr_time* out) {
    if (kr_result_failed(kr_time_get_uptime(out))) {
        *out = {};
    }
}

void kr_log_profile(u32 /*category*/, const char* domain, const char* function,
                    const kr_time* start) {
    if (!kr::detail::log_main_slot.is_set()) {
        return;
    }
    const log_visit visit;
    if (!visit.admitted()) {
        return;
    }
    kr_time now{};
    kr_time elapsed{};
    if (kr_result_failed(kr_time_get_uptime(&now)) ||
        kr_result_failed(kr_time_diff(start, &now, &elapsed, nullptr))) {
        return;
    }
    // Less than a millisecond cannot be converted and counts as 0.
    u64 elapsed_ms = 0;
    const kr_result converted = kr_time_getMilliseconds(&elapsed, &elapsed_ms);
    if ((kr_result_failed(converted) && !kr_result_is(converted, KR_ZERO)) ||
        elapsed_ms < profile_threshold_ms.load(std::memory_order_relaxed)) {
        return;
    }
    const size_t size =
        kr::detail::build_profile_line(elapsed_ms, domain, function, visit.label(), output.line);
    if (size != 0) {
        hand_over(kr::detail::log_main_slot.get(), size);
    } else {
        write_failure(function);
    }
}

void kr_log_hexdump(const u8* data, size_t length) {
    constexpr size_t bytes_per_row = 16;
    for (size_t first = 0; first < length; first += bytes_per_row) {
        char row[3 * bytes_per_row + 1];
        char* end = row;
        for (size_t i = first; i < std::min(length, first + bytes_per_row); ++i) {
            end = kr::detail::write_hex_byte(data[i], end);
            *end++ = ' ';
        }
        *end = '\0';
        KR_LOG(KR_LOG_RAW, KR_LOG_FORCED, "%s\n", static_cast<const char*>(row));
    }
}

kr_result kr_log_set_profile_threshold(u64 ms) {
    profile_threshold_ms.store(ms, std::memory_order_relaxed);
    return KR_SUCCESS;
}

kr_result kr_log_close_secondary_destination() {
    kr::detail::thread_table_forget_names();
    kr::detail::log_slot& slot = kr::detail::log_secondary_slot;
    if (!slot.is_set()) {
        return kr::detail::unexpected_behaviour();
    }
    const kr_log_destination destination = slot.get();
    slot.clear();
    kr::detail::restore_console_mode();
    return destination.close != nullptr ? destination.close(destination.context) : KR_SUCCESS;
}

namespace kr::detail {

kr_result log_core_start() {
    output.clock.clear();
    output.labels = {};
    kr_result result = kr_mutex_init(&output.lock);
    if (kr_result_failed(result)) {
        return result;
    }
    result = kr_mutex_init(&output.deferred_lock);
    if (kr_result_succeeded(result)) {
        result = thread_table_start();
        if (kr_result_succeeded(result)) {
            return result;
        }
        (void)kr_mutex_destroy(&output.deferred_lock);
    }
    (void)kr_mutex_destroy(&output.lock);
    return result;
}

kr_result log_core_stop() {
    (void)kr_mutex_destroy(&output.lock);
    (void)kr_mutex_destroy(&output.deferred_lock);
    return thread_table_stop();
}

} // namespace kr::detail
