/// Stores the verdict in the registry.
#include "verdict.h"

#include "platform/platform.h"
#include "report.h"
#include "scope_guard.h"

namespace kr {
namespace {

constexpr const kr_char* key_path = KR_TEXT("SOFTWARE\\Korinth");
constexpr const kr_char* value_name = KR_TEXT("driver_signature_supported");

} // namespace

bool store_system_support_for_driver_signature(bool supported) {
    constexpr const char* function = "kr::store_system_support_for_driver_signature";
    HKEY key = nullptr;
    LSTATUS status =
        RegCreateKeyExW(HKEY_LOCAL_MACHINE, key_path, 0, nullptr, REG_OPTION_NON_VOLATILE,
                        KEY_SET_VALUE, nullptr, &key, nullptr);
    if (status != ERROR_SUCCESS) {
        warn(function, "Unable to create kr key '%_s', error code = %ld", key_path, status);
        return false;
    }
    const scope_guard close_key(RegCloseKey, key);

    const DWORD value = supported ? 1 : 0;
    status = RegSetValueExW(key, value_name, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&value),
                            sizeof(value));
    if (status != ERROR_SUCCESS) {
        warn(function, "Unable to store value '%_s' in key '%_s', error code = %ld", value_name,
             key_path, status);
        return false;
    }
    notice(function, "Set registry DWORD value HKLM\\%_s\\%_s to %u", key_path, value_name, value);
    return true;
}

} // namespace kr
