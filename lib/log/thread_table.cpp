/// Thread names, thread filter and call depths behind one lock. Touches the allocator and that
/// lock.
#include "log/thread_table.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "base/convert/hex.h"
#include "base/memory/owner.h"
#include "base/text/widen.h"
#include "base/threads/mutex_section.h"
#include "base/threads/threads.h"
#include "log/thread_labels.h"
#include "result/failures.h"

namespace {

constexpr size_t name_length = 8;
constexpr char no_name[name_length + 1] = "________";

/// Newest first.
struct name_record {
    name_record* next;
    u64 thread_id;
    char name[name_length + 1];
};

struct muted_thread {
    u64 value;
    muted_thread* next = nullptr;
};

/// A node of a tree that branches by two bits of the value's hash at a time, so that many thousand
/// names are added and found as fast as a few.
struct muted_name {
    /// The eight bytes of the name.
    u64 value;
    muted_name* children[4] = {};
};

struct depth_record {
    u64 thread_id;
    u32 depth;
};

constexpr u32 depth_limit = 100;

struct {
    kr_mutex lock;
    name_record* names;
    muted_thread* muted_threads;
    muted_name* muted_names;
    depth_record depths[depth_limit];
    u32 depth_count;
} table;

constinit std::atomic<bool> started = false;
constinit std::atomic<u32> filter_on = 0;

/// The caller holds the lock.
void labels_changed() {
    kr::detail::thread_label_generation.fetch_add(1, std::memory_order_release);
}

/// Blocks go back one by one and without the lock: the hook may log.
template <typename Record>
void release_list(Record* list) {
    while (list != nullptr) {
        Record* const next = list->next;
        kr_memory_deallocate_hook(list);
        list = next;
    }
}

/// No deeper than the hash has pairs of bits.
void release_tree(muted_name* root) {
    if (root == nullptr) {
        return;
    }
    for (muted_name* const child : root->children) {
        release_tree(child);
    }
    kr_memory_deallocate_hook(root);
}

/// The link of the first record that `matches`, or the last one. The caller holds the lock.
template <typename Record, typename Matches>
Record** find_link(Record** link, Matches matches) {
    while (*link != nullptr && !matches(**link)) {
        link = &(*link)->next;
    }
    return link;
}

/// The caller holds the lock.
const char* newest_name(u64 thread_id) {
    const name_record* const record =
        *find_link(&table.names, [&](const name_record& r) { return r.thread_id == thread_id; });
    return record != nullptr ? record->name : no_name;
}

/// The record's link, or the one where it belongs. The caller holds the lock.
muted_thread** link_of_thread(u64 id) {
    return find_link(&table.muted_threads, [&](const muted_thread& r) { return r.value == id; });
}

muted_name** link_of_name(u64 value) {
    // An odd factor: different values have different hashes.
    u64 hash = value * 0x9E37'79B9'7F4A'7C15;
    muted_name** link = &table.muted_names;
    while (*link != nullptr && (*link)->value != value) {
        link = &(*link)->children[hash >> 62];
        hash <<= 2;
    }
    return link;
}

template <typename Record>
void add_once(u64 value, Record** (*link_of)(u64 value)) {
    // Declared before the guard: a record that is not needed goes back without the lock.
    kr::owned_block block;
    if (!started.load(std::memory_order_acquire) ||
        kr_result_failed(kr_memory_allocate_hook(block.out(), sizeof(Record)))) {
        return;
    }
    const kr::detail::mutex_guard guard(table.lock);
    Record** const link = link_of(value);
    if (*link == nullptr) {
        *link = new (block.release()) Record{.value = value};
        labels_changed();
    }
}

/// Takes the record out of its list; the caller releases it.
template <typename Record>
Record* unlink(Record** link) {
    Record* const found = *link;
    if (found != nullptr) {
        *link = found->next;
        labels_changed();
    }
    return found;
}

u64 name_value(const char* name) {
    u64 value = 0;
    std::memcpy(&value, name, name_length);
    return value;
}

depth_record* find_depth(u64 thread_id) {
    depth_record* const end = table.depths + table.depth_count;
    depth_record* const found = std::find_if(
        table.depths, end, [&](const depth_record& r) { return r.thread_id == thread_id; });
    return found != end ? found : nullptr;
}

} // namespace

kr_result kr_log_thread_register(const char* name) {
    if (name == nullptr) {
        return kr::detail::invalid_argument();
    }
    if (!started.load(std::memory_order_acquire)) {
        return kr::detail::unexpected_behaviour();
    }
    kr::owned_block block;
    const kr_result result = kr_memory_allocate_hook(block.out(), sizeof(name_record));
    if (kr_result_failed(result)) {
        return result;
    }
    auto* const record = new (block.release()) name_record{};
    record->thread_id = kr_thread_current_id();
    std::memset(record->name, ' ', name_length);
    std::memcpy(record->name, name, strnlen(name, name_length));
    const kr::detail::mutex_guard guard(table.lock);
    record->next = table.names;
    table.names = record;
    labels_changed();
    return KR_SUCCESS;
}

