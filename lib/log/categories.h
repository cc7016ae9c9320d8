/// Log categories: looking them up, their masks and the defaults of these. Public. Safe from any
/// thread.
#pragma once

#include "log.h"

/// The name of the first row with that id, or null. The text is constant.
const kr_char* kr_log_category_name(u16 id);

/// Finds the category called `name`, letter case ignored; the first row wins.
/// Returns 1 and stores the id, or 0 and leaves `id` alone; 0 also for a null `name` or `id`.
u32 kr_log_category_id(const kr_char* name, u16* id);

/// Reads or replaces a category's level mask. 1, or 0 with nothing done for an id of
/// KR_LOG_SLOT_COUNT or more and for a null `mask`. Setting derives the formatting mode anew, as
/// kr_log_update_formatting does.
u32 kr_log_level_get(u16 id, u32* mask);
u32 kr_log_level_set(u16 id, u32 mask);

/// Sets every category's mask to its default; a slot from 1 up that no row names and that still
/// holds 0xFFFFFFFF becomes errors and warnings. Slot 0 is left alone.
void kr_log_apply_defaults();

/// While on, every category's default mask counts as 0, so that applying the defaults again keeps a
/// quiet log quiet. Changes no mask by itself.
void kr_log_quiet_defaults(u32 on);
