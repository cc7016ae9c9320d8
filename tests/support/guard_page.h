/// Text that ends where its memory ends: behind it lies a page that cannot be read. Host only.
#pragma once

#include <sys/mman.h>

#include "support/suite.h"

namespace kr::test {

/// One readable page between two that are not.
class guarded_page : pinned {
public:
    static constexpr std::size_t page_bytes = 4096;

    guarded_page()
        : pages_(static_cast<u8*>(
              mmap(nullptr, 3 * page_bytes, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0))) {
        EXPECT_NE(static_cast<void*>(pages_), MAP_FAILED);
        EXPECT_EQ(mprotect(pages_ + page_bytes, page_bytes, PROT_READ | PROT_WRITE), 0);
    }
    ~guarded_page() { munmap(pages_, 3 * page_bytes); }

    /// Puts `count` elements at the very end (or the very start) of the page.
    template <typename T>
    T* put_last(const T* elements, std::size_t count) const {
        return copy(pages_ + 2 * page_bytes - count * sizeof(T), elements, count);
    }
    template <typename T>
    T* put_first(const T* elements, std::size_t count) const {
        return copy(pages_ + page_bytes, elements, count);
    }

private:
    template <typename T>
    static T* copy(u8* to, const T* elements, std::size_t count) {
        return static_cast<T*>(std::memcpy(to, elements, count * sizeof(T)));
    }

    u8* pages_;
};

/// Calls `check(text, length)` for every length below `limit`, twice: the text, `length` times `unit`
/// and a terminator, begins with the first byte that can be read, and ends with the last one.
template <typename Char, typename Check>
void at_page_edges(std::size_t limit, Char unit, Check check) {
    const guarded_page page;
    for (std::size_t length = 0; length < limit; ++length) {
        SCOPED_TRACE(length);
        const std::basic_string<Char> text(length, unit);
        check(page.put_first(text.c_str(), length + 1), length);
        check(page.put_last(text.c_str(), length + 1), length);
    }
}

} // namespace kr::test
