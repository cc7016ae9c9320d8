/// The registry's lock, handles and file.
#include "platform/host/registry_store.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <sstream>
#include <unistd.h>

#include "platform/host/last_error.h"
#include "platform/host/reg_text.h"
#include "platform/host/world.h"

namespace kr::host {

namespace detail {

namespace {

LONG last_errno() {
    return static_cast<LONG>(error_from_errno(errno));
}

/// A missing file is an empty one.
LONG read_file(const std::string& path, std::string& bytes) {
    const std::ifstream file(path, std::ios::binary);
    if (!file) {
        return errno == ENOENT ? LONG{ERROR_SUCCESS} : last_errno();
    }
    std::ostringstream content;
    errno = 0; // stays so for an empty file, which the stream takes for a failure too
    content << file.rdbuf();
    if (!content && errno != 0) {
        return last_errno();
    }
    bytes = content.str();
    return ERROR_SUCCESS;
}

/// Beside the file first, then in its place, so that it is never half written; never through a link
/// that somebody laid there under the fresh file's name.
LONG replace_file(const std::string& path, const std::string& bytes) {
    const std::string fresh = path + "." + std::to_string(getpid()) + ".new";
    std::remove(fresh.c_str());
    const int made = open(fresh.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (made < 0) {
        return last_errno();
    }
    close(made);
    std::ofstream file(fresh, std::ios::binary);
    file << bytes;
    file.close();
    if (file && std::rename(fresh.c_str(), path.c_str()) == 0) {
        return ERROR_SUCCESS;
    }
    const LONG status = last_errno();
    std::remove(fresh.c_str());
    return status;
}

struct shared_store {
    std::mutex lock;
    registry_store store;

    shared_store() {
        const char* const named = std::getenv("KR_HOST_REGISTRY");
        store.reset(named == nullptr ? "" : named);
    }
};

} // namespace

LONG registry_store::check(LONG status, const std::string& what) {
    if (status != ERROR_SUCCESS) {
        std::fprintf(stderr, "registry file %s: %s, error %d\n", file_.c_str(), what.c_str(),
                     status);
        broken_ = status;
    }
    return status;
}

LONG registry_store::find(HKEY handle, std::shared_ptr<registry_key>* found) {
    if (broken_ != ERROR_SUCCESS) {
        return broken_;
    }
    const auto key = handle == HKEY_LOCAL_MACHINE ? root_ : handles_.find(handle);
    if (key == nullptr) {
        return ERROR_INVALID_HANDLE;
    }
    if (key->deleted) {
        return ERROR_KEY_DELETED;
    }
    *found = key;
    return ERROR_SUCCESS;
}

HKEY registry_store::add_handle(std::shared_ptr<registry_key> key) {
    return handles_.add(std::move(key));
}

LONG registry_store::close(HKEY handle) {
    const bool was_open = handle == HKEY_LOCAL_MACHINE || handles_.take(handle) != nullptr;
    return was_open ? LONG{ERROR_SUCCESS} : LONG{ERROR_INVALID_HANDLE};
}

LONG registry_store::save() {
    return file_.empty() ? LONG{ERROR_SUCCESS}
                         : check(replace_file(file_, write_reg(*root_)), "cannot be written");
}

void registry_store::load() {
    std::string bytes;
    if (!loaded_ && !file_.empty() &&
        check(read_file(file_, bytes), "cannot be read") == ERROR_SUCCESS && !bytes.empty()) {
        const std::string problem = read_reg(bytes, root_);
        check(problem.empty() ? LONG{ERROR_SUCCESS} : LONG{ERROR_BADDB}, problem);
    }
    loaded_ = true;
}

void registry_store::reset(const std::string& file) {
    handles_.clear();
    root_ = make_root();
    file_ = file;
    loaded_ = false;
    broken_ = ERROR_SUCCESS;
}

locked_registry::locked_registry() : hold_(immortal<shared_store>().lock) {
    immortal<shared_store>().store.load();
}

registry_store* locked_registry::operator->() const {
    return &immortal<shared_store>().store;
}

std::string key_argument(HKEY handle, const WCHAR* path) {
    locked_registry registry;
    std::shared_ptr<registry_key> key;
    const LONG status = registry->find(handle, &key);
    if (status != ERROR_SUCCESS) {
        return status == ERROR_KEY_DELETED ? "deleted key" : "?";
    }
    const std::u16string_view below = path == nullptr ? u"" : path;
    return to_utf8(below.empty() ? key->path() : key->path().append(u"\\").append(below));
}

} // namespace detail

void reset_registry() {
    detail::locked_registry()->reset({});
}

void reset_registry_to_file(const std::string& path) {
    detail::locked_registry()->reset(path);
}

} // namespace kr::host
