/// The string array: growth, order and ownership.
#include "base/array_string.h"

#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "support/failing_allocator.h"

namespace {

using kr::test::failing_allocator;
using testing::ElementsAre;

struct array_release {
    void operator()(kr_array_string* arr) const {
        EXPECT_EQ(kr_array_string_free(arr), KR_SUCCESS);
    }
};
using array_ptr = std::unique_ptr<kr_array_string, array_release>;

array_ptr make_array(std::initializer_list<const kr_char*> items = {}) {
    kr_array_string* arr = nullptr;
    EXPECT_EQ(kr_array_string_new(&arr), KR_SUCCESS);
    for (const kr_char* item : items) {
        EXPECT_EQ(kr_array_string_add(arr, item), KR_SUCCESS);
    }
    return array_ptr(arr);
}

std::vector<std::basic_string<kr_char>> items_of(const array_ptr& arr) {
    return {arr->items, arr->items + kr_array_string_count(arr.get())};
}

constexpr auto a = KR_TEXT("a");
constexpr auto b = KR_TEXT("b");
constexpr auto c = KR_TEXT("");

TEST(StringArray, GrowsByTenThenDoublesAndNeverShrinks) {
    const failing_allocator allocator;
    const array_ptr arr = make_array();
    EXPECT_EQ(arr->items, nullptr);
    for (u32 count = 1; count <= 41; ++count) {
        ASSERT_EQ(kr_array_string_add(arr.get(), a), KR_SUCCESS);
        ASSERT_EQ(arr->count, count);
        ASSERT_EQ(arr->capacity, count <= 10 ? 10u : count <= 20 ? 20u : count <= 40 ? 40u : 80u);
    }
    EXPECT_EQ(std::vector(arr->items + 41, arr->items + 80), std::vector<kr_char*>(39));
    kr_array_string_clear(arr.get());
    EXPECT_EQ(arr->capacity, 80u);
    EXPECT_EQ(std::vector(arr->items, arr->items + 80), std::vector<kr_char*>(80));
    EXPECT_EQ(kr_array_string_copy(arr.get(), make_array().get()), KR_SUCCESS);
    EXPECT_EQ(arr->capacity, 80u);
}

TEST(StringArray, RemovesOneItemAndKeepsTheOrder) {
    const failing_allocator allocator;
    const array_ptr arr = make_array({a, b, a, c});
    EXPECT_NE(arr->items[0], arr->items[2]);
    EXPECT_EQ(kr_array_string_remove_value(arr.get(), a), KR_SUCCESS);
    EXPECT_THAT(items_of(arr), ElementsAre(b, a, c));
    EXPECT_EQ(kr_array_string_remove_value(arr.get(), KR_TEXT("A")),
              kr_result_make_error(KR_NOT_FOUND));
    EXPECT_EQ(kr_array_string_remove(arr.get(), 3), kr_result_make_error(KR_INDEX_OUT_OF_RANGE));
    EXPECT_EQ(kr_array_string_remove(arr.get(), 2), KR_SUCCESS);
    EXPECT_EQ(kr_array_string_remove(arr.get(), 0), KR_SUCCESS);
    EXPECT_THAT(items_of(arr), ElementsAre(a));
    EXPECT_EQ(arr->items[1], nullptr);
    EXPECT_EQ(kr_array_string_get_item(arr.get(), 0), arr->items[0]);
    EXPECT_EQ(kr_array_string_get_item(arr.get(), 1), nullptr);
}

TEST(StringArray, CopiesReplaceTheTarget) {
    const failing_allocator allocator;
    const array_ptr from = make_array({a, c});
    const array_ptr to = make_array({b, b, b});
    EXPECT_EQ(kr_array_string_copy(to.get(), from.get()), KR_SUCCESS);
    EXPECT_THAT(items_of(to), ElementsAre(a, c));
    EXPECT_NE(to->items[0], from->items[0]);
    EXPECT_EQ(kr_array_string_copy(to.get(), to.get()), KR_SUCCESS);
    EXPECT_THAT(items_of(to), ElementsAre(a, c));
}

TEST(StringArray, RefusesNullArguments) {
    const array_ptr arr = make_array();
    const kr_result refused = kr_result_make_error(KR_INVALID_ARGUMENT_TO_FUNCTION);
    EXPECT_EQ(kr_array_string_new(nullptr), refused);
    EXPECT_EQ(kr_array_string_add(arr.get(), nullptr), refused);
    EXPECT_EQ(kr_array_string_add(nullptr, a), refused);
    EXPECT_EQ(kr_array_string_remove(nullptr, 0), refused);
    EXPECT_EQ(kr_array_string_remove_value(arr.get(), nullptr), refused);
    EXPECT_EQ(kr_array_string_copy(arr.get(), nullptr), refused);
    EXPECT_EQ(kr_array_string_free(nullptr), refused);
    EXPECT_EQ(kr_array_string_get_item(nullptr, 0), nullptr);
}

TEST(StringArray, ADamagedCountIsNoticed) {
    const failing_allocator allocator;
    const array_ptr arr = make_array();
    arr->count = 50;
    EXPECT_EQ(kr_array_string_add(arr.get(), a), kr_result_make_error(KR_UNEXPECTED_BEHAVIOUR));
    EXPECT_EQ(arr->capacity, 10u);
    EXPECT_EQ(arr->count, 50u);
    arr->count = 0;
}

TEST(StringArray, AFailedAllocationLeavesTheItemsAlone) {
    kr::test::sweep_allocations([] {
        kr_array_string* made = nullptr;
        kr_result result = kr_array_string_new(&made);
        if (kr_result_failed(result)) {
            EXPECT_EQ(made, nullptr);
            return result;
        }
        const array_ptr arr(made);
        for (u32 count = 0; count < 21; ++count) {
            result = kr_array_string_add(arr.get(), b);
            EXPECT_EQ(arr->count, count + kr_result_succeeded(result));
            if (kr_result_failed(result)) {
                return result;
            }
        }
        return result;
    });
    const array_ptr from = make_array({a, b, c});
    kr::test::sweep_allocations([&] {
        kr_array_string to = {};
        const kr_result result = kr_array_string_copy(&to, from.get());
        EXPECT_EQ(to.count, kr_result_failed(result) ? 0u : 3u);
        kr_array_string_clear(&to);
        kr_memory_deallocate_hook(to.items);
        return result;
    });
}

} // namespace
