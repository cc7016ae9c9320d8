/// The service manager: a table of services under one lock, and handles on it.
#include "platform/host/services.h"

#include "platform/host/driver_images.h"
#include "platform/host/fold.h"
#include "platform/host/handle_table.h"
#include "platform/host/intercept.h"
#include "platform/host/paths.h"
#include "platform/host/world.h"

#include <algorithm>
#include <cstdlib>
#include <optional>
#include <vector>

namespace {

using namespace kr::host;
using namespace kr::host::detail;

struct service {
    std::u16string name;
    std::u16string display_name;
    std::u16string image_path;
    std::optional<driver_image> loaded;
    u32 handles = 0;
    bool marked_for_deletion = false;
};

/// What a handle stands for: the manager when `target` is null.
struct service_handle {
    std::shared_ptr<service> target;
    DWORD access;
};

using service_handles = handle_table<SC_HANDLE, service_handle>;

bool policy_from_environment() {
    const char* const policy = std::getenv("KR_HOST_DRIVER_POLICY");
    return policy != nullptr && std::string_view(policy) == "refuse";
}

struct service_table {
    std::mutex lock;
    /// In the order of their creation.
    std::vector<std::shared_ptr<service>> services;
    service_handles handles;
    bool refuses_drivers = policy_from_environment();

    service* find(std::u16string_view name) {
        const auto found = std::ranges::find_if(
            services, [name](const auto& each) { return equal_folded(each->name, name); });
        return found == services.end() ? nullptr : found->get();
    }

    /// Takes a service away once nothing keeps it.
    void drop_if_done(const std::shared_ptr<service>& each) {
        if (each->marked_for_deletion && each->handles == 0 && !each->loaded) {
            std::erase(services, each);
        }
    }
};

service_table& table() {
    return immortal<service_table>();
}

std::string handle_argument(SC_HANDLE handle) {
    const auto found = table().handles.find(handle);
    if (found == nullptr) {
        return "?";
    }
    return found->target == nullptr ? "manager" : "service " + to_utf8(found->target->name);
}

/// The object of an open handle of the right kind that grants `access`; else null, with the last
/// error set.
std::shared_ptr<service_handle> open_as(SC_HANDLE handle, bool manager, DWORD access) {
    auto found = table().handles.find(handle);
    if (found == nullptr || (found->target == nullptr) != manager) {
        return fail(ERROR_INVALID_HANDLE, nullptr);
    }
    if ((found->access & access) != access) {
        return fail(ERROR_ACCESS_DENIED, nullptr);
    }
    return found;
}

/// With the table's lock held.
SC_HANDLE new_handle(const std::shared_ptr<service>& target, DWORD access) {
    ++target->handles;
    return table().handles.add(std::make_shared<service_handle>(service_handle{target, access}));
}

bool is_service_name(std::u16string_view name) {
    return !name.empty() && name.size() <= 256 && name.find_first_of(u"/\\") == name.npos;
}

/// 0, or why no service of these names may be created. With the table's lock held.
DWORD check_new_names(std::u16string_view name, std::u16string_view display_name) {
    if (!is_service_name(name) || display_name.size() > 256) {
        return ERROR_INVALID_NAME;
    }
    if (const service* const old = table().find(name); old != nullptr) {
        return old->marked_for_deletion ? ERROR_SERVICE_MARKED_FOR_DELETE : ERROR_SERVICE_EXISTS;
    }
    for (const auto& each : table().services) {
        if (equal_folded(each->display_name, display_name) ||
            equal_folded(each->name, display_name)) {
            return ERROR_DUPLICATE_SERVICE_NAME;
        }
    }
    return NO_ERROR;
}

/// 0, or why the driver is not loaded. With the table's lock held.
DWORD load(service& target) {
    if (target.marked_for_deletion) {
        return ERROR_SERVICE_MARKED_FOR_DELETE;
    }
    if (target.loaded) {
        return ERROR_SERVICE_ALREADY_RUNNING;
    }
    const std::optional<std::string> path = host_path(target.image_path.c_str());
    if (!path) {
        return GetLastError();
    }
    driver_image image;
    if (const DWORD error = check_driver_image(*path, &image); error != NO_ERROR) {
        return error;
    }
    if (table().refuses_drivers) {
        return ERROR_INVALID_IMAGE_HASH;
    }
    target.loaded = image;
    return NO_ERROR;
}

SERVICE_STATUS status_of(const service& target) {
    SERVICE_STATUS status{};
    status.dwServiceType = SERVICE_KERNEL_DRIVER;
    status.dwCurrentState = target.loaded ? SERVICE_RUNNING : SERVICE_STOPPED;
    status.dwControlsAccepted = target.loaded ? SERVICE_ACCEPT_STOP : 0;
    return status;
}

} // namespace

