/// Categories and their masks; the log's configuration: which entry changes what, in which order, and
/// what is said about it.
#include "log/startup/config.h"

#include <sstream>

#include "log/categories.h"
#include "log/destinations/destinations.h"
#include "log/trace.h"
#include "support/failing_allocator.h"
#include "support/fresh_registry.h"

namespace {

using namespace kr::test;

TEST(Categories, AreFoundByNameAndById) {
    const std::pair<const kr_char*, u16> rows[] = {{KR_TEXT("MAIN"), 2},
                                                   {KR_TEXT("memory"), 26},
                                                   {KR_TEXT("mai"), 999},
                                                   {KR_TEXT(""), 999},
                                                   {nullptr, 999}};
    for (const auto& [name, expected] : rows) {
        u16 id = 999;
        EXPECT_EQ(kr_log_category_id(name, &id), expected != 999 ? 1u : 0u);
        EXPECT_EQ(id, expected);
    }
    for (const u16 none : {u16{0}, u16{82}}) { EXPECT_EQ(kr_log_category_name(none), nullptr); }
    for (u16 id = 1, back = 0; id < KR_LOG_SLOT_COUNT; ++id) {
        ASSERT_EQ(kr_log_category_id(kr_log_category_name(id), &back), 1u) << id;
        EXPECT_EQ(back, id);
    }
}

TEST(Categories, DefaultsReachEverySlotButTheRawChannel) {
    const std::pair<u32, u32> rows[] = {{KR_LOG_RAW, ~0u},  {KR_LOG_OTHER, 3},    {KR_LOG_MAIN, 7},
                                        {KR_LOG_PRINTF, 1}, {KR_LOG_SETTINGS, 3}, {KR_LOG_MEMORY, 1}};
    const captured_log log(~0u);
    kr_log_apply_defaults();
    for (const auto& [category, mask] : rows) {
        EXPECT_EQ(kr_log_category_masks[category], mask) << category;
    }
}

TEST(LogMacro, EvaluatesNoArgumentOfADisabledLine) {
    const captured_log log(KR_LOG_ERROR | KR_LOG_CALL);
    int evaluated = 0;
    KR_LOG(KR_LOG_MAIN, KR_LOG_WARNING, "%d", ++evaluated);
    EXPECT_EQ(evaluated, 0);
    KR_LOG(KR_LOG_MAIN, KR_LOG_ERROR, "%d", ++evaluated);
    KR_LOG(KR_LOG_MAIN, KR_LOG_FORCED, "%d", ++evaluated);
    EXPECT_EQ(evaluated, 2);
    for (const u32 outside : {KR_LOG_SLOT_COUNT, ~0u}) {
        EXPECT_FALSE(kr_trace(outside, "f").on() || kr_log_enabled(outside, ~0u));
    }
}

class LogConfig : public testing::Test {
protected:
    ~LogConfig() override {
        kr_log_quiet_defaults(0);
        kr_log_keep_formatting(0);
        kr_log_set_no_timestamps(0);
        kr_log_filter_enable(0);
    }

    /// Reads a group with the entries "NAME=TEXT", or "NAME=#" for a value that is no string,
    /// one a line. Gives what category `other` said behind the first line.
    std::string reset(const std::string& entries) {
        const fresh_registry registry;
        const open_settings domain, group(domain, "log");
        std::istringstream given(entries);
        for (std::string line; std::getline(given, line);) {
            const std::size_t equals = line.find('=');
            const std::string text = line.substr(equals + 1);
            group.plant(line.substr(0, equals), text == "#" ? nullptr : text.c_str());
        }
        kr_log_set_formatting(0);
        kr_log_set_colors(0);
        kr_log_apply_defaults();
        (void)log_.take();
        EXPECT_EQ(kr_log_reset(), ok);
        const std::string lines = said(log_, "01");
        const std::string first = "F kr_log_reset: Override log setting found for domain krtest\n";
        EXPECT_TRUE(lines.starts_with(first)) << lines;
        return lines.substr(std::min(first.size(), lines.size()));
    }

