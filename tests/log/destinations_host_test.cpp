/// Destinations on the stand-in: when the system fails below them, on a terminal, and when the process
/// is killed.
#include "log/destinations/destinations.h"

#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "support/failing_allocator.h"
#include "support/fresh_registry.h"
#include "support/host/world.h"

namespace {

using kr::detail::log_main_slot;
using namespace kr::test;

void say(const char* text) { kr_log(1, KR_LOG_INFO, "p", "f", "%s", text); }

void say_while_failing(const char* call, const char* text) {
    const armed_fault fault({.call = call, .error = 31});
    say(text);
}

/// A log whose lines go to a destination, bare and without stamps. Its file, if it is one, is gone
/// afterwards.
class log_to : public captured_log {
public:
    explicit log_to(const wide& spec) : file_(spec.starts_with(u"file://") ? spec.substr(7) : u"") {
        EXPECT_EQ(kr_log_set_destination(spec.c_str()), ok);
        log_main_slot.set_no_timestamps(1);
        kr_log_set_formatting(3);
    }
    ~log_to() {
        EXPECT_EQ(kr_log_set_destination(u"none"), ok);
        (void)DeleteFileW(file_.c_str());
    }
    [[nodiscard]] std::string text() const { return read_file(file_); }

private:
    wide file_;
};

TEST(FileDestination, LosesNoLineButThoseOfTheFullDisk) {
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    const std::pair<rlim_t, const char*> rows[] = {{18, ""}, {19, "I\r\n"}, {26, "I: lost\r\r\n"}};
    for (const auto& [size_bytes, torn] : rows) {
        const fresh_world world;
        const log_to log(u"file://C:\\full.log");
        rlimit before = {};
        EXPECT_EQ(::getrlimit(RLIMIT_FSIZE, &before), 0);
        const rlimit full = {size_bytes, before.rlim_max};
        EXPECT_EQ(::setrlimit(RLIMIT_FSIZE, &full), 0);
        for (const char* text : {"done", "done", "lost", "lost too"}) { say(text); }
        EXPECT_EQ(::setrlimit(RLIMIT_FSIZE, &before), 0);
        say("after");
        EXPECT_EQ(log.text(), std::string("I: done\r\nI: done\r\n") + torn + "I: after\r\n");
    }
    (void)std::signal(SIGXFSZ, handler);
}

TEST(FileDestination, ComesBackWithItsFolder) {
    const fresh_world world;
    const std::filesystem::path folder = native_path(u"C:\\logs"), away = native_path(u"C:\\away");
    create_directory(folder);
    {
        const log_to log(u"file://C:\\logs\\a.log");
        say_while_failing("WriteFile", "lost"); // only such a file is opened anew
        rename(folder, away);
        for (const char* text : {"nowhere", "nowhere"}) { say(text); }
        rename(away, folder);
        say("back");
        EXPECT_EQ(log.text(), "I: back\r\n");
    }
    EXPECT_TRUE(remove(folder)) << "with nothing in it";
}

TEST(FileDestination, EveryFailureOfItsStartIsToldAndLeavesNothing) {
    const fresh_world world;
    CloseHandle(CreateFileW(u"C:\\ro.log", GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr));
    set_read_only(u"C:\\ro.log", true);
    constexpr u64 unknown = ~u64{0};
    const struct {
        const kr_char* spec;
        std::string text;
        u32 failing_allocation = 0;
        u64 now = noon_ticks;
    } rows[] = {
        {u"C:\\x.log", "Unable to allocate memory for log file descriptor Result is 0x82000002", 1},
        {u"C:\\x.log", "Unable to duplicate log filename string Result is 0x82000002", 2},
        {u"C:\\", "Unable to allocate memory for log filename Result is 0x82000002", 2},
        {u"C:\\ro.log", "cannot open C:\\ro.log"},
        {u"C:\\ro.log\\x", "cannot open C:\\ro.log\\x"},
        {u"C:\\none\\", "cannot open C:\\none\\krtest_00240229_123456.log"},
        {u"C:\\none/", "cannot open C:\\none/krtest_00240229_123456.log"},
        {u"C:\\", "Unable to get UTC time Result is 0x8200004D", 0, unknown},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(r.text);
        stop_clock(r.now, 0);
        captured_log log;
        const failing_allocator allocator(r.failing_allocation);
        EXPECT_EQ(kr_log_set_destination((wide(u"file://") + r.spec).c_str()), ok);
        EXPECT_EQ(log_main_slot.get().no_timestamps, r.now == unknown ? 0u : 1u) << "whether there is one";
        EXPECT_EQ(said(log, "01"), "W kr_file_log_init: " + r.text + '\n');
        EXPECT_EQ(kr_log_set_destination(u"none"), ok);
    }
    EXPECT_EQ(read_file(u"C:\\krtest_.log"), "");
}

TEST(EventLog, ReportsEveryLineAsInformation) {
    const fresh_world world;
    captured_log outer;
    // Outside a line the failures are heard.
    event_log_do_log(nullptr, u"x", 0);
    EXPECT_EQ(event_log_uninit(nullptr), kr_result_from_win32(6));
    {
        const armed_fault fault({.call = "RegisterEventSourceW", .error = 5});
        EXPECT_EQ(kr_log_set_destination(u"eventlog:tool"), ok);
    }
    EXPECT_EQ(said(outer, "01"), "W event_log_do_log: ReportEvent() failed. Result is 0x00000006\n"
                                 "W event_log_uninit: DeregisterEventSource() failed. Result is 0x00000006\n"
                                 "W kr_event_log_init: RegisterEventSource() failed.\n");

    const log_to log(u"eventlog:tool");
    kr_log(1, KR_LOG_ERROR, "p", "f", "one");
    say_while_failing("ReportEventW", "lost");
    say("two");
    const auto events = kr::host::event_log();
    ASSERT_EQ(events.size(), 2u);
    const auto& [source, type, category, id, strings] = events[0];
    EXPECT_THAT(std::tie(source, type, category, id),
                testing::FieldsAre(u"tool", EVENTLOG_INFORMATION_TYPE, 0, 0x40001230u));
    EXPECT_THAT(strings, ElementsAre(u"", u"E: one\n"));
    EXPECT_THAT(events[1].strings, ElementsAre(u"", u"I: two\n"));
}

/// Standard output as a terminal whose other end can be read.
class Terminal : public testing::Test {
protected:
    Terminal() {
        EXPECT_EQ(::grantpt(other_end_) | ::unlockpt(other_end_), 0);
        const int line = ::open(::ptsname(other_end_), O_RDWR | O_NOCTTY);
        std::fflush(stdout);
        ::dup2(line, STDOUT_FILENO);
        ::close(line);
    }
    ~Terminal() override {
        ::dup2(before_, STDOUT_FILENO);
        ::close(before_);
        ::close(other_end_);
    }
    /// What is shown next, at least `size_chars` of it: it may arrive in pieces.
    [[nodiscard]] std::string shown(size_t size_chars) const {
        std::string text;
        pollfd more = {.fd = other_end_, .events = POLLIN, .revents = 0};
        while (text.size() < size_chars && ::poll(&more, 1, 5'000) > 0) {
            char part[256];
            const ssize_t got = ::read(other_end_, part, sizeof(part));
            if (got <= 0) { break; }
            text.append(part, static_cast<size_t>(got));
        }
        return text;
    }
    static DWORD mode() {
        DWORD mode = 0;
        EXPECT_TRUE(GetConsoleMode(GetStdHandle(STD_OUTPUT_HANDLE), &mode));
        return mode;
    }

private:
    int other_end_ = ::posix_openpt(O_RDWR | O_NOCTTY), before_ = ::dup(STDOUT_FILENO);
};

TEST_F(Terminal, ShowsColorsWhereItCanAndLeavesItsModeAsItWas) {
    const DWORD before = mode();
    const struct {
        const char *failing_call, *shown;
        u32 colors = 0;
        DWORD added_mode = 0;
    } rows[] = {
        {"none", "I: \xE2\x86\x90[32mx\r\n"},
        {"none", "\x1b[0mI\x1b[0m: \x1b[32mx\r\n", 1, ENABLE_VIRTUAL_TERMINAL_PROCESSING},
        {"SetConsoleMode", "I: x\r\n", 1},
        {"none", "I: \xE2\x86\x90[32mx\r\n"},
    };
    for (const auto& r : rows) {
        {
            const log_to log(u"stdout");
            kr_log_set_colors(r.colors);
            const armed_fault old_system({.call = r.failing_call, .error = 87});
            for (const u32 nth : {1, 2}) {
                say("\x1b[32mx");
                EXPECT_EQ(shown(std::strlen(r.shown)), r.shown) << nth;
                EXPECT_EQ(mode(), before | r.added_mode) << r.shown;
            }
            EXPECT_LE(old_system.hits(), 1u) << "asked once only";
        }
        EXPECT_EQ(mode(), before) << r.shown;
    }
    const log_to log(u"stdout");
    kr_log_set_colors(1);
    say_while_failing("WriteConsoleW", "lost");
    say("x");
    kr_log_set_colors(0);
    say("y");
    const std::string both = "\x1b[0mI\x1b[0m: x\r\nI: y\r\n";
    EXPECT_EQ(shown(both.size()), both);
    EXPECT_EQ(mode(), before);
}

TEST(LogCore, SurvivesAKillWithEveryLineThatReturned) {
    const fresh_world world;
    const log_to log(u"file://C:\\killed.log");
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
    std::string expected;
    u32 lines = 0;
    for (u32 i = 0; ::read(pipe_ends[0], &i, sizeof(i)) > 0; ++lines) {
        expected += "I: line " + std::to_string(i) + "\r\n";
        if (i == 500) { ASSERT_EQ(::kill(child, SIGKILL), 0); }
    }
    ::close(pipe_ends[0]);
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFSIGNALED(status));
    EXPECT_GT(lines, 500u);
    EXPECT_TRUE(log.text().starts_with(expected));
}

} // namespace
