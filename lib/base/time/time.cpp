/// Time values, and the system's two clocks. Touches the clocks and the local offset.
#include "base/time/time.h"

#include "log/failure.h"
#include "log/log.h"
#include "log/startup/module.h"
#include "log/trace.h"
#include "platform/platform.h"
#include "result/failures.h"

using kr::detail::invalid_argument;
using kr::detail::unexpected_behaviour;

constinit i32 kr_time_local_offset = 0;

namespace {

constexpr u64 maximum = ~u64{0};
constexpr u64 tick_ns = 100;
constexpr i64 ticks_per_second = 10'000'000;

/// Units per coarser unit, by the number of steps between them, and the largest count that may be
/// multiplied by that.
constexpr u64 factors[] = {1, 1'000, 1'000'000, 1'000'000'000};
constexpr u64 multiplicands[] = {maximum / factors[0], maximum / factors[1], maximum / factors[2],
                                 maximum / factors[3]};

constexpr bool is_unit(i32 unit) {
    return unit <= KR_TIME_UNIT_SECONDS && unit >= KR_TIME_UNIT_NANOSECONDS;
}

/// The finest unit comes first.
constexpr i32 units_by_fineness[] = {KR_TIME_UNIT_NANOSECONDS, KR_TIME_UNIT_MICROSECONDS,
                                     KR_TIME_UNIT_MILLISECONDS, KR_TIME_UNIT_SECONDS};

/// `count` / factors[steps], by constants: a division by a variable costs ten times as much, and
/// every stamped log line needs one.
constexpr u64 divide_steps(u64 count, i32 steps) {
    switch (steps) {
    case 0:
        return count;
    case 1:
        return count / factors[1];
    case 2:
        return count / factors[2];
    default:
        return count / factors[3];
    }
}

kr_result count_in(const kr_time* t, i32 unit, u64* out) {
    if (t == nullptr || out == nullptr) {
        return invalid_argument();
    }
    kr_time copy = *t;
    const kr_result result = kr_time_convert(&copy, unit);
    if (kr_result_succeeded(result)) {
        *out = copy.count;
    }
    return result;
}

void set_duration(kr_time* out, i32 unit, u64 count) {
    if (out != nullptr) {
        *out = {.unit = unit, .count = count, .relative = 1};
    }
}

u64 ticks_of(const FILETIME& time) {
    return u64{time.dwHighDateTime} << 32 | time.dwLowDateTime;
}

kr_result start() {
    kr_time_local_offset = 0;
    FILETIME now{};
    GetSystemTimeAsFileTime(&now);
    FILETIME utc{};
    if (LocalFileTimeToFileTime(&now, &utc) != FALSE) {
        const i64 ahead = static_cast<i64>(ticks_of(now)) - static_cast<i64>(ticks_of(utc));
        kr_time_local_offset = static_cast<i32>(ahead / ticks_per_second);
    }
    return KR_SUCCESS;
}

constinit kr_module time_module = {
    .name = "time", .init = start, .fini = nullptr, .dependencies = nullptr};

} // namespace

kr_result kr_time_get_current(kr_time* out) {
    if (out == nullptr) {
        return invalid_argument();
    }
    FILETIME now{};
    GetSystemTimeAsFileTime(&now);
    const u64 ticks = ticks_of(now);
    if (ticks > maximum / tick_ns) {
        return kr_result_make_error(KR_OVERFLOW);
    }
    *out = {.unit = KR_TIME_UNIT_NANOSECONDS, .count = ticks * tick_ns, .relative = 0};
    return KR_SUCCESS;
}

