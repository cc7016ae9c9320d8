/// Destinations when the system fails below them, on a terminal, and when the process is killed.
#include "log/destinations/destinations.h"

#include <csignal>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "support/captured_log.h"
#include "support/failing_allocator.h"
#include "support/host/world.h"
#include "support/system.h"

namespace {

using kr::detail::log_main_slot;
using kr::host::armed_fault;
using namespace kr::test;
using testing::StartsWith;

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
    [[nodiscard]] std::string text() const { return read_native_file(path_); }
    [[nodiscard]] const std::string& path() const { return path_; }

private:
    captured_log log_;
    std::string path_;
};

/// While it lives, no file grows beyond `size_bytes`.
class full_disk : kr::test::pinned {
public:
    explicit full_disk(rlim_t size_bytes) {
        EXPECT_EQ(::getrlimit(RLIMIT_FSIZE, &before_), 0);
        const rlimit limit = {size_bytes, before_.rlim_max};
        EXPECT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0);
    }
    ~full_disk() {
        EXPECT_EQ(::setrlimit(RLIMIT_FSIZE, &before_), 0);
        (void)std::signal(SIGXFSZ, handler_);
    }

private:
    rlimit before_ = {};
    void (*handler_)(int) = std::signal(SIGXFSZ, SIG_IGN);
};

TEST(FileDestination, LosesNoLineButThoseOfTheFullDisk) {
    const std::pair<rlim_t, const char*> rows[] = {{18, ""}, {19, "I\r\n"}, {26, "I: lost\r\r\n"}};
    for (const auto& [size_bytes, torn] : rows) {
        const fresh_world world;
        const file_log log(u"C:\\full.log");
        {
            const full_disk disk(size_bytes);
            for (const char* text : {"done", "done", "lost", "lost too"}) { say(text); }
        }
        say("after");
        EXPECT_EQ(log.text(), std::string("I: done\r\nI: done\r\n") + torn + "I: after\r\n");
    }
}

TEST(FileDestination, ComesBackWithItsFolder) {
    const fresh_world world;
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
    const fresh_world world;
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
    const fresh_world world;
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
    log_main_slot.set_no_timestamps(1);
    kr_log_set_formatting(3);
    kr_log_set_colors(1);
    say("lost");
    say("x");
    kr_log_set_colors(0);
    say("y");
    EXPECT_EQ(console.shown(), "\x1b[0mI\x1b[0m: x\r\nI: y\r\n");
    EXPECT_EQ(terminal::mode(), before);
}

TEST(LogCore, SurvivesAKillWithEveryLineThatReturned) {
    const fresh_world world;
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
