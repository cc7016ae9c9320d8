/// Where the verdict is kept. Reaches the registry.
#pragma once

namespace kr {

/// Writes 1 (supported) or 0 to the DWORD value `driver_signature_supported` of
/// HKEY_LOCAL_MACHINE\SOFTWARE\Korinth, which is created when missing. Returns false, after a
/// warning, when the key or the value cannot be written. Needs the rights of an administrator.
[[nodiscard]] bool store_system_support_for_driver_signature(bool supported);

} // namespace kr
