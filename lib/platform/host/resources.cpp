/// Resources of the running executable: a short table.
#include "platform/host/resources.h"

#include <algorithm>
#include <deque>
#include <mutex>

#include "platform/host/fold.h"
#include "platform/host/handle_table.h"
#include "platform/host/intercept.h"
#include "platform/host/world.h"

/// The record behind a HRSRC.
struct HRSRC__ {
    std::u16string type;
    std::u16string name;
    std::span<const u8> bytes;
};

namespace {

using namespace kr::host;
using namespace kr::host::detail;

struct resource_list {
    std::mutex lock;
    /// A deque keeps the records in place, so that a HRSRC stays good while others are added.
    std::deque<HRSRC__> records;
};

resource_list& resources() {
    return immortal<resource_list>();
}

/// Checked against the table first, never dereferenced before.
HRSRC__* known(const void* handle) {
    const auto found = std::ranges::find_if(
        resources().records, [handle](const HRSRC__& record) { return &record == handle; });
    return found == resources().records.end() ? nullptr : &*found;
}

} // namespace

HRSRC FindResourceW(HMODULE module, const WCHAR* name, const WCHAR* type) {
    if (injected_failure(__func__, text_argument, name)) {
        return nullptr;
    }
    if (module != nullptr || name == nullptr || type == nullptr) {
        return fail(ERROR_INVALID_PARAMETER, nullptr);
    }
    const std::lock_guard hold(resources().lock);
    DWORD error = ERROR_RESOURCE_TYPE_NOT_FOUND;
    for (HRSRC__& record : resources().records) {
        if (!equal_folded(record.type, type)) {
            continue;
        }
        if (equal_folded(record.name, name)) {
            return &record;
        }
        error = ERROR_RESOURCE_NAME_NOT_FOUND;
    }
    return fail(error, nullptr);
}

DWORD SizeofResource(HMODULE, HRSRC resource) {
    if (const auto fault = intercept(__func__)) {
        return fault->error == 0 ? fault->amount : fail(fault->error, DWORD{0});
    }
    const std::lock_guard hold(resources().lock);
    const HRSRC__* const record = known(resource);
    if (record == nullptr) {
        return fail(ERROR_INVALID_PARAMETER, DWORD{0});
    }
    return static_cast<DWORD>(record->bytes.size());
}

HGLOBAL LoadResource(HMODULE, HRSRC resource) {
    if (injected_failure(__func__)) {
        return nullptr;
    }
    const std::lock_guard hold(resources().lock);
    HRSRC__* const record = known(resource);
    if (record == nullptr) {
        return fail(ERROR_INVALID_PARAMETER, nullptr);
    }
    return record;
}

void* LockResource(HGLOBAL data) {
    if (const auto fault = intercept(__func__)) {
        return fail(fault->error, nullptr);
    }
    const std::lock_guard hold(resources().lock);
    const HRSRC__* const record = known(data);
    // As on Windows the pointer allows what the memory does not: resources are read-only.
    return record == nullptr ? nullptr : const_cast<u8*>(record->bytes.data());
}

namespace kr::host {

bool add_resource(const WCHAR* type, const WCHAR* name, std::span<const u8> bytes) {
    const std::lock_guard hold(resources().lock);
    for (HRSRC__& record : resources().records) {
        if (equal_folded(record.type, type) && equal_folded(record.name, name)) {
            record.bytes = bytes;
            return true;
        }
    }
    resources().records.push_back({type, name, bytes});
    return true;
}

void clear_resources() {
    const std::lock_guard hold(resources().lock);
    resources().records.clear();
}

} // namespace kr::host
