/// Text that ends where its memory ends: behind it lies a page that cannot be read. Host only.
#pragma once

#include <cstddef>
#include <cstring>

#include <sys/mman.h>

#include <gtest/gtest.h>

#include "platform/types.h"

namespace kr::test {

/// One readable page between two that are not.
class guarded_page {
public:
    static constexpr std::size_t page_bytes = 4096;

    guarded_page()
        : pages_(static_cast<u8*>(
              mmap(nullptr, 3 * page_bytes, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0))) {
        EXPECT_NE(static_cast<void*>(pages_), MAP_FAILED);
        EXPECT_EQ(mprotect(begin(), page_bytes, PROT_READ | PROT_WRITE), 0);
    }
    guarded_page(const guarded_page&) = delete;
    guarded_page& operator=(const guarded_page&) = delete;
    ~guarded_page() { munmap(pages_, 3 * page_bytes); }

    [[nodiscard]] u8* begin() const { return pages_ + page_bytes; }
    [[nodiscard]] u8* end() const { return begin() + page_bytes; }

    /// Puts `count` elements at the very end (or the very start) of the page.
    template <typename T>
    T* put_last(const T* elements, std::size_t count) const {
        return static_cast<T*>(std::memcpy(end() - count * sizeof(T), elements, count * sizeof(T)));
    }
    template <typename T>
    T* put_first(const T* elements, std::size_t count) const {
        return static_cast<T*>(std::memcpy(begin(), elements, count * sizeof(T)));
    }

private:
    u8* pages_;
};

} // namespace kr::test
