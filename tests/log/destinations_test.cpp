/// Destinations: which text selects which, and what arrives there.
#include "log/destinations.h"

#include <cstring>
#include <regex>
#include <tuple>

#include <gmock/gmock.h>

#include "base/wide_string.h"
#include "log/categories.h"
#include "log/core.h"
#include "log/slots.h"
#include "log/utf8.h"
#include "platform/platform.h"
#include "support/captured_log.h"

namespace {

using kr::detail::log_main_slot;
using kr::test::captured_log;
using kr::test::utf8;
using testing::ElementsAre;
using testing::IsEmpty;
using wide = std::basic_string<kr_char>;

/// The folder for temporary files, without a separator behind it.
wide scratch_folder() {
    kr_char folder[MAX_PATH + 1];
    const DWORD length = GetTempPathW(MAX_PATH + 1, folder);
    EXPECT_GT(length, 1u);
    return {folder, length - 1};
}

/// The path of a file that is not there before and after.
class scratch_file {
public:
    explicit scratch_file(const wide& name) {
        kr_char thread[66];
        path_ =
            scratch_folder() + KR_TEXT("\\") + _ui64tow(GetCurrentThreadId(), thread, 10) + name;
        (void)DeleteFileW(path_.c_str());
    }
    scratch_file(const scratch_file&) = delete;
    scratch_file& operator=(const scratch_file&) = delete;
    ~scratch_file() { (void)DeleteFileW(path_.c_str()); }

    [[nodiscard]] const wide& path() const { return path_; }

private:
    wide path_;
};

std::string read_file(const wide& path) {
    const HANDLE file = CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                    nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        return "no such file";
    }
    std::string bytes(100'000, '\0');
    DWORD size = 0;
    EXPECT_NE(ReadFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &size, nullptr),
              FALSE);
    CloseHandle(file);
    bytes.resize(size);
    return bytes;
}

wide file_spec(const wide& path) {
    return KR_TEXT("file://") + path;
}

/// Which initialiser took the main slot, by the operation that it put there.
const char* selected() {
    const kr_log_destination destination = log_main_slot.get();
    const std::tuple<const char*, kr_log_init, const kr_char*> candidates[] = {
        {"debugger", kr_debugger_log_init, KR_TEXT("windbg")},
        {"console", kr_console_log_init, KR_TEXT("stdout")},
        {"null", kr_null_log_init, KR_TEXT("x")},
    };
    for (const auto& [name, init, spec] : candidates) {
        kr_log_destination own{};
        if (init(spec, &own.no_timestamps, &own.context, &own.write, &own.close) != 0 &&
            own.write == destination.write) {
            EXPECT_EQ(own.no_timestamps, destination.no_timestamps) << name;
            EXPECT_EQ(destination.close, nullptr);
            return name;
        }
    }
    if (destination.write == file_log_do_log) {
        return "file";
    }
    return destination.write == event_log_do_log ? "event log" : "unknown";
}

TEST(Destinations, AreSelectedByText) {
    const struct {
        int line;
        const kr_char* spec;
        const char* selected;
        bool quiet;
    } rows[] = {
        {__LINE__, KR_TEXT("windbg"), "debugger", false},
        {__LINE__, KR_TEXT("windbG"), "null", false},
        {__LINE__, KR_TEXT("stdout"), "console", false},
        {__LINE__, KR_TEXT(""), "console", false},
        {__LINE__, nullptr, "console", false},
        {__LINE__, KR_TEXT("quiet"), "null", false},
        {__LINE__, KR_TEXT("quiet!stdout"), "console", true},
        {__LINE__, KR_TEXT("qu!windbg"), "debugger", true},
        {__LINE__, KR_TEXT("!"), "console", true},
        {__LINE__, KR_TEXT("quiets!windbg"), "debugger", false},
        {__LINE__, KR_TEXT("Quiet!windbg"), "debugger", false},
        {__LINE__, KR_TEXT("!windbg!"), "null", true},
        {__LINE__, KR_TEXT("file://"), "null", false},
        {__LINE__, KR_TEXT("FILE://x"), "null", false},
        {__LINE__, KR_TEXT("eventlog:"), "event log", false},
        {__LINE__, KR_TEXT("eventlog:krtest"), "event log", false},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(r.line);
        const captured_log log(KR_LOG_ERROR);
        EXPECT_EQ(kr_log_set_destination(r.spec), KR_SUCCESS);
        EXPECT_STREQ(selected(), r.selected);
        kr_log_apply_defaults();
        EXPECT_EQ(kr_log_enabled(KR_LOG_MAIN, KR_LOG_ERROR), !r.quiet);
        kr_log_quiet_defaults(0);
        EXPECT_EQ(kr_log_set_destination(KR_TEXT("none")), KR_SUCCESS);
    }
}

