/// Names of threads and the thread filter. Public. Any thread may call anything here while the log
/// module is started; outside that time only kr_log_filter_enable has an effect.
#pragma once

#include "log.h"

/// Shows the calling thread under `name` from now on: its first 8 characters, padded with blanks
/// and else as they are (see kr_log on CR, LF and ESC). A second registration wins over the first
/// until it is removed. KR_INVALID_ARGUMENT_TO_FUNCTION for null; KR_UNEXPECTED_BEHAVIOUR while the
/// log is not started; the allocator's failure.
[[nodiscard]] kr_result kr_log_thread_register(const char* name);

/// Removes the calling thread's newest name. KR_NOT_FOUND when it has none.
[[nodiscard]] kr_result kr_log_thread_unregister();

/// The newest name registered for that thread, 8 characters, or "________". Takes the table's lock
/// for the look-up; the text is valid until that name is removed.
const char* kr_log_thread_name(u64 thread_id);

/// While on, lines of the threads that the filter names are dropped, level 0 included. Off at
/// first; the log's end empties the filter and leaves this as it is.
void kr_log_filter_enable(u32 on);
/// Puts the calling thread into the filter by its id, once only. A failing allocation changes
/// nothing.
void kr_log_filter_mute_thread();
/// Takes the calling thread's id out of the filter.
void kr_log_filter_unmute_thread();
/// Puts every thread of that registered name into the filter: the first 8 characters, each cut to
/// its low byte, padded with blanks. Eight underscores name the threads without a name. A null name
/// and a failing allocation change nothing.
void kr_log_filter_add_name(const kr_char* name);
