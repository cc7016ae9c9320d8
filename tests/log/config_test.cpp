/// The log's configuration: which entry changes what, in which order, and what is said about it.
#include "log/config.h"

#include <gmock/gmock.h>

#include "log/categories.h"
#include "log/core.h"
#include "log/destinations.h"
#include "log/slots.h"
#include "support/captured_log.h"
#include "support/fresh_registry.h"

namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using lines = std::vector<std::string>;

/// A text, or null for a value that is no string.
struct entry {
    const kr_char* name;
    const kr_char* text;
};

class LogConfig : public testing::Test {
protected:
    ~LogConfig() override {
        kr_log_quiet_defaults(0);
        kr_log_keep_formatting(0);
        kr_log_set_no_timestamps(0);
        kr_log_filter_enable(0);
        kr_log_set_colors(0);
    }

    /// Reads a group that holds `entries` and gives what category `other` said about it, behind
    /// the first line.
    lines reset(std::initializer_list<entry> entries) {
        const kr::test::fresh_registry registry;
        const kr::test::open_settings domain;
        const kr::test::open_settings group(domain, KR_TEXT("log"));
        for (const entry& each : entries) {
            if (each.text != nullptr) {
                group.plant(each.name, each.text);
            } else {
                group.plant(each.name, REG_DWORD, std::vector<u8>{1, 0, 0, 0});
            }
        }
        kr_log_set_formatting(0);
        kr_log_apply_defaults();
        (void)log_.take();
        EXPECT_EQ(kr_log_reset(), KR_SUCCESS);
        lines said = log_.take();
        std::erase_if(said, [](const std::string& line) { return line.substr(1, 4) != " 01 "; });
        EXPECT_FALSE(said.empty());
        if (!said.empty()) {
            EXPECT_EQ(said[0], "F 01 kr_log_reset: Override log setting found for domain krtest");
            said.erase(said.begin());
        }
        return said;
    }

    kr::test::captured_log log_;
};

TEST_F(LogConfig, WithoutAGroupTheDefaultsHoldSilently) {
    const kr::test::fresh_registry registry;
    EXPECT_EQ(kr_log_reset(), KR_SUCCESS);
    const kr::test::open_settings domain;
    EXPECT_EQ(kr_log_reset(), KR_SUCCESS);
    EXPECT_THAT(log_.take(), IsEmpty());
    EXPECT_EQ(kr_log_category_masks[KR_LOG_MAIN], 7u);
    EXPECT_THAT(reset({}), IsEmpty());
}

// Names are chosen so that both systems list them in the order given.
TEST_F(LogConfig, SetsCategoriesInTheOrderOfTheEntries) {
    const std::string function = "F 01 kr_log_conf_category: Overriding ";
    const std::string ignored =
        "W 01 kr_log_conf_category: Ignoring log conf category key 'main' "
        "because its value cannot be converted to 16 bit integer Result is ";
    const std::string generic = "0x82000000 (error \"Generic\" from \"Unknown source\")";
    kr_log_apply_defaults();
    const u32 unset = kr_log_category_masks[8];
    const struct {
        int line;
        std::initializer_list<entry> entries;
        lines said;
        u32 main, printf, id8;
    } rows[] = {
        {__LINE__,
         {{KR_TEXT("ALL"), KR_TEXT("15")}, {KR_TEXT("Main"), KR_TEXT("65535")}},
         {function + "all category levels to 15", function + "category Main level to 65535"},
         65535,
         1,
         15},
        {__LINE__,
         {{KR_TEXT("2"), KR_TEXT("63")}, {KR_TEXT("all"), KR_TEXT("0")}},
         {function + "category 2 level to 63", function + "all category levels to 0"},
         0,
         1,
         0},
        {__LINE__,
         {{KR_TEXT("0x2"), KR_TEXT("1")},
          {KR_TEXT("all"), KR_TEXT("9")},
          {KR_TEXT("printf"), KR_TEXT("8")}},
         {function + "category 0x2 level to 1", function + "all category levels to 9",
          function + "category printf level to 8"},
         9,
         8,
         9},
        {__LINE__,
         {{KR_TEXT("010"), KR_TEXT("2")}, {KR_TEXT("5"), KR_TEXT("3")}},
         {function + "category 010 level to 2", function + "category 5 level to 3"},
         7,
         3,
         2},
        {__LINE__,
         {{KR_TEXT("00"), KR_TEXT("1")},
          {KR_TEXT("82"), KR_TEXT("1")},
          {KR_TEXT("no such"), KR_TEXT("1")},
          {KR_TEXT(""), KR_TEXT("1")}},
         {},
         7,
         1,
         unset},
        {__LINE__,
         {{KR_TEXT("2x"), KR_TEXT("1")}},
         {"E 01 kr_string_to_ui16_w: Cannot convert 2x to 16 bit integer.\n"},
         7,
         1,
         unset},
        {__LINE__,
         {{KR_TEXT("main"), KR_TEXT("65536")}},
         {ignored + "0x8200004D (error \"Overflow\" from \"Unknown source\")"},
         7,
         1,
         unset},
        {__LINE__, {{KR_TEXT("main"), nullptr}}, {ignored + generic}, 7, 1, unset},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        EXPECT_THAT(reset(row.entries), ElementsAreArray(row.said));
        EXPECT_EQ(kr_log_category_masks[KR_LOG_MAIN], row.main);
        EXPECT_EQ(kr_log_category_masks[KR_LOG_PRINTF], row.printf);
        EXPECT_EQ(kr_log_category_masks[8], row.id8);
    }
}

