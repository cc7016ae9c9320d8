/// The log core: what stands behind kr_log. Thread names, the thread filter, level masks, layout,
/// colours, profile threshold. Public. Any thread may call anything here once the log module has
/// started; before that, operations on threads do nothing and report KR_UNEXPECTED_BEHAVIOUR where
/// they have a result.
#pragma once

#include <cstddef>

#include "log/log.h"

/// Writes `length` bytes through the raw channel as "%02X " each, with a newline after every 16th
/// byte and after the last. Nothing for length 0.
void kr_log_hexdump(const u8* data, std::size_t length);

/// Shows the calling thread under `name` from now on: its first 8 characters, padded with blanks.
/// A second registration wins over the first until it is removed. KR_INVALID_ARGUMENT_TO_FUNCTION
/// for null; the allocator's failure.
[[nodiscard]] kr_result kr_log_thread_register(const char* name);

/// Removes the calling thread's newest name. KR_NOT_FOUND when it has none.
[[nodiscard]] kr_result kr_log_thread_unregister();

/// The newest name registered for that thread, 8 characters, or "________". The caller holds the
/// log's registry lock, and the text is valid while it does.
const char* kr_log_thread_name(u64 thread_id);

/// While on, lines of the threads that the filter names are dropped, level 0 included.
void kr_log_filter_enable(u32 on);
/// Puts the calling thread into the filter, by its id; once only.
void kr_log_filter_mute_thread();
/// Takes the calling thread's id out of the filter.
void kr_log_filter_unmute_thread();
/// Puts every thread of that registered name into the filter: the first 8 characters, each cut to
/// its low byte, padded with blanks. Eight underscores name the threads without a name. A null name
/// and a failing allocation change nothing.
void kr_log_filter_add_name(const kr_char* name);

/// Reads or replaces a category's level mask. 1, or 0 for an id of KR_LOG_SLOT_COUNT or more.
/// Setting derives the layout anew unless it was set explicitly.
u32 kr_log_level_get(u16 id, u32* mask);
u32 kr_log_level_set(u16 id, u32 mask);

/// How ordinary lines are laid out. Modes 0 and 1 put the thread first and the function last; mode
/// 2 begins with the function, indented by call depth; mode 3 is the letter and the message alone.
/// Any other value counts as 0.
void kr_log_set_formatting(u32 mode);
u32 kr_log_formatting();
/// Keeps the mode as it is from now on: it is no longer derived from the masks. Stays set for the
/// life of the process.
void kr_log_keep_formatting();
u32 kr_log_formatting_is_explicit();
/// Derives the mode from the masks of categories 1 up: 2 if any has KR_LOG_CALL, else 1 if any has
/// KR_LOG_DEBUG, else 0.
void kr_log_update_formatting();

/// Profile lines are written from this many milliseconds on; 0 at start. Returns KR_SUCCESS.
kr_result kr_log_set_profile_threshold(u64 ms);

/// Colours the level letters by ANSI sequences: E red, W yellow, D green, C blue, and a reset after
/// every letter. Off at start.
void kr_log_set_colors(u32 on);

/// Forgets every registered thread name, closes the secondary destination and clears its slot.
/// KR_UNEXPECTED_BEHAVIOUR when none is set; the failure of its close operation; else KR_SUCCESS.
kr_result kr_log_close_secondary_destination();
