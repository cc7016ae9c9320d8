/// The stand-in's service manager: a table of services that lives as long as the process. Only
/// kernel drivers are started: the image is opened and checked, never run. Every handle has all
/// rights. Calls on a service give 6 for any other handle.
#pragma once

#include "platform/host/win_types.h"

using SC_HANDLE = struct SC_HANDLE__*;

inline constexpr DWORD SC_MANAGER_ALL_ACCESS = 0xF003F;
inline constexpr DWORD SERVICE_ALL_ACCESS = 0xF01FF;
inline constexpr DWORD SERVICE_KERNEL_DRIVER = 1;
inline constexpr DWORD SERVICE_DEMAND_START = 3;
inline constexpr DWORD SERVICE_DISABLED = 4;
inline constexpr DWORD SERVICE_ERROR_NORMAL = 1;
inline constexpr DWORD SERVICE_CONTROL_STOP = 1;
inline constexpr DWORD SERVICE_STOPPED = 1;

struct SERVICE_STATUS {
    DWORD dwServiceType;
    DWORD dwCurrentState;
    DWORD dwControlsAccepted;
    DWORD dwWin32ExitCode;
    DWORD dwServiceSpecificExitCode;
    DWORD dwCheckPoint;
    DWORD dwWaitHint;
};

/// `machine` and `database` are null or empty.
SC_HANDLE OpenSCManagerW(const WCHAR* machine, const WCHAR* database, DWORD access);
/// Null with 487 for a null name or path, 6, 87 for a type other than a kernel driver, 123 for a
/// bad name, 1073 when the name exists (letter case ignored), 1072 when it waits for its deletion,
/// 1078 when the display name is another service's name. SERVICE_DISABLED is the one start type
/// that counts.
SC_HANDLE CreateServiceW(SC_HANDLE manager, const WCHAR* name, const WCHAR* display_name,
                         DWORD access, DWORD type, DWORD start_type, DWORD error_control,
                         const WCHAR* image_path, const WCHAR* load_group, DWORD* tag,
                         const WCHAR* dependencies, const WCHAR* account, const WCHAR* password);
/// Loads the driver's image: 1072 when the service waits for its deletion, 1058 when disabled, 1056
/// when running, 2 or 3 when the image is missing, 193 when it is not a PE32+ image for x86-64 of
/// the native subsystem, 577 when it carries no signature block or the policy refuses it.
BOOL StartServiceW(SC_HANDLE handle, DWORD argument_count, const WCHAR** arguments);
/// SERVICE_CONTROL_STOP only, else 87; 1062 when the service is stopped.
BOOL ControlService(SC_HANDLE handle, DWORD control, SERVICE_STATUS* status);
/// Marks the service; it goes when the last handle is closed and it is stopped. 1072 the second
/// time.
BOOL DeleteService(SC_HANDLE handle);
BOOL CloseServiceHandle(SC_HANDLE handle);
