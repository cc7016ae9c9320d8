/// The log core: the text of lines, who is dropped, what is said when a line cannot be built.
#include <regex>
#include <thread>

#include "base/threads/threads.h"
#include "base/time/time.h"
#include "support/captured_log.h"

namespace {

using kr::detail::log_main_slot;
using namespace kr::test;

/// `line` with the calling thread's id as TID and digits of a stamp in front as '9'.
std::string mask_variables(std::string line) {
    static const std::regex stamp("^\\d{6} \\d\\d:\\d\\d:\\d\\d\\.\\d{3}\\.");
    char thread[9];
    std::snprintf(thread, sizeof(thread), "%08X", kr_thread_current_id());
    line = std::regex_replace(line, stamp, "999999 99:99:99.999.");
    const auto at = line.find(thread);
    return at == std::string::npos ? line : line.replace(at, 8, "TID");
}

TEST(LogCore, LinesHaveTheLayoutAndTheFieldsThatApply) {
    const char* const unnamed = nullptr;
    const std::string stamp = "999999 99:99:99.999.001; ";
    const struct {
        int line;
        u32 mode, level, category;
        bool colors, stamped;
        u32 depth;
        const char* thread;
        std::string text;
    } rows[] = {
        {__LINE__, 0, KR_LOG_FORCED, 2, false, false, 0, unnamed, "   probe:________:TID; F(02); a; act()\n"},
        {__LINE__, 1, KR_LOG_DEBUG, 81, false, true, 3, "main",
         stamp + "   probe:main    :TID; D(81); a; act()\n"},
        {__LINE__, 9, KR_LOG_ERROR, 1, true, false, 0, "a long name",
         "   probe:a long n:TID; \x1b[31mE\x1b[0m(01); a; act()\n"},
        {__LINE__, 2, KR_LOG_INFO, 1, true, true, 2, unnamed,
         stamp + "\x1b[0mI\x1b[0m(01); ....act(); a; probe:________:TID\n"},
        {__LINE__, 3, KR_LOG_WARNING, 1, true, false, 4, unnamed, "\x1b[33mW\x1b[0m: a\n"},
        {__LINE__, 3, KR_LOG_CALL, 1, true, true, 1, unnamed,
         stamp + "\x1b[34mC\x1b[0m(01); ..act(); a; probe:________:TID\n"},
        {__LINE__, 0, KR_LOG_CALL | KR_LOG_RETURN, 1, false, false, 2, unnamed,
         "C(01); ....act(); a; probe:________:TID\n"},
        {__LINE__, 2, KR_LOG_FORCED, 0, true, true, 1, unnamed, "a\x01"},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(r.line);
        captured_log log;
        if (r.thread != nullptr) { ASSERT_EQ(kr_log_thread_register(r.thread), ok); }
        // An entry line stands one level below the last one, a return line at its level.
        const bool entry = (r.level & 0x8010) == KR_LOG_CALL;
        for (u32 i = 0; i < r.depth + (entry || r.depth == 0 ? 0 : 1); ++i) {
            kr_log(1, KR_LOG_CALL, "probe", "outer", "Enter ()");
        }
        log.take();
        kr_log_set_formatting(r.mode);
        kr_log_set_colors(r.colors ? 1 : 0);
        log_main_slot.set_no_timestamps(r.stamped ? 0 : 1);
        // A zero ends the message and not the line.
        kr_log(r.category, r.level, "probe", "act", "a%cb", r.category == 0 ? 1 : 0);
        EXPECT_EQ(mask_variables(log.take_lines().at(0)), r.category == 0 ? r.text + "b" : r.text);
    }
}

TEST(LogCore, SaysWhichFunctionsLineCannotBeBuilt) {
    captured_log log;
    kr_log(1, KR_LOG_ERROR, "probe", "bad", "%q");
    kr_log(0, KR_LOG_ERROR, "probe", "null", nullptr);
    kr_log(1, KR_LOG_ERROR, "probe", "message", "%s", std::string(4096, 'x').c_str());
    kr_log(1, KR_LOG_ERROR, "probe", "line", "%s", std::string(4090, 'x').c_str());
    kr_log(1, KR_LOG_ERROR, "probe", std::string(5000, 'f').c_str(), "%q");
    std::string failed;
    for (const std::string& line : log.take_lines()) { failed += line; }
    EXPECT_EQ(failed, "kr_printf_format in bad() failed.\nkr_printf_format in null() failed.\n"
                      "kr_printf_format in message() failed.\nkr_printf_format in line() failed.\n");
}

TEST(LogCore, IndentsByCallDepth) {
    captured_log log;
    const auto enter = [] { kr_log(1, KR_LOG_CALL, "p", "f", "in"); };
    const auto leave = [] { kr_log(1, KR_LOG_CALL | KR_LOG_RETURN, "p", "f", "out"); };
    const auto dots = [&] {
        std::vector<std::ptrdiff_t> counts;
        for (const std::string& line : log.take()) {
            counts.push_back(std::count(line.begin(), line.end(), '.'));
        }
        return counts;
    };
    for (const char step : {'-', '+', '+', '-', '+', '-', '-'}) { step == '+' ? enter() : leave(); }
    EXPECT_THAT(dots(), ElementsAre(0, 0, 2, 2, 2, 2, 0));
    for (u32 i = 0; i < 25; ++i) { enter(); }
    EXPECT_EQ(dots().back(), 40);
    kr_log(1, KR_LOG_CALL, "p", "f", "%q"); // a line that fails is no entry
    log.take();
    for (u32 i = 0; i < 21; ++i) { leave(); }
    enter();
    const auto counts = dots();
    EXPECT_THAT((std::array{counts[0], counts[20], counts[21]}), ElementsAre(40, 0, 0));
    // The table holds 100 threads; this one is in it.
    for (u32 i = 0; i < 100; ++i) {
        std::thread([&] { enter(), enter(); }).join();
    }
    const auto others = dots();
    EXPECT_THAT((std::array{others[2 * 98 + 1], others[2 * 99 + 1]}), ElementsAre(2, 0));
}

TEST(LogCore, LayoutFollowsTheMasksUntilItIsExplicit) {
    captured_log log(0);
    const auto mode_with = [](u16 category, u32 mask) {
        EXPECT_EQ(kr_log_level_set(category, mask), 1u);
        return kr_log_formatting();
    };
    EXPECT_EQ(mode_with(81, KR_LOG_DEBUG), 1u);
    EXPECT_EQ(mode_with(1, KR_LOG_CALL), 2u);
    EXPECT_EQ(mode_with(1, 0), 1u);
    EXPECT_EQ(mode_with(81, 0), 0u);
    EXPECT_EQ(mode_with(0, ~0u), 0u);
    u32 mask = 5;
    EXPECT_EQ(kr_log_level_set(82, 1), 0u);
    EXPECT_EQ(kr_log_level_get(82, &mask), 0u);
    EXPECT_EQ(kr_log_level_get(1, nullptr), 0u);
    EXPECT_EQ(mask, 5u);
    EXPECT_EQ(kr_log_level_get(0, &mask), 1u);
    EXPECT_EQ(mask, ~0u);
}

TEST(LogCore, ThreadNamesAndFilter) {
    captured_log log;
    const auto say = [&] {
        kr_log_set_formatting(0);
        kr_log(1, KR_LOG_FORCED, "p", "f", "x");
        const auto lines = log.take_lines();
        return lines.empty() ? std::string("dropped") : lines.at(0).substr(9, 8);
    };
    EXPECT_EQ(say(), "________");
    EXPECT_EQ(kr_log_thread_unregister(), not_found);
    EXPECT_EQ(kr_log_thread_register(nullptr), invalid);
    EXPECT_EQ(kr_log_thread_register("older"), ok);
    EXPECT_EQ(kr_log_thread_register("newer than"), ok);
    EXPECT_EQ(say(), "newer th");
    EXPECT_STREQ(kr_log_thread_name(kr_thread_current_id()), "newer th");
    EXPECT_EQ(kr_log_thread_unregister(), ok);
    EXPECT_EQ(say(), "older   ");

    kr_log_filter_add_name(KR_TEXT("older"));
    kr_log_filter_add_name(KR_TEXT("\u0100older")); // low bytes only: another name
    kr_log_filter_add_name(nullptr);
    EXPECT_EQ(say(), "older   ");
    kr_log_filter_enable(1);
    EXPECT_EQ(say(), "dropped");
    EXPECT_EQ(kr_log_thread_unregister(), ok);
    EXPECT_EQ(say(), "________");
    kr_log_filter_mute_thread();
    kr_log_filter_mute_thread();
    EXPECT_EQ(say(), "dropped");
    kr_log_filter_unmute_thread();
    EXPECT_EQ(say(), "________");
    kr_log_filter_add_name(KR_TEXT("________"));
    EXPECT_EQ(say(), "dropped");
    const kr_time start{};
    kr_log_profile(1, "p", "f", &start);
    EXPECT_THAT(log.take_lines(), IsEmpty());
    kr_log_filter_enable(0);
    EXPECT_EQ(say(), "________");
}

TEST(LogCore, HexDumpsRowsOfSixteen) {
    captured_log log;
    u8 bytes[33];
    for (u32 i = 0; i < sizeof(bytes); ++i) { bytes[i] = static_cast<u8>(i * 15); }
    const std::string row = "00 0F 1E 2D 3C 4B 5A 69 78 87 96 A5 B4 C3 D2 E1 \n";
    const std::pair<size_t, std::string> rows[] = {{0, ""}, {2, "00 0F \n"}, {16, row}, {17, row + "F0 \n"}};
    for (const auto& [length, text] : rows) {
        kr_log_hexdump(bytes, length);
        std::string dumped;
        for (const std::string& line : log.take_lines()) { dumped += line; }
        EXPECT_EQ(dumped, text);
    }
}

void keep(void* lines, const kr_char* line, size_t /*size_bytes*/) {
    static_cast<std::vector<std::string>*>(lines)->push_back(utf8(line));
}

/// A destination that logs while it writes, as the engine below it may.
void chat_and_keep(void* lines, const kr_char* line, size_t size_bytes) {
    kr_log(1, KR_LOG_FORCED, "p", "inner", "from inside");
    kr_log_hexdump(reinterpret_cast<const u8*>(line), 2);
    const kr_time start{};
    kr_log_profile(1, "p", "inner", &start);
    keep(lines, line, size_bytes);
}

TEST(LogCore, DropsWhatItsOwnDestinationLogs) {
    const captured_log log;
    std::vector<std::string> lines;
    log_main_slot.set({1, &lines, chat_and_keep, nullptr});
    kr_log_set_formatting(3);
    kr_log(1, KR_LOG_FORCED, "p", "outer", "one");
    kr_log(1, KR_LOG_FORCED, "p", "outer", "two");
    EXPECT_THAT(lines, ElementsAre("F: one\n", "F: two\n"));
}

TEST(LogCore, SecondaryLinesGoToTheSecondaryDestinationOnly) {
    captured_log log;
    std::vector<std::string> lines;
    constexpr u32 level = KR_LOG_INFO | KR_LOG_SECONDARY;
    kr_log(1, level, "p", "f", "lost");
    EXPECT_EQ(kr_log_close_secondary_destination(), unexpected);
    kr::detail::log_secondary_slot.set({1, &lines, keep, nullptr});
    kr_log(1, level, "p", "f", "plain");
    kr_log(0, level, "p", "f", "raw");
    kr_log(1, level, "p", "f", "%q");
    kr::detail::log_secondary_slot.set_no_timestamps(0);
    kr_log(1, level, "p", "f", "stamped");
    EXPECT_THAT(lines, ElementsAre("plain\n", "raw", testing::EndsWith(" stamped\n")));
    EXPECT_TRUE(std::regex_match(lines.back(), std::regex("\\d{6} \\d\\d:\\d\\d:\\d\\d stamped\n")));
    EXPECT_THAT(log.take_lines(), ElementsAre("kr_printf_format in f() failed.\n"));

    ASSERT_EQ(kr_log_thread_register("name"), ok);
    kr::detail::log_secondary_slot.set({1, &lines, keep, [](void*) { return kr_result{generic}; }});
    EXPECT_EQ(kr_log_close_secondary_destination(), generic);
    EXPECT_FALSE(kr::detail::log_secondary_slot.is_set());
    EXPECT_EQ(kr_log_thread_unregister(), not_found);
}

TEST(LogCore, ThreadOperationsNeedTheLog) {
    EXPECT_EQ(kr_log_thread_register("x"), unexpected);
    EXPECT_EQ(kr_log_thread_unregister(), not_found);
    EXPECT_STREQ(kr_log_thread_name(1), "________");
    kr_log_filter_mute_thread();
    kr_log_filter_unmute_thread();
    kr_log_filter_add_name(KR_TEXT("x"));
}

} // namespace
