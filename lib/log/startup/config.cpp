/// Reads the log's settings group and applies it entry by entry. The masks, the layout and the
/// destination belong to the log core and its destinations; this room only calls them.
#include "log/startup/config.h"

#include "base/convert/convert.h"
#include "base/convert/decimal.h"
#include "base/memory/owner.h"
#include "base/product.h"
#include "base/text/wide_string.h"
#include "log/categories.h"
#include "log/core.h"
#include "log/destinations/destinations.h"
#include "log/failure.h"
#include "settings/handles.h"
#include "settings/typed.h"

namespace {

constexpr const char* reset_name = "kr_log_reset";
constexpr const kr_char* group_name = KR_TEXT("log");

/// What the entries collect for the end of the reading.
struct pending_settings {
    u32 colors = 0;
    u32 profile_threshold_ms = 0;
};

using entry_reader = void (*)(kr_settings_handle group, const kr_char* entry,
                              pending_settings* pending);

const char* yes_or_no(u32 on) {
    return on != 0 ? "yes" : "no";
}

void apply_destination(kr_settings_handle group, const kr_char* entry,
                       pending_settings* /*pending*/) {
    kr::owned_text text;
    const kr_result result = kr_settings_get_string_alloc(group, entry, text.out());
    if (kr_result_failed(result)) {
        // Going on with no text would move the log to the console.
        KR_LOG_FAILURE_AS(KR_LOG_OTHER, KR_LOG_WARNING, reset_name, result,
                          "Keeping log destination because the value of '%_s' cannot be read as a "
                          "string",
                          entry);
        return;
    }
    KR_LOG_AS(KR_LOG_OTHER, KR_LOG_FORCED, reset_name, "Overriding log destination -> %_s",
              text.get());
    kr_log_set_destination(text.get());
}

void apply_formatting(kr_settings_handle group, const kr_char* entry,
                      pending_settings* /*pending*/) {
    i32 mode = static_cast<i32>(kr_log_formatting());
    if (kr_result_succeeded(kr_settings_get_signed_int(group, entry, &mode))) {
        kr_log_set_formatting(static_cast<u32>(mode));
    }
    kr_log_keep_formatting(1);
    KR_LOG_AS(KR_LOG_OTHER, KR_LOG_FORCED, reset_name, "Overriding log formatting -> %d", mode);
}

void apply_colors(kr_settings_handle group, const kr_char* entry, pending_settings* pending) {
    // A value that cannot be read leaves the flag as it is.
    (void)kr_settings_get_BOOL(group, entry, &pending->colors);
    KR_LOG_AS(KR_LOG_OTHER, KR_LOG_FORCED, reset_name, "Overriding ansi colors -> %s",
              yes_or_no(pending->colors));
}

void apply_notime(kr_settings_handle group, const kr_char* entry, pending_settings* /*pending*/) {
    u32 on = kr_log_no_timestamps();
    if (kr_result_succeeded(kr_settings_get_BOOL(group, entry, &on))) {
        kr_log_set_no_timestamps(on);
    }
    KR_LOG_AS(KR_LOG_OTHER, KR_LOG_FORCED, reset_name, "Disable timestamps -> %s", yes_or_no(on));
}

void apply_profile_min(kr_settings_handle group, const kr_char* entry, pending_settings* pending) {
    (void)kr_settings_get_UINT32(group, entry, &pending->profile_threshold_ms);
    kr_log_set_profile_threshold(pending->profile_threshold_ms);
    KR_LOG_AS(KR_LOG_OTHER, KR_LOG_FORCED, reset_name, "Setting profile threshold -> %lu",
              pending->profile_threshold_ms);
}

/// Cuts `names` at every ';' in place; a ';' at the very end adds nothing further.
void add_filter_names(kr_char* names) {
    while (*names != 0) {
        kr_char* end = names;
        while (*end != 0 && *end != KR_TEXT(';')) {
            ++end;
        }
        const bool is_last = *end == 0;
        *end = 0;
        kr_log_filter_add_name(names);
        if (is_last) {
            return;
        }
        names = end + 1;
    }
}

void apply_tags(kr_settings_handle group, const kr_char* entry, pending_settings* /*pending*/) {
    // A value that cannot be read gives a filter without names.
    kr::owned_text text;
    (void)kr_settings_get_string_alloc(group, entry, text.out());
    // Announced before the names are in force: the filter may drop this very thread.
    KR_LOG_AS(KR_LOG_OTHER, KR_LOG_FORCED, reset_name, "Using tags filter -> %_s", text.get());
    kr_log_filter_enable(1);
    if (text) {
        add_filter_names(text.get());
    }
}

struct named_entry {
    const kr_char* name;
    entry_reader apply;
};

constexpr named_entry named_entries[] = {
    {KR_TEXT("destination"), apply_destination}, {KR_TEXT("formatting"), apply_formatting},
    {KR_TEXT("colors"), apply_colors},           {KR_TEXT("notime"), apply_notime},
    {KR_TEXT("profile_min"), apply_profile_min}, {KR_TEXT("tags"), apply_tags},
};

void apply_entry(kr_settings_handle group, const kr_char* entry, pending_settings* pending) {
    for (const named_entry& row : named_entries) {
        if (kr_string_equal_nocase(entry, row.name)) {
            row.apply(group, entry, pending);
            return;
        }
    }
    kr_log_conf_category(group, entry);
}

void apply_entries(kr_settings_handle group, pending_settings* pending) {
    kr::owned_names names;
    if (kr_result_failed(kr_settings_enum_entries(group, names.out(), names.count_out()))) {
        KR_LOG_AS(KR_LOG_OTHER, KR_LOG_FORCED, reset_name,
                  "Cannot get log entries. Using default log settings.");
        return;
    }
    for (const kr_char* name : names.get()) {
        apply_entry(group, name, pending);
    }
}

void apply_group(kr_settings_handle domain, const kr_char* domain_name, pending_settings* pending) {
    if (!kr_result_is(kr_settings_group_exists(domain, group_name), KR_YES)) {
        return;
    }
    KR_LOG_AS(KR_LOG_OTHER, KR_LOG_FORCED, reset_name, "Override log setting found for domain %_s",
              domain_name);
    kr::owned_group group;
    if (kr_result_failed(kr_settings_group_open(domain, group_name, group.out()))) {
        KR_LOG_AS(KR_LOG_OTHER, KR_LOG_FORCED, reset_name,
                  "Group 'log' in domain %_s cannot be opened. Using default log settings.",
                  domain_name);
        return;
    }
    apply_entries(group.get(), pending);
}

void apply_domain(const kr_char* domain_name, pending_settings* pending) {
    if (!kr_result_is(kr_settings_domain_exists(domain_name), KR_YES)) {
        return;
    }
    kr::owned_domain domain;
    if (kr_result_succeeded(kr_settings_domain_open(domain_name, domain.out()))) {
        apply_group(domain.get(), domain_name, pending);
    }
}

void set_mask(u32 id, u16 mask) {
    kr_log_category_masks[id].store(mask, std::memory_order_relaxed);
}

/// Whether `name` is a category's id: a number from 1 up. Any other name is looked up as a name.
bool is_category_id(const kr_char* name, u16* id) {
    return kr::detail::is_decimal_digit(name[0]) &&
           kr_result_succeeded(kr_string_to_ui16_w(name, id)) && *id != 0;
}

} // namespace

