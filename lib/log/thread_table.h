/// What the log knows of threads: their names, the thread filter, their call depths. The first half
/// is public; the second is the core's own door. One lock, the registry lock, guards all of it;
/// nothing is allocated, released or logged while it is held.
///
/// Any thread may call the public operations while the log module is started; outside that time
/// they do nothing.
#pragma once

#include <atomic>

#include "log.h"

/// Shows the calling thread under `name` from now on: its first 8 characters, padded with blanks.
/// A second registration wins over the first until it is removed. KR_INVALID_ARGUMENT_TO_FUNCTION
/// for null; KR_UNEXPECTED_BEHAVIOUR while the log is not started; the allocator's failure.
[[nodiscard]] kr_result kr_log_thread_register(const char* name);

/// Removes the calling thread's newest name. KR_NOT_FOUND when it has none.
[[nodiscard]] kr_result kr_log_thread_unregister();

/// The newest name registered for that thread, 8 characters, or "________". The caller holds the
/// registry lock, and the text is valid while it does.
const char* kr_log_thread_name(u64 thread_id);

/// While on, lines of the threads that the filter names are dropped, level 0 included.
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

namespace kr::detail {

inline constexpr u32 thread_label_length = 17;

/// What a line says of its thread, taken at one moment.
struct thread_label {
    /// "name:0000ABCD", the name being 8 characters; no terminator.
    kr_char text[thread_label_length];
    bool muted;
};

/// Creates the lock of the table, which is empty / empties the table and destroys the lock.
[[nodiscard]] kr_result thread_table_start();
kr_result thread_table_stop();
void thread_table_forget_names();

/// Changes whenever a label of any thread may have changed. Read without the lock.
inline constinit std::atomic<u32> thread_label_generation = 1;
void thread_table_label(u32 thread_id, thread_label* out);

inline constexpr u32 maximum_depth = 20;
/// The thread's call depth; 0 when it is not tracked.
[[nodiscard]] u32 thread_table_depth(u32 thread_id);
/// Counts an entry or a return line, and gives the depth at which that line stands.
[[nodiscard]] u32 thread_table_enter(u32 thread_id);
[[nodiscard]] u32 thread_table_return(u32 thread_id);

} // namespace kr::detail
