/// The registry's lock, handles and file.
#include "platform/host/registry_store.h"

#include "platform/host/handle_table.h"
#include "platform/host/paths.h"
#include "platform/host/reg_text.h"
#include "platform/host/world.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <unistd.h>

namespace kr::host {

namespace detail {

namespace {

struct store {
    std::mutex lock;
    registry_tree tree;
    handle_table<HKEY, open_key> handles;
    /// The host's path of the file; empty when the registry lives in memory only.
    std::string file;
    bool file_known = false;
    bool loaded = false;
    /// Why the file could not be read; every call gives it back then.
    LONG broken = ERROR_SUCCESS;
};

store& the_store() {
    return immortal<store>();
}

using stream = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

LONG last_errno() {
    return static_cast<LONG>(error_from_errno(errno));
}

/// A missing file is an empty one.
LONG read_file(const std::string& path, std::vector<u8>& bytes) {
    const stream file(std::fopen(path.c_str(), "rb"), std::fclose);
    if (file == nullptr) {
        return errno == ENOENT ? LONG{ERROR_SUCCESS} : last_errno();
    }
    u8 chunk[65536];
    std::size_t count = 0;
    while ((count = std::fread(chunk, 1, sizeof chunk, file.get())) != 0) {
        bytes.insert(bytes.end(), chunk, chunk + count);
    }
    return std::ferror(file.get()) != 0 ? last_errno() : LONG{ERROR_SUCCESS};
}

/// Beside the file first, then in its place, so that it is never half written.
LONG replace_file(const std::string& path, const std::vector<u8>& bytes) {
    const std::string fresh = path + "." + std::to_string(getpid()) + ".new";
    stream file(std::fopen(fresh.c_str(), "wb"), std::fclose);
    if (file == nullptr) {
        return last_errno();
    }
    const bool written = std::fwrite(bytes.data(), 1, bytes.size(), file.get()) == bytes.size();
    if (!written || std::fclose(file.release()) != 0 ||
        std::rename(fresh.c_str(), path.c_str()) != 0) {
        const LONG status = last_errno();
        std::remove(fresh.c_str());
        return status;
    }
    return ERROR_SUCCESS;
}

LONG load(store& all) {
    std::vector<u8> bytes;
    if (const LONG status = read_file(all.file, bytes); status != ERROR_SUCCESS) {
        std::fprintf(stderr, "registry file %s: cannot be read, error %d\n", all.file.c_str(),
                     status);
        return status;
    }
    if (bytes.empty()) {
        return ERROR_SUCCESS;
    }
    reg_problem problem;
    const std::optional<std::vector<reg_step>> steps = read_reg(bytes, problem);
    if (!steps) {
        std::fprintf(stderr, "registry file %s, line %u: %s\n", all.file.c_str(), problem.line,
                     problem.reason.c_str());
        return ERROR_BADDB;
    }
    apply_reg(*steps, all.tree);
    return ERROR_SUCCESS;
}

} // namespace

locked_registry::locked_registry() : hold_(the_store().lock) {
    store& all = the_store();
    if (all.loaded) {
        return;
    }
    if (!all.file_known) {
        const char* const named = std::getenv("KR_HOST_REGISTRY");
        all.file = named == nullptr ? "" : named;
        all.file_known = true;
    }
    all.broken = all.file.empty() ? LONG{ERROR_SUCCESS} : load(all);
    all.loaded = true;
}

LONG locked_registry::find(HKEY handle, REGSAM access, open_key* found) {
    store& all = the_store();
    if (all.broken != ERROR_SUCCESS) {
        return all.broken;
    }
    if (handle == HKEY_LOCAL_MACHINE || handle == HKEY_CURRENT_USER) {
        const auto& root =
            handle == HKEY_LOCAL_MACHINE ? all.tree.local_machine : all.tree.current_user;
        *found = {root, KEY_ALL_ACCESS, root->name};
        return ERROR_SUCCESS;
    }
    const std::shared_ptr<open_key> opened = all.handles.find(handle);
    if (opened == nullptr) {
        return ERROR_INVALID_HANDLE;
    }
    if (opened->key->deleted) {
        return ERROR_KEY_DELETED;
    }
    if ((opened->access & access) != access) {
        return ERROR_ACCESS_DENIED;
    }
    *found = *opened;
    return ERROR_SUCCESS;
}

HKEY locked_registry::add_handle(open_key opened) {
    return the_store().handles.add(std::make_shared<open_key>(std::move(opened)));
}

LONG locked_registry::close(HKEY handle) {
    if (handle == HKEY_LOCAL_MACHINE || handle == HKEY_CURRENT_USER) {
        return ERROR_SUCCESS;
    }
    return the_store().handles.take(handle) == nullptr ? LONG{ERROR_INVALID_HANDLE}
                                                       : LONG{ERROR_SUCCESS};
}

LONG locked_registry::status() const {
    return the_store().broken;
}

registry_tree& locked_registry::tree() {
    return the_store().tree;
}

void locked_registry::reset(const std::string& file) {
    store& all = the_store();
    all.handles.clear();
    all.tree = {};
    all.file = file;
    all.file_known = true;
    all.loaded = false;
    all.broken = ERROR_SUCCESS;
}

LONG locked_registry::save() {
    store& all = the_store();
    return all.file.empty() ? LONG{ERROR_SUCCESS} : replace_file(all.file, write_reg(all.tree));
}

} // namespace detail

void reset_registry() {
    detail::locked_registry().reset({});
}

void reset_registry_to_file(const std::string& path) {
    detail::locked_registry().reset(path);
}

u32 import_reg(std::span<const u8> text, std::string* problem) {
    detail::reg_problem where;
    const auto steps = detail::read_reg(text, where);
    if (!steps) {
        if (problem != nullptr) {
            *problem = "line " + std::to_string(where.line) + ": " + where.reason;
        }
        return ERROR_BADDB;
    }
    detail::locked_registry registry;
    if (registry.status() != ERROR_SUCCESS) {
        return static_cast<u32>(registry.status());
    }
    detail::apply_reg(*steps, registry.tree());
    return static_cast<u32>(registry.commit([] {}));
}

std::vector<u8> export_reg() {
    detail::locked_registry registry;
    return detail::write_reg(registry.tree());
}

} // namespace kr::host
