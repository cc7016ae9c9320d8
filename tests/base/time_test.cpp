/// Time: units and their limits, differences, scaling, calendar dates, the clocks.
#include "base/time/time.h"

#include <ctime>

#include "base/time/local_date.h"
#include "support/captured_log.h"

namespace {

using namespace kr::test;

constexpr i32 s = KR_TIME_UNIT_SECONDS;
constexpr i32 ms = KR_TIME_UNIT_MILLISECONDS;
constexpr i32 us = KR_TIME_UNIT_MICROSECONDS;
constexpr i32 ns = KR_TIME_UNIT_NANOSECONDS;
constexpr u64 maximum = ~u64{0};

constexpr kr_time duration(i32 unit, u64 count) { return {.unit = unit, .count = count, .relative = 1}; }

constexpr kr_time point(i32 unit, u64 count) { return {.unit = unit, .count = count, .relative = 0}; }

bool same(const kr_time& a, const kr_time& b) {
    return a.unit == b.unit && a.count == b.count && a.relative == b.relative;
}

TEST(Time, ConvertsBetweenUnitsOrChangesNothing) {
    constexpr struct {
        int line;
        i32 from;
        u64 count;
        i32 to;
        kr_result result;
        u64 converted;
    } rows[] = {
        {__LINE__, s, maximum, s, ok, maximum},
        {__LINE__, ms, 1'999, s, ok, 1},
        {__LINE__, ns, 999'999'999, s, zero, 0},
        {__LINE__, ns, maximum, s, ok, 18'446'744'073},
        {__LINE__, s, 18'446'744'073'709'551, ms, ok, 18'446'744'073'709'551'000u},
        {__LINE__, s, 18'446'744'073'709'552, ms, overflow, 0},
        {__LINE__, ms, 18'446'744'073'709, ns, ok, 18'446'744'073'709'000'000u},
        {__LINE__, ms, 18'446'744'073'710, ns, overflow, 0},
        {__LINE__, s, 18'446'744'073, ns, ok, 18'446'744'073'000'000'000u},
        {__LINE__, s, 18'446'744'074, ns, overflow, 0},
        {__LINE__, s, 0, s, zero, 0},
        {__LINE__, 5, 0, ns, zero, 0},
        {__LINE__, s, 0, 1, unexpected, 0},
        {__LINE__, 1, 1, s, unexpected, 0},
        {__LINE__, -4, 1, s, unexpected, 0},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(r.line);
        for (const u32 relative : {0u, 1u}) {
            const kr_time before{.unit = r.from, .count = r.count, .relative = relative};
            kr_time t = before;
            EXPECT_EQ(kr_time_convert(&t, r.to), r.result);
            EXPECT_TRUE(same(t, r.result == ok ? kr_time{r.to, r.converted, relative} : before));
        }
    }
    const kr_time t = duration(ms, 61'000);
    u64 count = 0;
    EXPECT_EQ(kr_time_getSeconds(&t, &count), ok);
    EXPECT_EQ(count, 61u);
    EXPECT_EQ(kr_time_getMicroseconds(&t, &count), ok);
    EXPECT_EQ(count, 61'000'000u);
    const kr_time nothing = duration(ms, 0);
    EXPECT_EQ(kr_time_getNanoseconds(&nothing, &count), zero);
    EXPECT_EQ(count, 61'000'000u);
}

TEST(Time, SubtractsInTheFinerUnit) {
    const kr_result equal = kr_result_make_success(KR_ZERO);
    const struct {
        int line;
        kr_time a, b;
        kr_result result;
        kr_time distance;
        i32 direction;
    } rows[] = {
        {__LINE__, duration(s, 1), duration(ms, 1'500), ok, duration(ms, 500), 1},
        {__LINE__, duration(ms, 1'500), duration(s, 1), ok, duration(ms, 500), -1},
        {__LINE__, point(ns, 5), point(ns, 3), ok, duration(ns, 2), -1},
        {__LINE__, duration(s, 1), duration(ms, 1'000), equal, duration(ms, 0), 0},
        {__LINE__, duration(s, 0), duration(ms, 5), ok, duration(ms, 5), 1},
        {__LINE__, point(s, 0), point(s, maximum), ok, duration(s, maximum), 1},
        {__LINE__, point(s, 1), duration(s, 1), invalid, {}, 0},
        {__LINE__, point(s, 18'446'744'074), point(ns, 1), overflow, {}, 0},
        {__LINE__, duration(s, 1), duration(-4, 1), unexpected, {}, 0},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(r.line);
        const kr_time untouched = point(9, 9);
        kr_time distance = untouched;
        i32 direction = 9;
        EXPECT_EQ(kr_time_diff(&r.a, &r.b, &distance, &direction), r.result);
        const bool failed = kr_result_failed(r.result);
        EXPECT_TRUE(same(distance, failed ? untouched : r.distance));
        EXPECT_EQ(direction, failed ? 9 : r.direction);
        EXPECT_EQ(kr_time_diff_reversed(&r.a, &r.b, nullptr, &direction), r.result);
        EXPECT_EQ(direction, failed ? 9 : -r.direction);
        const kr_result answer =
            failed ? r.result : kr_result_make_success(r.direction == 0 ? KR_YES : KR_NO);
        EXPECT_EQ(kr_time_is_equal(&r.a, &r.b), answer);
    }
}

TEST(Time, ScalesDurationsOnly) {
    constexpr auto divide = [](const kr_time* t, u64 divisor, kr_time* out) {
        return kr_time_divide(t, static_cast<u32>(divisor), out);
    };
    const struct {
        int line;
        kr_result (*scale)(const kr_time*, u64, kr_time*);
        kr_time from;
        u64 factor;
        kr_result result;
        u64 count;
    } rows[] = {
        {__LINE__, kr_time_multiply, duration(ms, 2), 3, ok, 6},
        {__LINE__, kr_time_multiply, duration(ms, maximum), 1, ok, maximum},
        {__LINE__, kr_time_multiply, duration(ms, u64{1} << 63), 2, overflow, 0},
        {__LINE__, kr_time_multiply, duration(ms, 2), 0, invalid, 0},
        {__LINE__, kr_time_multiply, point(ms, 2), 1, invalid, 0},
        {__LINE__, divide, duration(ms, 6), 4, ok, 1},
        {__LINE__, divide, duration(ms, 1), 2, ok, 0},
        {__LINE__, divide, duration(ms, 2), 0, invalid, 0},
        {__LINE__, divide, point(ms, 2), 1, invalid, 0},
    };
    for (const auto& r : rows) {
        kr_time t = r.from;
        EXPECT_EQ(r.scale(&t, r.factor, &t), r.result) << r.line;
        EXPECT_TRUE(same(t, r.result == ok ? duration(ms, r.count) : r.from)) << r.line;
    }
    kr_time made{};
    kr_time_fromMicroseconds(&made, 5);
    EXPECT_TRUE(same(made, duration(us, 5)));
    kr_time_fromMilliseconds(&made, 6);
    EXPECT_TRUE(same(made, duration(ms, 6)));
    kr_time_set_zero(&made);
    EXPECT_TRUE(same(made, duration(s, 0)));
    for (const kr_time& none : {duration(ms, 0), point(ms, 0)}) {
        EXPECT_EQ(kr_time_is_zero(&none), kr_result_make_success(none.relative != 0 ? KR_YES : KR_NO));
    }
}

TEST(Time, GoesToUtcSecondsAndBack) {
    captured_log log;
    for (const u32 seconds : {0u, 1u, 0x7FFFFFFFu, 0xFFFFFFFFu}) {
        kr_time t{};
        kr_time_from_UTC32(&seconds, &t);
        u32 back = ~seconds;
        EXPECT_EQ(kr_time_getUTC32(&t, &back), ok);
        EXPECT_EQ(back, seconds);
    }
    constexpr u64 epoch = KR_TIME_EPOCH_DISTANCE_SECONDS;
    u32 out = 3;
    const kr_time before = point(s, epoch - 1);
    const kr_time after = point(s, epoch + 0x100000000);
    const kr_time relative = duration(s, epoch);
    const kr_time fraction = point(ms, 1);
    EXPECT_EQ(kr_time_getUTC32(&before, &out), overflow);
    EXPECT_EQ(kr_time_getUTC32(&after, &out), overflow);
    EXPECT_EQ(kr_time_getUTC32(&relative, &out), invalid);
    EXPECT_EQ(kr_time_getUTC32(&fraction, &out), unexpected);
    EXPECT_EQ(out, 3u);
    EXPECT_THAT(log.take(),
                ElementsAre("E 01 kr_time_getUTC32: Overflow.", "E 01 kr_time_getUTC32: Overflow.",
                            "E 01 kr_time_getUTC32: time_getUTC32 is only applicable to absolute "
                            "time values.",
                            "E 01 kr_time_getUTC32: Cannot get seconds. Result is 0x8200004E "
                            "(error \"Zero\" from \"Unknown source\")"));
}

class LocalDate : public testing::Test {
protected:
    ~LocalDate() override { kr_time_local_offset = before_; }

private:
    i32 before_ = kr_time_local_offset;
};

TEST_F(LocalDate, FormatsShiftedByTheOffset) {
    constexpr struct {
        int line;
        i32 offset;
        u32 utc;
        const char* text;
    } rows[] = {
        {__LINE__, 3'600, 0, "700101 01:00:00"},
        {__LINE__, 3'600, 2'147'483'648, "380119 04:14:08"},
        {__LINE__, -3'600, 951'868'800, "000229 23:00:00"},
        {__LINE__, -1, 0, "060207 06:28:15"},
    };
    kr_char buffer[64];
    const char* const format = "%02d%02d%02d %02d:%02d:%02d";
    for (const auto& r : rows) {
        kr_time_local_offset = r.offset;
        EXPECT_EQ(kr_time_format_local(r.utc, buffer, sizeof(buffer), format), ok);
        EXPECT_EQ(utf8(buffer), r.text) << r.line;
    }
    kr_time_local_offset = 0;
    EXPECT_EQ(kr_time_format_local(0, buffer, 4, "%d"), too_small);
    EXPECT_EQ(kr_time_format_local(0, buffer, -2, "%d"), invalid);
}

/// Every day of the 32-bit range against the runtime's own calendar.
TEST_F(LocalDate, AgreesWithTheRuntimeOnEveryDay) {
    kr_time_local_offset = 0;
    for (u64 seconds = 0; seconds <= 0xFFFFFFFF; seconds += 86'399) {
        const kr_time t = point(s, seconds + KR_TIME_EPOCH_DISTANCE_SECONDS);
        u32 fields[6] = {};
        ASSERT_EQ(kr_time_get_local_date(&t, &fields[0], &fields[1], &fields[2], &fields[3], &fields[4],
                                         &fields[5]),
                  ok);
        const auto clock = static_cast<std::time_t>(seconds);
        const std::tm* const tm = std::gmtime(&clock);
        ASSERT_NE(tm, nullptr);
        ASSERT_THAT(fields, ElementsAre(tm->tm_year + 1900, tm->tm_mon + 1, tm->tm_mday, tm->tm_hour,
                                        tm->tm_min, tm->tm_sec))
            << seconds;
    }
    u32 field = 4;
    const kr_time relative = duration(s, 1);
    EXPECT_EQ(kr_time_get_local_date(&relative, &field, &field, &field, &field, &field, &field), invalid);
    EXPECT_EQ(field, 4u);
}

TEST(Clocks, MoveForwardAndAgreeWithTheRuntime) {
    const captured_log log;
    kr_time now{};
    ASSERT_EQ(kr_time_get_current(&now), ok);
    EXPECT_EQ(now.unit, ns);
    EXPECT_EQ(now.relative, 0u);
    u32 seconds = 0;
    ASSERT_EQ(kr_time_getUTC32(&now, &seconds), ok);
    EXPECT_NEAR(static_cast<double>(seconds), static_cast<double>(std::time(nullptr)), 2);
    kr_time first{}, second{};
    ASSERT_EQ(kr_time_get_uptime(&first), ok);
    ASSERT_EQ(kr_time_get_uptime(&second), ok);
    i32 direction = 0;
    EXPECT_EQ(first.relative, 1u);
    EXPECT_TRUE(kr_result_succeeded(kr_time_diff(&first, &second, nullptr, &direction)));
    EXPECT_GE(direction, 0);
}

TEST(Clocks, SinceRefusesTheFutureButTellsItsDistance) {
    captured_log log;
    kr_time now{};
    ASSERT_EQ(kr_time_get_current(&now), ok);
    kr_time since = point(9, 9);
    EXPECT_EQ(kr_time_since(&now, &since), ok);
    EXPECT_EQ(since.relative, 1u);
    const kr_time future = point(ns, now.count + 5'000'000'000);
    EXPECT_EQ(kr_time_since(&future, &since), invalid);
    EXPECT_NEAR(static_cast<double>(since.count), 5e9, 2e9);
    const kr_time relative = duration(s, 1);
    EXPECT_EQ(kr_time_since(&relative, &since), invalid);
    EXPECT_THAT(log.take(), ElementsAre("W 01 kr_time_since: Supplied time is in the future",
                                        "E 01 kr_time_since: kr_time_diff() failed Result is 0x8200000C "
                                        "(error \"Invalid argument to function\" from \"Unknown source\")"));
}

} // namespace
