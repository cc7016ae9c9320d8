/// The two destination slots: where the log core finds the operation that takes a finished line.
/// For the log's own sources and for tests. Touches nothing but the slots.
#pragma once

#include "log/log.h"

namespace kr::detail {

/// One slot. Read by any thread without a lock; filled and cleared by one thread at a time, at
/// start-up and during configuration. A reader sees either no destination or all of one, as long as
/// a set slot is cleared before it is filled with another.
class log_slot {
public:
    [[nodiscard]] bool is_set() const { return write_.load(std::memory_order_acquire) != nullptr; }

    [[nodiscard]] kr_log_destination get() const {
        kr_log_destination destination{};
        destination.write = write_.load(std::memory_order_acquire);
        destination.no_timestamps = no_timestamps_.load(std::memory_order_relaxed);
        destination.context = context_.load(std::memory_order_relaxed);
        destination.close = close_.load(std::memory_order_relaxed);
        return destination;
    }

    /// `write` is stored last: it publishes the others.
    void set(const kr_log_destination& destination) {
        no_timestamps_.store(destination.no_timestamps, std::memory_order_relaxed);
        context_.store(destination.context, std::memory_order_relaxed);
        close_.store(destination.close, std::memory_order_relaxed);
        write_.store(destination.write, std::memory_order_release);
    }

    void clear() {
        write_.store(nullptr, std::memory_order_release);
        close_.store(nullptr, std::memory_order_relaxed);
        context_.store(nullptr, std::memory_order_relaxed);
        no_timestamps_.store(0, std::memory_order_relaxed);
    }

    void set_no_timestamps(u32 on) { no_timestamps_.store(on, std::memory_order_relaxed); }

private:
    std::atomic<kr_log_write> write_{};
    std::atomic<kr_log_close> close_{};
    std::atomic<void*> context_{};
    std::atomic<u32> no_timestamps_{};
};

inline constinit log_slot log_main_slot;
inline constinit log_slot log_secondary_slot;

} // namespace kr::detail
