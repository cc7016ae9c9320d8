/// Wide strings: the vector walks against the plain ones, and each operation's results.
#include "base/text/wide_string.h"

#include "base/text/wide_scan.h"
#include "platform/platform.h"
#include "support/failing_allocator.h"
#include "support/guarded_buffer.h"

namespace {

using namespace kr::test;
namespace plain = kr::detail::plain;
namespace vectors = kr::detail::vectors;

const kr_result less = 0x02000098;
const kr_result equal = 0x02000099;
const kr_result greater = 0x02000097;

/// A string of `length` characters that starts `offset` characters behind a 64-byte boundary,
/// between characters that are no terminator.
class placed_text {
public:
    placed_text(u64 offset, u64 length) : start_(offset) {
        for (u64 i = 0; i < std::size(room_); ++i) { room_[i] = static_cast<kr_char>(0x100 + i % 0x60); }
        room_[offset + length] = 0;
    }
    kr_char* chars() { return room_ + start_; }

private:
    alignas(64) kr_char room_[256];
    u64 start_;
};

TEST(VectorWalks, AgreeWithThePlainOnesOnEveryAlignment) {
    for (u64 offset = 0; offset < 40; ++offset) {
        for (u64 length = 0; length < 90; ++length) {
            SCOPED_TRACE(std::to_string(offset) + " + " + std::to_string(length));
            placed_text s(offset, length);
            ASSERT_EQ(vectors::length(s.chars()), length);
            for (const u64 limit : {u64{0}, length / 2, length, length + 1, u64{UINT64_MAX}}) {
                ASSERT_EQ(vectors::length_within(s.chars(), limit), plain::length_within(s.chars(), limit));
            }
            for (const u64 at : {u64{0}, length / 3, length - 1, length}) {
                const kr_char c = at <= length ? s.chars()[at] : kr_char{0x7FFF};
                ASSERT_EQ(vectors::find_or_end(s.chars(), c), plain::find_or_end(s.chars(), c));
            }
        }
    }
}

TEST(VectorWalks, FindTheFirstDifferenceWhereverTheTwoStand) {
    for (u64 a_offset = 0; a_offset < 9; ++a_offset) {
        for (u64 b_offset = 0; b_offset < 9; ++b_offset) {
            for (u64 length = 0; length < 40; ++length) {
                placed_text a(a_offset, length);
                placed_text b(b_offset, length);
                std::memcpy(b.chars(), a.chars(), (length + 1) * sizeof(kr_char));
                for (const u64 at : {length, length / 2, u64{0}}) {
                    b.chars()[at] ^= 0x8000;
                    for (const u64 limit : {u64{0}, at, at + 1, u64{UINT64_MAX}}) {
                        ASSERT_EQ(vectors::mismatch(a.chars(), b.chars(), limit), std::min(at, limit));
                    }
                    b.chars()[at] ^= 0x8000;
                }
                ASSERT_EQ(vectors::mismatch(a.chars(), b.chars(), UINT64_MAX), length);
            }
        }
    }
}

TEST(WideCompare, OrdersByUnitsAndStopsAtTheTerminator) {
    const struct {
        int line;
        const kr_char *a, *b;
        u64 n;
        kr_result whole, first_n, whole_nocase, first_n_nocase;
    } rows[] = {
        {__LINE__, KR_TEXT("abc"), KR_TEXT("abd"), 2, less, equal, less, equal},
        {__LINE__, KR_TEXT("ab"), KR_TEXT("abc"), 3, less, less, less, less},
        {__LINE__, KR_TEXT("abc"), KR_TEXT("ab"), 2, greater, equal, greater, equal},
        {__LINE__, KR_TEXT("ABC"), KR_TEXT("abc"), 9, less, less, equal, equal},
        {__LINE__, KR_TEXT("aBd"), KR_TEXT("abc"), 2, less, less, greater, equal},
        {__LINE__, KR_TEXT(""), KR_TEXT(""), 1, equal, equal, equal, equal},
        {__LINE__, KR_TEXT("x"), KR_TEXT("y"), 0, less, equal, less, equal},
        {__LINE__, KR_TEXT("\x7FFF"), KR_TEXT("\xFFFF"), 1, less, less, less, less},
        {__LINE__, KR_TEXT("[z"), KR_TEXT("Az"), 1, greater, greater, less, less},
        {__LINE__, nullptr, KR_TEXT("a"), 0, invalid, invalid, invalid, invalid},
        {__LINE__, KR_TEXT("a"), nullptr, 0, invalid, invalid, invalid, invalid},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(r.line);
        EXPECT_EQ(kr_string_compare(r.a, r.b), r.whole);
        EXPECT_EQ(kr_string_compare_generic(r.a, r.b), r.whole);
        EXPECT_EQ(kr_string_compare_n(r.a, r.b, r.n), r.first_n);
        EXPECT_EQ(kr_string_compare_nocase(r.a, r.b), r.whole_nocase);
        EXPECT_EQ(kr_string_compare_nocase_generic(r.a, r.b), r.whole_nocase);
        EXPECT_EQ(kr_string_compare_n_nocase(r.a, r.b, r.n), r.first_n_nocase);
        EXPECT_EQ(kr_string_compare_n_nocase_generic(r.a, r.b, r.n), r.first_n_nocase);
        EXPECT_EQ(kr_string_equal(r.a, r.b), r.whole == equal);
        EXPECT_EQ(kr_string_equal_n(r.a, r.b, r.n), r.first_n == equal);
        EXPECT_EQ(kr_string_equal_nocase(r.a, r.b), r.whole_nocase == equal);
        EXPECT_EQ(kr_string_equal_n_nocase(r.a, r.b, r.n), r.first_n_nocase == equal);
    }
    EXPECT_TRUE(kr_string_starts_with(KR_TEXT("settings"), KR_TEXT("set")));
    EXPECT_FALSE(kr_string_starts_with(KR_TEXT("set"), KR_TEXT("settings")));
    EXPECT_FALSE(kr_string_starts_with(KR_TEXT("SETTINGS"), KR_TEXT("set")));
    EXPECT_TRUE(kr_string_starts_with_nocase(KR_TEXT("SETTINGS"), KR_TEXT("set")));
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
        {__LINE__, copy, KR_TEXT("z"), 1, KR_TEXT(""), ok, SIZED("\0")},
        {__LINE__, cat, KR_TEXT("ab"), 5, KR_TEXT("cd"), ok, SIZED("abcd\0")},
        {__LINE__, cat, KR_TEXT("ab"), 4, KR_TEXT("cd"), too_small, SIZED("\0b")},
        {__LINE__, cat, KR_TEXT("ab"), 3, KR_TEXT(""), ok, SIZED("ab\0")},
        {__LINE__, cat, KR_TEXT("abc"), 3, KR_TEXT(""), invalid, SIZED("\0bc")},
        {__LINE__, cat, KR_TEXT("ab"), 3, nullptr, invalid, SIZED("\0b")},
        {__LINE__, cat, KR_TEXT(""), 0, KR_TEXT(""), invalid, SIZED("")},
        {__LINE__, copy, KR_TEXT(""), 0, KR_TEXT("a"), invalid, SIZED("")},
        // The generic forms fill the target without a terminator.
        {__LINE__, copy_generic, KR_TEXT("zz"), 4, KR_TEXT("abc"), ok, SIZED("abc\0")},
        {__LINE__, copy_generic, KR_TEXT("zz"), 3, KR_TEXT("abc"), too_small, SIZED("abc")},
        {__LINE__, copy_generic, KR_TEXT(""), 0, KR_TEXT("a"), invalid, SIZED("")},
        {__LINE__, cat_generic, KR_TEXT("ab"), 5, KR_TEXT("cd"), ok, SIZED("abcd\0")},
        {__LINE__, cat_generic, KR_TEXT("ab"), 4, KR_TEXT("cd"), too_small, SIZED("abcd")},
        {__LINE__, cat_generic, KR_TEXT("abc"), 3, KR_TEXT(""), too_small, SIZED("abc")},
        {__LINE__, cat_generic, KR_TEXT(""), 0, KR_TEXT(""), invalid, SIZED("")},
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

TEST(WideCopy, CutsToWhatFitsForEverySizeInBytes) {
    const wide src = KR_TEXT("abcd");
    for (size_t bytes = 0; bytes <= 12; ++bytes) {
        SCOPED_TRACE(bytes);
        guarded_buffer<kr_char> dst(byte_count{bytes});
        EXPECT_EQ(kr_string_copy_trunc(dst.data(), bytes, src.c_str()), bytes < 10);
        if (bytes < 2) {
            EXPECT_TRUE(dst.untouched());
        } else {
            const size_t kept = std::min<size_t>(bytes / 2 - 1, 4);
            EXPECT_EQ(wide(dst.data()), src.substr(0, kept));
            EXPECT_TRUE(dst.untouched(kept + 1));
        }
    }
}

TEST(WideCopy, UnboundedFormsWriteTheTerminatorAndNoMore) {
    for (const auto append : {kr_string_cat, kr_string_cat_generic}) {
        guarded_buffer<kr_char> dst(6);
        kr_string_copy(dst.data(), KR_TEXT("ab"));
        EXPECT_TRUE(dst.untouched(3));
        append(dst.data(), KR_TEXT("cde"));
        EXPECT_EQ(wide(dst.data()), KR_TEXT("abcde"));
    }
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

TEST(WideSearch, FindsTheRightOccurrence) {
    constexpr i64 none = -1;
    const struct {
        int line;
        const kr_char *s, *sub;
        i64 at, at_nocase;
    } rows[] = {
        {__LINE__, KR_TEXT("aaAB"), KR_TEXT("ab"), none, 2},
        {__LINE__, KR_TEXT("a"), KR_TEXT("ab"), none, none},
        {__LINE__, KR_TEXT("ababac"), KR_TEXT("abac"), 2, 2},
        {__LINE__, KR_TEXT("aba"), KR_TEXT("abab"), none, none},
        {__LINE__, KR_TEXT("ab"), KR_TEXT(""), 0, 0},
        {__LINE__, KR_TEXT(""), KR_TEXT(""), none, none},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(r.line);
        const auto index = [&](const kr_char* found) { return found == nullptr ? none : found - r.s; };
        EXPECT_EQ(index(kr_string_find(r.s, r.sub)), r.at);
        EXPECT_EQ(index(kr_string_find_with(r.s, r.sub, kr_string_compare_n)), r.at);
        EXPECT_EQ(index(kr_string_find_with(r.s, r.sub, kr_string_compare_n_nocase)), r.at_nocase);
    }
    const kr_char* const s = KR_TEXT("abcb");
    EXPECT_EQ(kr_string_find_char(s, 'b'), s + 1);
    EXPECT_EQ(kr_string_find_char_generic(s, 'b'), s + 1);
    EXPECT_EQ(kr_string_find_last_char(s, 'b'), s + 3);
    EXPECT_EQ(kr_string_find_char(s, 0), s + 4);
    for (const auto find : {kr_string_find_char_generic, kr_string_find_last_char}) {
        EXPECT_EQ(find(s, 0), nullptr);
        EXPECT_EQ(find(s, 'x'), nullptr);
    }
    EXPECT_EQ(kr_string_find_char(s, 'x'), nullptr);
}

TEST(WideSearch, MeasuresAndFolds) {
    for (const wide& s : {wide(), wide(KR_TEXT("abc"))}) {
        const u64 bytes = s.size() * 2;
        EXPECT_EQ(kr_string_length(s.c_str()), s.size());
        EXPECT_EQ(kr_string_bytesize(s.c_str()), bytes + 2);
        EXPECT_EQ(kr_string_bytesize_generic(s.c_str()), bytes + 2);
        EXPECT_EQ(kr_string_bytesize_clean(s.c_str()), bytes);
        EXPECT_EQ(kr_string_bytesize_clean_generic(s.c_str()), bytes);
    }
    kr_char mixed[] = KR_TEXT("AZ[az@");
    EXPECT_EQ(kr_string_to_lower(mixed), mixed);
    EXPECT_EQ(wide(mixed), KR_TEXT("az[az@"));
    EXPECT_EQ(kr_string_to_lower(nullptr), nullptr);
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
    EXPECT_EQ(kr_string_dup(&made, nullptr), invalid);
    EXPECT_EQ(kr_string_concat2(a, nullptr, &made), invalid);
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
