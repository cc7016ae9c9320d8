/// The set of the elements that a memory pool owns, with one bit each: handed out or free. For
/// base/memory/mempool.cpp alone; touches nothing but the slots that the pool gives it.
#pragma once

#include <bit>

#include "platform/types.h"

namespace kr::detail {

/// A hash table of addresses with open addressing, at most half full; nothing is ever removed. A
/// slot is 0 or an element's address with `out_bit` set while it is handed out: addresses of user
/// memory leave the highest bit free on every 64-bit system that the library serves. The table
/// never looks at what an address points to, so it can be asked about any pointer. An element keeps
/// its slot as long as the table lives, so that who hands it out need not search for it.
///
/// Neighbours in memory, which are mostly used together, share a cache line of slots: a line holds
/// the addresses of one stretch of eight element sizes, and only the lines are scattered. Elements
/// do not overlap, so no stretch has more than a line's worth of them whatever the allocator does.
class element_table {
public:
    element_table() = default;

    /// Works on the `slot_count(count)` slots at `slots`, all 0, which stay the caller's.
    element_table(u64* slots, u64 count, u32 grain)
        : slots_(slots), mask_(slot_count(count) - 1),
          shift_(static_cast<u32>(64 - std::bit_width(mask_ >> line_bits))), grain_(grain) {}

    /// The distance between addresses that counts, as a power of 2, for elements of that size.
    static constexpr u32 grain_of(u64 element_size) {
        return static_cast<u32>(std::bit_width(element_size | min_distance) - 1);
    }

    /// What of the search for an address does not depend on the table's size: a caller with a lock
    /// gets it ready before.
    struct key {
        u64 address;
        u64 scattered;
        u64 place;
    };
    static key key_of(u64 address, u32 grain) {
        const u64 stretch = address >> grain;
        return {address, (stretch >> line_bits) * golden, stretch & (line_size - 1)};
    }

    static constexpr u64 slot_count(u64 count) {
        return std::bit_ceil(count * 2 < min_slots ? min_slots : count * 2);
    }

    /// What mark_free answers for a pointer that is not a handed-out element.
    static constexpr u64 none = ~u64{0};

    /// Adds an element that the table does not hold and returns its slot.
    u64 insert(u64 element, bool handed_out) {
        u64 at = home(key_of(element, grain_));
        while (slots_[at] != 0) {
            at = next(at);
        }
        slots_[at] = element | (handed_out ? out_bit : 0);
        return at;
    }

    /// Marks the free element in `slot` as handed out and returns it.
    void* mark_out(u64 slot) {
        void* element = pointer(slots_[slot]);
        slots_[slot] |= out_bit;
        return element;
    }

    /// Marks an element as free and returns its slot; `none` for an element that is free already
    /// and for any other pointer.
    [[nodiscard]] u64 mark_free(const key& element) {
        const u64 sought = element.address | out_bit;
        if (sought == element.address) {
            return none;
        }
        for (u64 at = home(element); slots_[at] != 0; at = next(at)) {
            if (slots_[at] == sought) {
                slots_[at] = element.address;
                return at;
            }
        }
        return none;
    }

    /// The free element in `slot`, as insert takes it.
    [[nodiscard]] u64 at(u64 slot) const { return slots_[slot]; }

    static u64 address(const void* element) { return reinterpret_cast<u64>(element); }
    /// The pointer that `address` was made from.
    static void* pointer(u64 address) {
        return reinterpret_cast<void*>(address & ~out_bit); // NOLINT(*-int-to-ptr): see above
    }

    /// Calls visit(element, handed_out) for every element, in no particular order.
    template <typename Visit>
    void for_each(Visit visit) const {
        for (u64 at = 0; slots_ != nullptr && at <= mask_; ++at) {
            if (slots_[at] != 0) {
                visit(pointer(slots_[at]), (slots_[at] & out_bit) != 0);
            }
        }
    }

private:
    static constexpr u64 out_bit = u64{1} << 63;
    static constexpr u32 line_bits = 3;
    static constexpr u64 line_size = u64{1} << line_bits;
    static constexpr u64 min_slots = line_size * 2;
    /// Allocators keep their blocks at least this many bytes apart.
    static constexpr u64 min_distance = 16;
    /// 2^64 divided by the golden ratio: spreads evenly spaced keys evenly.
    static constexpr u64 golden = 0x9E3779B97F4A7C15;

    [[nodiscard]] u64 next(u64 at) const { return (at + 1) & mask_; }
    [[nodiscard]] u64 home(const key& element) const {
        return (element.scattered >> shift_) << line_bits | element.place;
    }

    u64* slots_ = nullptr;
    u64 mask_ = 0;
    u32 shift_ = 0;
    u32 grain_ = 0;
};

} // namespace kr::detail