TEST(Destinations, OverrideTakesTheStampFromAllThatFollow) {
    const captured_log log;
    log_main_slot.set_no_timestamps(0);
    kr_log_set_no_timestamps(1);
    EXPECT_EQ(log_main_slot.get().no_timestamps, 1u);
    for (const u32 off : {1u, 0u}) {
        kr_log_set_no_timestamps(off);
        EXPECT_EQ(kr_log_set_destination(KR_TEXT("stdout")), KR_SUCCESS);
        EXPECT_EQ(log_main_slot.get().no_timestamps, off);
    }
}

TEST(Destinations, SecondaryNeedsAMainOne) {
    EXPECT_EQ(kr_log_set_secondary_destination(KR_TEXT("stdout")),
              kr_result_make_error(KR_UNEXPECTED_BEHAVIOUR));
    const captured_log log;
    const scratch_file file(KR_TEXT("second.log"));
    EXPECT_EQ(kr_log_set_secondary_destination(file_spec(file.path()).c_str()), KR_SUCCESS);
    kr_log(1, KR_LOG_INFO | KR_LOG_SECONDARY, "p", "f", "beside");
    EXPECT_EQ(kr_log_close_secondary_destination(), KR_SUCCESS);
    EXPECT_TRUE(std::regex_match(read_file(file.path()),
                                 std::regex("\\d{6} \\d\\d:\\d\\d:\\d\\d beside\r\n")));
    // No '!' and no default here.
    EXPECT_EQ(kr_log_set_secondary_destination(KR_TEXT("!stdout")), KR_SUCCESS);
    EXPECT_EQ(kr::detail::log_secondary_slot.get().no_timestamps, 1u);
    EXPECT_EQ(kr_log_close_secondary_destination(), KR_SUCCESS);
}

/// Whether the event can be read back depends on the system; here it is taken without complaint.
TEST(EventLog, AcceptsALine) {
    captured_log log;
    kr_log_destination source{};
    ASSERT_NE(kr_event_log_init(KR_TEXT("eventlog:krtest"), &source.no_timestamps, &source.context,
                                &source.write, &source.close),
              0u);
    source.write(source.context, KR_TEXT("a line\n"), 16);
    EXPECT_EQ(source.close(source.context), KR_SUCCESS);
    EXPECT_THAT(log.take(), IsEmpty());
}

