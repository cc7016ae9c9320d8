/// Categories: look-ups, defaults, and the macro's mask test.
#include "log/categories.h"

#include <gtest/gtest.h>

namespace {

void fill_masks(u32 mask) {
    for (auto& slot : kr_log_category_masks) {
        slot = mask;
    }
}

TEST(Categories, AreFoundByNameAndById) {
    const struct {
        int line;
        const kr_char* name;
        u32 found;
        u16 id;
    } rows[] = {
        {__LINE__, KR_TEXT("MAIN"), 1, 2},  {__LINE__, KR_TEXT("memory"), 1, 26},
        {__LINE__, KR_TEXT("mai"), 0, 999}, {__LINE__, KR_TEXT(""), 0, 999},
        {__LINE__, nullptr, 0, 999},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(r.line);
        u16 id = 999;
        EXPECT_EQ(kr_log_category_id(r.name, &id), r.found);
        EXPECT_EQ(id, r.id);
    }
    EXPECT_EQ(kr_log_category_name(0), nullptr);
    EXPECT_EQ(kr_log_category_name(82), nullptr);
    for (u16 id = 1; id < KR_LOG_SLOT_COUNT; ++id) {
        const kr_char* const name = kr_log_category_name(id);
        ASSERT_NE(name, nullptr) << id;
        u16 back = 0;
        EXPECT_EQ(kr_log_category_id(name, &back), 1u);
        EXPECT_EQ(back, id);
    }
}

TEST(Categories, DefaultsReachEverySlotButTheRawChannel) {
    fill_masks(0xFFFFFFFF);
    kr_log_apply_defaults();
    EXPECT_EQ(kr_log_category_masks[KR_LOG_RAW], 0xFFFFFFFFu);
    EXPECT_EQ(kr_log_category_masks[KR_LOG_OTHER], 0x3u);
    EXPECT_EQ(kr_log_category_masks[KR_LOG_MAIN], 0x7u);
    EXPECT_EQ(kr_log_category_masks[KR_LOG_PRINTF], 0x1u);
    EXPECT_EQ(kr_log_category_masks[KR_LOG_SETTINGS], 0x3u);
    EXPECT_EQ(kr_log_category_masks[KR_LOG_MEMORY], 0x1u);
    kr_log_quiet_defaults(1);
    kr_log_apply_defaults();
    EXPECT_EQ(kr_log_category_masks[KR_LOG_MAIN], 0u);
    kr_log_quiet_defaults(0);
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
