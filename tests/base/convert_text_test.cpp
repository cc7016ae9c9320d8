/// ASCII and wide copies: the vector copies against the plain ones, limits, new strings; UTF-8
/// counts.
#include "base/convert_text.h"

#include <algorithm>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "base/widen.h"
#include "support/captured_log.h"
#include "support/failing_allocator.h"
#include "support/guarded_buffer.h"

namespace {

using kr::test::guarded_buffer;
using testing::ElementsAre;
using wide = std::basic_string<kr_char>;

constexpr kr_result invalid = 0x8200000C;
constexpr kr_result too_small = 0x82000021;

#if KR_VECTORS
TEST(VectorCopies, WidenAsSingleBytesOnEveryAlignmentAndLength) {
    for (size_t offset = 0; offset < 17; ++offset) {
        for (size_t length = 0; length < 60; ++length) {
            std::string src(offset, '\0');
            for (size_t i = 0; i < length; ++i) {
                src += static_cast<char>(1 + (i * 37 + length) % 255);
            }
            guarded_buffer<kr_char> expected(length + 1);
            guarded_buffer<kr_char> found(length + 1);
            kr::detail::plain::widen_text(src.c_str() + offset, expected.data());
            kr::detail::vectors::widen_text(src.c_str() + offset, found.data());
            ASSERT_EQ(wide(found.data()), wide(expected.data())) << offset << " + " << length;
        }
    }
}

TEST(VectorCopies, NarrowAsSingleCharactersUpToTheSameOne) {
    constexpr kr_char stops[] = {0, 0x7F, 0x80, 0x7F00, 0x8000, 0xFF41};
    for (const kr_char stop : stops) {
        for (size_t length = 0; length < 40; ++length) {
            wide src;
            for (size_t i = 0; i < length; ++i) {
                src += static_cast<kr_char>(1 + (i * 37 + length) % 126);
            }
            src += stop;
            src += KR_TEXT("behind the character that stops");
            for (size_t room = 0; room < length + 10; ++room) {
                SCOPED_TRACE(std::to_string(stop) + " at " + std::to_string(length));
                guarded_buffer<char> expected(room);
                guarded_buffer<char> found(room);
                const size_t count =
                    kr::detail::plain::narrow_ascii(src.data(), expected.data(), room, 0x7F);
                ASSERT_EQ(kr::detail::vectors::narrow_ascii(src.data(), found.data(), room, 0x7F),
                          count);
                ASSERT_EQ(count, std::min(room, length));
                ASSERT_TRUE(std::ranges::equal(found.elements(), expected.elements()));
            }
        }
    }
}
#endif

TEST(AsciiCopies, StopAtTheLimitAndAtWhatIsNotAscii) {
    kr::test::captured_log log;
    guarded_buffer<char> out(4);
    EXPECT_EQ(kr_wchar_to_ascii(KR_TEXT("abc"), out.data(), 4), KR_SUCCESS);
    EXPECT_STREQ(out.data(), "abc");
    guarded_buffer<char> part(8);
    EXPECT_EQ(kr_wchar_to_ascii(KR_TEXT("abc"), part.data(), 3), too_small);
    EXPECT_EQ(kr_wchar_to_ascii(nullptr, part.data(), 0), too_small);
    EXPECT_EQ(kr_wchar_to_ascii(KR_TEXT("ab\u00FF"), part.data(), 2), too_small);
    EXPECT_THAT(log.take(), ElementsAre());
    EXPECT_EQ(kr_krchar_to_ascii(KR_TEXT("xy\u20ACd"), part.data(), 8), invalid);
    EXPECT_EQ(std::string(part.data(), 3), "xyc");
    EXPECT_TRUE(part.untouched(3));
    EXPECT_THAT(log.take(),
                ElementsAre("E 01 kr_krchar_to_ascii: Non ASCII unicode char 20AC at string index "
                            "2 cannot be converted to non-unicode char"));
    guarded_buffer<kr_char> widened(4);
    kr_ascii_to_krchar("a\x80\xFF", widened.data());
    EXPECT_THAT(widened.elements(), ElementsAre('a', 0xFF80, 0xFFFF, 0));
}

template <typename Char, typename Source>
void expect_duplicates(kr_result (*convert)(const Source*, Char**), const Source* src,
                       const std::string& function, const std::string& kind) {
    const std::string line = "E 01 " + function + ": Failed to allocate memory for " + kind +
                             ". Result is 0x82000002 (error \"Out of memory\" from \"Unknown "
                             "source\")";
    kr::test::captured_log log;
    kr::test::sweep_allocations([&] {
        Char* out = nullptr;
        const kr_result result = convert(src, &out);
        EXPECT_EQ(out != nullptr, kr_result_succeeded(result));
        if (out != nullptr) {
            EXPECT_TRUE(std::equal(src, src + std::char_traits<Source>::length(src) + 1, out));
            kr_memory_deallocate_hook(out);
        }
        return result;
    });
    EXPECT_THAT(log.take(), ElementsAre(line, line)); // the sweep meets the one allocation twice
}

TEST(AsciiDuplicates, ComeFromTheHookInTheSizeOfTheText) {
    expect_duplicates(kr_ascii_to_wchar_strdup, "tools", "kr_ascii_to_wchar_strdup",
                      "wchar_t string");
    expect_duplicates(kr_ascii_to_krchar_strdup, "tools", "kr_ascii_to_krchar_strdup",
                      "kr_char_string");
    expect_duplicates(kr_krchar_to_ascii_strdup, KR_TEXT("tools"), "kr_krchar_to_ascii_strdup",
                      "ascii char string");
    kr::test::failing_allocator allocator;
    kr_char* wide_copy = nullptr;
    char* copy = nullptr;
    EXPECT_EQ(kr_ascii_to_krchar_strdup("tools", &wide_copy), KR_SUCCESS);
    EXPECT_EQ(allocator.last_size(), 6 * sizeof(kr_char));
    kr_memory_deallocate_hook(wide_copy);
    EXPECT_EQ(kr_krchar_to_ascii_strdup(KR_TEXT("\u00E9"), &copy), invalid);
    EXPECT_EQ(copy, nullptr);
    EXPECT_EQ(kr_krchar_to_ascii_strdup(KR_TEXT("tools"), &copy), KR_SUCCESS);
    EXPECT_EQ(allocator.last_size(), 6u);
    kr_memory_deallocate_hook(copy);
}

TEST(Utf8Counts, NeverPassTheTerminator) {
    struct row {
        int line;
        /// Behind its terminator stands text that no count may include.
        std::string_view text;
        u64 characters;
        u64 bytes;
    };
    constexpr row rows[] = {
        {__LINE__, std::string_view("\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80\0d", 11), 3, 9},
        {__LINE__, std::string_view("\xF8 234\xFC 2345\0d", 13), 2, 11},
        {__LINE__, std::string_view("\xC3\0\xA9", 3), 1, 1},
        {__LINE__, std::string_view("\xFF\x80\0\x80\x80\x80\x80\x80", 8), 1, 2},
        {__LINE__, std::string_view("a\x80\xBF z\0d", 7), 3, 5},
    };
    for (const row& r : rows) {
        SCOPED_TRACE(r.line);
        EXPECT_EQ(kr_string_char_count_utf8(r.text.data()), r.characters);
        EXPECT_EQ(kr_string_bytesize_clean_utf8(r.text.data()), r.bytes);
        EXPECT_EQ(kr_string_bytesize_utf8(r.text.data()), r.bytes + 1);
    }
    EXPECT_EQ(kr_string_char_count_utf8(nullptr), invalid);
    EXPECT_EQ(kr_string_bytesize_clean_utf8(nullptr), invalid);
    EXPECT_EQ(kr_string_bytesize_utf8(nullptr), invalid);

    kr::test::captured_log log;
    EXPECT_EQ(kr_string_bytesize_clean_utf8("\xBF"), 1u);
    EXPECT_THAT(log.take(), ElementsAre("E 01 kr_string_bytesize_clean_utf8: Invalid byte value "
                                        "0xBF in UTF-8 sequence, ignoring it!"));
}

} // namespace
