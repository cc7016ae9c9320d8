/// Wide strings and arrays of them: refusals, allocations, ownership, the module. Any wide texts at all
/// stand in their model.
#include "base/text/wide_string.h"

#include "platform/platform.h"
#include "support/failing_allocator.h"
#include "support/guarded_buffer.h"
#include "support/string_array.h"

namespace {

using namespace kr::test;

TEST(WideCopy, RefusalsEmptyTheTargetAndNeverReachTheInvalidParameterHandler) {
    static u32 calls = 0;
    const auto before = _set_invalid_parameter_handler(
        [](const kr_char*, const kr_char*, const kr_char*, unsigned, std::uintptr_t) { ++calls; });
    for (const auto write : {kr_string_copy_s, kr_string_cat_s}) {
        for (const kr_char* src : {KR_TEXT("abc"), static_cast<const kr_char*>(nullptr)}) {
            kr_char dst[] = {'x', 0};
            EXPECT_EQ(write(dst, 2, src), src == nullptr ? invalid : too_small);
            EXPECT_EQ(dst[0], 0);
        }
    }
    EXPECT_EQ(calls, 0u);
    _set_invalid_parameter_handler(before);
}

TEST(WideCompare, PutsLettersInLowerCaseBehindTheBrackets) {
    EXPECT_EQ(kr_string_compare_nocase(KR_TEXT("[z"), KR_TEXT("Az")), kr_result_make_success(KR_LESS));
    EXPECT_FALSE(kr_string_equal(nullptr, nullptr));
}

TEST(WideBuffers, HaveTheSizeOfTheTextAndLeakNothing) {
    constexpr auto a = KR_TEXT("ab");
    constexpr kr_result (*makers[])(kr_char**) = {
        [](kr_char** out) { return kr_string_dup(out, a); },
        [](kr_char** out) { return kr_string_dup_n(out, a, 1); },
        [](kr_char** out) { return kr_string_concat2(a, a, out); },
        [](kr_char** out) { return kr_string_concat3(a, a, a, out); },
        [](kr_char** out) { return kr_string_concat5(a, a, a, a, a, out); },
    };
    for (const auto make : makers) {
        sweep_allocations([make] {
            kr::owned_text made;
            const kr_result result = make(made.out());
            EXPECT_EQ(bool{made}, kr_result_succeeded(result));
            return result;
        });
    }
    const failing_allocator allocator;
    kr::owned_text made;
    EXPECT_EQ(kr_string_dup(made.out(), a), ok);
    EXPECT_EQ(allocator.last_size(), 6u);
    EXPECT_EQ(kr_string_dup_n(made.out(), a, UINT64_MAX / 2), out_of_memory);
    EXPECT_EQ(allocator.allocations(), 1u);
}

TEST(StringModule, InstallsTheNarrowFunctions) {
    ASSERT_EQ(kr_string_module()->init(), ok);
    const auto& [copy, length] = kr_string_functions;
    EXPECT_EQ(length(""), 0u);
    EXPECT_EQ(length("\x80z"), 2u);
    guarded_buffer<char> dst(3);
    EXPECT_EQ(copy(dst.data(), 3, "abcd"), too_small);
    EXPECT_EQ(std::string(dst.data(), 3), "abc");
    EXPECT_EQ(copy(dst.data(), 3, "xy"), ok);
    EXPECT_STREQ(dst.data(), "xy");
    EXPECT_EQ(copy(dst.data(), 0, "xy"), invalid);
}

TEST(StringArray, GrowsByTenThenDoublesAndNeverShrinks) {
    const failing_allocator allocator;
    const kr::owned_strings arr = array_of({});
    EXPECT_EQ(arr.get()->items, nullptr);
    for (u32 count = 1; count <= 41; ++count) {
        ASSERT_EQ(kr_array_string_add(arr.get(), KR_TEXT("a")), ok);
        ASSERT_EQ(arr.get()->count, count);
        ASSERT_EQ(arr.get()->capacity, count <= 10 ? 10u : count <= 20 ? 20u : count <= 40 ? 40u : 80u);
    }
    EXPECT_EQ(std::vector(arr.get()->items + 41, arr.get()->items + 80), std::vector<kr_char*>(39));
    EXPECT_EQ(kr_array_string_copy(arr.get(), array_of({}).get()), ok);
    EXPECT_EQ(std::vector(arr.get()->items, arr.get()->items + 80), std::vector<kr_char*>(80));
    EXPECT_EQ(arr.get()->capacity, 80u);

    const kr::owned_strings damaged = array_of({});
    damaged.get()->count = 50;
    EXPECT_EQ(kr_array_string_add(damaged.get(), KR_TEXT("a")), unexpected);
    EXPECT_EQ(damaged.get()->capacity, 10u);
    EXPECT_EQ(std::exchange(damaged.get()->count, 0), 50u);
    EXPECT_EQ(kr_array_string_get_item(nullptr, 0), nullptr);
    kr_array_string_clear(nullptr);
}

TEST(StringArray, RemovesOneItemKeepsTheOrderAndIsReplacedByACopy) {
    const failing_allocator allocator;
    const kr::owned_strings arr = array_of({"a", "b", "a", ""}), from = array_of({"c", ""});
    EXPECT_EQ(kr_array_string_remove_value(arr.get(), KR_TEXT("a")), ok);
    EXPECT_THAT(items_of(arr), ElementsAre("b", "a", ""));
    EXPECT_EQ(kr_array_string_remove_value(arr.get(), KR_TEXT("A")), not_found);
    EXPECT_EQ(kr_array_string_remove(arr.get(), 3), kr_result_make_error(KR_INDEX_OUT_OF_RANGE));
    EXPECT_EQ(kr_array_string_remove(arr.get(), 2), ok);
    EXPECT_EQ(kr_array_string_remove(arr.get(), 0), ok);
    EXPECT_THAT(items_of(arr), ElementsAre("a"));
    EXPECT_EQ(arr.get()->items[1], nullptr);
    EXPECT_EQ(kr_array_string_get_item(arr.get(), 1), nullptr);
    for (const kr_array_string* source : {from.get(), arr.get()}) {
        EXPECT_EQ(kr_array_string_copy(arr.get(), source), ok);
        EXPECT_THAT(items_of(arr), ElementsAre("c", ""));
    }
}

TEST(StringArray, AFailedAllocationLeavesTheItemsAlone) {
    const kr::owned_strings from = array_of(std::vector<std::string>(21, "b"));
    sweep_allocations([&] {
        kr::owned_strings arr, to;
        kr_result made = kr_array_string_new(arr.out());
        EXPECT_EQ(bool{arr}, kr_result_succeeded(made));
        for (u32 count = 0; count < 21 && kr_result_succeeded(made); ++count) {
            made = kr_array_string_add(arr.get(), KR_TEXT("b"));
            EXPECT_EQ(arr.get()->count, count + kr_result_succeeded(made));
        }
        if (kr_result_failed(made) || kr_result_failed(made = kr_array_string_new(to.out()))) { return made; }
        made = kr_array_string_copy(to.get(), from.get());
        EXPECT_EQ(to.get()->count, kr_result_failed(made) ? 0u : 21u);
        return made;
    });
}

} // namespace
