/// Local calendar dates: what of Time breaks seconds down into fields and formats them. Public.
/// Local time is UTC plus kr_time_local_offset, the offset of the moment when the program started.
/// Safe from any thread.
#pragma once

#include "../../platform/types.h"
#include "../../result/result.h"
#include "time_value.h"

/// The local date and time of day of the absolute time `t`: the full year, month 1-12, day 1-31,
/// hour 0-23, minute and second 0-59; all are written, or none. A duration or a null pointer gives
/// KR_INVALID_ARGUMENT_TO_FUNCTION; otherwise the failures of kr_time_getUTC32.
[[nodiscard]] kr_result kr_time_get_local_date(const kr_time* t, u32* year, u32* month, u32* day,
                                               u32* hour, u32* minute, u32* second);

/// Formats the local date of `utc_seconds` (since 1970-01-01T00:00:00 UTC) into `buffer` of `size`
/// bytes with a format of the formatting engine that takes six `int` arguments: the year's last two
/// digits, month, day, hour, minute, second. Returns the result of kr_printf_format2; a negative
/// size gives KR_INVALID_ARGUMENT_TO_FUNCTION. A null `buffer` only measures.
[[nodiscard]] kr_result kr_time_format_local(u32 utc_seconds, kr_char* buffer, i32 size,
                                             const char* format);
