/// A buffer between guard bytes, for every test that lets the library write into a caller's buffer.
#pragma once

#include <algorithm>

#include "support/suite.h"

namespace kr::test {

/// A size that need not be a multiple of the element's.
struct byte_count {
    size_t value;
};

/// Room for elements of T, filled with a pattern, with a guard on each side. A write outside fails
/// the test when the buffer goes.
template <typename T>
class guarded_buffer : pinned {
public:
    explicit guarded_buffer(size_t count) : guarded_buffer(byte_count{count * sizeof(T)}) {}
    explicit guarded_buffer(byte_count size)
        : size_bytes_(size.value), storage_(guard_bytes + size.value + guard_bytes, guard) {
        std::fill_n(storage_.data() + guard_bytes, size_bytes_, pattern);
    }
    ~guarded_buffer() {
        EXPECT_TRUE(holds(guard, 0, guard_bytes)) << "written before the buffer";
        EXPECT_TRUE(holds(guard, guard_bytes + size_bytes_, storage_.size())) << "written behind it";
    }

    [[nodiscard]] T* data() { return reinterpret_cast<T*>(storage_.data() + guard_bytes); }
    [[nodiscard]] size_t size_bytes() const { return size_bytes_; }
    T& operator[](size_t index) { return data()[index]; }

    /// Whether every byte from element `first` on still holds the pattern.
    [[nodiscard]] bool untouched(size_t first = 0) const {
        return holds(pattern, guard_bytes + first * sizeof(T), guard_bytes + size_bytes_);
    }

private:
    /// A multiple of every alignment, so that the buffer is aligned as the storage is.
    static constexpr size_t guard_bytes = 64;
    static constexpr u8 guard = 0x5A;
    static constexpr u8 pattern = 0xA5;

    [[nodiscard]] bool holds(u8 value, size_t from, size_t to) const {
        return std::all_of(storage_.data() + from, storage_.data() + to,
                           [=](u8 found) { return found == value; });
    }

    size_t size_bytes_;
    std::vector<u8> storage_;
};

} // namespace kr::test
