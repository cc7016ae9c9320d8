/// Clocks, read from the kernel's shared page; a test may stop them.
#include "platform/host/clock.h"

#include <ctime>

#include "platform/host/intercept.h"
#include "platform/host/world.h"

namespace {

using namespace kr::host;
using namespace kr::host::detail;

constexpr u64 ticks_per_second = 10'000'000;
constexpr u64 nanoseconds_per_tick = 100;
constexpr u64 unix_epoch_ticks = 11'644'473'600 * ticks_per_second;

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
    return static_cast<u64>(now.tv_sec) * ticks_per_second +
           static_cast<u64>(now.tv_nsec) / nanoseconds_per_tick;
}

u64 from_filetime(const FILETIME& time) {
    return static_cast<u64>(time.dwHighDateTime) << 32 | time.dwLowDateTime;
}

FILETIME to_filetime(u64 ticks) {
    return {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
}

i64 local_offset_seconds() {
    if (overridden(watch_fixed_offset)) {
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
    *time = to_filetime(overridden(watch_stopped_clock)
                            ? stopped_utc.load()
                            : unix_epoch_ticks + read_ticks(CLOCK_REALTIME_COARSE));
}

BOOL LocalFileTimeToFileTime(const FILETIME* local, FILETIME* utc) {
    if (injected_failure(__func__)) {
        return FALSE;
    }
    const i64 ticks = static_cast<i64>(from_filetime(*local));
    i64 moved = 0;
    if (ticks < 0 ||
        __builtin_sub_overflow(ticks, local_offset_seconds() * i64{ticks_per_second}, &moved) ||
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
        overridden(watch_stopped_clock) ? stopped_counter.load() : read_ticks(CLOCK_MONOTONIC));
    return TRUE;
}

BOOL QueryPerformanceFrequency(LARGE_INTEGER* frequency) {
    if (injected_failure(__func__)) {
        return FALSE;
    }
    frequency->QuadPart = ticks_per_second;
    return TRUE;
}

namespace kr::host {

void stop_clock(u64 utc_ticks, u64 counter_ticks) {
    stopped_utc = utc_ticks;
    stopped_counter = counter_ticks;
    set_override(watch_stopped_clock, true);
}

void run_clock() {
    set_override(watch_stopped_clock, false);
}

void fix_local_offset(i32 seconds) {
    fixed_offset = seconds;
    set_override(watch_fixed_offset, true);
}

void use_system_offset() {
    set_override(watch_fixed_offset, false);
}

} // namespace kr::host
