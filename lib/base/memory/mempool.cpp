/// Memory pools. The stock is a stack of free elements, from which alloc pops and onto which free
/// pushes, and a table of all elements that tells free whether a pointer may be pushed. The stack
/// holds slots of the table, so that only free has to search.
#include "base/memory/mempool.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <thread>
#include <utility>

#include "base/memory/element_table.h"
#include "base/memory/owner.h"
#include "base/text/wide_string.h"
#include "base/threads/mutex_section.h"
#include "result/failures.h"

using kr::detail::invalid_argument;
using kr::detail::not_implemented;

namespace {

using kr::detail::element_table;
using kr::detail::mutex_guard;

/// Bit 31 of a pool's flags: one thread is growing the stock.
constexpr u32 growing = 0x80000000;

/// One block from the allocate hook that holds the slots of the table and behind them the stack.
struct stock_room {
    kr::owned_block block;
    element_table table;
    /// The slots of the free elements. The stack's top is at `used`, its bottom at `capacity` - 1.
    /// What lies below `used` is left over from elements handed out and not read; what lies at
    /// `capacity` and above belongs to the thread that grows the stock, which keeps the addresses
    /// of the new elements there until they have slots.
    u64* stack = nullptr;
    /// Number of elements that there is room for.
    u32 reserve = 0;
};

} // namespace

struct kr_mempool {
    kr::owned_text name;
    u64 element_size = 0;
    u32 grain = 0;
    u32 grow_count = 0;
    u32 max_count = 0;
    kr_time time_out{};

    kr_mutex lock;
    // Everything below is guarded by the lock. Waiting threads read `used` without it.
    u32 flags = 0;
    std::atomic<u32> used = 0;
    u32 capacity = 0;
    stock_room room;
};

namespace {

/// Lets other threads at the pool for a moment.
class pool_pause {
public:
    explicit pool_pause(mutex_guard& guard) : guard_(guard) { guard_.unlock(); }
    pool_pause(const pool_pause&) = delete;
    pool_pause& operator=(const pool_pause&) = delete;
    ~pool_pause() { guard_.lock(); }

private:
    mutex_guard& guard_;
};

kr_result make_room(u32 reserve, u32 grain, stock_room* out) {
    const u64 slots_bytes = element_table::slot_count(reserve) * sizeof(u64);
    const kr_result result =
        kr_memory_allocate_hook(out->block.out(), slots_bytes + u64{reserve} * sizeof(u64));
    if (kr_result_failed(result)) {
        return result;
    }
    auto* const slots = static_cast<u64*>(out->block.get());
    std::memset(slots, 0, slots_bytes);
    out->table = element_table(slots, reserve, grain);
    out->stack = slots + slots_bytes / sizeof(u64);
    out->reserve = reserve;
    return result;
}

/// Allocates the elements `first` to `last` - 1, all or none, and puts their addresses into the
/// stack.
kr_result make_elements(u64* stack, u32 first, u32 last, u64 element_size) {
    for (u32 i = first; i < last; ++i) {
        void* element = nullptr;
        const kr_result result = kr_memory_allocate_hook(&element, element_size);
        if (kr_result_failed(result)) {
            while (i > first) {
                kr_memory_deallocate_hook(element_table::pointer(stack[--i]));
            }
            return result;
        }
        stack[i] = element_table::address(element);
    }
    return KR_SUCCESS;
}

/// Gives slots to the free elements `first` to `last` - 1, whose addresses the stack holds.
void insert_elements(stock_room& room, u32 first, u32 last) {
    for (u32 i = first; i < last; ++i) {
        room.stack[i] = room.table.insert(room.stack[i], false);
    }
}

/// Moves what `from` holds of a stock of `capacity` elements, `used` of them handed out, to `to`.
void move_elements(const stock_room& from, u32 used, u32 capacity, stock_room& to) {
    from.table.for_each([&to](const void* element, bool handed_out) {
        if (handed_out) {
            to.table.insert(element_table::address(element), true);
        }
    });
    for (u32 i = used; i < capacity; ++i) {
        to.stack[i] = to.table.insert(from.table.at(from.stack[i]), false);
    }
}

[[nodiscard]] bool has_free(const kr_mempool& pool) {
    return pool.used.load(std::memory_order_relaxed) < pool.capacity;
}

/// Makes the elements `first` to `last` - 1, with room for them where the pool has none: then
/// `fresh` gets it. Runs without the lock, as the one thread that grows the stock.
kr_result make_growth(kr_mempool& pool, u32 first, u32 last, u64 bound, stock_room* fresh) {
    if (last <= pool.room.reserve) {
        return make_elements(pool.room.stack, first, last, pool.element_size);
    }
    // Doubling keeps a pool that grows in small steps from copying its pointers at each step.
    const u64 reserve = std::clamp(u64{pool.room.reserve} * 2, u64{last}, bound);
    stock_room room;
    kr_result result = make_room(static_cast<u32>(reserve), pool.grain, &room);
    if (kr_result_succeeded(result)) {
        result = make_elements(room.stack, first, last, pool.element_size);
    }
    if (kr_result_succeeded(result)) {
        *fresh = std::move(room);
    }
    return result;
}

/// Grows the stock. Entered and left with the lock held, which is free while memory is allocated.
/// A room that has become too small goes to `outgrown`.
kr_result grow(kr_mempool& pool, mutex_guard& guard, stock_room* outgrown) {
    const u64 bound = pool.max_count != 0 ? pool.max_count : std::numeric_limits<u32>::max();
    const u32 first = pool.capacity;
    const auto last = static_cast<u32>(std::min(u64{first} + pool.grow_count, bound));
    if (last == first) {
        return kr_result_make_error(KR_OUT_OF_MEMORY);
    }
    stock_room fresh;
    kr_result result = KR_SUCCESS;
    pool.flags |= growing;
    {
        const pool_pause pause(guard);
        result = make_growth(pool, first, last, bound, &fresh);
    }
    pool.flags &= ~growing;
    if (kr_result_failed(result)) {
        return result;
    }
    if (fresh.block) {
        move_elements(pool.room, pool.used.load(std::memory_order_relaxed), first, fresh);
        std::swap(pool.room, fresh);
        *outgrown = std::move(fresh);
    }
    insert_elements(pool.room, first, last);
    pool.capacity = last;
    return result;
}

/// Waits at the bound until another thread has given an element back and none has taken it.
void wait_for_free(kr_mempool& pool, mutex_guard& guard) {
    while (!has_free(pool)) {
        const u32 noted = pool.used.load(std::memory_order_relaxed);
        const pool_pause pause(guard);
        while (pool.used.load(std::memory_order_relaxed) == noted) {
            std::this_thread::yield();
        }
    }
}

/// Sees to it that there is a free element, with the lock held on entry and on return.
kr_result replenish(kr_mempool& pool, mutex_guard& guard, stock_room* outgrown) {
    while ((pool.flags & growing) != 0) {
        {
            const pool_pause pause(guard);
            std::this_thread::yield();
        }
        if (has_free(pool)) {
            return KR_SUCCESS;
        }
    }
    if (pool.max_count == 0 || pool.capacity < pool.max_count) {
        return grow(pool, guard, outgrown);
    }
    if ((pool.flags & KR_MEMPOOL_FAIL_WHEN_FULL) != 0) {
        return kr_result_make_error(KR_MEMORY_POOL_IS_FULL);
    }
    wait_for_free(pool, guard);
    return KR_SUCCESS;
}

/// Hands out the element on the top of the stack.
inline void* hand_out(kr_mempool& pool) {
    const u32 top = pool.used.load(std::memory_order_relaxed);
    pool.used.store(top + 1, std::memory_order_relaxed);
    return pool.room.table.mark_out(pool.room.stack[top]);
}

/// Kept out of the hot path, whose registers and stack it would take.
[[gnu::noinline]] kr_result alloc_from_empty(kr_mempool& pool, void** out) {
    stock_room outgrown; // freed after the lock
    mutex_guard guard(pool.lock);
    if (!has_free(pool)) {
        const kr_result result = replenish(pool, guard, &outgrown);
        if (kr_result_failed(result)) {
            return result;
        }
    }
    *out = hand_out(pool);
    return KR_SUCCESS;
}

} // namespace

