/// Time values: the two clocks, conversion between units and to plain counts, differences, scaling.
/// Public. Formats nothing (see base/time/local_date.h). Keeps no state of its own beyond the local
/// offset; every operation works on the caller's values only and is safe from any thread.
///
/// Common to all: a null pointer gives KR_INVALID_ARGUMENT_TO_FUNCTION unless said otherwise;
/// nothing happens for one in operations without a result. An output is written only on success
/// unless said otherwise, and may be the input itself. A count of 0 is refused by the unit
/// conversions with KR_ZERO, as is a count smaller than one target unit; a unit outside the four
/// gives KR_UNEXPECTED_BEHAVIOUR; a count that does not fit in 64 bits gives KR_OVERFLOW.
#pragma once

#include "../../platform/types.h"
#include "../../result/result.h"
#include "time_value.h"

/// Seconds from 1601-01-01T00:00:00 UTC, the epoch of absolute times, to 1970-01-01T00:00:00 UTC.
inline constexpr u64 KR_TIME_EPOCH_DISTANCE_SECONDS = 11644473600;

/// Seconds that local time was ahead of UTC when the time module started (negative west of
/// Greenwich); 0 before that. Written by the module's start only, before other threads read it.
extern i32 kr_time_local_offset;

/// The current UTC time: absolute, in nanoseconds (100 ns steps). KR_OVERFLOW past the year 2185.
[[nodiscard]] kr_result kr_time_get_current(kr_time* out);

/// The time since the performance counter's start, in practice since boot: relative, in the finest
/// unit that the counter's reading leaves room for, so two readings can differ in unit. Makes two
/// system calls. Fails with the wrapped system error, logged; KR_UNEXPECTED_BEHAVIOUR when the
/// system reports a frequency of 0.
[[nodiscard]] kr_result kr_time_get_uptime(kr_time* out);

/// The distance between `a` and `b` as a duration in the finer of their units, and its direction:
/// 1 when b is later or longer than a, -1 when a is, 0 when they are equal. Either output may be
/// null. KR_SUCCESS, or the success-typed KR_ZERO when both are equal. One relative and one
/// absolute value give KR_INVALID_ARGUMENT_TO_FUNCTION; the conversion's failures otherwise.
[[nodiscard]] kr_result kr_time_diff(const kr_time* a, const kr_time* b, kr_time* out,
                                     i32* direction);

/// kr_time_diff with `a` and `b` exchanged.
[[nodiscard]] kr_result kr_time_diff_reversed(const kr_time* a, const kr_time* b, kr_time* out,
                                              i32* direction);

/// The duration from the absolute time `t` to now. A `t` after now is logged and gives
/// KR_INVALID_ARGUMENT_TO_FUNCTION with the (positive) distance stored in `out` all the same. A
/// failing clock or subtraction is logged and returned.
[[nodiscard]] kr_result kr_time_since(const kr_time* t, kr_time* out);

/// KR_YES when both denote the same instant or the same duration, whatever their units, else KR_NO,
/// both success-typed; the failures of kr_time_diff.
[[nodiscard]] kr_result kr_time_is_equal(const kr_time* a, const kr_time* b);

/// KR_YES when `t` is a duration of count 0, else KR_NO, both success-typed.
[[nodiscard]] kr_result kr_time_is_zero(const kr_time* t);

/// Sets a duration of 0 seconds.
void kr_time_set_zero(kr_time* t);

/// Converts `t` in place, truncating towards the coarser unit. On failure `t` is unchanged:
/// KR_ZERO, KR_OVERFLOW or KR_UNEXPECTED_BEHAVIOUR as said at the top.
[[nodiscard]] kr_result kr_time_convert(kr_time* t, i32 unit);

/// The count of `t` in one unit; `t` is not changed. The failures of kr_time_convert.
[[nodiscard]] kr_result kr_time_getNanoseconds(const kr_time* t, u64* out);
[[nodiscard]] kr_result kr_time_getMicroseconds(const kr_time* t, u64* out);
[[nodiscard]] kr_result kr_time_getMilliseconds(const kr_time* t, u64* out);
[[nodiscard]] kr_result kr_time_getSeconds(const kr_time* t, u64* out);

/// A duration of `count` units.
void kr_time_fromNanoseconds(kr_time* out, u64 count);
void kr_time_fromMicroseconds(kr_time* out, u64 count);
void kr_time_fromMilliseconds(kr_time* out, u64 count);
void kr_time_fromSeconds(kr_time* out, u64 count);

/// The duration `t` times `factor`, in the unit of `t`. KR_INVALID_ARGUMENT_TO_FUNCTION for an
/// absolute `t` or a factor of 0; KR_OVERFLOW past 64 bits.
[[nodiscard]] kr_result kr_time_multiply(const kr_time* t, u64 factor, kr_time* out);

/// The duration `t` divided by `divisor`, truncated, in the unit of `t`; the result may be 0.
/// KR_INVALID_ARGUMENT_TO_FUNCTION for an absolute `t` or a divisor of 0.
[[nodiscard]] kr_result kr_time_divide(const kr_time* t, u32 divisor, kr_time* out);

/// The absolute time that is `*seconds` after 1970-01-01T00:00:00 UTC, in seconds. Traced.
void kr_time_from_UTC32(const u32* seconds, kr_time* out);

/// Whole seconds from 1970-01-01T00:00:00 UTC to the absolute time `t`. Each failure is logged: a
/// duration gives KR_INVALID_ARGUMENT_TO_FUNCTION, a failing conversion KR_UNEXPECTED_BEHAVIOUR, a
/// time before 1970 or after 2106-02-07T06:28:15 KR_OVERFLOW.
[[nodiscard]] kr_result kr_time_getUTC32(const kr_time* t, u32* out);

/// Registers the module "time", whose start computes kr_time_local_offset.
void kr_time_module_register();

struct kr_module;
/// The descriptor of the module "time", for the modules that depend on it.
kr_module* kr_time_module();
