/// The thread module: a record for every thread that it started, and the wait for all of them.
///
/// Locks: the state lock guards `stopping`, the list lock both lists; the state lock is taken
/// first. The stop takes them one after the other, so that a thread which finishes meanwhile and
/// holds the state lock cannot wait for it.
#include "base/threads/threads.h"

#include <atomic>
#include <cstdlib>
#include <new>

#include "base/memory/list_link.h"
#include "base/threads/mutex_section.h"
#include "platform/platform.h"
#include "result/failures.h"

using kr::detail::generic_failure;
using kr::detail::invalid_argument;
using kr::detail::list_link;
using kr::detail::mutex_guard;

namespace {

struct thread_record : list_link {
    HANDLE handle = nullptr;
    void (*fn)(void*) = nullptr;
    void* arg = nullptr;
};

struct module_state {
    kr_mutex state_lock{};
    kr_mutex list_lock{};
    u32 stopping = 0;
    /// Threads started and not yet finished, oldest first.
    list_link running;
    /// Records of finished threads, for reuse: the one that came last goes first.
    list_link idle;
    /// Whether the locks exist. Written by start and stop; stays set when a stop fails.
    std::atomic<bool> open = false;
    /// Number of threads that use the locks or are about to look whether they may.
    std::atomic<u32> visitors = 0;
};

constinit module_state state;

/// Announces the use of the locks. The stop lets nobody in once it has closed, then waits for those
/// inside before it destroys the locks; hence a creation may run into a stop at any point. Both
/// sides write their own word, then read the other's, in the one order that all threads agree on.
class visit {
public:
    visit() {
        state.visitors.fetch_add(1);
        admitted_ = state.open.load();
    }
    visit(const visit&) = delete;
    visit& operator=(const visit&) = delete;
    ~visit() { state.visitors.fetch_sub(1); }

    [[nodiscard]] bool admitted() const { return admitted_; }

private:
    bool admitted_;
};

void wait_for_visitors() {
    while (state.visitors.load() != 0) {
        Sleep(1);
    }
}

int system_priority(u32 priority) {
    switch (priority) {
    case KR_THREAD_PRIORITY_IDLE:
        return THREAD_PRIORITY_IDLE;
    case KR_THREAD_PRIORITY_LOW:
        return THREAD_PRIORITY_LOWEST;
    case KR_THREAD_PRIORITY_HIGH:
        return THREAD_PRIORITY_TIME_CRITICAL;
    default:
        return THREAD_PRIORITY_NORMAL;
    }
}

/// A record outside both lists, or null when there is no memory. Records come from the runtime heap
/// and not from the hooks: they outlive the modules that an allocator of the program may need.
thread_record* take_record() {
    if (!state.idle.empty()) {
        list_link* const first = state.idle.next;
        first->unlink();
        return static_cast<thread_record*>(first);
    }
    void* const block = std::malloc(sizeof(thread_record));
    return block != nullptr ? new (block) thread_record{} : nullptr;
}

/// Puts a record that is on the running list first among the free ones.
void set_idle(thread_record& record) {
    record.unlink();
    record.insert_before(*state.idle.next);
}

/// While the stop is under way it owns the record and the handle.
void finish(thread_record& record) {
    const visit visiting;
    const mutex_guard state_guard(state.state_lock);
    if (state.stopping != 0) {
        return;
    }
    const mutex_guard list_guard(state.list_lock);
    CloseHandle(record.handle);
    set_idle(record);
}

unsigned WINAPI run_thread(void* argument) {
    auto& record = *static_cast<thread_record*>(argument);
    record.fn(record.arg);
    finish(record);
    return 0;
}

kr_result thread_module_init() {
    if (state.open.load()) {
        // A stop has failed: its locks and the threads that it did not wait for are still there.
        const mutex_guard state_guard(state.state_lock);
        state.stopping = 0;
        return KR_SUCCESS;
    }
    state.stopping = 0;
    kr_result result = kr_mutex_init(&state.list_lock);
    if (kr_result_failed(result)) {
        return result;
    }
    // Locks do not fail on this system; the start undoes itself where one could.
    result = kr_mutex_init(&state.state_lock);
    if (kr_result_failed(result)) {
        kr_mutex_destroy(&state.list_lock);
        return result;
    }
    state.open.store(true);
    return KR_SUCCESS;
}

/// Waits for every thread on the running list, closes its handle and frees its record for reuse;
/// KR_SUCCESS, or the wrapped error of the first wait that failed.
kr_result join_running_threads() {
    const mutex_guard list_guard(state.list_lock);
    while (!state.running.empty()) {
        auto& record = static_cast<thread_record&>(*state.running.next);
        if (WaitForSingleObject(record.handle, INFINITE) == WAIT_FAILED) {
            return kr_result_make_win32(GetLastError());
        }
        CloseHandle(record.handle);
        set_idle(record);
    }
    return KR_SUCCESS;
}

kr_result thread_module_fini() {
    {
        const mutex_guard state_guard(state.state_lock);
        state.stopping = 1;
    }
    const kr_result result = join_running_threads();
    if (kr_result_failed(result)) {
        return result;
    }
    state.open.store(false);
    wait_for_visitors();
    kr_mutex_destroy(&state.list_lock);
    kr_mutex_destroy(&state.state_lock);
    for (list_link* at = state.idle.next; at != &state.idle;) {
        auto* const record = static_cast<thread_record*>(at);
        at = at->next;
        std::free(record);
    }
    state.idle.clear();
    return KR_SUCCESS;
}

} // namespace

kr_result kr_thread_create(void (*fn)(void* arg), u32 priority, void* arg) {
    if (fn == nullptr) {
        return invalid_argument();
    }
    const visit visiting;
    if (!visiting.admitted()) {
        return generic_failure();
    }
    const mutex_guard state_guard(state.state_lock);
    if (state.stopping != 0) {
        return generic_failure();
    }
    const mutex_guard list_guard(state.list_lock);
    thread_record* const record = take_record();
    if (record == nullptr) {
        return kr_result_make_error(KR_OUT_OF_MEMORY);
    }
    record->insert_before(state.running);
    record->fn = fn;
    record->arg = arg;
    const std::uintptr_t started = _beginthreadex(nullptr, 0, run_thread, record, 0, nullptr);
    if (started == 0) {
        const DWORD error = GetLastError();
        set_idle(*record);
        return kr_result_make_win32(error);
    }
    // NOLINTNEXTLINE(performance-no-int-to-ptr): the runtime returns the handle as a number
    record->handle = reinterpret_cast<HANDLE>(started);
    // The thread cannot end before the locks are released, so the handle is still open here.
    SetThreadPriority(record->handle, system_priority(priority));
    return KR_SUCCESS;
}

kr_result kr_thread_create_normal(void (*fn)(void* arg), void* arg) {
    return kr_thread_create(fn, KR_THREAD_PRIORITY_NORMAL, arg);
}

u32 kr_thread_current_id() {
    return GetCurrentThreadId();
}

u32 kr_thread_context_query() {
    return 1;
}

kr_module* kr_thread_module() {
    static constexpr kr_module_descriptor dependencies[] = {kr_mutex_module, nullptr};
    static constinit kr_module module = {.name = "thread",
                                         .init = thread_module_init,
                                         .fini = thread_module_fini,
                                         .dependencies = dependencies};
    return &module;
}

void kr_thread_module_register() {
    kr_module_register(kr_thread_module());
}
