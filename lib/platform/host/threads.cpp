/// Threads and priorities on the standard library's threads.
#include "platform/host/threads.h"

#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <system_error>
#include <thread>
#include <unistd.h>

#include "platform/host/handle_table.h"
#include "platform/host/intercept.h"
#include "platform/host/thread_handles.h"

namespace {

using namespace kr::host;
using namespace kr::host::detail;

/// One started thread; shared by the thread itself and its handle.
struct thread_object {
    std::atomic<DWORD> id{0};
    std::atomic<int> priority{THREAD_PRIORITY_NORMAL};

    std::mutex lock;
    std::condition_variable changed;
    bool finished = false;
    /// Joined by the first wait that sees the end, or detached by the handle's close.
    std::thread thread;
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

void run_thread(const std::shared_ptr<thread_object>& self, unsigned (*start)(void*),
                void* argument) {
    own_thread = self;
    self->id = GetCurrentThreadId();
    start(argument);
    const std::lock_guard hold(self->lock);
    self->finished = true;
    self->changed.notify_all();
}

std::string thread_argument() {
    return "thread";
}

} // namespace

std::uintptr_t _beginthreadex(void*, unsigned, unsigned (*start)(void*), void* argument, unsigned,
                              unsigned* id) {
    if (injected_failure(__func__)) {
        errno = EAGAIN;
        return 0;
    }
    auto object = std::make_shared<thread_object>();
    // Held over the start, so that no wait or close sees `thread` before it is written.
    const std::lock_guard hold(object->lock);
    try {
        object->thread = std::thread(run_thread, object, start, argument);
    } catch (const std::system_error&) {
        errno = EAGAIN;
        return fail(ERROR_NO_SYSTEM_RESOURCES, std::uintptr_t{0});
    }
    if (id != nullptr) {
        while ((*id = object->id) == 0) {
            std::this_thread::yield();
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
    if (object->thread.joinable()) {
        object->thread.join();
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
    if (object->thread.joinable()) {
        object->thread.detach();
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
    if (injected_failure(__func__, thread_argument)) {
        return THREAD_PRIORITY_ERROR_RETURN;
    }
    const std::shared_ptr<thread_object> object = find_thread(thread);
    if (object == nullptr) {
        return fail(ERROR_INVALID_HANDLE, THREAD_PRIORITY_ERROR_RETURN);
    }
    return object->priority;
}