    captured_log log_;
};

TEST_F(LogConfig, WithoutAGroupTheDefaultsHoldSilently) {
    const fresh_registry registry;
    EXPECT_EQ(kr_log_reset(), ok);
    const open_settings domain;
    EXPECT_EQ(kr_log_reset(), ok);
    EXPECT_EQ(said(log_, "01"), "");
    EXPECT_EQ(kr_log_category_masks[KR_LOG_MAIN], 7u);
}

// Both systems list these names in the order given.
TEST_F(LogConfig, AppliesEntriesInTheirOrder) {
    const std::string category = "F kr_log_conf_category: Overriding ", f = "F kr_log_reset: ";
    const std::string ignored = "W kr_log_conf_category: Ignoring log conf category key 'main' "
                                "because its value cannot be converted to 16 bit integer Result is ";
    const struct {
        int line;
        const char* entries;
        std::string said;
        u32 main = 7, printf = 1;
    } rows[] = {
        {__LINE__, "", ""},
        {__LINE__, "ALL=15\nMain=65535",
         category + "all category levels to 15\n" + category + "category Main level to 65535\n", 65535},
        {__LINE__, "2=63\nall=0",
         category + "category 2 level to 63\n" + category + "all category levels to 0\n", 0},
        {__LINE__, "0x2=1\nprintf=8",
         category + "category 0x2 level to 1\n" + category + "category printf level to 8\n", 1, 8},
        {__LINE__, "02=2\n5=3", category + "category 02 level to 2\n" + category + "category 5 level to 3\n",
         2, 3},
        {__LINE__, "=1\n00=1\n82=1\nno such=1", ""},
        {__LINE__, "2x=1", "E kr_string_to_ui16_w: Cannot convert 2x to 16 bit integer.\n\n"},
        {__LINE__, "main=65536", ignored + "0x8200004D\n"},
        {__LINE__, "main=#", ignored + "0x82000000\n"},
        {__LINE__, "COLORS=1\nnotime=2\nprofile_min=4294967295",
         f + "Overriding ansi colors -> yes\n" + f + "Disable timestamps -> yes\n" + f +
             "Setting profile threshold -> 4294967295\n"},
        {__LINE__, "colors=#\ndestination=#\nformatting=#\nnotime=#\nprofile_min=#\ntags=#",
         f + "Overriding ansi colors -> no\n" +
             "W kr_log_reset: Keeping log destination because the value of 'destination' cannot "
             "be read as a string Result is 0x82000000\n" +
             f + "Overriding log formatting -> 0\n" + f + "Disable timestamps -> yes\n" + f +
             "Setting profile threshold -> 0\n" + f + "Using tags filter -> (null)\n"},
        {__LINE__, "destination=quiet!nowhere\nmain=1", f + "Overriding log destination -> quiet!nowhere\n",
         1, 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        EXPECT_EQ(reset(row.entries), row.said);
        EXPECT_EQ(kr_log_category_masks[KR_LOG_MAIN], row.main);
        EXPECT_EQ(kr_log_category_masks[KR_LOG_PRINTF], row.printf);
    }
}

TEST_F(LogConfig, StartsWhateverMemoryIsLeft) {
    const fresh_registry registry;
    const open_settings domain, group(domain, "log");
    for (const char* name : {"all", "destination", "formatting", "main"}) { group.plant(name, "3"); }
    for (u32 failures = 1, nth = 1; failures != 0; ++nth) {
        const failing_allocator allocator(nth);
        EXPECT_EQ(kr_log_reset(), ok);
        failures = allocator.failures();
    }
    EXPECT_EQ(kr_log_category_masks[KR_LOG_MAIN], 3u);
}

TEST_F(LogConfig, DerivesTheLayoutUntilItIsSet) {
    // The last cannot be read: the mode that reset() starts with stays.
    const std::pair<const char*, u32> rows[] = {
        {"all=31", 2}, {"formatting=3\nmain=31", 3}, {"formatting=9223372036854775808\nmain=31", 0}};
    for (const auto& [entries, mode] : rows) {
        reset(entries);
        EXPECT_EQ(kr_log_formatting(), mode) << entries;
    }
}

TEST_F(LogConfig, FiltersThreadsByTags) {
    EXPECT_NE(reset("tags="), "");
    EXPECT_NE(reset("tags=b;;long name;"), "");
    const std::pair<const char*, bool> rows[] = {{"b", true},     {"", true},    {"long nam", true},
                                                 {"long", false}, {"b;", false}, {";", false}};
    for (const auto& [name, dropped] : rows) {
        EXPECT_EQ(kr_log_thread_register(name), ok);
        kr_log(KR_LOG_OTHER, KR_LOG_FORCED, "krtest", "function", "x");
        EXPECT_EQ(kr_log_thread_unregister(), ok);
        EXPECT_EQ(log_.take().empty(), dropped) << name;
    }
}

} // namespace