kr_result kr_log_reset() {
    kr_log_apply_defaults();
    pending_settings pending;
    kr::owned_text domain_name;
    if (kr_result_succeeded(kr_ascii_to_krchar_strdup(kr_product.name, domain_name.out()))) {
        apply_domain(domain_name.get(), &pending);
    }
    kr_log_set_colors(pending.colors);
    kr_log_update_formatting();
    return KR_SUCCESS;
}

u32 kr_log_conf_category(kr_settings_handle group, const kr_char* entry_name) {
    u16 mask = 0;
    const kr_result result = kr_settings_get_UINT16(group, entry_name, &mask);
    if (kr_result_failed(result)) {
        KR_LOG_FAILURE(KR_LOG_OTHER, KR_LOG_WARNING, result,
                       "Ignoring log conf category key '%_s' because its value cannot be "
                       "converted to 16 bit integer",
                       entry_name);
        return 0;
    }
    if (kr_string_equal_nocase(entry_name, KR_TEXT("all"))) {
        KR_LOG(KR_LOG_OTHER, KR_LOG_FORCED, "Overriding all category levels to %u", u32{mask});
        for (u32 slot = 0; slot < KR_LOG_SLOT_COUNT; ++slot) {
            if (slot != KR_LOG_PRINTF) {
                set_mask(slot, mask);
            }
        }
        return 1;
    }
    u16 id = 0;
    if (is_category_id(entry_name, &id)) {
        if (id >= KR_LOG_SLOT_COUNT) {
            return 0;
        }
    } else if (kr_log_category_id(entry_name, &id) == 0) {
        return 0;
    }
    KR_LOG(KR_LOG_OTHER, KR_LOG_FORCED, "Overriding category %_s level to %u", entry_name,
           u32{mask});
    set_mask(id, mask);
    return 1;
}
