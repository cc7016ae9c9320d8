/// The log's configuration: the settings group `log` of the program's domain, read once when the
/// log starts. Public. Runs on the main thread during start-up only.
#pragma once

#include "../../platform/types.h"
#include "../../result/result.h"
#include "../../settings/store.h"

/// Applies the category table's default masks, then every entry of the group
/// `HKLM\SOFTWARE\<vendor>\<component>\<program>\log`, in the registry's order, each announced by a
/// level-0 line in category `other`. A missing domain or group means the defaults, silently; one
/// that cannot be read means the defaults and a line. At the end colours are on where an entry said
/// so and else off, and the formatting mode follows the masks unless it is explicit.
///
/// A value that cannot be read keeps what is in force; yet "formatting" makes the mode explicit,
/// "tags" turns the filter on without a name, and "profile_min" sets what this call read last, at
/// first 0. Always KR_SUCCESS.
kr_result kr_log_reset();

/// Applies the entry `entry_name` of `group`, a level mask of 16 bits: "all" sets every category
/// but `printf`; otherwise the name is a category id below KR_LOG_SLOT_COUNT or a category name,
/// letter case ignored. The formatting mode is not derived anew. Returns 1 when the entry was
/// applied, 0 when it was ignored: no such category, or a value that cannot be read, which is
/// logged as a warning.
u32 kr_log_conf_category(kr_settings_handle group, const kr_char* entry_name);
