/// The log core: the text of lines, who is dropped, what is said when a line cannot be built.
#include "log/core.h"

#include <numeric>
#include <regex>
#include <thread>

#include <gmock/gmock.h>

#include "base/threads.h"
#include "base/time.h"
#include "log/slots.h"
#include "support/captured_log.h"

namespace {

using kr::test::captured_log;
using kr::test::utf8;
using testing::ElementsAre;
using testing::IsEmpty;

/// The calling thread's id as lines show it.
std::string thread_text() {
    char text[9];
    std::snprintf(text, sizeof(text), "%08X", kr_thread_current_id());
    return text;
}

/// `line` with the calling thread's id as TID and digits of a stamp in front as '9'.
std::string mask_variables(std::string line) {
    static const std::regex stamp("^\\d{6} \\d\\d:\\d\\d:\\d\\d\\.\\d{3}\\.");
    line = std::regex_replace(line, stamp, "999999 99:99:99.999.");
    if (const auto at = line.find(thread_text()); at != std::string::npos) {
        line.replace(at, 8, "TID");
    }
    return line;
}

void set_main_timestamps(bool on) {
    kr::detail::log_main_slot.set_no_timestamps(on ? 0 : 1);
}

TEST(LogCore, LinesHaveTheTextOfTheirLayout) {
    struct row {
        int line;
        u32 mode;
        u32 level;
        u32 category;
        bool colors;
        bool stamped;
        u32 depth;
        const char* thread;
        const char* text;
        const char* domain = "probe";
        const char* function = "act";
    };
    const row rows[] = {
        {__LINE__, 0, KR_LOG_FORCED, 2, false, false, 0, nullptr,
         "   probe:________:TID; F(02); say 7; act()\n"},
        {__LINE__, 1, KR_LOG_DEBUG, 81, false, true, 3, "main",
         "999999 99:99:99.999.001;    probe:main    :TID; D(81); say 7; act()\n"},
        {__LINE__, 9, KR_LOG_ERROR, 101, true, false, 0, "a long name",
         "   probe:a long n:TID; \x1b[31mE\x1b[0m(101); say 7; act()\n"},
        {__LINE__, 2, KR_LOG_INFO, 1, false, false, 0, nullptr,
         "I(01); act(); say 7; probe:________:TID\n"},
        {__LINE__, 2, KR_LOG_INFO, 1, true, true, 2, nullptr,
         "999999 99:99:99.999.001; \x1b[0mI\x1b[0m(01); ....act(); say 7; probe:________:TID\n"},
        {__LINE__, 3, KR_LOG_WARNING, 1, true, false, 4, nullptr, "\x1b[33mW\x1b[0m: say 7\n"},
        {__LINE__, 3, KR_LOG_DEBUG, 1, true, true, 0, nullptr,
         "999999 99:99:99.999.001; \x1b[32mD\x1b[0m: say 7\n"},
        {__LINE__, 3, KR_LOG_CALL, 1, true, true, 1, nullptr,
         "999999 99:99:99.999.001; \x1b[34mC\x1b[0m(01); ..act(); say 7; probe:________:TID\n"},
        {__LINE__, 0, KR_LOG_CALL | KR_LOG_RETURN, 1, false, false, 2, nullptr,
         "C(01); ....act(); say 7; probe:________:TID\n"},
        {__LINE__, 3, 5, 1, false, false, 0, nullptr, "?: say 7\n"},
        {__LINE__, 3, 0x4FF, 1, false, false, 0, nullptr,
         "C(01); act(); say 7; probe:________:TID\n"},
        {__LINE__, 3, 0x20, 1, false, false, 0, nullptr, "?: say 7\n"},
        {__LINE__, 2, KR_LOG_FORCED, 0, true, true, 1, nullptr, "say 7"},
        {__LINE__, 0, KR_LOG_FORCED, 9, false, false, 0, nullptr,
         "  (null):________:TID; F(09); say 7; (null)()\n", nullptr, nullptr},
        {__LINE__, 0, KR_LOG_FORCED, ~0u, false, false, 0, nullptr,
         "loadprobe:________:TID; F(-1); say 7; ()\n", "loadprobe", ""},
        {__LINE__, 2, KR_LOG_FORCED, 0x80000000, false, false, 0, nullptr,
         "F(-2147483648); caf\xEF\xBF\xA9(); say 7; :________:TID\n", "", "caf\xE9"},
    };
    for (const row& r : rows) {
        SCOPED_TRACE(r.line);
        captured_log log;
        if (r.thread != nullptr) {
            ASSERT_EQ(kr_log_thread_register(r.thread), KR_SUCCESS);
        }
        // An entry line stands one level below the last one, a return line at its level.
        const bool entry = (r.level & 0x8010) == KR_LOG_CALL;
        for (u32 i = 0; i < r.depth + (entry || r.depth == 0 ? 0 : 1); ++i) {
            kr_log(1, KR_LOG_CALL, "probe", "outer", "Enter ()");
        }
        log.take();
        kr_log_set_formatting(r.mode);
        kr_log_set_colors(r.colors ? 1 : 0);
        set_main_timestamps(r.stamped);
        kr_log(r.category, r.level, r.domain, r.function, "say %d", 7);
        EXPECT_EQ(mask_variables(log.take_lines().at(0)), r.text);
    }
}

TEST(LogCore, SaysWhichFunctionsLineCannotBeBuilt) {
    captured_log log;
    const std::string text(4096, 'x');
    kr_log(1, KR_LOG_ERROR, "probe", "bad", "%q");
    kr_log(0, KR_LOG_ERROR, "probe", "null", nullptr);
    kr_log(1, KR_LOG_ERROR, "probe", "message", "%s", text.c_str());
    kr_log(1, KR_LOG_ERROR, "probe", std::string(5000, 'f').c_str(), "%q");
    EXPECT_THAT(log.take_lines(), ElementsAre("kr_printf_format in bad() failed.\n",
                                              "kr_printf_format in null() failed.\n",
                                              "kr_printf_format in message() failed.\n"));
    for (const u32 mode : {0u, 2u, 3u}) {
        kr_log_set_formatting(mode);
        kr_log(1, KR_LOG_ERROR, "probe", "line", "%s", "");
        const std::size_t room = 4095 - log.take_lines().at(0).size();
        kr_log(1, KR_LOG_ERROR, "probe", "line", "%s", text.substr(0, room).c_str());
        EXPECT_EQ(log.take_lines().at(0).size(), 4095u);
        kr_log(1, KR_LOG_ERROR, "probe", "line", "%s", text.substr(0, room + 1).c_str());
        EXPECT_THAT(log.take_lines(), ElementsAre("kr_printf_format in line() failed.\n"));
    }
}

TEST(LogCore, ZeroEndsTheMessageAndNotTheLine) {
    captured_log log;
    kr_log_set_formatting(3);
    kr_log(1, KR_LOG_FORCED, "probe", "act", "a%cb", 0);
    EXPECT_EQ(log.take_lines().at(0), "F: a\n");
    kr_log_set_formatting(0);
    kr_log(1, KR_LOG_FORCED, "probe", "act", "a%cb", 0);
    EXPECT_TRUE(log.take_lines().at(0).ends_with("; F(01); a; act()\n"));
}

TEST(LogCore, IndentsByCallDepth) {
    captured_log log;
    const auto enter = [] {
        kr_log(1, KR_LOG_CALL, "p", "f", "in");
    };
    const auto leave = [] {
        kr_log(1, KR_LOG_CALL | KR_LOG_RETURN, "p", "f", "out");
    };
    const auto dots = [&] {
        std::vector<std::size_t> counts;
        for (const std::string& line : log.take()) {
            counts.push_back(static_cast<std::size_t>(std::count(line.begin(), line.end(), '.')));
        }
        return counts;
    };
    for (const char step : {'-', '+', '+', '-', '+', '-', '-'}) {
        step == '+' ? enter() : leave();
    }
    EXPECT_THAT(dots(), ElementsAre(0, 0, 2, 2, 2, 2, 0));
    for (u32 i = 0; i < 25; ++i) {
        enter();
    }
    EXPECT_EQ(dots().back(), 40u);
    kr_log(1, KR_LOG_CALL, "p", "f", "%q"); // a line that fails is no entry
    log.take();
    for (u32 i = 0; i < 21; ++i) {
        leave();
    }
    enter();
    const auto counts = dots();
    EXPECT_EQ(counts.front(), 40u);
    EXPECT_EQ(counts[20], 0u);
    EXPECT_EQ(counts.back(), 0u);

    // The table holds 100 threads; this one is in it.
    for (u32 i = 0; i < 100; ++i) {
        std::thread([&] {
            enter();
            enter();
        }).join();
    }
    const auto others = dots();
    EXPECT_EQ(others[2 * 98 + 1], 2u);
    EXPECT_EQ(others[2 * 99 + 1], 0u);
}

TEST(LogCore, LayoutFollowsTheMasksUntilItIsExplicit) {
    captured_log log(0);
    EXPECT_EQ(kr_log_level_set(81, KR_LOG_DEBUG), 1u);
    EXPECT_EQ(kr_log_formatting(), 1u);
    EXPECT_EQ(kr_log_level_set(1, KR_LOG_CALL), 1u);
    EXPECT_EQ(kr_log_formatting(), 2u);
    EXPECT_EQ(kr_log_level_set(1, 0), 1u);
    EXPECT_EQ(kr_log_level_set(81, 0), 1u);
    EXPECT_EQ(kr_log_level_set(0, ~0u), 1u);
    EXPECT_EQ(kr_log_formatting(), 0u);
    u32 mask = 5;
    EXPECT_EQ(kr_log_level_set(82, 1), 0u);
    EXPECT_EQ(kr_log_level_get(82, &mask), 0u);
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
    EXPECT_EQ(kr_log_thread_unregister(), kr_result_make_error(KR_NOT_FOUND));
    EXPECT_EQ(kr_log_thread_register(nullptr),
              kr_result_make_error(KR_INVALID_ARGUMENT_TO_FUNCTION));
    EXPECT_EQ(kr_log_thread_register("older"), KR_SUCCESS);
    EXPECT_EQ(kr_log_thread_register("newer than"), KR_SUCCESS);
    EXPECT_EQ(say(), "newer th");
    EXPECT_EQ(kr_log_thread_unregister(), KR_SUCCESS);
    EXPECT_EQ(say(), "older   ");

    kr_log_filter_add_name(KR_TEXT("older"));
    kr_log_filter_add_name(KR_TEXT("\u0100older")); // low bytes only: another name
    kr_log_filter_add_name(nullptr);
    EXPECT_EQ(say(), "older   ");
    kr_log_filter_enable(1);
    EXPECT_EQ(say(), "dropped");
    EXPECT_EQ(kr_log_thread_unregister(), KR_SUCCESS);
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
    for (u32 i = 0; i < sizeof(bytes); ++i) {
        bytes[i] = static_cast<u8>(i * 15);
    }
    const std::string row = "00 0F 1E 2D 3C 4B 5A 69 78 87 96 A5 B4 C3 D2 E1 \n";
    const std::pair<size_t, std::string> rows[] = {
        {0, ""}, {2, "00 0F \n"}, {16, row}, {17, row + "F0 \n"}};
    for (const auto& [length, text] : rows) {
        kr_log_hexdump(bytes, length);
        const auto lines = log.take_lines();
        EXPECT_EQ(std::accumulate(lines.begin(), lines.end(), std::string()), text);
    }
}

TEST(LogCore, ProfileLinesFromTheThresholdOn) {
    captured_log log;
    kr_time start{};
    kr_log_take_uptime(&start);
    kr_log_profile(1, "p", "f", &start);
    const std::vector<std::string> lines = log.take_lines();
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ("[000000" + lines[0].substr(7),
              "[000000] msec - f(); p:________:" + thread_text() + '\n');
    kr_log_profile(1, "p", std::string(5000, 'f').c_str(), &start);
    kr_log_set_profile_threshold(1'000'000);
    kr_log_profile(1, "p", "f", &start);
    kr_log_set_profile_threshold(0);
    EXPECT_THAT(log.take_lines(), IsEmpty());
}

/// A destination that logs while it writes, as the engine below it may.
struct chatty {
    std::vector<std::string> lines;
    static void write(void* context, const kr_char* line, size_t /*size_bytes*/) {
        kr_log(1, KR_LOG_FORCED, "p", "inner", "from inside");
        kr_log_hexdump(reinterpret_cast<const u8*>(line), 2);
        const kr_time start{};
        kr_log_profile(1, "p", "inner", &start);
        static_cast<chatty*>(context)->lines.push_back(utf8(line));
    }
};

TEST(LogCore, DropsWhatItsOwnDestinationLogs) {
    const captured_log log;
    chatty destination;
    kr::detail::log_main_slot.set({1, &destination, chatty::write, nullptr});
    kr_log_set_formatting(3);
    kr_log(1, KR_LOG_FORCED, "p", "outer", "one");
    kr_log(1, KR_LOG_FORCED, "p", "outer", "two");
    EXPECT_THAT(destination.lines, ElementsAre("F: one\n", "F: two\n"));
}

TEST(LogCore, SecondaryLinesGoToTheSecondaryDestinationOnly) {
    captured_log log;
    std::vector<std::string> lines;
    const auto write = [](void* context, const kr_char* line, size_t /*size_bytes*/) {
        static_cast<std::vector<std::string>*>(context)->push_back(utf8(line));
    };
    constexpr u32 level = KR_LOG_INFO | KR_LOG_SECONDARY;
    kr_log(1, level, "p", "f", "lost");
    EXPECT_EQ(kr_log_close_secondary_destination(), kr_result_make_error(KR_UNEXPECTED_BEHAVIOUR));
    kr::detail::log_secondary_slot.set({1, &lines, write, nullptr});
    kr_log(1, level, "p", "f", "plain");
    kr_log(0, level, "p", "f", "raw");
    kr_log(1, level, "p", "f", "%q");
    kr::detail::log_secondary_slot.set_no_timestamps(0);
    kr_log(1, level, "p", "f", "stamped");
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_EQ(lines[0], "plain\n");
    EXPECT_EQ(lines[1], "raw");
    EXPECT_TRUE(std::regex_match(lines[2], std::regex("\\d{6} \\d\\d:\\d\\d:\\d\\d stamped\n")));
    EXPECT_THAT(log.take_lines(), ElementsAre("kr_printf_format in f() failed.\n"));

    ASSERT_EQ(kr_log_thread_register("name"), KR_SUCCESS);
    kr::detail::log_secondary_slot.set({1, &lines, write, [](void*) {
                                            return kr_result_make_error(KR_GENERIC);
                                        }});
    EXPECT_EQ(kr_log_close_secondary_destination(), kr_result_make_error(KR_GENERIC));
    EXPECT_FALSE(kr::detail::log_secondary_slot.is_set());
    EXPECT_EQ(kr_log_thread_unregister(), kr_result_make_error(KR_NOT_FOUND));
}

TEST(LogCore, ThreadOperationsNeedTheLog) {
    EXPECT_EQ(kr_log_thread_register("x"), kr_result_make_error(KR_UNEXPECTED_BEHAVIOUR));
    EXPECT_EQ(kr_log_thread_unregister(), kr_result_make_error(KR_NOT_FOUND));
    kr_log_filter_mute_thread();
    kr_log_filter_unmute_thread();
    kr_log_filter_add_name(KR_TEXT("x"));
}

} // namespace
