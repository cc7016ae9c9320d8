/// Installs, starts, stops and removes the driver's service, whatever fails in between.
#include "driver_service.h"

#include "platform/platform.h"
#include "report.h"
#include "scope_guard.h"

namespace kr {
namespace {

/// ERROR_INVALID_IMAGE_HASH, which not every SDK names: the system does not accept the signature.
constexpr DWORD invalid_image_hash = 577;

} // namespace

bool load_driver(const kr_char* path, const kr_char* service_name) {
    constexpr const char* function = "kr::load_driver";
    SC_HANDLE manager = OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS);
    if (manager == nullptr) {
        warn(function, "Unable to open a handle to the Service Control Manager, error code = %u",
             GetLastError());
        return false;
    }
    const scope_guard close_manager(CloseServiceHandle, manager);

    SC_HANDLE service =
        CreateServiceW(manager, service_name, service_name, SERVICE_ALL_ACCESS,
                       SERVICE_KERNEL_DRIVER, SERVICE_DEMAND_START, SERVICE_ERROR_NORMAL, path,
                       nullptr, nullptr, nullptr, nullptr, nullptr);
    if (service == nullptr) {
        warn(function, "Unable to create driver service, error code = %u", GetLastError());
        return false;
    }
    const scope_guard close_service(CloseServiceHandle, service);
    const scope_guard delete_service(DeleteService, service);

    if (!StartServiceW(service, 0, nullptr)) {
        if (GetLastError() == invalid_image_hash) {
            warn(function, "This system doesn't support our driver signatures");
        } else {
            warn(function, "Unable to start the driver, error code = %u", GetLastError());
        }
        return false;
    }
    // The verdict stands: a driver that does not stop changes nothing about it.
    SERVICE_STATUS status{};
    (void)ControlService(service, SERVICE_CONTROL_STOP, &status);
    return true;
}

} // namespace kr
