/// An allocator that fails on demand and counts what is not given back, and the sweep that lets
/// every allocation of an operation fail in turn.
#pragma once

#include <cstdlib>
#include <mutex>
#include <unordered_map>

#include "base/memory/memory.h"
#include "support/suite.h"

namespace kr::test {

/// Stands behind the allocator hooks for a scope; one at a time. A block that was allocated within
/// the scope and not given back fails the test. Fresh blocks are filled with a pattern, so that
/// nobody takes them for zeros.
class failing_allocator : pinned {
public:
    /// Fails the allocation number `nth`, 1 being the next (0: none).
    explicit failing_allocator(u32 nth = 0) : failing_allocator(nth, nth) {}
    /// Fails the allocations of those numbers.
    failing_allocator(u32 first, u32 last) : first_(first), last_(last) {
        EXPECT_EQ(current_, nullptr) << "allocators do not nest";
        current_ = this;
        kr_memory_set_hooks(allocate, deallocate);
    }
    ~failing_allocator() {
        kr_memory_set_hooks(nullptr, nullptr);
        current_ = nullptr;
        EXPECT_EQ(live_.size(), 0u) << "blocks not given back";
    }

    /// Allocations asked for, failed ones included.
    [[nodiscard]] u32 allocations() const { return locked(allocations_); }
    [[nodiscard]] u32 failures() const { return locked(failures_); }
    /// Size that was asked for last.
    [[nodiscard]] size_t last_size() const { return locked(last_size_); }
    [[nodiscard]] size_t live() const { return locked(live_).size(); }
    /// The blocks that came back, in order, by the number of their allocation.
    [[nodiscard]] std::vector<u32> released() const { return locked(released_); }

private:
    template <typename T>
    [[nodiscard]] T locked(const T& value) const {
        const std::lock_guard guard(lock_);
        return value;
    }

    static kr_result allocate(void** out, size_t size) {
        failing_allocator& self = *current_;
        const std::lock_guard guard(self.lock_);
        const u32 number = ++self.allocations_;
        self.last_size_ = size;
        const bool due = number >= self.first_ && number <= self.last_;
        void* const block = due ? nullptr : std::malloc(size == 0 ? 1 : size);
        if (block == nullptr) {
            ++self.failures_;
            return out_of_memory;
        }
        std::memset(block, 0xA5, size);
        self.live_.emplace(block, number);
        *out = block;
        return ok;
    }

    static void deallocate(void* ptr) {
        const std::lock_guard guard(current_->lock_);
        // A block from before the scope came from the runtime heap just the same.
        const auto own = current_->live_.extract(ptr);
        if (own) { current_->released_.push_back(own.mapped()); }
        std::free(ptr);
    }

    static inline failing_allocator* current_ = nullptr;

    mutable std::mutex lock_;
    u32 first_, last_, allocations_ = 0, failures_ = 0;
    size_t last_size_ = 0;
    std::unordered_map<void*, u32> live_;
    std::vector<u32> released_;
};

/// Runs `operation`, which returns a kr_result, with its first allocation failing, then its second,
/// and so on until a run meets no failure; once with that failure alone, once with all after it.
/// Each run with a failure must end in KR_OUT_OF_MEMORY and the last one in success, and none may
/// keep a block: the operation releases what it got, and checks that outputs stay untouched.
template <typename Operation>
void sweep_allocations(Operation operation) {
    constexpr u32 limit = 10000;
    for (const bool and_all_after : {false, true}) {
        u32 nth = 1;
        for (bool failed = true; failed && nth < limit; nth += failed) {
            SCOPED_TRACE("allocation " + std::to_string(nth) + " fails");
            failing_allocator allocator(nth, and_all_after ? ~0U : nth);
            const kr_result result = operation();
            failed = allocator.failures() != 0;
            EXPECT_TRUE(failed ? result == out_of_memory : kr_result_succeeded(result)) << std::hex << result;
        }
        EXPECT_GT(nth, 1u) << "the operation allocates nothing";
        EXPECT_LT(nth, limit) << "the sweep does not end";
    }
}

} // namespace kr::test