kr_result kr_time_get_uptime(kr_time* out) {
    if (out == nullptr) {
        return invalid_argument();
    }
    LARGE_INTEGER frequency{};
    if (QueryPerformanceFrequency(&frequency) == FALSE) {
        const DWORD error = GetLastError();
        KR_LOG(KR_LOG_OTHER, KR_LOG_ERROR,
               "kr_time_get_uptime: QueryPerformanceFrequency failed! ErrorCode = %d",
               static_cast<i32>(error));
        return kr_result_make_win32(error);
    }
    if (frequency.QuadPart == 0) {
        return unexpected_behaviour();
    }
    LARGE_INTEGER counter{};
    if (QueryPerformanceCounter(&counter) == FALSE) {
        const DWORD error = GetLastError();
        KR_LOG(KR_LOG_OTHER, KR_LOG_ERROR,
               "kr_time_get_uptime: QueryPerformanceCounter failed! ErrorCode = %d",
               static_cast<i32>(error));
        return kr_result_make_win32(error);
    }
    const u64 ticks = static_cast<u64>(counter.QuadPart);
    for (const i32 unit : units_by_fineness) {
        if (ticks <= multiplicands[-unit]) {
            set_duration(out, unit, ticks * factors[-unit] / static_cast<u64>(frequency.QuadPart));
            break;
        }
    }
    return KR_SUCCESS;
}

kr_result kr_time_diff(const kr_time* a, const kr_time* b, kr_time* out, i32* direction) {
    if (a == nullptr || b == nullptr || (a->relative != 0) != (b->relative != 0)) {
        return invalid_argument();
    }
    kr_time values[] = {*a, *b};
    const i32 finer = a->unit < b->unit ? a->unit : b->unit;
    for (kr_time& value : values) {
        if (value.unit == finer) {
            continue;
        }
        const kr_result result = kr_time_convert(&value, finer);
        // A count of 0 is the one value that needs no conversion.
        if (kr_result_failed(result) && !kr_result_is(result, KR_ZERO)) {
            return result;
        }
    }
    const u64 first = values[0].count;
    const u64 second = values[1].count;
    set_duration(out, finer, first < second ? second - first : first - second);
    if (direction != nullptr) {
        *direction = (first < second ? 1 : 0) - (first > second ? 1 : 0);
    }
    return first == second ? kr_result_make_success(KR_ZERO) : KR_SUCCESS;
}

kr_result kr_time_diff_reversed(const kr_time* a, const kr_time* b, kr_time* out, i32* direction) {
    return kr_time_diff(b, a, out, direction);
}

kr_result kr_time_since(const kr_time* t, kr_time* out) {
    if (t == nullptr || out == nullptr) {
        return invalid_argument();
    }
    kr_time now{};
    kr_result result = kr_time_get_current(&now);
    if (kr_result_failed(result)) {
        KR_LOG_FAILURE(KR_LOG_OTHER, KR_LOG_ERROR, result, "kr_time_get_current() failed");
        return result;
    }
    i32 direction = 0;
    result = kr_time_diff(t, &now, out, &direction);
    if (kr_result_failed(result)) {
        KR_LOG_FAILURE(KR_LOG_OTHER, KR_LOG_ERROR, result, "kr_time_diff() failed");
        return result;
    }
    if (direction < 0) {
        KR_LOG(KR_LOG_OTHER, KR_LOG_WARNING, "Supplied time is in the future");
        return invalid_argument();
    }
    return KR_SUCCESS;
}

kr_result kr_time_is_equal(const kr_time* a, const kr_time* b) {
    kr_time distance{};
    const kr_result result = kr_time_diff(a, b, &distance, nullptr);
    if (kr_result_failed(result)) {
        return result;
    }
    return kr_result_make_success(distance.count == 0 ? KR_YES : KR_NO);
}

kr_result kr_time_is_zero(const kr_time* t) {
    if (t == nullptr) {
        return invalid_argument();
    }
    return kr_result_make_success(t->relative != 0 && t->count == 0 ? KR_YES : KR_NO);
}

void kr_time_set_zero(kr_time* t) {
    set_duration(t, KR_TIME_UNIT_SECONDS, 0);
}

kr_result kr_time_convert(kr_time* t, i32 unit) {
    if (t == nullptr) {
        return invalid_argument();
    }
    if (!is_unit(unit)) {
        return unexpected_behaviour();
    }
    if (t->count == 0) {
        return kr_result_make_error(KR_ZERO);
    }
    if (!is_unit(t->unit)) {
        return unexpected_behaviour();
    }
    if (t->unit < unit) {
        const u64 count = divide_steps(t->count, unit - t->unit);
        if (count == 0) {
            return kr_result_make_error(KR_ZERO);
        }
        t->count = count;
    } else {
        const i32 steps = t->unit - unit;
        if (t->count > multiplicands[steps]) {
            return kr_result_make_error(KR_OVERFLOW);
        }
        t->count *= factors[steps];
    }
    t->unit = unit;
    return KR_SUCCESS;
}

