/// Clocks that stand still, cannot be read, or have run for long.
#include "base/time/time.h"
#include "log/startup/module.h"
#include "support/host/world.h"

namespace {

using namespace kr::test;

TEST(Uptime, PicksTheFinestUnitThatHoldsIt) {
    const fresh_world world;
    // clang-format off
    constexpr std::tuple<u64, i32, u64> rows[] = {
        {0, -3, 0}, {18'446'744'073, -3, 1'844'674'407'300},
        {18'446'744'074, -2, 1'844'674'407}, {18'446'744'073'709, -2, 1'844'674'407'370},
        {18'446'744'073'710, -1, 1'844'674'407}, {18'446'744'073'709'551, -1, 1'844'674'407'370},
        {18'446'744'073'709'552, 0, 1'844'674'407}};
    // clang-format on
    for (const auto& [ticks, unit, count] : rows) {
        stop_clock(0, ticks);
        kr_time t{};
        EXPECT_EQ(kr_time_get_uptime(&t), ok);
        EXPECT_EQ(std::tuple(t.unit, t.count, t.relative), std::tuple(unit, count, 1u)) << ticks;
    }
}

TEST(Clocks, FailuresAreLoggedAndWrapped) {
    const fresh_world world;
    captured_log log;
    for (const char* call : {"QueryPerformanceFrequency", "QueryPerformanceCounter"}) {
        const armed_fault fault({.call = call, .error = 50});
        kr_time t{.unit = 9, .count = 9, .relative = 9};
        EXPECT_EQ(kr_time_get_uptime(&t), kr_result_make_win32(50));
        EXPECT_EQ(t.count, 9u);
        const std::string line = "E 01 kr_time_get_uptime: kr_time_get_uptime: ";
        EXPECT_THAT(log.take(), ElementsAre(line + call + " failed! ErrorCode = 50"));
    }
    kr_time t{};
    stop_clock(u64{184'467'440'737'095'516}, 0);
    EXPECT_EQ(kr_time_get_current(&t), ok);
    stop_clock(u64{184'467'440'737'095'517}, 0);
    EXPECT_EQ(kr_time_get_current(&t), overflow);
    EXPECT_EQ(kr_time_since(&t, &t), overflow);
    EXPECT_EQ(log.take().size(), 1u);
}

TEST(Clocks, OffsetIsTakenWhenTheModuleStarts) {
    const fresh_world world;
    for (const i32 offset : {3'600, -34'200, 0}) {
        kr::host::fix_local_offset(offset);
        EXPECT_EQ(kr_time_module()->init(), ok);
        EXPECT_EQ(kr_time_local_offset, offset);
    }
}

} // namespace
