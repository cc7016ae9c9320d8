/// The string array: growth, order and ownership.
#include "base/text/array_string.h"

#include "owners.h"
#include "support/failing_allocator.h"

namespace {

using namespace kr::test;

using kr::owned_strings;

owned_strings make_array(std::initializer_list<const kr_char*> items = {}) {
    owned_strings arr;
    EXPECT_EQ(kr_array_string_new(arr.out()), ok);
    for (const kr_char* item : items) { EXPECT_EQ(kr_array_string_add(arr.get(), item), ok); }
    return arr;
}

std::vector<wide> items_of(const owned_strings& arr) {
    return {arr.get()->items, arr.get()->items + kr_array_string_count(arr.get())};
}

constexpr auto a = KR_TEXT("a");
constexpr auto b = KR_TEXT("b");
constexpr auto c = KR_TEXT("");

TEST(StringArray, GrowsByTenThenDoublesAndNeverShrinks) {
    const failing_allocator allocator;
    const owned_strings arr = make_array();
    EXPECT_EQ(arr.get()->items, nullptr);
    for (u32 count = 1; count <= 41; ++count) {
        ASSERT_EQ(kr_array_string_add(arr.get(), a), ok);
        ASSERT_EQ(arr.get()->count, count);
        ASSERT_EQ(arr.get()->capacity, count <= 10 ? 10u : count <= 20 ? 20u : count <= 40 ? 40u : 80u);
    }
    EXPECT_EQ(std::vector(arr.get()->items + 41, arr.get()->items + 80), std::vector<kr_char*>(39));
    kr_array_string_clear(arr.get());
    EXPECT_EQ(std::vector(arr.get()->items, arr.get()->items + 80), std::vector<kr_char*>(80));
    EXPECT_EQ(kr_array_string_copy(arr.get(), make_array().get()), ok);
    EXPECT_EQ(arr.get()->capacity, 80u);
}

TEST(StringArray, RemovesOneItemAndKeepsTheOrder) {
    const failing_allocator allocator;
    const owned_strings arr = make_array({a, b, a, c});
    EXPECT_NE(arr.get()->items[0], arr.get()->items[2]);
    EXPECT_EQ(kr_array_string_remove_value(arr.get(), a), ok);
    EXPECT_THAT(items_of(arr), ElementsAre(b, a, c));
    EXPECT_EQ(kr_array_string_remove_value(arr.get(), KR_TEXT("A")), not_found);
    EXPECT_EQ(kr_array_string_remove(arr.get(), 3), kr_result_make_error(KR_INDEX_OUT_OF_RANGE));
    EXPECT_EQ(kr_array_string_remove(arr.get(), 2), ok);
    EXPECT_EQ(kr_array_string_remove(arr.get(), 0), ok);
    EXPECT_THAT(items_of(arr), ElementsAre(a));
    EXPECT_EQ(arr.get()->items[1], nullptr);
    EXPECT_EQ(kr_array_string_get_item(arr.get(), 0), arr.get()->items[0]);
    EXPECT_EQ(kr_array_string_get_item(arr.get(), 1), nullptr);
}

TEST(StringArray, CopiesReplaceTheTarget) {
    const failing_allocator allocator;
    const owned_strings from = make_array({a, c});
    const owned_strings to = make_array({b, b, b});
    for (const kr_array_string* source : {from.get(), to.get()}) {
        EXPECT_EQ(kr_array_string_copy(to.get(), source), ok);
        EXPECT_THAT(items_of(to), ElementsAre(a, c));
        EXPECT_NE(to.get()->items[0], from.get()->items[0]);
    }
}

TEST(StringArray, RefusesADamagedCountAndReadsNothingOfNull) {
    const failing_allocator allocator;
    const owned_strings arr = make_array();
    EXPECT_EQ(kr_array_string_get_item(nullptr, 0), nullptr);
    kr_array_string_clear(nullptr);
    arr.get()->count = 50;
    EXPECT_EQ(kr_array_string_add(arr.get(), a), unexpected);
    EXPECT_EQ(arr.get()->capacity, 10u);
    EXPECT_EQ(std::exchange(arr.get()->count, 0), 50u);
}

TEST(StringArray, AFailedAllocationLeavesTheItemsAlone) {
    sweep_allocations([] {
        owned_strings arr;
        kr_result result = kr_array_string_new(arr.out());
        EXPECT_EQ(bool{arr}, kr_result_succeeded(result));
        for (u32 count = 0; count < 21 && kr_result_succeeded(result); ++count) {
            result = kr_array_string_add(arr.get(), b);
            EXPECT_EQ(arr.get()->count, count + kr_result_succeeded(result));
        }
        return result;
    });
    const owned_strings from = make_array({a, b, c});
    sweep_allocations([&] {
        kr_array_string to = {};
        const kr_result result = kr_array_string_copy(&to, from.get());
        EXPECT_EQ(to.count, kr_result_failed(result) ? 0u : 3u);
        kr_array_string_clear(&to);
        kr_memory_deallocate_hook(to.items);
        return result;
    });
}

} // namespace
