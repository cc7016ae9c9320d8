/// Categories and their masks. Look-ups and defaults walk over all 83 rows: they are for start-up.
#include "log/categories.h"

#include "base/text/wide_string.h"
#include "log/layout.h"

namespace {

constinit std::atomic<bool> quiet_defaults = false;

} // namespace

const kr_char* kr_log_category_name(u16 id) {
    for (const kr_log_category& row : kr_log_categories) {
        if (row.id == id) {
            return row.name;
        }
    }
    return nullptr;
}

u32 kr_log_category_id(const kr_char* name, u16* id) {
    if (name == nullptr || id == nullptr) {
        return 0;
    }
    for (const kr_log_category& row : kr_log_categories) {
        if (kr_string_equal_nocase(row.name, name) != 0) {
            *id = static_cast<u16>(row.id);
            return 1;
        }
    }
    return 0;
}

u32 kr_log_level_get(u16 id, u32* mask) {
    if (id >= KR_LOG_SLOT_COUNT || mask == nullptr) {
        return 0;
    }
    *mask = kr_log_category_masks[id].load(std::memory_order_relaxed);
    return 1;
}

u32 kr_log_level_set(u16 id, u32 mask) {
    if (id >= KR_LOG_SLOT_COUNT) {
        return 0;
    }
    kr_log_category_masks[id].store(mask, std::memory_order_relaxed);
    kr_log_update_formatting();
    return 1;
}

void kr_log_apply_defaults() {
    constexpr u32 unset = 0xFFFFFFFF;
    const bool quiet = quiet_defaults.load(std::memory_order_relaxed);
    constexpr u32 fallback = KR_LOG_ERROR | KR_LOG_WARNING;
    for (const kr_log_category& row : kr_log_categories) {
        kr_log_category_masks[row.id].store(quiet ? 0 : row.default_mask,
                                            std::memory_order_relaxed);
    }
    for (u32 id = 1; id < KR_LOG_SLOT_COUNT; ++id) {
        u32 expected = unset;
        kr_log_category_masks[id].compare_exchange_strong(expected, fallback,
                                                          std::memory_order_relaxed);
    }
}

void kr_log_quiet_defaults(u32 on) {
    quiet_defaults.store(on != 0, std::memory_order_relaxed);
}
