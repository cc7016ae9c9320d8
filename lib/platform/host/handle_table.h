/// Numbers for open objects. Private to this directory.
#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <unordered_map>

#include "platform/types.h"

namespace kr::host::detail {

/// Handle numbers count up in steps of 8 over all tables, so that no table knows another's number
/// and none comes back. File handles (see descriptors.h) are 4 above a multiple of 8.
inline u64 new_handle_number() {
    static std::atomic<u64> last{0x1000};
    return last.fetch_add(8, std::memory_order_relaxed) + 8;
}

/// Open objects of one kind by their handle, `Handle` being a pointer type. An object lives until
/// it is closed and the last call that found it returns.
template <typename Handle, typename Object>
class handle_table {
public:
    Handle add(std::shared_ptr<Object> object) {
        const u64 number = new_handle_number();
        const std::lock_guard hold(lock_);
        objects_.emplace(number, std::move(object));
        return reinterpret_cast<Handle>(number);
    }

    /// Null when the handle is not open in this table.
    std::shared_ptr<Object> find(Handle handle) {
        const std::lock_guard hold(lock_);
        const auto found = objects_.find(reinterpret_cast<u64>(handle));
        return found == objects_.end() ? nullptr : found->second;
    }

    /// Closes the handle and gives its object, null when it is not open.
    std::shared_ptr<Object> take(Handle handle) {
        const std::lock_guard hold(lock_);
        auto node = objects_.extract(reinterpret_cast<u64>(handle));
        return node ? std::move(node.mapped()) : nullptr;
    }

    void clear() {
        const std::lock_guard hold(lock_);
        objects_.clear();
    }

private:
    std::mutex lock_;
    std::unordered_map<u64, std::shared_ptr<Object>> objects_;
};

/// A table that is never destroyed, for handles may be used while the process ends.
template <typename Table>
Table& immortal() {
    static Table& table = *new Table;
    return table;
}

} // namespace kr::host::detail
