/// Typed settings with a text form of their own: addresses, subnets, GUIDs. Public; the contract
/// common to all of them stands in settings/typed.h.
#pragma once

#include "../platform/types.h"
#include "../result/result.h"
#include "store.h"

struct KRGUID;

/// An IPv4 network. `address` has its first dotted component in the most significant byte;
/// `prefix` is the prefix length, at most 255.
struct kr_ip_subnet {
    u32 address;
    u32 prefix;
};

/// An IPv4 address, stored as a dotted quad; the first component is the most significant byte.
/// Reading fails with KR_GENERIC on anything but four components of at most 255, and with
/// KR_INVALID_ARGUMENT_TO_FUNCTION on a character outside ASCII.
[[nodiscard]] kr_result kr_settings_get_ip_address(kr_settings_handle settings, const kr_char* name,
                                                   u32* out);
[[nodiscard]] kr_result kr_settings_set_ip_address(kr_settings_handle settings, const kr_char* name,
                                                   u32 value);

/// A subnet, stored as address, "/" and prefix length. Reading also takes a prefix in hexadecimal
/// (0x10) or octal (010), and none behind the "/" as 0; it fails as for an address, and with
/// KR_GENERIC without a "/" or with anything but a number of at most 255 behind it. Neither side
/// checks that the prefix is at most 32.
[[nodiscard]] kr_result kr_settings_get_ip_subnet(kr_settings_handle settings, const kr_char* name,
                                                  kr_ip_subnet* out);
/// A prefix above 255 is KR_INVALID_ARGUMENT_TO_FUNCTION.
[[nodiscard]] kr_result kr_settings_set_ip_subnet(kr_settings_handle settings, const kr_char* name,
                                                  const kr_ip_subnet* value);

/// A GUID, stored as 32 hexadecimal digits. Reading fails with KR_GENERIC on another length and
/// with KR_INVALID_ARGUMENT_TO_FUNCTION on another character.
[[nodiscard]] kr_result kr_settings_get_guid(kr_settings_handle settings, const kr_char* name,
                                             KRGUID* out);
[[nodiscard]] kr_result kr_settings_set_guid(kr_settings_handle settings, const kr_char* name,
                                             const KRGUID* value);
