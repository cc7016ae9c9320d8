/// Which text selects which destination. Touches the destination slots and, in quiet mode, the
/// masks.
#include "log/destinations/destinations.h"

#include "base/text/wide_string.h"
#include "log/categories.h"
#include "log/destinations/console_mode.h"
#include "log/destinations/slots.h"
#include "log/layout.h"
#include "result/failures.h"

namespace {

/// Tried in this order; the last accepts everything.
constexpr kr_log_init initialisers[] = {
    kr_file_log_init,    kr_debugger_log_init, kr_event_log_init,
    kr_console_log_init, kr_null_log_init,
};

constinit std::atomic<u32> no_timestamps_override = 0;

kr_log_destination open_destination(const kr_char* spec) {
    kr_log_destination destination{};
    for (const kr_log_init init : initialisers) {
        if (init(spec, &destination.no_timestamps, &destination.context, &destination.write,
                 &destination.close) != 0) {
            break;
        }
    }
    return destination;
}

/// Silences everything but level 0, now and when the defaults are applied again.
void be_quiet() {
    for (std::atomic<u32>& mask : kr_log_category_masks) {
        mask.store(0, std::memory_order_relaxed);
    }
    kr_log_quiet_defaults(1);
    kr_log_update_formatting();
}

/// Goes quiet where what stands before the first '!' asks for it, and gives the destination's own
/// text behind it.
const kr_char* apply_quiet_prefix(const kr_char* spec) {
    constexpr const kr_char* quiet = KR_TEXT("quiet");
    const kr_char* const mark = kr_string_find_char(spec, '!');
    if (mark == nullptr) {
        return spec;
    }
    if (kr_string_equal_n(spec, quiet, static_cast<u64>(mark - spec))) {
        be_quiet();
    }
    return mark + 1;
}

void null_write(void* /*context*/, const kr_char* /*line*/, size_t /*size_bytes*/) {}

} // namespace

kr_result kr_log_set_destination(const kr_char* spec) {
    kr::detail::log_slot& slot = kr::detail::log_main_slot;
    // One without a close operation stays until it is replaced and receives what the selection
    // logs.
    if (const kr_log_destination old = slot.get(); old.close != nullptr) {
        slot.clear();
        (void)old.close(old.context);
    }
    spec = spec != nullptr ? apply_quiet_prefix(spec) : KR_TEXT("");
    kr_log_destination destination = open_destination(*spec != 0 ? spec : KR_TEXT("stdout"));
    if (kr_log_no_timestamps() != 0) {
        destination.no_timestamps = 1;
    }
    slot.set(destination);
    kr::detail::restore_console_mode();
    return KR_SUCCESS;
}

kr_result kr_log_set_secondary_destination(const kr_char* spec) {
    if (spec == nullptr) {
        return kr::detail::invalid_argument();
    }
    if (!kr::detail::log_main_slot.is_set()) {
        return kr::detail::unexpected_behaviour();
    }
    kr::detail::log_secondary_slot.set(open_destination(spec));
    return KR_SUCCESS;
}

void kr_log_set_no_timestamps(u32 on) {
    no_timestamps_override.store(on != 0 ? 1 : 0, std::memory_order_relaxed);
    if (on != 0) {
        kr::detail::log_main_slot.set_no_timestamps(1);
    }
}

u32 kr_log_no_timestamps() {
    return no_timestamps_override.load(std::memory_order_relaxed);
}

u32 kr_null_log_init(const kr_char* /*spec*/, u32* no_timestamps, void** context,
                     kr_log_write* write, kr_log_close* close) {
    *no_timestamps = 1;
    *context = nullptr;
    *write = null_write;
    *close = nullptr;
    return 1;
}
