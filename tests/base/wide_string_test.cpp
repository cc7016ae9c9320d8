/// Wide strings: golden rows, allocations and the module. Any texts at all stand in the model.
#include "base/text/wide_string.h"

#include "platform/platform.h"
#include "support/failing_allocator.h"
#include "support/guarded_buffer.h"

namespace {

using namespace kr::test;
const kr_result less = 0x02000098;
const kr_result equal = 0x02000099;
const kr_result greater = 0x02000097;

TEST(WideCompare, OrdersByUnitsAndStopsAtTheTerminator) {
    const struct {
        int line;
        const kr_char *a, *b;
        u64 n;
        kr_result whole, first_n, whole_nocase, first_n_nocase;
    } rows[] = {
        {__LINE__, KR_TEXT("ab"), KR_TEXT("abc"), 3, less, less, less, less},
        {__LINE__, KR_TEXT("aBd"), KR_TEXT("abc"), 2, less, less, greater, equal},
        {__LINE__, KR_TEXT("x"), KR_TEXT("y"), 0, less, equal, less, equal},
        {__LINE__, KR_TEXT("\x7FFF"), KR_TEXT("\xFFFF"), 1, less, less, less, less},
        {__LINE__, KR_TEXT("[z"), KR_TEXT("Az"), 1, greater, greater, less, less},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(r.line);
        EXPECT_EQ(kr_string_compare(r.a, r.b), r.whole);
        EXPECT_EQ(kr_string_compare_n(r.a, r.b, r.n), r.first_n);
        EXPECT_EQ(kr_string_compare_nocase(r.a, r.b), r.whole_nocase);
        EXPECT_EQ(kr_string_compare_n_nocase(r.a, r.b, r.n), r.first_n_nocase);
    }
    EXPECT_FALSE(kr_string_equal(nullptr, nullptr));
}

// Literals with the terminator spelled out, as text of known size.
#define SIZED(literal) wide(KR_TEXT(literal), sizeof(literal) - 1)

TEST(WideCopy, BoundedFormsRefuseOrFillAsTheirRulesSay) {
    struct row {
        int line;
        kr_result (*write)(kr_char*, u64, const kr_char*);
        const kr_char* before;
        u64 size;
        const kr_char* src;
        kr_result result;
        /// Expected content, by size: it need not hold a terminator.
        wide after;
    };
    constexpr auto copy = kr_string_copy_s, cat = kr_string_cat_s, copy_generic = kr_string_copy_s_generic;
    constexpr auto cat_generic = kr_string_cat_s_generic;
    const row rows[] = {
        {__LINE__, copy, KR_TEXT("zz"), 4, KR_TEXT("abc"), ok, SIZED("abc\0")},
        {__LINE__, copy, KR_TEXT("zz"), 3, KR_TEXT("abc"), too_small, SIZED("\0")},
        {__LINE__, copy, KR_TEXT("zz"), 3, nullptr, invalid, SIZED("\0")},
        {__LINE__, cat, KR_TEXT("ab"), 4, KR_TEXT("cd"), too_small, SIZED("\0b")},
        {__LINE__, cat, KR_TEXT("ab"), 3, KR_TEXT(""), ok, SIZED("ab\0")},
        {__LINE__, cat, KR_TEXT("abc"), 3, KR_TEXT(""), invalid, SIZED("\0bc")},
        {__LINE__, cat, KR_TEXT("ab"), 3, nullptr, invalid, SIZED("\0b")},
        {__LINE__, copy, KR_TEXT(""), 0, KR_TEXT("a"), invalid, SIZED("")},
        // The generic forms fill the target without a terminator.
        {__LINE__, copy_generic, KR_TEXT("zz"), 3, KR_TEXT("abc"), too_small, SIZED("abc")},
        {__LINE__, cat_generic, KR_TEXT("ab"), 4, KR_TEXT("cd"), too_small, SIZED("abcd")},
        {__LINE__, cat_generic, KR_TEXT("abc"), 3, KR_TEXT(""), too_small, SIZED("abc")},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(r.line);
        guarded_buffer<kr_char> dst(r.size);
        std::copy_n(r.before, std::min<u64>(wide(r.before).size() + 1, r.size), dst.data());
        EXPECT_EQ(r.write(dst.data(), r.size, r.src), r.result);
        EXPECT_EQ(wide(dst.data(), r.after.size()), r.after);
    }
    EXPECT_EQ(copy(nullptr, 4, KR_TEXT("a")), invalid);
    EXPECT_EQ(cat(nullptr, 4, KR_TEXT("a")), invalid);
}

TEST(WideCopy, RefusalsNeverReachTheInvalidParameterHandler) {
    static u32 calls = 0;
    const auto before = _set_invalid_parameter_handler(
        [](const kr_char*, const kr_char*, const kr_char*, unsigned, std::uintptr_t) { ++calls; });
    kr_char dst[2] = {};
    EXPECT_EQ(kr_string_copy_s(dst, 2, KR_TEXT("abc")), too_small);
    EXPECT_EQ(kr_string_cat_s(dst, 2, nullptr), invalid);
    EXPECT_EQ(calls, 0u);
    _set_invalid_parameter_handler(before);
}

TEST(WideBuffers, HoldExactlyTheTextAndLeakNothing) {
    constexpr auto a = KR_TEXT("ab");
    const struct {
        int line;
        kr_result (*make)(kr_char**);
        const kr_char* expected;
    } rows[] = {
        {__LINE__, [](kr_char** out) { return kr_string_dup(out, a); }, a},
        {__LINE__, [](kr_char** out) { return kr_string_dup_n(out, a, 1); }, KR_TEXT("a")},
        {__LINE__, [](kr_char** out) { return kr_string_dup_n(out, a, 0); }, KR_TEXT("")},
        {__LINE__, [](kr_char** out) { return kr_string_concat2(a, a + 1, out); }, KR_TEXT("abb")},
        {__LINE__, [](kr_char** out) { return kr_string_concat3(a + 2, a, a + 1, out); }, KR_TEXT("abb")},
        {__LINE__, [](kr_char** out) { return kr_string_concat5(a, a + 1, a + 2, a, a + 1, out); },
         KR_TEXT("abbabb")},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(r.line);
        sweep_allocations([&] {
            kr_char* made = nullptr;
            const kr_result result = r.make(&made);
            EXPECT_EQ(made != nullptr, kr_result_succeeded(result));
            EXPECT_EQ(wide(made == nullptr ? r.expected : made), r.expected);
            kr_memory_deallocate_hook(made);
            return result;
        });
    }
    const failing_allocator allocator;
    kr_char* made = nullptr;
    EXPECT_EQ(kr_string_dup(&made, a), ok);
    EXPECT_EQ(allocator.last_size(), 6u);
    kr_memory_deallocate_hook(made);
    EXPECT_EQ(kr_string_dup_n(&made, a, UINT64_MAX / 2), 0x82000002u);
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

} // namespace
