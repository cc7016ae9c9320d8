/// The two destination slots: where the log core finds the operation that takes a finished line.
/// For the log's own sources and for tests. Touches nothing but the slots.
#pragma once

#include "log/log.h"

namespace kr::detail {

/// One slot. Read by any thread without a lock; filled and cleared by one thread at a time, at
/// start-up and during configuration. What a reader gets is one destination as it was set, or none;
/// nothing keeps that destination from being closed while the reader uses it.
class log_slot {
public:
    [[nodiscard]] bool is_set() const { return write_.load(std::memory_order_acquire) != nullptr; }

    [[nodiscard]] kr_log_destination get() const {
        for (;;) {
            const u32 version = version_.load(std::memory_order_acquire);
            // Acquired one by one, so that the version is read again after all of them.
            const kr_log_destination destination = {
                .no_timestamps = no_timestamps_.load(std::memory_order_acquire),
                .context = context_.load(std::memory_order_acquire),
                .write = write_.load(std::memory_order_acquire),
                .close = close_.load(std::memory_order_acquire)};
            if (version % 2 == 0 && version_.load(std::memory_order_relaxed) == version) {
                return destination;
            }
        }
    }

    void set(const kr_log_destination& destination) {
        const u32 version = version_.load(std::memory_order_relaxed);
        version_.store(version + 1, std::memory_order_relaxed);
        no_timestamps_.store(destination.no_timestamps, std::memory_order_release);
        context_.store(destination.context, std::memory_order_release);
        write_.store(destination.write, std::memory_order_release);
        close_.store(destination.close, std::memory_order_release);
        version_.store(version + 2, std::memory_order_release);
    }

    void clear() { set({}); }

    void set_no_timestamps(u32 on) { no_timestamps_.store(on, std::memory_order_relaxed); }

private:
    /// Odd while the slot changes.
    std::atomic<u32> version_ = 0;
    std::atomic<kr_log_write> write_{};
    std::atomic<kr_log_close> close_{};
    std::atomic<void*> context_{};
    std::atomic<u32> no_timestamps_{};
};

inline constinit log_slot log_main_slot;
inline constinit log_slot log_secondary_slot;

} // namespace kr::detail
