/// The service manager: a table of services under one lock, and handles on it.
#include "platform/host/services.h"

#include <algorithm>
#include <cstdlib>
#include <optional>
#include <utility>
#include <vector>

#include "platform/host/driver_images.h"
#include "platform/host/fold.h"
#include "platform/host/handle_table.h"
#include "platform/host/intercept.h"
#include "platform/host/paths.h"
#include "platform/host/world.h"

namespace {

using namespace kr::host;
using namespace kr::host::detail;

struct service {
    std::u16string name;
    std::u16string image_path;
    bool disabled = false;
    bool loaded = false;
    bool marked_for_deletion = false;
    u32 handles = 0;
};

/// What a handle stands for: the manager when `target` is null.
struct service_handle {
    std::shared_ptr<service> target;
};

bool policy_from_environment() {
    const char* const policy = std::getenv("KR_HOST_DRIVER_POLICY");
    return policy != nullptr && std::string_view(policy) == "refuse";
}

struct service_table {
    std::mutex lock;
    /// In the order of their creation.
    std::vector<std::shared_ptr<service>> services;
    handle_table<SC_HANDLE, service_handle> handles;
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

/// The service behind an open handle; null with the last error set when there is none.
std::shared_ptr<service> open_service(SC_HANDLE handle) {
    const auto found = table().handles.find(handle);
    return found != nullptr && found->target != nullptr ? found->target
                                                        : fail(ERROR_INVALID_HANDLE, nullptr);
}

bool is_service_name(std::u16string_view name) {
    return !name.empty() && name.size() <= 256 && name.find_first_of(u"/\\") == name.npos;
}

/// 0, or why no service of these names may be created. With the table's lock held.
LONG check_new_names(std::u16string_view name, std::u16string_view display_name) {
    if (!is_service_name(name) || display_name.size() > 256) {
        return ERROR_INVALID_NAME;
    }
    if (const service* const old = table().find(name); old != nullptr) {
        return old->marked_for_deletion ? ERROR_SERVICE_MARKED_FOR_DELETE : ERROR_SERVICE_EXISTS;
    }
    return table().find(display_name) == nullptr ? ERROR_SUCCESS : ERROR_DUPLICATE_SERVICE_NAME;
}

/// 0, or why the driver is not loaded. With the table's lock held.
DWORD load(service& target) {
    if (target.marked_for_deletion) {
        return ERROR_SERVICE_MARKED_FOR_DELETE;
    }
    if (target.disabled) {
        return ERROR_SERVICE_DISABLED;
    }
    if (target.loaded) {
        return ERROR_SERVICE_ALREADY_RUNNING;
    }
    const std::optional<std::string> path = host_path(target.image_path.c_str());
    if (!path) {
        return GetLastError();
    }
    const DWORD error = check_driver_image(*path);
    if (error == NO_ERROR && table().refuses_drivers) {
        return ERROR_INVALID_IMAGE_HASH;
    }
    target.loaded = error == NO_ERROR;
    return error;
}

} // namespace

SC_HANDLE OpenSCManagerW(const WCHAR*, const WCHAR*, DWORD) {
    if (injected_failure(__func__)) {
        return nullptr;
    }
    return table().handles.add(std::make_shared<service_handle>());
}

SC_HANDLE CreateServiceW(SC_HANDLE manager, const WCHAR* name, const WCHAR* display_name, DWORD,
                         DWORD type, DWORD start_type, DWORD, const WCHAR* image_path, const WCHAR*,
                         DWORD*, const WCHAR*, const WCHAR*, const WCHAR*) {
    if (injected_failure(__func__, text_argument, name)) {
        return nullptr;
    }
    if (name == nullptr || image_path == nullptr) {
        return fail(ERROR_INVALID_ADDRESS, nullptr);
    }
    const auto opened = table().handles.find(manager);
    if (opened == nullptr || opened->target != nullptr) {
        return fail(ERROR_INVALID_HANDLE, nullptr);
    }
    if (type != SERVICE_KERNEL_DRIVER) {
        return fail(ERROR_INVALID_PARAMETER, nullptr);
    }
    const std::lock_guard hold(table().lock);
    if (const LONG error = check_new_names(name, display_name == nullptr ? name : display_name)) {
        return fail(error, nullptr);
    }
    auto created = std::make_shared<service>(service{name, image_path});
    created->disabled = start_type == SERVICE_DISABLED;
    created->handles = 1;
    table().services.push_back(created);
    return table().handles.add(std::make_shared<service_handle>(service_handle{created}));
}

BOOL StartServiceW(SC_HANDLE handle, DWORD, const WCHAR**) {
    if (injected_failure(__func__, handle_argument, handle)) {
        return FALSE;
    }
    const std::shared_ptr<service> target = open_service(handle);
    if (target == nullptr) {
        return FALSE;
    }
    std::unique_lock hold(table().lock);
    if (const DWORD error = load(*target); error != NO_ERROR) {
        return fail(error);
    }
    hold.unlock();
    debug_print_kernel(u"driver " + target->name + u" loaded\n");
    return TRUE;
}

BOOL ControlService(SC_HANDLE handle, DWORD control, SERVICE_STATUS* status) {
    if (injected_failure(__func__, handle_argument, handle)) {
        return FALSE;
    }
    if (control != SERVICE_CONTROL_STOP || status == nullptr) {
        return fail(ERROR_INVALID_PARAMETER);
    }
    const std::shared_ptr<service> target = open_service(handle);
    if (target == nullptr) {
        return FALSE;
    }
    std::unique_lock hold(table().lock);
    if (!target->loaded) {
        return fail(ERROR_SERVICE_NOT_ACTIVE);
    }
    target->loaded = false;
    *status = {};
    status->dwServiceType = SERVICE_KERNEL_DRIVER;
    status->dwCurrentState = SERVICE_STOPPED;
    table().drop_if_done(target);
    hold.unlock();
    debug_print_kernel(u"driver " + target->name + u" unloaded\n");
    return TRUE;
}

BOOL DeleteService(SC_HANDLE handle) {
    if (injected_failure(__func__, handle_argument, handle)) {
        return FALSE;
    }
    const std::shared_ptr<service> target = open_service(handle);
    if (target == nullptr) {
        return FALSE;
    }
    const std::lock_guard hold(table().lock);
    if (std::exchange(target->marked_for_deletion, true)) {
        return fail(ERROR_SERVICE_MARKED_FOR_DELETE);
    }
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
