/// The log module from start to end, also when the system fails below its start; stamps and profile
/// lines by stopped clocks.
#include "log/startup/log_module.h"

#include "log/startup/config.h"
#include "support/failing_allocator.h"
#include "support/fresh_registry.h"
#include "support/host/world.h"

namespace {

using kr::detail::log_main_slot;
using kr::host::armed_fault;
using kr::host::stop_clock;
using namespace kr::test;
using testing::StartsWith;

TEST(LogModule, StartsWritesAndStops) {
    const fresh_world world;
    std::string shown;
    kr::host::set_debug_sink([&](kr::host::debug_source /*source*/, std::u16string_view text) {
        shown += kr::host::to_utf8(text);
    });
    stop_clock(noon_ticks, 0);
    const open_settings domain, group(domain, "log");
    group.plant("formatting", "3");
    for (u32 round = 0; round < 2; ++round) {
        shown.clear();
        kr_log_register_module(u"windbg");
        kr_log_register_module(nullptr);
        kr_log_set_colors(1); // a start begins without
        ASSERT_EQ(kr_init(), ok);
        EXPECT_EQ(kr_log_category_masks[KR_LOG_MAIN].load(), 7u);
        EXPECT_EQ(kr_log_module_init(), unexpected);
        kr_log(2, KR_LOG_FORCED, "loadprobe", "wmain", "hello");
        kr_fini();
        EXPECT_FALSE(log_main_slot.is_set());
        EXPECT_EQ(kr_log_colors(), 0u);
    }
    kr_log_keep_formatting(0);
    kr_log_register_module(u"stdout");
    EXPECT_EQ(shown, "240229 12:34:56.000.001; F: Override log setting found for domain krtest\n"
                     "240229 12:34:56.000.002; F: Overriding log formatting -> 3\n"
                     "240229 12:34:56.000.003; F: hello\n");
}

TEST(LogReset, KeepsTheDefaultsWhereAKeyCannotBeOpened) {
    captured_log log;
    const fresh_registry registry;
    EXPECT_EQ(kr_log_reset(), ok); // no domain yet
    const open_settings domain;
    EXPECT_EQ(kr_log_reset(), ok); // no group yet
    const open_settings group(domain, "log");
    group.plant("main", "1");
    for (const u32 nth : {1u, 2u}) {
        const armed_fault fault({.call = "RegCreateKeyW", .error = 5, .nth = nth});
        EXPECT_EQ(kr_log_reset(), ok);
        EXPECT_EQ(fault.hits(), 1u);
        EXPECT_EQ(kr_log_category_masks[KR_LOG_MAIN], 7u);
    }
    EXPECT_EQ(said(log, "01"), "F kr_log_reset: Override log setting found for domain krtest\n"
                               "F kr_log_reset: Group 'log' in domain krtest cannot be opened. "
                               "Using default log settings.\n");
}

TEST(LogModule, FailsWithoutMemoryForItsList) {
    const fresh_world world;
    const failing_allocator allocator(1);
    EXPECT_EQ(kr_log_module_init(), out_of_memory);
    EXPECT_FALSE(log_main_slot.is_set());
    EXPECT_EQ(kr_log_module_init(), ok);
    // The end gives back filter and names, then the list and the work buffer.
    const u32 list = 2, buffer = allocator.allocations();
    EXPECT_EQ(kr_log_thread_register("x"), ok);
    kr_log_filter_mute_thread();
    EXPECT_EQ(kr_log_module_uninit(), ok);
    const std::vector<u32> released = allocator.released();
    EXPECT_EQ(std::vector(released.end() - 4, released.end()),
              (std::vector{buffer + 2, buffer + 1, list, buffer}));
}

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
    kr_log_profile(1, "p", std::string(5000, 'f').c_str(), &start);
    EXPECT_THAT(log_.take_lines(), ElementsAre(StartsWith("[1234567] msec - f(); p:________:"),
                                               StartsWith("[1234567] msec - any(); p:________:")));
}

} // namespace