kr_result kr_time_getNanoseconds(const kr_time* t, u64* out) {
    return count_in(t, KR_TIME_UNIT_NANOSECONDS, out);
}

kr_result kr_time_getMicroseconds(const kr_time* t, u64* out) {
    return count_in(t, KR_TIME_UNIT_MICROSECONDS, out);
}

kr_result kr_time_getMilliseconds(const kr_time* t, u64* out) {
    return count_in(t, KR_TIME_UNIT_MILLISECONDS, out);
}

kr_result kr_time_getSeconds(const kr_time* t, u64* out) {
    return count_in(t, KR_TIME_UNIT_SECONDS, out);
}

void kr_time_fromNanoseconds(kr_time* out, u64 count) {
    set_duration(out, KR_TIME_UNIT_NANOSECONDS, count);
}

void kr_time_fromMicroseconds(kr_time* out, u64 count) {
    set_duration(out, KR_TIME_UNIT_MICROSECONDS, count);
}

void kr_time_fromMilliseconds(kr_time* out, u64 count) {
    set_duration(out, KR_TIME_UNIT_MILLISECONDS, count);
}

void kr_time_fromSeconds(kr_time* out, u64 count) {
    set_duration(out, KR_TIME_UNIT_SECONDS, count);
}

kr_result kr_time_multiply(const kr_time* t, u64 factor, kr_time* out) {
    if (t == nullptr || out == nullptr || t->relative == 0 || factor == 0) {
        return invalid_argument();
    }
    if (t->count > maximum / factor) {
        return kr_result_make_error(KR_OVERFLOW);
    }
    set_duration(out, t->unit, t->count * factor);
    return KR_SUCCESS;
}

kr_result kr_time_divide(const kr_time* t, u32 divisor, kr_time* out) {
    if (t == nullptr || out == nullptr || t->relative == 0 || divisor == 0) {
        return invalid_argument();
    }
    set_duration(out, t->unit, t->count / divisor);
    return KR_SUCCESS;
}

void kr_time_from_UTC32(const u32* seconds, kr_time* out) {
    const kr_trace trace(KR_LOG_OTHER, __func__);
    trace.enter();
    if (seconds != nullptr && out != nullptr) {
        *out = {.unit = KR_TIME_UNIT_SECONDS,
                .count = *seconds + KR_TIME_EPOCH_DISTANCE_SECONDS,
                .relative = 0};
    }
    trace.leave();
}

kr_result kr_time_getUTC32(const kr_time* t, u32* out) {
    if (t == nullptr || out == nullptr) {
        return invalid_argument();
    }
    if (t->relative != 0) {
        KR_LOG(KR_LOG_OTHER, KR_LOG_ERROR,
               "time_getUTC32 is only applicable to absolute time values.");
        return invalid_argument();
    }
    u64 seconds = 0;
    const kr_result result = kr_time_getSeconds(t, &seconds);
    if (kr_result_failed(result)) {
        KR_LOG_FAILURE(KR_LOG_OTHER, KR_LOG_ERROR, result, "Cannot get seconds.");
        return unexpected_behaviour();
    }
    // A time before 1970 wraps to a huge difference.
    const u64 since_1970 = seconds - KR_TIME_EPOCH_DISTANCE_SECONDS;
    if (since_1970 > ~u32{0}) {
        KR_LOG(KR_LOG_OTHER, KR_LOG_ERROR, "Overflow.");
        return kr_result_make_error(KR_OVERFLOW);
    }
    *out = static_cast<u32>(since_1970);
    return KR_SUCCESS;
}

kr_module* kr_time_module() {
    return &time_module;
}

void kr_time_module_register() {
    kr_module_register(kr_time_module());
}
