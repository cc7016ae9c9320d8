/// Stamps and profile lines by stopped clocks.
#include "log/core.h"
#include "log/layout.h"
#include "support/host/world.h"

namespace {

using kr::detail::log_main_slot;
using namespace kr::test;
using testing::StartsWith;

constexpr u64 ms_ticks = 10'000;

/// A log of bare lines with their stamps; the clock is stopped where a test sets it.
class StampedLog : public testing::Test {
protected:
    StampedLog() {
        log_main_slot.set_no_timestamps(0);
        kr_log_set_formatting(3);
    }
    static void say_at(u64 utc_ticks) {
        stop_clock(utc_ticks, 0);
        kr_log(1, KR_LOG_INFO, "p", "f", "x");
    }

    const fresh_world world_;
    captured_log log_;
};

TEST_F(StampedLog, MovesOnEveryTenMilliseconds) {
    kr_time_local_offset = 3'600;
    // At 900 the clock was set back.
    const std::pair<u64, const char*> rows[] = {
        {7, "240229 13:34:56.007.001"},   {16, "240229 13:34:56.007.002"},
        {17, "240229 13:34:56.017.001"},  {1'005, "240229 13:34:57.005.001"},
        {900, "240229 13:34:57.005.002"}, {41'000'000, "240301 00:58:16.000.001"}};
    for (const auto& [ms, stamp] : rows) {
        say_at(noon_ticks + ms * ms_ticks);
        EXPECT_THAT(log_.take_lines(), ElementsAre(stamp + std::string("; I: x\n")));
    }
    kr_log(0, KR_LOG_INFO, "p", "f", "raw"); // takes no number
    // A clock that cannot be read leaves the stamp.
    for (u32 i = 2; i <= 1'000; ++i) { say_at(~u64{0}); }
    const auto lines = log_.take_lines();
    EXPECT_EQ(lines[0] + lines[1], "raw240301 00:58:16.000.002; I: x\n");
    EXPECT_EQ(lines.back(), "240301 00:58:16.000.1000; I: x\n");
}

TEST_F(StampedLog, IsEmptyUntilTheClockCanBeRead) {
    // Cannot be read; within 10 ms of 1601; no second of the calendar's range.
    for (const u64 ticks : {~u64{0}, 5 * ms_ticks, 20 * ms_ticks}) { say_at(ticks); }
    EXPECT_THAT(log_.take_lines(), ElementsAre(".000.001; I: x\n", ".000.002; I: x\n", ".020.001; I: x\n"));
}

TEST_F(StampedLog, WritesProfileLinesFromTheThresholdOn) {
    kr_time start{};
    stop_clock(0, 10'000'000);
    kr_log_take_uptime(&start);
    stop_clock(0, 10'000'000 + 1'234'567 * u64{10'000});
    for (const u64 threshold : {1'234'567, 1'234'568, 0}) {
        kr_log_set_profile_threshold(threshold);
        kr_log_profile(1, "p", threshold == 0 ? "any" : "f", &start);
    }
    kr_log_profile(1, "p", std::string(4060, 'f').c_str(), &start);
    EXPECT_THAT(log_.take_lines(), ElementsAre(StartsWith("[1234567] msec - f(); p:________:"),
                                               StartsWith("[1234567] msec - any(); p:________:"),
                                               StartsWith("kr_printf_format in fff")));
}

} // namespace
