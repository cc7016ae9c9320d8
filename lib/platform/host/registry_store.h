/// The one registry of the process: its tree, its open handles, its file. Private to this
/// directory.
#pragma once

#include <mutex>
#include <string>

#include "platform/host/handle_table.h"
#include "platform/host/registry.h"
#include "platform/host/registry_tree.h"

namespace kr::host::detail {

/// Its lock is held by whoever uses it (see locked_registry).
class registry_store {
public:
    /// 0 with `found` filled; 6; 1018; or why the file cannot be used.
    [[nodiscard]] LONG find(HKEY handle, std::shared_ptr<registry_key>* found);
    [[nodiscard]] HKEY add_handle(std::shared_ptr<registry_key> key);
    /// 0 or 6.
    [[nodiscard]] LONG close(HKEY handle);

    /// To be called after a change: saves the file where there is one. When that fails the registry
    /// is out of use, as with a file that cannot be read.
    [[nodiscard]] LONG save();
    /// Reads the file where there is one and it has not been read.
    void load();
    /// Empties the registry and binds it to `file` (none when empty), to be read at the next use.
    void reset(const std::string& file);

private:
    LONG check(LONG status, const std::string& what);

    std::shared_ptr<registry_key> root_ = make_root();
    handle_table<HKEY, registry_key> handles_;
    /// The host's path of the file; empty when the registry lives in memory only.
    std::string file_;
    bool loaded_ = false;
    /// Why the file cannot be used; every call gives it back then.
    LONG broken_ = ERROR_SUCCESS;
};

/// The registry, locked for the length of a call; its file has been read.
class locked_registry {
public:
    locked_registry();
    registry_store* operator->() const;

private:
    std::lock_guard<std::mutex> hold_;
};

/// For the record of a call: the whole path of a key, "?" for a handle that is none.
std::string key_argument(HKEY handle, const WCHAR* path);

} // namespace kr::host::detail
