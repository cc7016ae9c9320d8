/// The lock on the system's critical section.
#include "base/threads/sync.h"

#include "base/threads/mutex_section.h"

using kr::detail::section_of;

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