kr_result kr_mempool_create(const kr_char* name, u64 element_size, u32 flags, u32 grow_count,
                            u32 max_count, const kr_time* time_out, u64 reserved,
                            kr_mempool** out) {
    if (name == nullptr || time_out == nullptr || out == nullptr || element_size == 0 ||
        (flags & growing) != 0) {
        return invalid_argument();
    }
    if (reserved != 0) {
        return not_implemented();
    }
    void* record = nullptr;
    kr_result result = kr_memory_allocate_hook(&record, sizeof(kr_mempool));
    if (kr_result_failed(result)) {
        return result;
    }
    // Whole as far as it goes at every step, so that the ordinary end also undoes half a creation.
    kr::owner<kr_mempool*, kr_mempool_destroy> owned(new (record) kr_mempool);
    kr_mempool* const pool = owned.get();
    result = kr_mutex_init(&pool->lock);
    pool->element_size = element_size;
    pool->grain = element_table::grain_of(element_size);
    pool->flags = flags;
    pool->grow_count = grow_count != 0 ? grow_count : KR_MEMPOOL_DEFAULT_GROW_COUNT;
    pool->max_count = max_count;
    pool->time_out = *time_out;
    if (kr_result_succeeded(result)) {
        result = kr_string_dup(pool->name.out(), name);
    }
    if (kr_result_succeeded(result)) {
        result = make_room(pool->grow_count, pool->grain, &pool->room);
    }
    if (kr_result_succeeded(result)) {
        result = make_elements(pool->room.stack, 0, pool->grow_count, element_size);
    }
    if (kr_result_failed(result)) {
        return result;
    }
    pool->capacity = pool->grow_count;
    insert_elements(pool->room, 0, pool->capacity);
    *out = owned.release();
    return result;
}

kr_result kr_mempool_alloc(kr_mempool* pool, void** out) {
    if (pool == nullptr || out == nullptr) {
        return invalid_argument();
    }
    {
        const mutex_guard guard(pool->lock);
        if (has_free(*pool)) [[likely]] {
            *out = hand_out(*pool);
            return KR_SUCCESS;
        }
    }
    return alloc_from_empty(*pool, out);
}

void kr_mempool_free(kr_mempool* pool, void* element) {
    if (pool == nullptr) {
        return;
    }
    const auto key = element_table::key_of(element_table::address(element), pool->grain);
    const mutex_guard guard(pool->lock);
    const u64 slot = pool->room.table.mark_free(key);
    if (slot != element_table::none) {
        const u32 top = pool->used.load(std::memory_order_relaxed) - 1;
        pool->room.stack[top] = slot;
        pool->used.store(top, std::memory_order_relaxed);
    }
}

void kr_mempool_destroy(kr_mempool* pool) {
    if (pool == nullptr) {
        return;
    }
    pool->room.table.for_each(
        [](void* element, bool /*handed_out*/) { kr_memory_deallocate_hook(element); });
    pool->room.block.reset();
    pool->name.reset();
    (void)kr_mutex_destroy(&pool->lock);
    std::destroy_at(pool);
    kr_memory_deallocate_hook(pool);
}
