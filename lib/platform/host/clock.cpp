/// Clocks, read from the kernel's shared page; a test may stop them.
#include "platform/host/clock.h"

#include "platform/host/intercept.h"
#include "platform/host/world.h"

#include <ctime>

namespace {

using namespace kr::host;
using namespace kr::host::detail;

constexpr u64 TICKS_PER_SECOND = 10'000'000;
constexpr u64 NANOSECONDS_PER_TICK = 100;
constexpr u64 UNIX_EPOCH_TICKS = 11'644'473'600 * TICKS_PER_SECOND;

std::atomic<u64> stopped_utc{0};
std::atomic<u64> stopped_counter{0};
std::atomic<i32> fixed_offset{0};

void set_override(u32 flag, bool on) {
    if (on) {
        watched.fetch_or(flag, std::memory_order_release);
    } else {
        watched.fetch_and(~flag, std::memory_order_release);
    }
}

bool overridden(u32 flag) {
    return (watched.load(std::memory_order_acquire) & flag) != 0;
}

u64 read_ticks(clockid_t clock) {
    timespec now{};
    clock_gettime(clock, &now);
    return static_cast<u64>(now.tv_sec) * TICKS_PER_SECOND +
           static_cast<u64>(now.tv_nsec) / NANOSECONDS_PER_TICK;
}

u64 from_filetime(const FILETIME& time) {
    return static_cast<u64>(time.dwHighDateTime) << 32 | time.dwLowDateTime;
}

FILETIME to_filetime(u64 ticks) {
    return {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
}

i64 local_offset_seconds() {
    if (overridden(WATCH_FIXED_OFFSET)) {
        return fixed_offset.load();
    }
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    return local.tm_gmtoff;
}

} // namespace

void GetSystemTimeAsFileTime(FILETIME* time) {
    // The time of the last timer tick, as on Windows: a fifth of the cost of the exact one.
    *time = to_filetime(overridden(WATCH_STOPPED_CLOCK)
                            ? stopped_utc.load()
                            : UNIX_EPOCH_TICKS + read_ticks(CLOCK_REALTIME_COARSE));
}

BOOL LocalFileTimeToFileTime(const FILETIME* local, FILETIME* utc) {
    if (injected_failure(__func__)) {
        return FALSE;
    }
    const i64 ticks = static_cast<i64>(from_filetime(*local));
    i64 moved = 0;
    if (ticks < 0 ||
        __builtin_sub_overflow(ticks, local_offset_seconds() * i64{TICKS_PER_SECOND}, &moved) ||
        moved < 0) {
        return fail(ERROR_INVALID_PARAMETER);
    }
    *utc = to_filetime(static_cast<u64>(moved));
    return TRUE;
}

BOOL QueryPerformanceCounter(LARGE_INTEGER* ticks) {
    if (injected_failure(__func__)) {
        return FALSE;
    }
    ticks->QuadPart = static_cast<i64>(
        overridden(WATCH_STOPPED_CLOCK) ? stopped_counter.load() : read_ticks(CLOCK_MONOTONIC));
    return TRUE;
}

BOOL QueryPerformanceFrequency(LARGE_INTEGER* ticks_per_second) {
    if (injected_failure(__func__)) {
        return FALSE;
    }
    ticks_per_second->QuadPart = TICKS_PER_SECOND;
    return TRUE;
}

namespace kr::host {

void stop_clock(u64 utc_ticks, u64 counter_ticks) {
    stopped_utc = utc_ticks;
    stopped_counter = counter_ticks;
    set_override(WATCH_STOPPED_CLOCK, true);
}

void run_clock() {
    set_override(WATCH_STOPPED_CLOCK, false);
}

void fix_local_offset(i32 seconds) {
    fixed_offset = seconds;
    set_override(WATCH_FIXED_OFFSET, true);
}

void use_system_offset() {
    set_override(WATCH_FIXED_OFFSET, false);
}

} // namespace kr::host
