/// The log when the system fails below it, with stopped clocks, and when the process is killed.
#include <csignal>
#include <fstream>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "base/time/time.h"
#include "log/destinations/destinations.h"
#include "log/startup/config.h"
#include "log/startup/log_module.h"
#include "platform/host/fault.h"
#include "platform/host/world.h"
#include "support/captured_log.h"
#include "support/failing_allocator.h"
#include "support/fresh_registry.h"
#include "support/system.h"

namespace {

using kr::detail::log_main_slot;
using kr::host::armed_fault;
using namespace kr::test;
using testing::StartsWith;

/// 2024-02-29T12:34:56 UTC.
constexpr u64 noon_ticks = (1'709'210'096 + KR_TIME_EPOCH_DISTANCE_SECONDS) * 10'000'000;
constexpr u64 ms_ticks = 10'000;

class world_guard : kr::test::pinned {
public:
    world_guard() { kr::host::reset_world(); }
    ~world_guard() {
        kr::host::reset_world();
        kr_time_local_offset = 0;
    }
};

void say(const char* text) { kr_log(1, KR_LOG_INFO, "p", "f", "%s", text); }

/// A captured log whose lines go to a file in the bare layout without stamps.
class file_log : kr::test::pinned {
public:
    explicit file_log(const kr_char* path) : path_(kr::host::native_path(path)) {
        EXPECT_EQ(kr_log_set_destination((std::u16string(u"file://") + path).c_str()), ok);
        EXPECT_EQ(log_main_slot.get().write, file_log_do_log);
        log_main_slot.set_no_timestamps(1);
        kr_log_set_formatting(3);
    }
    ~file_log() {
        EXPECT_EQ(kr_log_set_destination(u"none"), ok);
        (void)::unlink(path_.c_str());
    }
    [[nodiscard]] std::string text() const {
        std::ifstream file(path_, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    [[nodiscard]] const std::string& path() const { return path_; }

private:
    captured_log log_;
    std::string path_;
};

TEST(LogStamp, MovesOnEveryTenMilliseconds) {
    const world_guard world;
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
    const world_guard world;
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

TEST(Uptime, PicksTheFinestUnitThatHoldsIt) {
    const world_guard world;
    constexpr struct {
        int line;
        u64 ticks;
        i32 unit;
        u64 count;
    } rows[] = {
        {__LINE__, 0, -3, 0},
        {__LINE__, 18'446'744'073, -3, 1'844'674'407'300},
        {__LINE__, 18'446'744'074, -2, 1'844'674'407},
        {__LINE__, 18'446'744'073'709, -2, 1'844'674'407'370},
        {__LINE__, 18'446'744'073'710, -1, 1'844'674'407},
        {__LINE__, 18'446'744'073'709'551, -1, 1'844'674'407'370},
        {__LINE__, 18'446'744'073'709'552, 0, 1'844'674'407},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(r.line);
        kr::host::stop_clock(0, r.ticks);
        kr_time t{};
        EXPECT_EQ(kr_time_get_uptime(&t), ok);
        EXPECT_EQ(t.unit, r.unit);
        EXPECT_EQ(t.count, r.count);
        EXPECT_EQ(t.relative, 1u);
    }
    captured_log log;
    kr_time start{};
    kr::host::stop_clock(0, 10'000'000);
    kr_log_take_uptime(&start);
    kr::host::stop_clock(0, 10'000'000 + 1'234'567 * u64{10'000});
    for (const u64 threshold : {1'234'567, 1'234'568, 0}) {
        kr_log_set_profile_threshold(threshold);
        kr_log_profile(1, "p", threshold == 0 ? "any" : "f", &start);
    }
    EXPECT_THAT(log.take_lines(), ElementsAre(StartsWith("[1234567] msec - f(); p:________:"),
                                              StartsWith("[1234567] msec - any(); p:________:")));
}

TEST(Clocks, FailuresAreLoggedAndWrapped) {
    const world_guard world;
    captured_log log;
    for (const char* call : {"QueryPerformanceFrequency", "QueryPerformanceCounter"}) {
        const armed_fault fault({.call = call, .error = 50});
        kr_time t{.unit = 9, .count = 9, .relative = 9};
        EXPECT_EQ(kr_time_get_uptime(&t), kr_result_make_win32(50));
        EXPECT_EQ(t.count, 9u);
        EXPECT_THAT(log.take(), ElementsAre(std::string("E 01 kr_time_get_uptime: "
                                                        "kr_time_get_uptime: ") +
                                            call + " failed! ErrorCode = 50"));
    }
    kr_time t{};
    kr::host::stop_clock(u64{184'467'440'737'095'516}, 0);
    EXPECT_EQ(kr_time_get_current(&t), ok);
    kr::host::stop_clock(u64{184'467'440'737'095'517}, 0);
    EXPECT_EQ(kr_time_get_current(&t), overflow);
    EXPECT_EQ(kr_time_since(&t, &t), overflow);
    EXPECT_EQ(log.take().size(), 1u);
}

TEST(Clocks, OffsetIsTakenWhenTheModuleStarts) {
    const world_guard world;
    for (const i32 offset : {3'600, -34'200, 0}) {
        kr::host::fix_local_offset(offset);
        EXPECT_EQ(kr_time_module()->init(), ok);
        EXPECT_EQ(kr_time_local_offset, offset);
    }
}

TEST(FileDestination, GoesOnWhenTheDiskIsFull) {
    const world_guard world;
    const file_log log(u"C:\\full.log");
    say("before");
    {
        const armed_fault full({.call = "WriteFile", .error = 112, .nth = 1, .sticky = true});
        say("lost");
        say("lost too");
    }
    say("after");
    {
        // Four bytes of the line get through before the disk is full.
        const armed_fault cut({.call = "WriteFile", .error = 0, .nth = 1, .amount = 4});
        say("cut short");
        const armed_fault full({.call = "WriteFile", .error = 112, .nth = 1});
        say("lost");
    }
    say("whole");
    EXPECT_EQ(log.text(), "I: before\r\nI: after\r\nI: c\r\nI: whole\r\n");
}

TEST(FileDestination, ComesBackWithItsFolder) {
    const world_guard world;
    create_directory(kr::test::native_path(u"C:\\logs"));
    const file_log log(u"C:\\logs\\a.log");
    const std::string folder = kr::host::native_path(u"C:\\logs");
    {
        // Only a file that could not be written is opened anew.
        const armed_fault gone({.call = "WriteFile", .error = 1117});
        say("lost");
    }
    ASSERT_EQ(::rename(folder.c_str(), (folder + "2").c_str()), 0);
    say("nowhere");
    say("nowhere");
    ASSERT_EQ(::rename((folder + "2").c_str(), folder.c_str()), 0);
    say("back");
    EXPECT_EQ(log.text(), "I: back\r\n");
    EXPECT_EQ(::unlink(log.path().c_str()), 0);
    EXPECT_EQ(::rmdir(folder.c_str()), 0);
}

TEST(FileDestination, EveryFailureOfItsStartIsToldAndLeavesNothing) {
    const world_guard world;
    const HANDLE file = CreateFileW(u"C:\\ro.log", GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    ASSERT_NE(file, INVALID_HANDLE_VALUE);
    CloseHandle(file);
    kr::test::set_read_only(u"C:\\ro.log", true);
#define OUT_OF_MEMORY " Result is 0x82000002 (error \"Out of memory\" from \"Unknown source\")"
    const struct {
        int line;
        const kr_char* spec;
        u32 failing_allocation;
        const char* text;
    } rows[] = {
        {__LINE__, u"file://C:\\x.log", 1, "Unable to allocate memory for log file descriptor" OUT_OF_MEMORY},
        {__LINE__, u"file://C:\\x.log", 2, "Unable to duplicate log filename string" OUT_OF_MEMORY},
        {__LINE__, u"file://C:\\", 2, "Unable to allocate memory for log filename" OUT_OF_MEMORY},
        {__LINE__, u"file://C:\\ro.log", 0, "cannot open C:\\ro.log"},
        {__LINE__, u"file://C:\\none\\", 0, "cannot open C:\\none\\krtest_00240229_123456.log"},
        {__LINE__, u"file://C:\\none/", 0, "cannot open C:\\none/krtest_00240229_123456.log"},
    };
#undef OUT_OF_MEMORY
    kr::host::stop_clock(noon_ticks, 0);
    for (const auto& r : rows) {
        SCOPED_TRACE(r.line);
        captured_log log;
        const failing_allocator allocator(r.failing_allocation);
        EXPECT_EQ(kr_log_set_destination(r.spec), ok);
        EXPECT_EQ(log_main_slot.get().no_timestamps, 1u);
        EXPECT_THAT(log.take(), ElementsAre(std::string("W 01 kr_file_log_init: ") + r.text));
    }
    kr::host::stop_clock(~u64{0}, 0);
    captured_log log;
    EXPECT_EQ(kr_log_set_destination(u"file://C:\\"), ok);
    EXPECT_THAT(log.take(), ElementsAre("W 01 kr_file_log_init: Unable to get UTC time Result is "
                                        "0x8200004D (error \"Overflow\" from \"Unknown source\")"));
    EXPECT_EQ(kr::test::read_file(u"C:\\krtest_.log"), "");
    EXPECT_EQ(kr_log_set_destination(u"none"), ok);
}

TEST(EventLog, ReportsEveryLineAsInformation) {
    const world_guard world;
    captured_log log;
    {
        const armed_fault fault({.call = "RegisterEventSourceW", .error = 5});
        EXPECT_EQ(kr_log_set_destination(u"eventlog:tool"), ok);
        EXPECT_THAT(log.take(), ElementsAre("W 01 kr_event_log_init: RegisterEventSource() failed."));
    }
    EXPECT_EQ(kr_log_set_destination(u"eventlog:tool"), ok);
    kr_log_set_formatting(3);
    kr_log(1, KR_LOG_ERROR, "p", "f", "one");
    {
        const armed_fault fault({.call = "ReportEventW", .error = 1502});
        say("lost");
    }
    say("two");
    const auto events = kr::host::event_log();
    ASSERT_EQ(events.size(), 2u);
    EXPECT_EQ(events[0].source, u"tool");
    EXPECT_EQ(events[0].type, EVENTLOG_INFORMATION_TYPE);
    EXPECT_EQ(events[0].category, 0);
    EXPECT_EQ(events[0].id, 0x40001230u);
    EXPECT_THAT(events[0].strings, ElementsAre(u"", u"E: one\n"));
    EXPECT_THAT(events[1].strings, ElementsAre(u"", u"I: two\n"));

    // Outside a line the failures are heard.
    kr_log_destination source = log_main_slot.get();
    captured_log outer;
    event_log_do_log(nullptr, u"x", 0);
    EXPECT_EQ(event_log_uninit(nullptr), kr_result_from_win32(6));
    EXPECT_THAT(outer.take(), ElementsAre(StartsWith("W 01 event_log_do_log: ReportEvent() failed. "
                                                     "Result is 0x00000006 ("),
                                          StartsWith("W 01 event_log_uninit: DeregisterEventSource() "
                                                     "failed. Result is 0x00000006 (")));
    EXPECT_EQ(source.close(source.context), ok);
}

/// Standard output as a terminal whose other end can be read.
class terminal : kr::test::pinned {
public:
    terminal() {
        EXPECT_EQ(::grantpt(other_end_) | ::unlockpt(other_end_), 0);
        const int line = ::open(::ptsname(other_end_), O_RDWR | O_NOCTTY);
        std::fflush(stdout);
        ::dup2(line, STDOUT_FILENO);
        ::close(line);
    }
    ~terminal() {
        ::dup2(before_, STDOUT_FILENO);
        ::close(before_);
        ::close(other_end_);
    }
    [[nodiscard]] std::string shown() const {
        char text[256] = {};
        return ::read(other_end_, text, sizeof(text) - 1) > 0 ? text : "";
    }
    static DWORD mode() {
        DWORD mode = 0;
        EXPECT_TRUE(GetConsoleMode(GetStdHandle(STD_OUTPUT_HANDLE), &mode));
        return mode;
    }

private:
    int other_end_ = ::posix_openpt(O_RDWR | O_NOCTTY), before_ = ::dup(STDOUT_FILENO);
};

TEST(Console, ShowsColorsWhereItCanAndLeavesItsModeAsItWas) {
    const terminal console;
    const DWORD before = terminal::mode();
    const struct {
        int line;
        const char *failing_call, *shown;
        u32 colors = 0;
        DWORD added_mode = 0;
    } rows[] = {
        {__LINE__, "none", "I: \xE2\x86\x90[32mx\r\n"},
        {__LINE__, "none", "\x1b[0mI\x1b[0m: \x1b[32mx\r\n", 1, ENABLE_VIRTUAL_TERMINAL_PROCESSING},
        {__LINE__, "SetConsoleMode", "I: x\r\n", 1},
        {__LINE__, "none", "I: \xE2\x86\x90[32mx\r\n"},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(r.line);
        const captured_log log;
        EXPECT_EQ(kr_log_set_destination(u"stdout"), ok);
        log_main_slot.set_no_timestamps(1);
        kr_log_set_formatting(3);
        kr_log_set_colors(r.colors);
        const armed_fault old_system({.call = r.failing_call, .error = 87});
        for (const u32 nth : {1, 2}) {
            say("\x1b[32mx");
            EXPECT_EQ(console.shown(), r.shown) << nth;
            EXPECT_EQ(terminal::mode(), before | r.added_mode);
        }
        EXPECT_LE(old_system.hits(), 1u) << "asked once only";
        EXPECT_EQ(kr_log_set_destination(u"none"), ok);
        EXPECT_EQ(terminal::mode(), before);
    }
    const armed_fault gone({.call = "WriteConsoleW", .error = 31});
    const captured_log log;
    EXPECT_EQ(kr_log_set_destination(u"stdout"), ok);
    kr_log_set_formatting(3);
    kr_log_set_colors(1);
    say("lost");
    say("x");
    kr_log_set_colors(0);
    say("y");
    EXPECT_THAT(console.shown(), testing::EndsWith("I\x1b[0m: x\r\nI: y\r\n"));
    EXPECT_EQ(terminal::mode(), before);
}

TEST(LogModule, StartsWritesAndStops) {
    const world_guard world;
    std::vector<std::u16string> shown;
    kr::host::set_debug_sink(
        [&](kr::host::debug_source /*source*/, std::u16string_view text) { shown.emplace_back(text); });
    kr::host::stop_clock(noon_ticks, 0);
    for (u32 round = 0; round < 2; ++round) {
        kr_log_register_module(u"windbg");
        kr_log_register_module(nullptr);
        ASSERT_EQ(kr_init(), ok);
        EXPECT_EQ(kr_log_category_masks[KR_LOG_MAIN].load(), 7u);
        EXPECT_EQ(kr_log_module_init(), unexpected);
        ASSERT_EQ(kr_log_thread_register("main"), ok);
        kr_log(2, KR_LOG_FORCED, "loadprobe", "wmain", "hello");
        kr_fini();
        EXPECT_FALSE(log_main_slot.is_set());
    }
    ASSERT_EQ(shown.size(), 2u);
    EXPECT_TRUE(shown[0].starts_with(u"240229 12:34:56.000.001; loadprobe:main    :"));
    EXPECT_TRUE(shown[0].ends_with(u"; F(02); hello; wmain()\n"));
    kr_log_register_module(u"stdout");
    EXPECT_EQ(kr_log_thread_register("x"), unexpected);
}

TEST(LogReset, KeepsTheDefaultsWhereAKeyCannotBeOpened) {
    captured_log log;
    const fresh_registry registry;
    const open_settings domain, group(domain, "log");
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
    const world_guard world;
    const failing_allocator allocator(1);
    EXPECT_EQ(kr_log_module_init(), out_of_memory);
    EXPECT_FALSE(log_main_slot.is_set());
    EXPECT_EQ(kr_log_module_init(), ok);
    EXPECT_EQ(kr_log_module_uninit(), ok);
}

TEST(LogCore, SurvivesAKillWithEveryLineThatReturned) {
    const world_guard world;
    const file_log log(u"C:\\killed.log");
    int pipe_ends[2];
    ASSERT_EQ(::pipe(pipe_ends), 0);
    const pid_t child = ::fork();
    if (child == 0) {
        for (u32 i = 0;; ++i) {
            kr_log(1, KR_LOG_INFO, "p", "f", "line %u", i);
            if (::write(pipe_ends[1], &i, sizeof(i)) != sizeof(i)) { ::_exit(1); }
        }
    }
    ASSERT_GT(child, 0);
    ::close(pipe_ends[1]);
    u32 returned = 0;
    while (returned < 500 && ::read(pipe_ends[0], &returned, sizeof(returned)) > 0) {}
    ASSERT_EQ(::kill(child, SIGKILL), 0);
    u32 last = returned;
    while (::read(pipe_ends[0], &last, sizeof(last)) > 0) { returned = last; }
    ::close(pipe_ends[0]);
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFSIGNALED(status));
    std::string expected;
    for (u32 i = 0; i <= returned; ++i) { expected += "I: line " + std::to_string(i) + "\r\n"; }
    EXPECT_GE(returned, 500u);
    EXPECT_TRUE(log.text().starts_with(expected));
}

} // namespace
