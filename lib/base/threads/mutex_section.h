/// The system's lock inside a kr_mutex, for sources whose hot path takes one: without the calls of
/// base/threads/sync.h in between. Reaches the system; not for public headers.
#pragma once

#include "base/threads/sync.h"
#include "platform/platform.h"

namespace kr::detail {

static_assert(sizeof(kr_mutex) >= sizeof(CRITICAL_SECTION), "kr_mutex has room for the lock");
static_assert(alignof(kr_mutex) >= alignof(CRITICAL_SECTION), "kr_mutex is aligned for the lock");

inline CRITICAL_SECTION* section_of(kr_mutex* mutex) {
    return reinterpret_cast<CRITICAL_SECTION*>(mutex->opaque);
}

} // namespace kr::detail