TEST(Console, TakesLinesAndWithoutAnyDestinationTheBareOnes) {
    testing::internal::CaptureStdout();
    kr_log(1, KR_LOG_FORCED, "p", "f", "%s %_s", "bare", KR_TEXT("\u20AC"));
    kr_log(1, KR_LOG_ERROR, "p", "f", "lost");
    kr_log(1, KR_LOG_FORCED, "p", "f", "%q");
    {
        const captured_log log;
        EXPECT_EQ(kr_log_set_destination(nullptr), KR_SUCCESS);
        log_main_slot.set_no_timestamps(1);
        kr_log_set_formatting(3);
        std::fputs("between\n", stdout);
        kr_log(1, KR_LOG_INFO, "p", "f", "%_s", wide(1'020, 'a').append({0xD83D, 0xDE00}).c_str());
    }
    EXPECT_FALSE(log_main_slot.is_set());
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "bare \xE2\x82\xAC\n\nbetween\nI: " + std::string(1'020, 'a') + "\xF0\x9F\x98\x80\n");
}

TEST(FileDestination, KeepsEveryLineByteForByte) {
    const captured_log log;
    const scratch_file file(KR_TEXT("l\u00F6g \u4E2D.txt"));
    const wide& path = file.path();
    const wide spec = file_spec(path);
    ASSERT_EQ(kr_log_set_destination(spec.c_str()), KR_SUCCESS);
    log_main_slot.set_no_timestamps(1);
    kr_log_set_formatting(3);
    std::string expected;
    const auto say = [&](const wide& text, const std::string& bytes) {
        kr_log(1, KR_LOG_INFO, "p", "f", "%_s", text.c_str());
        expected += "I: " + bytes + "\r\n";
    };
    say(KR_TEXT("plain"), "plain");
    say(KR_TEXT("two\nlines\r\n."), "two\r\nlines\r\r\n.");
    say(KR_TEXT("\u00FC \u20AC \U0001F600"), "\xC3\xBC \xE2\x82\xAC \xF0\x9F\x98\x80");
    const kr_char high[] = {0xD83D, 'x', 0};
    const kr_char low[] = {'x', 0xDE00, 0xD83D, 0};
    say(high, "\xEF\xBF\xBDx");
    say(low, "x\xEF\xBF\xBD\xEF\xBF\xBD");
    std::string euros;
    for (u32 i = 0; i < 4'091; ++i) {
        euros += "\xE2\x82\xAC";
    }
    say(wide(4'091, 0x20AC), euros);
    say(wide(4'091, '\n'), std::regex_replace(std::string(4'091, '\n'), std::regex("\n"), "\r\n"));
    kr_log(0, 0, "p", "f", "raw");
    expected += "raw";
    EXPECT_EQ(read_file(path), expected) << "before the file is closed";
    EXPECT_EQ(kr_log_set_destination(spec.c_str()), KR_SUCCESS);
    log_main_slot.set_no_timestamps(1);
    say(KR_TEXT("appended"), "appended");
    file_log_do_log(log_main_slot.get().context, wide(10'000, 'x').c_str(), 0);
    expected += std::string(10'000, 'x');
    EXPECT_EQ(kr_log_set_destination(KR_TEXT("none")), KR_SUCCESS);
    EXPECT_EQ(read_file(path), expected);
}

TEST(FileDestination, RefusesWhatItCannotOpenAndSaysWhy) {
    const wide missing = scratch_folder() + KR_TEXT("\\krlog none\\x.log");
    const wide name_too_long = scratch_folder() + KR_TEXT("\\") + wide(300, 'x');
    for (const wide& path : {missing, scratch_folder(), name_too_long}) {
        captured_log log;
        EXPECT_EQ(kr_log_set_destination(file_spec(path).c_str()), KR_SUCCESS);
        EXPECT_STREQ(selected(), "null");
        EXPECT_THAT(log.take(),
                    ElementsAre("W 01 kr_file_log_init: cannot open " + utf8(path.c_str())));
        EXPECT_EQ(read_file(path), "no such file");
    }
    // A path of more than 256 characters opens that file, or none.
    const captured_log log;
    const scratch_file file(wide(245, 'y'));
    const wide& path = file.path();
    EXPECT_EQ(kr_log_set_destination(file_spec(path).c_str()), KR_SUCCESS);
    kr_log_set_formatting(3);
    log_main_slot.set_no_timestamps(1);
    kr_log(1, KR_LOG_INFO, "p", "f", "here");
    EXPECT_EQ(read_file(path), strcmp(selected(), "null") == 0 ? "no such file" : "I: here\r\n");
    EXPECT_EQ(kr_log_set_destination(KR_TEXT("none")), KR_SUCCESS);
}

TEST(Utf8, EncodesAtEveryOffset) {
    // ASCII is packed by vectors: what is not ASCII, or a newline, stands at every place of them.
    constexpr u32 length = 40;
    const kr_char odd[] = {'\n', 0x7F, 0x80, 0x7FF, 0x800, 0xFFFF, 0};
    const char* const bytes[] = {"\r\n",     "\x7F",         "\xC2\x80",
                                 "\xDF\xBF", "\xE0\xA0\x80", "\xEF\xBF\xBF"};
    for (u32 which = 0; odd[which] != 0; ++which) {
        for (u32 at = 0; at < length; ++at) {
            wide text(length, 'a');
            text[at] = odd[which];
            std::string expected(length, 'a');
            expected.replace(at, 1, bytes[which]);
            char out[kr::detail::utf8_room(length)];
            const size_t size = kr::detail::encode_utf8(text.c_str(), text.size(),
                                                        kr::detail::newline_form::cr_lf, out);
            EXPECT_EQ(std::string(out, size), expected) << which << ' ' << at;
        }
    }
}

} // namespace
