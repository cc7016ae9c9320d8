/// Locks, threads and priorities on POSIX threads.
#include "platform/host/threads.h"

#include "platform/host/handle_table.h"
#include "platform/host/intercept.h"
#include "platform/host/thread_handles.h"

#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <linux/futex.h>
#include <memory>
#include <sched.h>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>

namespace {

using namespace kr::host;
using namespace kr::host::detail;

/// What a lock operation cannot report: it was used outside its life, or left by another thread.
void must(bool sound) {
    if (!sound) {
        std::abort();
    }
}

/// Sleeps while `word` holds `value`, or wakes as many as `value` says. Not the standard's wait and
/// notify, which spin first. What fails is tried again by the loop around a wait.
void futex(std::atomic<DWORD>& word, int operation, DWORD value) {
    static_assert(sizeof word == sizeof value && std::atomic<DWORD>::is_always_lock_free);
    syscall(SYS_futex, &word, operation, value, nullptr, nullptr, 0);
}

/// One started thread; shared by the thread itself and its handle.
struct thread_object {
    unsigned (*start)(void*) = nullptr;
    void* argument = nullptr;
    pthread_t thread{};
    std::atomic<DWORD> id{0};
    std::atomic<int> priority{THREAD_PRIORITY_NORMAL};

    std::mutex lock;
    std::condition_variable changed;
    bool finished = false;
    /// Joined by a wait, or detached by the handle's close: `thread` is not to be used any more.
    bool reaped = false;
};

using thread_table = handle_table<HANDLE, thread_object>;

thread_table& threads() {
    return immortal<thread_table>();
}

/// The thread's own object, made on demand for threads that this file did not start.
thread_local std::shared_ptr<thread_object> own_thread;

std::shared_ptr<thread_object> find_thread(HANDLE handle) {
    if (handle != GetCurrentThread()) {
        return threads().find(handle);
    }
    if (own_thread == nullptr) {
        own_thread = std::make_shared<thread_object>();
    }
    return own_thread;
}

void* run_thread(void* argument) {
    std::unique_ptr<std::shared_ptr<thread_object>> passed(
        static_cast<std::shared_ptr<thread_object>*>(argument));
    own_thread = *passed;
    passed.reset();
    const std::shared_ptr<thread_object> self = own_thread;
    self->id = GetCurrentThreadId();
    self->start(self->argument);
    const std::lock_guard hold(self->lock);
    self->finished = true;
    self->changed.notify_all();
    return nullptr;
}

std::string thread_argument() {
    return "thread";
}

} // namespace

void InitializeCriticalSection(CRITICAL_SECTION* section) {
    std::construct_at(section);
}

// A thread that finds the lock taken stays away from it for a while before it looks again, and goes
// to sleep when it was unlucky a few times. While it looks all the time, it keeps taking the lock's
// cache line, and what the lock guards, from the thread that works; while it sleeps at once, each
// change of hands costs two system calls. Between two threads at one pool that is 25 ns for each
// pair of calls against several hundred and 130.

namespace {

constexpr int looks = 3;
/// A microsecond or two: the work of many short sections.
constexpr int pauses_before_look = 64;

void stay_away() {
    for (int i = 0; i < pauses_before_look; ++i) {
#if defined(__x86_64__)
        __builtin_ia32_pause();
#else
        std::atomic_signal_fence(std::memory_order_seq_cst); // keeps the loop
#endif
    }
}

} // namespace

void kr::host::detail::enter_contended(CRITICAL_SECTION* section) {
    const DWORD self = GetCurrentThreadId();
    for (int i = 0; i < looks; ++i) {
        stay_away();
        if (section->state.load(std::memory_order_relaxed) == 0 && take(section->state, self)) {
            return;
        }
    }
    // Taken as a lock that others may sleep on: whoever leaves it wakes one.
    for (DWORD seen = 0; !section->state.compare_exchange_strong(
             seen, self | sleepers_bit, std::memory_order_acquire, std::memory_order_relaxed);
         seen = 0) {
        if ((seen & sleepers_bit) != 0 ||
            section->state.compare_exchange_strong(seen, seen | sleepers_bit,
                                                   std::memory_order_relaxed)) {
            futex(section->state, FUTEX_WAIT_PRIVATE, seen | sleepers_bit);
        }
    }
}

