/// The log module from start to end, and its reset where a key cannot be opened.
#include "log/startup/config.h"
#include "log/startup/log_module.h"
#include "support/failing_allocator.h"
#include "support/fresh_registry.h"
#include "support/host/world.h"

namespace {

using kr::detail::log_main_slot;
using namespace kr::test;

TEST(LogModule, StartsWritesAndStops) {
    const fresh_world world;
    std::string shown;
    kr::host::set_debug_sink([&](kr::host::debug_source /*source*/, std::u16string_view text) {
        shown += kr::host::to_utf8(text);
    });
    stop_clock(noon_ticks, 0);
    const open_settings domain, group(domain, "log");
    group.plant("formatting", "3");
    for (u32 round = 0; round < 2; ++round) {
        shown.clear();
        kr_log_register_module(u"windbg");
        kr_log_register_module(nullptr);
        kr_log_set_colors(1); // a start begins without
        ASSERT_EQ(kr_init(), ok);
        EXPECT_EQ(kr_log_category_masks[KR_LOG_MAIN].load(), 7u);
        EXPECT_EQ(kr_log_module_init(), unexpected);
        kr_log(2, KR_LOG_FORCED, "loadprobe", "wmain", "hello");
        kr_fini();
        EXPECT_FALSE(log_main_slot.is_set());
        EXPECT_EQ(kr_log_colors(), 0u);
    }
    kr_log_keep_formatting(0);
    kr_log_register_module(u"stdout");
    EXPECT_EQ(shown, "240229 12:34:56.000.001; F: Override log setting found for domain krtest\n"
                     "240229 12:34:56.000.002; F: Overriding log formatting -> 3\n"
                     "240229 12:34:56.000.003; F: hello\n");
}

TEST(LogReset, KeepsTheDefaultsWhereAKeyCannotBeOpened) {
    captured_log log;
    const fresh_registry registry;
    EXPECT_EQ(kr_log_reset(), ok); // no domain yet
    const open_settings domain;
    EXPECT_EQ(kr_log_reset(), ok); // no group yet
    const open_settings group(domain, "log");
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
    const fresh_world world;
    const failing_allocator allocator(1);
    EXPECT_EQ(kr_log_module_init(), out_of_memory);
    EXPECT_FALSE(log_main_slot.is_set());
    EXPECT_EQ(kr_log_module_init(), ok);
    // The end gives back filter and names, then the list and the work buffer.
    const u32 list = 2, buffer = allocator.allocations();
    EXPECT_EQ(kr_log_thread_register("x"), ok);
    kr_log_filter_mute_thread();
    EXPECT_EQ(kr_log_module_uninit(), ok);
    const std::vector<u32> freed = allocator.released();
    EXPECT_THAT(std::vector(freed.end() - 4, freed.end()), ElementsAre(buffer + 2, buffer + 1, list, buffer));
}

} // namespace