SC_HANDLE OpenSCManagerW(const WCHAR*, const WCHAR*, DWORD access) {
    if (injected_failure(__func__)) {
        return nullptr;
    }
    return table().handles.add(std::make_shared<service_handle>(service_handle{nullptr, access}));
}

SC_HANDLE CreateServiceW(SC_HANDLE manager, const WCHAR* name, const WCHAR* display_name,
                         DWORD access, DWORD type, DWORD, DWORD, const WCHAR* image_path,
                         const WCHAR*, DWORD*, const WCHAR*, const WCHAR*, const WCHAR*) {
    if (injected_failure(__func__, text_argument, name) ||
        open_as(manager, true, SC_MANAGER_CREATE_SERVICE) == nullptr) {
        return nullptr;
    }
    if (name == nullptr || image_path == nullptr || type != SERVICE_KERNEL_DRIVER) {
        return fail(ERROR_INVALID_PARAMETER, nullptr);
    }
    const WCHAR* const shown = display_name == nullptr ? name : display_name;
    const std::lock_guard hold(table().lock);
    if (const DWORD error = check_new_names(name, shown); error != NO_ERROR) {
        return fail(error, nullptr);
    }
    auto created = std::make_shared<service>();
    created->name = name;
    created->display_name = shown;
    created->image_path = image_path;
    table().services.push_back(created);
    return new_handle(created, access);
}

BOOL StartServiceW(SC_HANDLE service_to_start, DWORD, const WCHAR**) {
    if (injected_failure(__func__, handle_argument, service_to_start)) {
        return FALSE;
    }
    const auto opened = open_as(service_to_start, false, SERVICE_START);
    if (opened == nullptr) {
        return FALSE;
    }
    std::unique_lock hold(table().lock);
    if (const DWORD error = load(*opened->target); error != NO_ERROR) {
        return fail(error);
    }
    hold.unlock();
    debug_print_kernel(u"driver " + opened->target->name + u" loaded\n");
    return TRUE;
}

BOOL ControlService(SC_HANDLE service_to_stop, DWORD control, SERVICE_STATUS* status) {
    if (injected_failure(__func__, handle_argument, service_to_stop)) {
        return FALSE;
    }
    if (control != SERVICE_CONTROL_STOP || status == nullptr) {
        return fail(ERROR_INVALID_PARAMETER);
    }
    const auto opened = open_as(service_to_stop, false, SERVICE_STOP);
    if (opened == nullptr) {
        return FALSE;
    }
    std::unique_lock hold(table().lock);
    service& target = *opened->target;
    if (!target.loaded) {
        return fail(ERROR_SERVICE_NOT_ACTIVE);
    }
    target.loaded.reset();
    *status = status_of(target);
    table().drop_if_done(opened->target);
    hold.unlock();
    debug_print_kernel(u"driver " + target.name + u" unloaded\n");
    return TRUE;
}

BOOL DeleteService(SC_HANDLE service_to_delete) {
    if (injected_failure(__func__, handle_argument, service_to_delete)) {
        return FALSE;
    }
    const auto opened = open_as(service_to_delete, false, DELETE);
    if (opened == nullptr) {
        return FALSE;
    }
    const std::lock_guard hold(table().lock);
    if (opened->target->marked_for_deletion) {
        return fail(ERROR_SERVICE_MARKED_FOR_DELETE);
    }
    opened->target->marked_for_deletion = true;
    return TRUE;
}

BOOL CloseServiceHandle(SC_HANDLE handle) {
    if (injected_failure(__func__, handle_argument, handle)) {
        return FALSE;
    }
    const auto closed = table().handles.take(handle);
    if (closed == nullptr) {
        return fail(ERROR_INVALID_HANDLE);
    }
    if (closed->target != nullptr) {
        const std::lock_guard hold(table().lock);
        --closed->target->handles;
        table().drop_if_done(closed->target);
    }
    return TRUE;
}

namespace kr::host {

namespace detail {

bool is_loaded_image(const driver_image& image) {
    const std::lock_guard hold(table().lock);
    return std::ranges::any_of(table().services, [&image](const auto& each) {
        return each->loaded && each->loaded->device == image.device &&
               each->loaded->inode == image.inode;
    });
}

} // namespace detail

void reset_services() {
    const std::lock_guard hold(table().lock);
    table().services.clear();
    table().handles.clear();
    table().refuses_drivers = policy_from_environment();
}

void refuse_drivers(bool refuse) {
    const std::lock_guard hold(table().lock);
    table().refuses_drivers = refuse;
}

std::vector<std::u16string> service_names() {
    const std::lock_guard hold(table().lock);
    std::vector<std::u16string> names;
    for (const auto& each : table().services) {
        names.push_back(each->name);
    }
    return names;
}

} // namespace kr::host
