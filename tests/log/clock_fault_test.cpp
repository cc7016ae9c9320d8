/// Stamps and profile lines by stopped clocks.
#include "base/time/time.h"
#include "support/captured_log.h"
#include "support/host/world.h"

namespace {

using kr::detail::log_main_slot;
using namespace kr::test;
using testing::StartsWith;

constexpr u64 ms_ticks = 10'000;

void say(const char* text) { kr_log(1, KR_LOG_INFO, "p", "f", "%s", text); }

TEST(LogStamp, MovesOnEveryTenMilliseconds) {
    const fresh_world world;
    kr_time_local_offset = 3'600;
    captured_log log;
    log_main_slot.set_no_timestamps(0);
    kr_log_set_formatting(3);
    const struct {
        int line;
        u64 ms;
        const char* text;
    } rows[] = {
        {__LINE__, 7, "240229 13:34:56.007.001; I: x\n"},
        {__LINE__, 16, "240229 13:34:56.007.002; I: x\n"},
        {__LINE__, 17, "240229 13:34:56.017.001; I: x\n"},
        {__LINE__, 1'005, "240229 13:34:57.005.001; I: x\n"},
        {__LINE__, 900, "240229 13:34:57.005.002; I: x\n"}, // the clock was set back
        {__LINE__, 41'000'000, "240301 00:58:16.000.001; I: x\n"},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(r.line);
        kr::host::stop_clock(noon_ticks + r.ms * ms_ticks, 0);
        say("x");
        EXPECT_THAT(log.take_lines(), ElementsAre(r.text));
    }
    kr_log(0, KR_LOG_INFO, "p", "f", "raw"); // takes no number
    say("x");
    kr::host::stop_clock(~u64{0}, 0); // a clock that cannot be read leaves the stamp
    say("x");
    EXPECT_THAT(log.take_lines(),
                ElementsAre("raw", "240301 00:58:16.000.002; I: x\n", "240301 00:58:16.000.003; I: x\n"));
    for (u32 i = 3; i < 1'000; ++i) { say("x"); }
    EXPECT_EQ(log.take_lines().back(), "240301 00:58:16.000.1000; I: x\n");
}

TEST(LogStamp, IsEmptyUntilTheClockCanBeRead) {
    const fresh_world world;
    captured_log log;
    log_main_slot.set_no_timestamps(0);
    kr_log_set_formatting(3);
    // Cannot be read; within 10 ms of 1601; no second of the calendar's range.
    for (const u64 ticks : {~u64{0}, 5 * ms_ticks, 20 * ms_ticks}) {
        kr::host::stop_clock(ticks, 0);
        say("x");
    }
    EXPECT_THAT(log.take_lines(), ElementsAre(".000.001; I: x\n", ".000.002; I: x\n", ".020.001; I: x\n"));
}

TEST(LogProfile, WritesLinesFromTheThresholdOn) {
    const fresh_world world;
    captured_log log;
    kr_time start{};
    kr::host::stop_clock(0, 10'000'000);
    kr_log_take_uptime(&start);
    kr::host::stop_clock(0, 10'000'000 + 1'234'567 * u64{10'000});
    for (const u64 threshold : {1'234'567, 1'234'568, 0}) {
        kr_log_set_profile_threshold(threshold);
        kr_log_profile(1, "p", threshold == 0 ? "any" : "f", &start);
    }
    kr_log_profile(1, "p", std::string(5000, 'f').c_str(), &start);
    EXPECT_THAT(log.take_lines(), ElementsAre(StartsWith("[1234567] msec - f(); p:________:"),
                                              StartsWith("[1234567] msec - any(); p:________:")));
}

} // namespace