TEST_F(LogConfig, DerivesTheLayoutUntilItIsSet) {
    reset({{KR_TEXT("all"), KR_TEXT("31")}});
    EXPECT_EQ(kr_log_formatting(), 2u);
    reset({});
    EXPECT_LT(kr_log_formatting(), 2u);
    reset({{KR_TEXT("formatting"), KR_TEXT("3")}, {KR_TEXT("main"), KR_TEXT("31")}});
    EXPECT_EQ(kr_log_formatting(), 3u);
    // reset() itself has set the mode to 0.
    EXPECT_THAT(reset({{KR_TEXT("formatting"), KR_TEXT("9223372036854775808")},
                       {KR_TEXT("main"), KR_TEXT("31")}})[1],
                "F 01 kr_log_reset: Overriding log formatting -> 0");
    EXPECT_EQ(kr_log_formatting(), 0u) << "a value that cannot be read keeps the mode";
}

TEST_F(LogConfig, SwitchesByEntries) {
    const std::string function = "F 01 kr_log_reset: ";
    EXPECT_THAT(reset({{KR_TEXT("COLORS"), KR_TEXT("1")},
                       {KR_TEXT("notime"), KR_TEXT("2")},
                       {KR_TEXT("profile_min"), KR_TEXT("4294967295")}}),
                ElementsAre(function + "Overriding ansi colors -> yes",
                            function + "Disable timestamps -> yes",
                            function + "Setting profile threshold -> 4294967295"));
    EXPECT_EQ(kr_log_colors(), 1u);
    kr_log_set_destination(KR_TEXT("windbg"));
    EXPECT_EQ(kr::detail::log_main_slot.get().no_timestamps, 1u);
}

TEST_F(LogConfig, KeepsWhatAnUnreadableEntryWouldChange) {
    kr_log_set_no_timestamps(1);
    EXPECT_THAT(
        reset({{KR_TEXT("colors"), nullptr},
               {KR_TEXT("destination"), nullptr},
               {KR_TEXT("notime"), nullptr},
               {KR_TEXT("profile_min"), nullptr},
               {KR_TEXT("tags"), nullptr}}),
        ElementsAre("F 01 kr_log_reset: Overriding ansi colors -> no",
                    "W 01 kr_log_reset: Keeping log destination because the value of 'destination' "
                    "cannot be read as a string Result is 0x82000000 (error \"Generic\" from "
                    "\"Unknown source\")",
                    "F 01 kr_log_reset: Disable timestamps -> yes",
                    "F 01 kr_log_reset: Setting profile threshold -> 0",
                    "F 01 kr_log_reset: Using tags filter -> (null)"));
}

TEST_F(LogConfig, SwitchesTheDestinationWhileReading) {
    EXPECT_THAT(reset({{KR_TEXT("destination"), KR_TEXT("quiet!nowhere")},
                       {KR_TEXT("main"), KR_TEXT("1")}}),
                ElementsAre("F 01 kr_log_reset: Overriding log destination -> quiet!nowhere"));
    EXPECT_EQ(kr_log_category_masks[KR_LOG_MAIN], 1u);
    EXPECT_EQ(kr_log_category_masks[KR_LOG_OTHER], 0u);
}

TEST_F(LogConfig, FiltersThreadsByTags) {
    const struct {
        int line;
        const kr_char* tags;
        std::vector<const char*> dropped, kept;
    } rows[] = {
        {__LINE__, KR_TEXT(""), {}, {"", "a", "________"}},
        {__LINE__, KR_TEXT("a;long name;"), {"a", "long nam"}, {"", "long", "a;"}},
        {__LINE__, KR_TEXT("b;;c"), {"a", "b", "", "c"}, {"b;", "d"}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        kr::test::captured_log* const log = &log_;
        EXPECT_EQ(reset({{KR_TEXT("tags"), row.tags}}).size(), 1u);
        const auto writes = [log](const char* thread_name) {
            EXPECT_EQ(kr_log_thread_register(thread_name), KR_SUCCESS);
            kr_log(KR_LOG_OTHER, KR_LOG_FORCED, "krtest", "function", "x");
            EXPECT_EQ(kr_log_thread_unregister(), KR_SUCCESS);
            return !log->take().empty();
        };
        for (const char* name : row.dropped) {
            EXPECT_FALSE(writes(name)) << name;
        }
        for (const char* name : row.kept) {
            EXPECT_TRUE(writes(name)) << name;
        }
    }
}

} // namespace
