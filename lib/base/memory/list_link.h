/// The library's circular list. For its own sources; touches nothing but the links.
#pragma once

namespace kr::detail {

/// A link of a circular list, or its head; in no list while it is linked to itself. A record that
/// goes into a list derives from it.
struct list_link {
    list_link* next = this;
    list_link* prev = this;

    constexpr list_link() = default;
    list_link(const list_link&) = delete;
    list_link& operator=(const list_link&) = delete;

    [[nodiscard]] bool empty() const { return next == this; }
    /// Makes a head forget its list, whose links may be gone.
    void clear() { next = prev = this; }

    /// Puts this link, which is in no list, in front of `place`; in front of the head is the tail.
    void insert_before(list_link& place) {
        prev = place.prev;
        next = &place;
        prev->next = this;
        place.prev = this;
    }

    void unlink() {
        prev->next = next;
        next->prev = prev;
        clear();
    }
};

} // namespace kr::detail
