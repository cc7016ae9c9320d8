/// What a program starts with: the module registry, the categories and their masks, and the log's
/// configuration: which entry changes what, in which order, and what is said about it.
#include <sstream>

#include "log/categories.h"
#include "log/destinations/destinations.h"
#include "log/startup/config.h"
#include "log/startup/module.h"
#include "log/trace.h"
#include "support/failing_allocator.h"
#include "support/fresh_registry.h"

namespace {

using namespace kr::test;

std::string calls;
char failing = 0;

template <char Name>
kr_result start() {
    calls += {'+', Name};
    return failing == Name ? kr_result_make_error(KR_ACCESS_DENIED) : KR_SUCCESS;
}

/// Fails, which nobody may mind.
template <char Name>
kr_result stop() {
    calls += {'-', Name};
    return generic;
}

template <char Name, kr_module_descriptor... Needed>
kr_module* module() {
    static constexpr char name[] = {Name, 0};
    static constexpr kr_module_descriptor needed[] = {Needed..., nullptr};
    static kr_module descriptor = {name, start<Name>, stop<Name>, needed};
    return &descriptor;
}

constexpr kr_module_descriptor a = module<'a'>, b = module<'b', a>, c = module<'c', b, a>;

class ModuleRegistry : public testing::Test {
protected:
    /// The base modules are started first and stay below everything that a test registers.
    void SetUp() override {
        ASSERT_EQ(kr_init(), KR_SUCCESS);
        calls.clear();
    }
    void TearDown() override {
        failing = 0;
        (void)kr_init();
        kr_fini();
    }
};

TEST_F(ModuleRegistry, StartsDependenciesFirstAndOnceAndStopsInReverse) {
    const auto register_g = [] { return kr_module_register(module<'g'>()), kr_result{KR_SUCCESS}; };
    kr_module growing = {"growing", register_g, nullptr, nullptr};
    kr_module* const modules[] = {&growing, c(), a(), c(), nullptr};
    for (kr_module* each : modules) { kr_module_register(each); }
    for (u32 time = 0; time < 2; ++time) { EXPECT_EQ(kr_init(), KR_SUCCESS); }
    EXPECT_EQ(calls, "+a+b+c+g");
    kr_fini();
    EXPECT_EQ(calls, "+a+b+c+g-g-c-b-a");
}

TEST_F(ModuleRegistry, UndoesAFailedStartAndForgetsWhatWasPending) {
    kr_module_register(c());
    failing = 'b';
    EXPECT_EQ(kr_init(), kr_result_make_error(KR_ACCESS_DENIED));
    failing = 0;
    EXPECT_EQ(kr_init(), KR_SUCCESS);
    EXPECT_EQ(calls, "+a+b-a");
    kr_module_register(c());
    EXPECT_EQ(kr_init(), KR_SUCCESS);
    EXPECT_EQ(calls, "+a+b-a+a+b+c");
}

TEST_F(ModuleRegistry, DropsModulesBeyondItsLimit) {
    static kr_module many[KR_MODULE_LIMIT + 1];
    for (kr_module& each : many) {
        each = {"many", start<'m'>, nullptr, nullptr};
        kr_module_register(&each);
    }
    EXPECT_EQ(kr_init(), KR_SUCCESS);
    EXPECT_GT(calls.size(), 2 * 100u);
    EXPECT_LE(calls.size(), 2 * KR_MODULE_LIMIT);
}

TEST(Categories, AreFoundByNameAndById) {
    u16 back = 999;
    for (const kr_char* name : {KR_TEXT("mai"), KR_TEXT(""), static_cast<const kr_char*>(nullptr)}) {
        EXPECT_EQ(kr_log_category_id(name, &back), 0u);
    }
    EXPECT_EQ(back, 999);
    EXPECT_EQ(kr_log_category_name(0), nullptr);
    EXPECT_EQ(kr_log_category_name(82), nullptr);
    for (u16 id = 1; id < KR_LOG_SLOT_COUNT; ++id) {
        ASSERT_EQ(kr_log_category_id(kr_log_category_name(id), &back), 1u) << id;
        EXPECT_EQ(back, id);
    }
}

TEST(Categories, DefaultsReachEverySlotButTheRawChannel) {
    const captured_log log(~0u);
    kr_log_apply_defaults();
    EXPECT_THAT(std::vector<u32>(kr_log_category_masks, kr_log_category_masks + 9),
                ElementsAre(~0u, 3, 7, 3, 3, 1, 3, 3, 3));
    EXPECT_EQ(kr_log_category_masks[KR_LOG_MEMORY], 1u);
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
    /// one a line. Gives what category `other` said.
    std::string reset(const std::string& entries) {
        const fresh_registry registry;
        const open_settings domain, group(domain, "log");
        std::istringstream given(entries);
        for (std::string name, text; std::getline(std::getline(given, name, '='), text);) {
            group.plant(name, text == "#" ? nullptr : text.c_str());
        }
        kr_log_set_formatting(0);
        kr_log_set_colors(0);
        kr_log_apply_defaults();
        (void)log_.take();
        EXPECT_EQ(kr_log_reset(), ok);
        return said(log_, "01");
    }

    captured_log log_;
};

// Both systems list these names in the order given.
TEST_F(LogConfig, AppliesEntriesInTheirOrder) {
    const auto overriding = [](const std::string& first, const std::string& second) {
        const std::string start = "F kr_log_conf_category: Overriding ";
        return start + first + '\n' + start + second + '\n';
    };
    const std::string f = "F kr_log_reset: ", found = f + "Override log setting found for domain krtest\n",
                      ignored = "W kr_log_conf_category: Ignoring log conf category key 'main' "
                                "because its value cannot be converted to 16 bit integer Result is ";
    const struct {
        const char* entries;
        std::string said;
        u32 main = 7, printf = 1;
    } rows[] = {
        {"ALL=9\nMain=65535", overriding("all category levels to 9", "category Main level to 65535"), 65535},
        {"2=63\nall=0", overriding("category 2 level to 63", "all category levels to 0"), 0},
        {"0x2=1\nprintf=8", overriding("category 0x2 level to 1", "category printf level to 8"), 1, 8},
        {"02=2\n5=3", overriding("category 02 level to 2", "category 5 level to 3"), 2, 3},
        {"=1\n00=1\n82=1\nno such=1", ""},
        {"2x=1", "E kr_string_to_ui16_w: Cannot convert 2x to 16 bit integer.\n\n"},
        {"main=65536", ignored + "0x8200004D\n"},
        {"main=#", ignored + "0x82000000\n"},
        {"COLORS=1\nnotime=2\nprofile_min=4294967295", f + "Overriding ansi colors -> yes\n" + f +
                                                           "Disable timestamps -> yes\n" + f +
                                                           "Setting profile threshold -> 4294967295\n"},
        {"colors=#\ndestination=#\nformatting=#\nnotime=#\nprofile_min=#\ntags=#",
         f + "Overriding ansi colors -> no\n" +
             "W kr_log_reset: Keeping log destination because the value of 'destination' cannot "
             "be read as a string Result is 0x82000000\n" +
             f + "Overriding log formatting -> 0\n" + f + "Disable timestamps -> yes\n" + f +
             "Setting profile threshold -> 0\n" + f + "Using tags filter -> (null)\n"},
        {"destination=quiet!nowhere\nmain=1", f + "Overriding log destination -> quiet!nowhere\n", 1, 0},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(reset(row.entries), found + row.said) << row.entries;
        EXPECT_EQ(kr_log_category_masks[KR_LOG_MAIN], row.main) << row.entries;
        EXPECT_EQ(kr_log_category_masks[KR_LOG_PRINTF], row.printf) << row.entries;
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
    for (const char* entries : {"tags=\n", "tags=b;;long name;"}) {
        EXPECT_THAT(reset(entries), testing::HasSubstr(" tags filter "));
    }
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