kr_result kr_log_thread_unregister() {
    if (!started.load(std::memory_order_acquire)) {
        return kr_result_make_error(KR_NOT_FOUND); // nor is there any name
    }
    const u64 id = kr_thread_current_id();
    name_record* found = nullptr;
    {
        const kr::detail::mutex_guard guard(table.lock);
        found = unlink(
            find_link(&table.names, [&](const name_record& r) { return r.thread_id == id; }));
    }
    if (found == nullptr) {
        return kr_result_make_error(KR_NOT_FOUND);
    }
    kr_memory_deallocate_hook(found);
    return KR_SUCCESS;
}

const char* kr_log_thread_name(u64 thread_id) {
    if (!started.load(std::memory_order_acquire)) {
        return no_name;
    }
    const kr::detail::mutex_guard guard(table.lock);
    return newest_name(thread_id);
}

void kr_log_filter_enable(u32 on) {
    filter_on.store(on, std::memory_order_relaxed);
    labels_changed();
}

void kr_log_filter_mute_thread() {
    add_once(kr_thread_current_id(), link_of_thread);
}

void kr_log_filter_unmute_thread() {
    if (!started.load(std::memory_order_acquire)) {
        return;
    }
    const u64 id = kr_thread_current_id();
    muted_thread* found = nullptr;
    {
        const kr::detail::mutex_guard guard(table.lock);
        found = unlink(link_of_thread(id));
    }
    if (found != nullptr) {
        kr_memory_deallocate_hook(found);
    }
}

void kr_log_filter_add_name(const kr_char* name) {
    if (name == nullptr) {
        return;
    }
    char narrow[name_length];
    std::memset(narrow, ' ', name_length);
    for (size_t i = 0; i < name_length && name[i] != 0; ++i) {
        narrow[i] = static_cast<char>(name[i] & 0xFF);
    }
    add_once(name_value(narrow), link_of_name);
}

namespace kr::detail {

kr_result thread_table_start() {
    const kr_result result = kr_mutex_init(&table.lock);
    if (kr_result_succeeded(result)) {
        started.store(true, std::memory_order_release);
    }
    return result;
}

void thread_table_clear() {
    name_record* names = nullptr;
    muted_thread* muted_threads = nullptr;
    muted_name* muted_names = nullptr;
    {
        const mutex_guard guard(table.lock);
        std::swap(names, table.names);
        std::swap(muted_threads, table.muted_threads);
        std::swap(muted_names, table.muted_names);
        table.depth_count = 0;
        labels_changed();
    }
    release_list(muted_threads);
    release_tree(muted_names);
    release_list(names);
}

kr_result thread_table_stop() {
    thread_table_clear();
    started.store(false, std::memory_order_release);
    return kr_mutex_destroy(&table.lock);
}

void thread_table_forget_names() {
    if (!started.load(std::memory_order_acquire)) {
        return;
    }
    name_record* names = nullptr;
    {
        const mutex_guard guard(table.lock);
        std::swap(names, table.names);
        labels_changed();
    }
    release_list(names);
}

void thread_table_label(u32 thread_id, thread_label* out) {
    char name[name_length];
    out->muted = false;
    {
        const mutex_guard guard(table.lock);
        std::memcpy(name, newest_name(thread_id), name_length);
        if (filter_on.load(std::memory_order_relaxed) != 0) {
            out->muted =
                *link_of_thread(thread_id) != nullptr || *link_of_name(name_value(name)) != nullptr;
        }
    }
    widen(name, name_length, out->text);
    out->text[name_length] = ':';
    constexpr u32 id_digits = 8;
    static_assert(name_length + 1 + id_digits == thread_label_length);
    write_hex_number<id_digits>(thread_id, out->text + name_length + 1, true);
}

u32 thread_table_depth(u32 thread_id) {
    const mutex_guard guard(table.lock);
    const depth_record* const record = find_depth(thread_id);
    return record != nullptr ? record->depth : 0;
}

u32 thread_table_enter(u32 thread_id) {
    const mutex_guard guard(table.lock);
    if (depth_record* const record = find_depth(thread_id); record != nullptr) {
        record->depth = std::min(record->depth + 1, maximum_depth);
        return record->depth;
    }
    if (table.depth_count < depth_limit) {
        table.depths[table.depth_count++] = {.thread_id = thread_id, .depth = 0};
    }
    return 0;
}

u32 thread_table_return(u32 thread_id) {
    const mutex_guard guard(table.lock);
    depth_record* const record = find_depth(thread_id);
    if (record == nullptr) {
        return 0;
    }
    const u32 depth = record->depth;
    if (depth > 0) {
        --record->depth;
    } else {
        *record = table.depths[--table.depth_count];
    }
    return depth;
}

} // namespace kr::detail