void kr::host::detail::wake_one(CRITICAL_SECTION* section) {
    futex(section->state, FUTEX_WAKE_PRIVATE, 1);
}

void DeleteCriticalSection(CRITICAL_SECTION* section) {
    must(section->state.load(std::memory_order_relaxed) == 0);
    std::destroy_at(section);
}

std::uintptr_t _beginthreadex(void*, unsigned, unsigned (*start)(void*), void* argument, unsigned,
                              unsigned* thread_id) {
    if (injected_failure(__func__)) {
        errno = EAGAIN;
        return 0;
    }
    auto object = std::make_shared<thread_object>();
    object->start = start;
    object->argument = argument;
    auto passed = std::make_unique<std::shared_ptr<thread_object>>(object);
    // Held over the start, so that no wait or close sees `thread` before it is written.
    const std::lock_guard hold(object->lock);
    if (pthread_create(&object->thread, nullptr, run_thread, passed.get()) != 0) {
        errno = EAGAIN;
        return fail(ERROR_NO_SYSTEM_RESOURCES, std::uintptr_t{0});
    }
    static_cast<void>(passed.release());
    if (thread_id != nullptr) {
        while ((*thread_id = object->id) == 0) {
            sched_yield();
        }
    }
    return reinterpret_cast<std::uintptr_t>(threads().add(object));
}

DWORD WaitForSingleObject(HANDLE thread, DWORD timeout_ms) {
    if (injected_failure(__func__, thread_argument)) {
        return WAIT_FAILED;
    }
    const std::shared_ptr<thread_object> object = threads().find(thread);
    if (object == nullptr) {
        return fail(ERROR_INVALID_HANDLE, WAIT_FAILED);
    }
    std::unique_lock hold(object->lock);
    const auto is_finished = [&] {
        return object->finished;
    };
    if (timeout_ms == INFINITE) {
        object->changed.wait(hold, is_finished);
    } else if (!object->changed.wait_for(hold, std::chrono::milliseconds(timeout_ms),
                                         is_finished)) {
        return WAIT_TIMEOUT;
    }
    // The thread is over only when its thread-local objects are gone too. It needs no lock for
    // that: it released this one with its last statement.
    if (!object->reaped) {
        object->reaped = true;
        pthread_join(object->thread, nullptr);
    }
    return WAIT_OBJECT_0;
}

namespace kr::host::detail {

bool is_thread_handle(HANDLE handle) {
    return threads().find(handle) != nullptr;
}

bool close_thread_handle(HANDLE handle) {
    const std::shared_ptr<thread_object> object = threads().take(handle);
    if (object == nullptr) {
        return false;
    }
    const std::lock_guard hold(object->lock);
    if (!object->reaped) {
        object->reaped = true;
        pthread_detach(object->thread);
    }
    return true;
}

} // namespace kr::host::detail

void Sleep(DWORD duration_ms) {
    std::this_thread::sleep_for(std::chrono::milliseconds(duration_ms));
}

DWORD kr::host::detail::find_thread_id() {
    return thread_id = static_cast<DWORD>(gettid());
}

HANDLE GetCurrentThread() {
    return reinterpret_cast<HANDLE>(static_cast<std::intptr_t>(-2));
}

BOOL SetThreadPriority(HANDLE thread, int priority) {
    if (injected_failure(__func__, thread_argument)) {
        return FALSE;
    }
    const std::shared_ptr<thread_object> object = find_thread(thread);
    if (object == nullptr) {
        return fail(ERROR_INVALID_HANDLE);
    }
    const bool ordinary = priority >= THREAD_PRIORITY_LOWEST && priority <= THREAD_PRIORITY_HIGHEST;
    if (!ordinary && priority != THREAD_PRIORITY_IDLE &&
        priority != THREAD_PRIORITY_TIME_CRITICAL) {
        return fail(ERROR_INVALID_PARAMETER);
    }
    object->priority = priority;
    return TRUE;
}

int GetThreadPriority(HANDLE thread) {
    const std::shared_ptr<thread_object> object = find_thread(thread);
    if (object == nullptr) {
        return fail(ERROR_INVALID_HANDLE, THREAD_PRIORITY_ERROR_RETURN);
    }
    return object->priority;
}
