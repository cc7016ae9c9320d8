/// Local calendar dates. Touches the local offset and the formatting engine.
#include "base/time/local_date.h"

#include "base/time/time.h"
#include "printf/printf.h"
#include "result/failures.h"

using kr::detail::invalid_argument;

namespace {

constexpr u32 seconds_per_day = 86'400;

struct date {
    u32 year;
    u32 month;
    u32 day;
    u32 hour;
    u32 minute;
    u32 second;
};

/// The proleptic Gregorian date of a UTC second count since 1970, taken to local time in 32 bits.
constexpr date local_date(u32 utc_seconds, i32 offset) {
    const u32 seconds = utc_seconds + static_cast<u32>(offset);
    // Days are counted from 1600-03-01: a year that begins in March has its leap day last, and a
    // period of 400 years begins there.
    constexpr u32 days_to_1970 = 135'080;
    constexpr u32 days_per_era = 146'097;
    const u32 days = seconds / seconds_per_day + days_to_1970;
    const u32 day_of_era = days % days_per_era;
    const u32 year_of_era =
        (day_of_era - day_of_era / 1'460 + day_of_era / 36'524 - day_of_era / 146'096) / 365;
    const u32 day_of_year = day_of_era - (365 * year_of_era + year_of_era / 4 - year_of_era / 100);
    // March is month 0; five months from March or August always have 153 days.
    const u32 month = (5 * day_of_year + 2) / 153;
    const u32 time_of_day = seconds % seconds_per_day;
    return {
        .year = 1'600 + days / days_per_era * 400 + year_of_era + (month >= 10 ? 1 : 0),
        .month = month < 10 ? month + 3 : month - 9,
        .day = day_of_year - (153 * month + 2) / 5 + 1,
        .hour = time_of_day / 3'600,
        .minute = time_of_day / 60 % 60,
        .second = time_of_day % 60,
    };
}

static_assert(local_date(0, 0).year == 1970 && local_date(0, 0).month == 1 &&
              local_date(0, 0).day == 1);

} // namespace

kr_result kr_time_get_local_date(const kr_time* t, u32* year, u32* month, u32* day, u32* hour,
                                 u32* minute, u32* second) {
    for (const u32* const field : {year, month, day, hour, minute, second}) {
        if (field == nullptr) {
            return invalid_argument();
        }
    }
    if (t == nullptr || t->relative != 0) {
        return invalid_argument();
    }
    u32 utc_seconds = 0;
    const kr_result result = kr_time_getUTC32(t, &utc_seconds);
    if (kr_result_failed(result)) {
        return result;
    }
    const date local = local_date(utc_seconds, kr_time_local_offset);
    *year = local.year;
    *month = local.month;
    *day = local.day;
    *hour = local.hour;
    *minute = local.minute;
    *second = local.second;
    return KR_SUCCESS;
}

kr_result kr_time_format_local(u32 utc_seconds, kr_char* buffer, i32 size, const char* format) {
    if (size < 0) {
        return invalid_argument();
    }
    const date local = local_date(utc_seconds, kr_time_local_offset);
    return kr_printf_format2(buffer, static_cast<size_t>(size), nullptr, format,
                             static_cast<int>(local.year % 100), static_cast<int>(local.month),
                             static_cast<int>(local.day), static_cast<int>(local.hour),
                             static_cast<int>(local.minute), static_cast<int>(local.second));
}
