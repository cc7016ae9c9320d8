/// The slow side of the lock: a spin that keeps away from it, then a sleep in the kernel.
///
/// A thread that finds the lock taken stays away from it for a while before it looks again, and
/// goes to sleep when it was unlucky a few times. While it looks all the time, it keeps taking the
/// lock's cache line, and what the lock guards, from the thread that works; while it sleeps at
/// once, each change of hands costs two system calls. Between two threads at one pool that is 25 ns
/// for each pair of calls against several hundred and 130.
#include "platform/host/lock.h"

#include <cstdlib>
#include <linux/futex.h>
#include <memory>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

constexpr int looks_before_sleep = 3;
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

/// Sleeps while `word` holds `value`, or wakes as many as `value` says. Not the standard's wait and
/// notify, which spin first. What fails is tried again by the loop around a wait.
void futex(std::atomic<DWORD>& word, int operation, DWORD value) {
    static_assert(sizeof word == sizeof value && std::atomic<DWORD>::is_always_lock_free);
    syscall(SYS_futex, &word, operation, value, nullptr, nullptr, 0);
}

} // namespace

namespace kr::host::detail {

void enter_contended(CRITICAL_SECTION* section) {
    const DWORD self = GetCurrentThreadId();
    for (int i = 0; i < looks_before_sleep; ++i) {
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

void wake_one(CRITICAL_SECTION* section) {
    futex(section->state, FUTEX_WAKE_PRIVATE, 1);
}

} // namespace kr::host::detail

void InitializeCriticalSection(CRITICAL_SECTION* section) {
    std::construct_at(section);
}

void DeleteCriticalSection(CRITICAL_SECTION* section) {
    // Used outside its life, or left by another thread: no result could say so.
    if (section->state.load(std::memory_order_relaxed) != 0) {
        std::abort();
    }
    std::destroy_at(section);
}
