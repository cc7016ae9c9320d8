/// A buffer between guard bytes, for every test that lets the library write into a caller's buffer.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <span>
#include <vector>

#include <gtest/gtest.h>

#include "platform/types.h"

namespace kr::test {

/// A size that need not be a multiple of the element's.
struct byte_count {
    std::size_t value;
};

/// Room for elements of T, filled with a pattern, with a guard on each side. A write outside fails
/// the test when the buffer goes, or when check() is called.
template <typename T>
class guarded_buffer {
public:
    static constexpr u8 pattern = 0xA5;

    explicit guarded_buffer(std::size_t count) : guarded_buffer(byte_count{count * sizeof(T)}) {}
    explicit guarded_buffer(byte_count size)
        : size_bytes_(size.value), storage_(guard_bytes + size.value + guard_bytes, guard) {
        std::fill_n(bytes(), size_bytes_, pattern);
    }
    guarded_buffer(const guarded_buffer&) = delete;
    guarded_buffer& operator=(const guarded_buffer&) = delete;
    ~guarded_buffer() { check(); }

    [[nodiscard]] T* data() { return reinterpret_cast<T*>(bytes()); }
    [[nodiscard]] std::size_t size_bytes() const { return size_bytes_; }
    /// Number of whole elements.
    [[nodiscard]] std::size_t size() const { return size_bytes_ / sizeof(T); }
    [[nodiscard]] std::span<T> elements() { return {data(), size()}; }
    T& operator[](std::size_t index) { return data()[index]; }

    /// Whether every byte from element `first` on still holds the pattern.
    [[nodiscard]] bool untouched(std::size_t first = 0) const {
        const auto begin = storage_.begin() + guard_bytes;
        return std::all_of(begin + static_cast<std::ptrdiff_t>(first * sizeof(T)),
                           begin + static_cast<std::ptrdiff_t>(size_bytes_),
                           [](u8 value) { return value == pattern; });
    }

    void check() const {
        const auto is_guard = [](u8 value) {
            return value == guard;
        };
        const auto front = storage_.begin() + guard_bytes;
        EXPECT_TRUE(std::all_of(storage_.begin(), front, is_guard)) << "written before the buffer";
        EXPECT_TRUE(
            std::all_of(front + static_cast<std::ptrdiff_t>(size_bytes_), storage_.end(), is_guard))
            << "written behind the buffer";
    }

private:
    /// A multiple of every alignment, so that the buffer is aligned as the storage is.
    static constexpr std::size_t guard_bytes = 64;
    static constexpr u8 guard = 0x5A;

    [[nodiscard]] u8* bytes() { return storage_.data() + guard_bytes; }

    std::size_t size_bytes_;
    std::vector<u8> storage_;
};

} // namespace kr::test
