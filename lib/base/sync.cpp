/// The lock on the system's critical section.
#include "base/sync.h"

#include "platform/platform.h"

static_assert(sizeof(kr_mutex) >= sizeof(CRITICAL_SECTION) &&
                  alignof(kr_mutex) >= alignof(CRITICAL_SECTION),
              "kr_mutex has room for the system's lock");

namespace {

CRITICAL_SECTION* section_of(kr_mutex* mutex) {
    return reinterpret_cast<CRITICAL_SECTION*>(mutex->opaque);
}

} // namespace

kr_result kr_mutex_init(kr_mutex* mutex) {
    InitializeCriticalSection(section_of(mutex));
    return KR_SUCCESS;
}

void kr_mutex_lock(kr_mutex* mutex) {
    EnterCriticalSection(section_of(mutex));
}

void kr_mutex_unlock(kr_mutex* mutex) {
    LeaveCriticalSection(section_of(mutex));
}

kr_result kr_mutex_destroy(kr_mutex* mutex) {
    DeleteCriticalSection(section_of(mutex));
    return KR_SUCCESS;
}

kr_module* kr_mutex_module() {
    static constinit kr_module module = {
        .name = "mutex", .init = nullptr, .fini = nullptr, .dependencies = nullptr};
    return &module;
}

kr_module* kr_spinlock_module() {
    static constexpr kr_module_descriptor dependencies[] = {kr_mutex_module, nullptr};
    static constinit kr_module module = {
        .name = "spinlock", .init = nullptr, .fini = nullptr, .dependencies = dependencies};
    return &module;
}
