/// The one registry of the process: its tree, its open handles, its file. Private to this
/// directory.
#pragma once

#include "platform/host/registry.h"
#include "platform/host/registry_tree.h"

#include <mutex>
#include <string>

namespace kr::host::detail {

/// What an open HKEY stands for.
struct open_key {
    std::shared_ptr<registry_key> key;
    REGSAM access = 0;
    /// From the root on, for the records of calls.
    std::u16string path;
};

/// Access to the registry for the length of a call; holds its lock and has read its file.
class locked_registry {
public:
    locked_registry();

    /// 0 with `found` filled; 6, 1018, 5 when `access` is not granted, or why the file could not
    /// be read.
    [[nodiscard]] LONG find(HKEY handle, REGSAM access, open_key* found);
    [[nodiscard]] HKEY add_handle(open_key opened);
    /// 0 or 6.
    [[nodiscard]] LONG close(HKEY handle);

    /// To be called after a change: saves the file where there is one. When that fails, calls
    /// `undo()` and returns the error, so that the call has changed nothing.
    template <typename Undo>
    [[nodiscard]] LONG commit(Undo undo) {
        const LONG status = save();
        if (status != ERROR_SUCCESS) {
            undo();
        }
        return status;
    }

    [[nodiscard]] LONG status() const;
    registry_tree& tree();
    /// Empties the registry and binds it to `file` (none when empty), to be read at the next use.
    void reset(const std::string& file);

private:
    [[nodiscard]] LONG save();

    std::lock_guard<std::mutex> hold_;
};

} // namespace kr::host::detail
