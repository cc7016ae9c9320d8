/// Categories: look-ups, defaults, and the macro's mask test.
#include "log/categories.h"

#include "log/trace.h"
#include "support/suite.h"

namespace {

void fill_masks(u32 mask) {
    for (auto& slot : kr_log_category_masks) { slot = mask; }
}

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
    EXPECT_EQ(kr_log_category_name(0), nullptr);
    EXPECT_EQ(kr_log_category_name(82), nullptr);
    for (u16 id = 1; id < KR_LOG_SLOT_COUNT; ++id) {
        u16 back = 0;
        ASSERT_EQ(kr_log_category_id(kr_log_category_name(id), &back), 1u) << id;
        EXPECT_EQ(back, id);
    }
}

TEST(Categories, DefaultsReachEverySlotButTheRawChannel) {
    const std::pair<u32, u32> rows[] = {{KR_LOG_RAW, ~0u},  {KR_LOG_OTHER, 3},    {KR_LOG_MAIN, 7},
                                        {KR_LOG_PRINTF, 1}, {KR_LOG_SETTINGS, 3}, {KR_LOG_MEMORY, 1}};
    fill_masks(~0u);
    kr_log_apply_defaults();
    for (const auto& [category, mask] : rows) {
        EXPECT_EQ(kr_log_category_masks[category], mask) << category;
    }
    kr_log_quiet_defaults(1);
    kr_log_apply_defaults();
    EXPECT_EQ(kr_log_category_masks[KR_LOG_MAIN], 0u);
    kr_log_quiet_defaults(0);
    fill_masks(0);
}

TEST(LogMacro, CategoriesOutsideTheTableAreOff) {
    fill_masks(~0u);
    for (const u32 category : {KR_LOG_SLOT_COUNT, ~0u}) {
        EXPECT_FALSE(kr_trace(category, "f").on());
        EXPECT_FALSE(kr_log_enabled(category, ~0u));
    }
    fill_masks(0);
}

TEST(LogMacro, EvaluatesNoArgumentOfADisabledLine) {
    int evaluated = 0;
    kr_log_category_masks[KR_LOG_MAIN] = KR_LOG_ERROR;
    KR_LOG(KR_LOG_MAIN, KR_LOG_WARNING, "%d", ++evaluated);
    EXPECT_EQ(evaluated, 0);
    KR_LOG(KR_LOG_MAIN, KR_LOG_ERROR, "%d", ++evaluated);
    KR_LOG(KR_LOG_MAIN, KR_LOG_FORCED, "%d", ++evaluated);
    EXPECT_EQ(evaluated, 2);
    fill_masks(0);
}

} // namespace
