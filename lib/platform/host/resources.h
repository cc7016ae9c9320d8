/// The stand-in's resources of the running executable. What a resource compiler links in on
/// Windows, a program adds here at its start.
#pragma once

#include <span>

#include "platform/host/win_types.h"

using HRSRC = struct HRSRC__*;
using HGLOBAL = void*;

/// `module` is null, the running program. Type and name are compared without regard to
/// case. Null with 1813 for an unknown type, 1814 for an unknown name.
HRSRC FindResourceW(HMODULE module, const WCHAR* name, const WCHAR* type);
/// 0 with 87 for a handle that FindResourceW did not return.
DWORD SizeofResource(HMODULE module, HRSRC resource);
HGLOBAL LoadResource(HMODULE module, HRSRC resource);
/// The bytes, valid for the life of the process.
void* LockResource(HGLOBAL data);

namespace kr::host {

/// Embeds `bytes` under type and name, replacing what stood there; nothing is copied, so the bytes
/// outlive their use. Returns true, so that a program can add from a static initialiser.
bool add_resource(const WCHAR* type, const WCHAR* name, std::span<const u8> bytes);
/// Takes all resources away.
void clear_resources();

} // namespace kr::host
