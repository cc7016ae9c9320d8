/// The kr_time record alone, for those that hold a time but compute nothing. Public; plain data.
#pragma once

#include "../../platform/types.h"

enum : i32 {
    KR_TIME_UNIT_SECONDS = 0,
    KR_TIME_UNIT_MILLISECONDS = -1,
    KR_TIME_UNIT_MICROSECONDS = -2,
    KR_TIME_UNIT_NANOSECONDS = -3,
};

/// A point in time or a duration. Copied by value, passed by pointer.
struct kr_time {
    /// The unit as a power of 1000 seconds: one of KR_TIME_UNIT_*. Any other value is invalid.
    i32 unit;
    /// Number of units: since 1601-01-01T00:00:00 UTC where absolute, the length where relative.
    u64 count;
    /// 1 for a duration, 0 for an absolute time.
    u32 relative;
};
