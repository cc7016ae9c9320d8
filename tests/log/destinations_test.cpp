/// Destinations: which text selects which, and what arrives there.
#include "log/destinations/destinations.h"

#include "log/categories.h"
#include "support/captured_log.h"
#include "support/system.h"

namespace {

using kr::detail::log_main_slot;
using namespace kr::test;

/// The path of a file that is not there before and after.
struct scratch_file : pinned {
    explicit scratch_file(const wide& name) : path(scratch_path(name)) { (void)DeleteFileW(path.c_str()); }
    ~scratch_file() { (void)DeleteFileW(path.c_str()); }

    const wide path, spec = KR_TEXT("file://") + path;
};

/// Each text selects what `same_as` does: "windbg", "stdout" or, for no destination, any other text.
void expect_selected(std::initializer_list<const kr_char*> specs, const kr_char* same_as, bool quiet) {
    kr_log_destination same{};
    for (const kr_log_init init : {kr_debugger_log_init, kr_console_log_init, kr_null_log_init}) {
        if (init(same_as, &same.no_timestamps, &same.context, &same.write, &same.close) != 0) { break; }
    }
    for (const kr_char* spec : specs) {
        SCOPED_TRACE(spec != nullptr ? utf8(spec) : "null");
        const captured_log log(KR_LOG_ERROR);
        kr_log_set_formatting(1);
        EXPECT_EQ(kr_log_set_destination(spec), ok);
        EXPECT_EQ(kr_log_formatting(), quiet ? 0u : 1u);
        const kr_log_destination selected = log_main_slot.get();
        EXPECT_EQ(selected.write, same.write);
        EXPECT_EQ(selected.no_timestamps, same.no_timestamps);
        EXPECT_EQ(selected.close, nullptr);
        kr_log_apply_defaults();
        EXPECT_EQ(kr_log_enabled(KR_LOG_MAIN, KR_LOG_ERROR), !quiet);
        kr_log_quiet_defaults(0);
        EXPECT_EQ(kr_log_set_destination(KR_TEXT("none")), ok);
    }
}

TEST(Destinations, AreSelectedByText) {
    const kr_char *const debugger = KR_TEXT("windbg"), *const console = KR_TEXT("stdout"),
                         *const none = KR_TEXT("x");
    expect_selected({debugger, KR_TEXT("quiets!windbg"), KR_TEXT("Quiet!windbg")}, debugger, false);
    expect_selected({KR_TEXT("qu!windbg")}, debugger, true);
    expect_selected({console, KR_TEXT(""), nullptr}, console, false);
    expect_selected({KR_TEXT("quiet!stdout"), KR_TEXT("!")}, console, true);
    expect_selected({KR_TEXT("windbG"), KR_TEXT("quiet"), KR_TEXT("file://"), KR_TEXT("FILE://x")}, none,
                    false);
    expect_selected({KR_TEXT("!windbg!")}, none, true);
}

TEST(Destinations, OverrideTakesTheStampFromAllThatFollow) {
    const captured_log log;
    log_main_slot.set_no_timestamps(0);
    for (const u32 off : {2u, 0u}) {
        kr_log_set_no_timestamps(off);
        EXPECT_EQ(log_main_slot.get().no_timestamps, 1u) << "what is there gets no stamp back";
        EXPECT_EQ(kr_log_set_destination(KR_TEXT("stdout")), ok);
        EXPECT_EQ(log_main_slot.get().no_timestamps, off / 2);
        EXPECT_EQ(kr_log_no_timestamps(), off / 2);
    }
}

/// Whether the event can be read back depends on the system; here it is taken without complaint.
TEST(EventLog, AcceptsALine) {
    captured_log log;
    kr_log_destination source{};
    ASSERT_NE(kr_event_log_init(KR_TEXT("eventlog:krtest"), &source.no_timestamps, &source.context,
                                &source.write, &source.close),
              0u);
    source.write(source.context, KR_TEXT("a line\n"), 16);
    EXPECT_EQ(source.close(source.context), ok);
    EXPECT_THAT(log.take(), IsEmpty());
}

TEST(Console, TakesLinesAndWithoutAnyDestinationTheBareOnes) {
    testing::internal::CaptureStdout();
    kr_log(1, KR_LOG_FORCED, "p", "f", "%s %_s", "bare", KR_TEXT("\u20AC"));
    kr_log(1, KR_LOG_ERROR, "p", "f", "lost");
    kr_log(1, KR_LOG_FORCED, "p", "f", "%q");
    {
        const captured_log log;
        EXPECT_EQ(kr_log_set_destination(nullptr), ok);
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
    std::string expected;
    for (const wide& text : {wide(KR_TEXT("two\nlines\r\n.")), wide(4'091, 0x20AC), wide(4'091, '\n')}) {
        // Opened anew, a file is continued.
        EXPECT_EQ(kr_log_set_destination(file.spec.c_str()), ok);
        log_main_slot.set_no_timestamps(1);
        kr_log_set_formatting(3);
        kr_log(1, KR_LOG_INFO, "p", "f", "%_s", text.c_str());
        kr_log(0, 0, "p", "f", "raw");
        for (const char byte : "I: " + utf8(text.c_str()) + "\nraw") {
            expected += byte == '\n' ? "\r\n" : std::string(1, byte);
        }
        EXPECT_EQ(read_file(file.path), expected) << "before the file is closed";
    }
    // Longer than any line of the log: written in pieces, and no character falls between two.
    const wide longest = wide(4'094, 'x') + KR_TEXT("\U0001F600") + wide(9'000, 'y');
    file_log_do_log(log_main_slot.get().context, longest.c_str(), 0);
    EXPECT_EQ(kr_log_set_destination(KR_TEXT("none")), ok);
    EXPECT_EQ(read_file(file.path), expected + utf8(longest.c_str()));
}

TEST(FileDestination, SwitchesKeepEveryLine) {
    const captured_log log;
    const scratch_file files[] = {scratch_file(KR_TEXT("one.log")), scratch_file(KR_TEXT("two.log"))};
    std::string expected[2];
    for (u32 i = 0; i < 300; ++i) {
        EXPECT_EQ(kr_log_set_destination(i % 3 == 2 ? KR_TEXT("none") : files[i % 3].spec.c_str()), ok);
        kr_log(KR_LOG_RAW, 0, "p", "f", "%u\n", i);
        if (i % 3 != 2) { expected[i % 3] += std::to_string(i) + "\r\n"; }
    }
    for (u32 i = 0; i < 2; ++i) { EXPECT_EQ(read_file(files[i].path), expected[i]); }
    EXPECT_EQ(kr_log_set_destination(KR_TEXT("none")), ok);
}

TEST(Utf8, EncodesAtEveryOffset) {
    // ASCII is packed by vectors: what is not ASCII, or a newline, stands at every place of them.
    // clang-format off
    const std::pair<const kr_char*, const char*> rows[] = {
        {KR_TEXT("\n"), "\r\n"}, {KR_TEXT("\x7F"), "\x7F"}, {KR_TEXT("\x80"), "\xC2\x80"},
        {KR_TEXT("\x7FF"), "\xDF\xBF"}, {KR_TEXT("\x800"), "\xE0\xA0\x80"}, {KR_TEXT("\xFFFF"), "\xEF\xBF\xBF"},
        {KR_TEXT("\U0001F600"), "\xF0\x9F\x98\x80"}, {KR_TEXT("\xDE00\xD83D"), "\xEF\xBF\xBD\xEF\xBF\xBD"},
        {KR_TEXT("\xD83Dx"), "\xEF\xBF\xBDx"}};
    // clang-format on
    for (const auto& [odd, bytes] : rows) {
        for (u32 at = 0; at < 40; ++at) {
            const wide text = wide(39, 'a').insert(at, odd), more = text + KR_TEXT("\xDE00");
            char out[kr::detail::utf8_room(41)];
            const size_t size =
                kr::detail::encode_utf8(more.c_str(), text.size(), kr::detail::newline_form::cr_lf, out);
            EXPECT_EQ(std::string(out, size), std::string(39, 'a').insert(at, bytes)) << at;
        }
    }
}

} // namespace
