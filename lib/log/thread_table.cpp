/// Thread names, thread filter and call depths behind the registry lock. Touches the allocator and
/// the lock.
#include "log/thread_table.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "base/memory/owner.h"
#include "base/text/widen.h"
#include "base/threads/mutex_section.h"
#include "base/threads/threads.h"
#include "log/thread_labels.h"

namespace {

constexpr size_t name_length = 8;
constexpr char no_name[name_length + 1] = "________";

/// Newest first.
struct name_record {
    name_record* next;
    u64 thread_id;
    char name[name_length + 1];
};

enum class filter_kind : u32 { thread_id = 0, thread_name = 1 };

struct filter_record {
    filter_record* next;
    filter_kind kind;
    /// The thread's id, or the eight bytes of the name.
    u64 value;
};

struct depth_record {
    u64 thread_id;
    u32 depth;
};

constexpr u32 depth_limit = 100;

struct {
    kr_mutex lock;
    name_record* names;
    filter_record* filter;
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

/// Takes the first record that `matches` out of the list; the caller releases it.
template <typename Record, typename Matches>
Record* unlink(Record** list, Matches matches) {
    for (Record** link = list; *link != nullptr; link = &(*link)->next) {
        if (matches(**link)) {
            Record* const found = *link;
            *link = found->next;
            return found;
        }
    }
    return nullptr;
}

/// The caller holds the lock.
const char* newest_name(u64 thread_id) {
    for (const name_record* record = table.names; record != nullptr; record = record->next) {
        if (record->thread_id == thread_id) {
            return record->name;
        }
    }
    return no_name;
}

filter_record* find_filter(filter_kind kind, u64 value) {
    filter_record* record = table.filter;
    while (record != nullptr && (record->kind != kind || record->value != value)) {
        record = record->next;
    }
    return record;
}

void add_filter(filter_kind kind, u64 value) {
    // Declared before the guard: a record that is not needed goes back without the lock.
    kr::owned_block block;
    if (!started.load(std::memory_order_acquire) ||
        kr_result_failed(kr_memory_allocate_hook(block.out(), sizeof(filter_record)))) {
        return;
    }
    const kr::detail::mutex_guard guard(table.lock);
    if (find_filter(kind, value) == nullptr) {
        table.filter =
            new (block.release()) filter_record{.next = table.filter, .kind = kind, .value = value};
        labels_changed();
    }
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
        return kr_result_make_error(KR_INVALID_ARGUMENT_TO_FUNCTION);
    }
    if (!started.load(std::memory_order_acquire)) {
        return kr_result_make_error(KR_UNEXPECTED_BEHAVIOUR);
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
        found = unlink(&table.names, [&](const name_record& r) { return r.thread_id == id; });
        labels_changed();
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
    add_filter(filter_kind::thread_id, kr_thread_current_id());
}

void kr_log_filter_unmute_thread() {
    if (!started.load(std::memory_order_acquire)) {
        return;
    }
    const u64 id = kr_thread_current_id();
    filter_record* found = nullptr;
    {
        const kr::detail::mutex_guard guard(table.lock);
        found = unlink(&table.filter, [&](const filter_record& r) {
            return r.kind == filter_kind::thread_id && r.value == id;
        });
        labels_changed();
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
    add_filter(filter_kind::thread_name, name_value(narrow));
}

namespace kr::detail {

kr_result thread_table_start() {
    const kr_result result = kr_mutex_init(&table.lock);
    if (kr_result_succeeded(result)) {
        started.store(true, std::memory_order_release);
    }
    return result;
}

kr_result thread_table_stop() {
    name_record* names = nullptr;
    filter_record* filter = nullptr;
    {
        const mutex_guard guard(table.lock);
        std::swap(names, table.names);
        std::swap(filter, table.filter);
        table.depth_count = 0;
        labels_changed();
    }
    release_list(names);
    release_list(filter);
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
            out->muted = find_filter(filter_kind::thread_id, thread_id) != nullptr ||
                         find_filter(filter_kind::thread_name, name_value(name)) != nullptr;
        }
    }
    widen(name, name_length, out->text);
    out->text[name_length] = ':';
    constexpr char digits[] = "0123456789ABCDEF";
    for (u32 i = thread_label_length; i-- > name_length + 1; thread_id >>= 4) {
        out->text[i] = static_cast<kr_char>(digits[thread_id & 0xF]);
    }
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
