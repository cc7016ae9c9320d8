/// The words that decide how lines look: formatting mode, colours. Touches these and the masks.
#include "log/layout.h"

namespace {

constinit std::atomic<u32> formatting_mode = 0;
constinit std::atomic<u32> formatting_explicit = 0;
constinit std::atomic<u32> colors_on = 0;

} // namespace

void kr_log_set_formatting(u32 mode) {
    formatting_mode.store(mode, std::memory_order_relaxed);
}

u32 kr_log_formatting() {
    return formatting_mode.load(std::memory_order_relaxed);
}

void kr_log_keep_formatting(u32 on) {
    formatting_explicit.store(on, std::memory_order_relaxed);
}

u32 kr_log_formatting_is_explicit() {
    return formatting_explicit.load(std::memory_order_relaxed);
}

void kr_log_update_formatting() {
    if (kr_log_formatting_is_explicit() != 0) {
        return;
    }
    u32 any = 0;
    for (u32 id = 1; id < KR_LOG_SLOT_COUNT; ++id) {
        any |= kr_log_category_masks[id].load(std::memory_order_relaxed);
    }
    kr_log_set_formatting((any & KR_LOG_CALL) != 0 ? 2 : (any & KR_LOG_DEBUG) != 0 ? 1 : 0);
}

void kr_log_set_colors(u32 on) {
    colors_on.store(on, std::memory_order_relaxed);
}

u32 kr_log_colors() {
    return colors_on.load(std::memory_order_relaxed);
}
