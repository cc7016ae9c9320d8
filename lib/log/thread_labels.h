/// What the log core asks of the thread table: the label that a line shows, and call depths. For
/// the log's own sources. One lock guards the table; nothing is allocated, released or logged while
/// it is held.
#pragma once

#include <atomic>

#include "platform/types.h"
#include "result/result.h"

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
/// Forgets the filter, the names and the depths.
void thread_table_clear();
void thread_table_forget_names();

/// Changes whenever a label of any thread may have changed. Read without the lock.
inline constinit std::atomic<u32> thread_label_generation = 1;
void thread_table_label(u32 thread_id, thread_label* out);

/// The labels of the threads that logged last, so that a line normally needs no lock of the
/// table's. For one thread at a time.
class thread_label_cache {
public:
    /// Valid until the next call.
    const thread_label& of(u32 thread_id) {
        entry& kept = entries_[index_of(thread_id)];
        const u32 generation = thread_label_generation.load(std::memory_order_acquire);
        if (kept.thread_id != thread_id || kept.generation != generation) {
            thread_table_label(thread_id, &kept.label);
            kept.thread_id = thread_id;
            kept.generation = generation;
        }
        return kept.label;
    }

private:
    struct entry {
        u32 thread_id;
        u32 generation;
        thread_label label;
    };
    static constexpr u32 size = 16;

    /// Thread ids are multiples of 4 on Windows and consecutive elsewhere.
    static constexpr u32 index_of(u32 thread_id) { return (thread_id ^ thread_id >> 4) % size; }

    entry entries_[size] = {};
};

inline constexpr u32 maximum_depth = 20;
/// The thread's call depth; 0 when it is not tracked.
[[nodiscard]] u32 thread_table_depth(u32 thread_id);
/// Counts an entry or a return line, and gives the depth at which that line stands.
[[nodiscard]] u32 thread_table_enter(u32 thread_id);
[[nodiscard]] u32 thread_table_return(u32 thread_id);

} // namespace kr::detail
