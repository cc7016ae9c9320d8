/// Time: units and their limits, differences, scaling, calendar dates, the clocks.
#include "base/time/time.h"

#include <array>
#include <ctime>
#include <random>

#include "base/time/local_date.h"
#include "support/captured_log.h"

namespace {

using namespace kr::test;

constexpr i32 s = KR_TIME_UNIT_SECONDS;
constexpr i32 ms = KR_TIME_UNIT_MILLISECONDS;
constexpr i32 ns = KR_TIME_UNIT_NANOSECONDS;
constexpr u64 maximum = ~u64{0};

constexpr kr_time duration(i32 unit, u64 count) { return {.unit = unit, .count = count, .relative = 1}; }
constexpr kr_time point(i32 unit, u64 count) { return {.unit = unit, .count = count, .relative = 0}; }

bool same(kr_time a, kr_time b) { return a.unit == b.unit && a.count == b.count && a.relative == b.relative; }

// NOLINTNEXTLINE(*-reserved-identifier): what both compilers call it
using u128 = unsigned __int128;

constexpr u64 factors[] = {1, 1'000, 1'000'000, 1'000'000'000};
u128 in_nanoseconds(const kr_time& t) { return u128{t.count} * factors[3 + t.unit]; }

/// What a count is in another unit: the model of the conversions.
kr_result expected_count(const kr_time& t, i32 unit, u64* out) {
    const u128 count = in_nanoseconds(t) / factors[3 + unit];
    if (count > maximum) { return overflow; }
    *out = static_cast<u64>(count);
    return count == 0 ? zero : ok;
}

/// The edges of every conversion, and counts of every length.
std::vector<u64> telling_counts() {
    std::vector<u64> counts = {0, 1, maximum};
    for (const u64 factor : factors) {
        counts.insert(counts.end(), {factor - 1, factor, factor + 1, maximum / factor, maximum / factor + 1});
    }
    std::mt19937_64 random(1); // NOLINT(*-msc51-cpp): the same counts in every run
    for (u32 bits = 0; bits < 64; ++bits) { counts.push_back(random() >> bits); }
    return counts;
}

constexpr kr_result (*getters[])(const kr_time*, u64*) = {kr_time_getNanoseconds, kr_time_getMicroseconds,
                                                          kr_time_getMilliseconds, kr_time_getSeconds};
constexpr void (*makers[])(kr_time*, u64) = {kr_time_fromNanoseconds, kr_time_fromMicroseconds,
                                             kr_time_fromMilliseconds, kr_time_fromSeconds};

TEST(Time, ConvertsBetweenUnitsOrChangesNothing) {
    for (const u64 count : telling_counts()) {
        for (i32 from = ns; from <= s; ++from) {
            for (i32 to = ns; to <= s; ++to) {
                kr_time t{};
                makers[3 + from](&t, count);
                ASSERT_TRUE(same(t, duration(from, count)));
                t.relative = count & 1;
                const kr_time before = t;
                u64 expected = 9, got = 9;
                const kr_result result = expected_count(t, to, &expected);
                ASSERT_EQ(getters[3 + to](&t, &got), result) << count << ' ' << from << ' ' << to;
                ASSERT_EQ(got, result == ok ? expected : 9);
                ASSERT_EQ(kr_time_convert(&t, to), result);
                ASSERT_TRUE(same(t, result == ok ? kr_time{to, expected, before.relative} : before));
            }
        }
    }
    // No unit, or no count: the wanted unit is looked at first, then the count, then its own unit.
    for (const auto& [from, count, to, result] : {std::tuple{s, u64{0}, 1, unexpected},
                                                  {5, u64{0}, ns, zero},
                                                  {1, u64{1}, s, unexpected},
                                                  {-4, u64{1}, s, unexpected},
                                                  {s, u64{1}, -4, unexpected}}) {
        kr_time t = duration(from, count);
        EXPECT_EQ(kr_time_convert(&t, to), result) << from << ' ' << to;
        EXPECT_TRUE(same(t, duration(from, count)));
    }
}

TEST(Time, SubtractsInTheFinerUnit) {
    const std::vector<u64> counts = telling_counts();
    std::mt19937 random(1); // NOLINT(*-msc51-cpp): the same pairs in every run
    const auto any = [&](u32 relative) {
        return kr_time{-static_cast<i32>(random() % 4), counts[random() % counts.size()], relative};
    };
    for (u32 i = 0; i < 20'000; ++i) {
        const kr_time a = any(i & 1), b = i % 16 < 2 ? a : any(i & 1), untouched = point(9, 9);
        const i32 finer = std::min(a.unit, b.unit);
        const u128 x = in_nanoseconds(a) / factors[3 + finer], y = in_nanoseconds(b) / factors[3 + finer];
        const bool failed = std::max(x, y) > maximum;
        const kr_result result = failed ? overflow : x == y ? kr_result_make_success(KR_ZERO) : ok;
        const i32 sign = failed ? 9 : (x < y) - (x > y);
        kr_time got = untouched;
        i32 way = 9, reversed = -9;
        ASSERT_EQ(kr_time_diff(&a, &b, &got, &way), result) << a.unit << ' ' << a.count;
        ASSERT_TRUE(same(got, failed ? untouched : duration(finer, static_cast<u64>(x < y ? y - x : x - y))));
        ASSERT_EQ(kr_time_diff_reversed(&a, &b, nullptr, &reversed), result);
        ASSERT_THAT((std::array{way, reversed}), ElementsAre(sign, -sign)) << b.unit << ' ' << b.count;
        ASSERT_EQ(kr_time_is_equal(&a, &b), failed ? result : x == y ? yes : no);
    }
    const kr_time second = duration(s, 1);
    for (const auto& [other, result] : {std::pair{point(s, 1), invalid}, {duration(-4, 1), unexpected}}) {
        EXPECT_EQ(kr_time_diff(&second, &other, nullptr, nullptr), result);
        EXPECT_EQ(kr_time_diff(&other, &second, nullptr, nullptr), result);
    }
}

TEST(Time, ScalesDurationsOnly) {
    for (const u64 count : telling_counts()) {
        for (const u64 factor : telling_counts()) {
            const auto divisor = static_cast<u32>(factor);
            const kr_result result = factor == 0 ? invalid : u128{count} * factor > maximum ? overflow : ok;
            kr_time product = duration(ms, count), quotient = product, absolute = point(ms, count);
            ASSERT_EQ(kr_time_multiply(&product, factor, &product), result) << count << ' ' << factor;
            ASSERT_TRUE(same(product, duration(ms, result == ok ? count * factor : count)));
            ASSERT_EQ(kr_time_divide(&quotient, divisor, &quotient), divisor == 0 ? invalid : ok);
            ASSERT_TRUE(same(quotient, duration(ms, divisor == 0 ? count : count / divisor)));
            ASSERT_EQ(kr_time_multiply(&absolute, 1, &absolute), invalid);
            ASSERT_EQ(kr_time_divide(&absolute, 1, &absolute), invalid);
        }
    }
    kr_time made = point(ns, 1);
    kr_time_set_zero(&made);
    EXPECT_TRUE(same(made, duration(s, 0)));
    for (const kr_time& t : {duration(ms, 0), duration(ms, 1), point(ms, 0)}) {
        EXPECT_EQ(kr_time_is_zero(&t), t.relative > t.count ? yes : no) << t.count;
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
    for (const auto& [t, result] : {std::pair{point(s, epoch - 1), overflow},
                                    {point(s, epoch + 0x100000000), overflow},
                                    {duration(s, epoch), invalid},
                                    {point(ms, 1), unexpected}}) {
        EXPECT_EQ(kr_time_getUTC32(&t, &out), result);
    }
    EXPECT_EQ(out, 3u);
    const std::string line = "E 01 kr_time_getUTC32: ", reason = R"((error "Zero" from "Unknown source"))";
    EXPECT_THAT(log.take(), ElementsAre(line + "Overflow.", line + "Overflow.",
                                        line + "time_getUTC32 is only applicable to absolute time values.",
                                        line + "Cannot get seconds. Result is 0x8200004E " + reason));
}

TEST(LocalDate, FormatsShiftedByTheOffset) {
    kr_char buffer[64];
    for (const auto& [offset, utc, text] : {std::tuple{3'600, 0u, "700101 01:00:00"},
                                            {-3'600, 951'868'800u, "000229 23:00:00"},
                                            {-1, 0u, "060207 06:28:15"}}) {
        kr_time_local_offset = offset;
        EXPECT_EQ(kr_time_format_local(utc, buffer, sizeof(buffer), "%02d%02d%02d %02d:%02d:%02d"), ok);
        EXPECT_EQ(utf8(buffer), text);
    }
    kr_time_local_offset = 0;
    EXPECT_EQ(kr_time_format_local(0, buffer, 4, "%d"), too_small);
    EXPECT_EQ(kr_time_format_local(0, buffer, -2, "%d"), invalid);
}

/// Every day of the 32-bit range against the runtime's own calendar.
TEST(LocalDate, AgreesWithTheRuntimeOnEveryDay) {
    kr_time_local_offset = 0;
    for (u64 seconds = 0; seconds <= 0xFFFFFFFF; seconds += 86'399) {
        const kr_time t = point(s, seconds + KR_TIME_EPOCH_DISTANCE_SECONDS);
        u32 f[6] = {};
        ASSERT_EQ(kr_time_get_local_date(&t, &f[0], &f[1], &f[2], &f[3], &f[4], &f[5]), ok);
        const auto clock = static_cast<std::time_t>(seconds);
        const std::tm* const tm = std::gmtime(&clock);
        ASSERT_THAT(f, ElementsAre(tm->tm_year + 1900, tm->tm_mon + 1, tm->tm_mday, tm->tm_hour, tm->tm_min,
                                   tm->tm_sec))
            << seconds;
    }
    u32 field = 4;
    const kr_time relative = duration(s, 1);
    EXPECT_EQ(kr_time_get_local_date(&relative, &field, &field, &field, &field, &field, &field), invalid);
    EXPECT_EQ(field, 4u);
}

TEST(Clocks, MoveForwardAndAgreeWithTheRuntime) {
    captured_log log;
    kr_time now{}, first{}, second{}, since = point(9, 9);
    u32 seconds = 0;
    ASSERT_EQ(kr_time_get_current(&now), ok);
    EXPECT_TRUE(same(now, point(ns, now.count)));
    ASSERT_EQ(kr_time_getUTC32(&now, &seconds), ok);
    EXPECT_NEAR(static_cast<double>(seconds), static_cast<double>(std::time(nullptr)), 2);
    ASSERT_EQ(kr_time_get_uptime(&first), ok);
    ASSERT_EQ(kr_time_get_uptime(&second), ok);
    EXPECT_EQ(first.relative, 1u);
    i32 direction = 0;
    EXPECT_TRUE(kr_result_succeeded(kr_time_diff(&first, &second, nullptr, &direction)));
    EXPECT_GE(direction, 0);
    // The time since a moment: the future is refused, though its distance is told.
    EXPECT_EQ(kr_time_since(&now, &since), ok);
    EXPECT_EQ(since.relative, 1u);
    const kr_time future = point(ns, now.count + 5'000'000'000), relative = duration(s, 1);
    EXPECT_EQ(kr_time_since(&future, &since), invalid);
    EXPECT_NEAR(static_cast<double>(since.count), 5e9, 2e9);
    EXPECT_EQ(kr_time_since(&relative, &since), invalid);
    EXPECT_THAT(log.take(), ElementsAre("W 01 kr_time_since: Supplied time is in the future",
                                        "E 01 kr_time_since: kr_time_diff() failed Result is 0x8200000C "
                                        "(error \"Invalid argument to function\" from \"Unknown source\")"));
}

} // namespace
