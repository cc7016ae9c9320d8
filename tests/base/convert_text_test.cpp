/// ASCII and wide copies: the vector copies against the plain ones, limits, new strings; UTF-8
/// counts.
#include "base/convert/convert_text.h"

#include "base/text/widen.h"
#include "support/captured_log.h"
#include "support/failing_allocator.h"
#include "support/guarded_buffer.h"

namespace {

using namespace kr::test;

#if KR_VECTORS
namespace plain = kr::detail::plain;
namespace vectors = kr::detail::vectors;

TEST(VectorCopies, WidenAsSingleBytesOnEveryAlignmentAndLength) {
    std::string src;
    for (size_t i = 0; i < 80; ++i) { src += static_cast<char>(1 + i * 37 % 255); }
    for (size_t offset = 0; offset < 17; ++offset) {
        for (size_t length = 0; length < 60; ++length) {
            const std::string placed = src.substr(0, offset + length);
            guarded_buffer<kr_char> expected(length + 1), found(length + 1);
            plain::widen_text(placed.c_str() + offset, expected.data());
            vectors::widen_text(placed.c_str() + offset, found.data());
            ASSERT_EQ(wide(found.data()), wide(expected.data())) << offset << " + " << length;
        }
    }
}

TEST(VectorCopies, NarrowAsSingleCharactersUpToTheSameOne) {
    for (const kr_char stop : std::initializer_list<kr_char>{0, 0x7F, 0x80, 0x7F00, 0x8000, 0xFF41}) {
        for (size_t length = 0; length < 40; ++length) {
            wide src = KR_TEXT("123456789 123456789 123456789 123456789 ") + wide(30, 'b');
            src[length] = stop;
            for (size_t room = 0; room < length + 10; ++room) {
                guarded_buffer<char> expected(room), found(room);
                const size_t count = plain::narrow_ascii(src.data(), expected.data(), room, 0x7F);
                ASSERT_EQ(vectors::narrow_ascii(src.data(), found.data(), room, 0x7F), count);
                ASSERT_EQ(count, std::min(room, length)) << int{stop} << " at " << length;
                ASSERT_TRUE(std::ranges::equal(found.elements(), expected.elements()));
            }
        }
    }
}
#endif

TEST(AsciiCopies, StopAtTheLimitAndAtWhatIsNotAscii) {
    captured_log log;
    guarded_buffer<char> out(4);
    EXPECT_EQ(kr_wchar_to_ascii(KR_TEXT("abc"), out.data(), 4), ok);
    EXPECT_STREQ(out.data(), "abc");
    guarded_buffer<char> part(8);
    EXPECT_EQ(kr_wchar_to_ascii(KR_TEXT("abc"), part.data(), 3), too_small);
    EXPECT_EQ(kr_wchar_to_ascii(nullptr, part.data(), 0), too_small);
    EXPECT_EQ(kr_wchar_to_ascii(KR_TEXT("ab\u00FF"), part.data(), 2), too_small);
    for (const auto copy : {kr_wchar_to_ascii, kr_krchar_to_ascii}) {
        EXPECT_EQ(copy(nullptr, part.data(), 8), invalid);
        EXPECT_EQ(copy(KR_TEXT("a"), nullptr, 8), invalid);
    }
    EXPECT_THAT(log.take(), IsEmpty());
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
void expect_duplicates(kr_result (*convert)(const Source*, Char**), const Source* src, std::string line) {
    line = "E 01 " + line + ". Result is 0x82000002 (error \"Out of memory\" from \"Unknown source\")";
    const size_t size = std::char_traits<Source>::length(src) + 1;
    Char* kept = nullptr;
    EXPECT_EQ(convert(nullptr, &kept), invalid);
    EXPECT_EQ(convert(src, nullptr), invalid);
    EXPECT_EQ(kept, nullptr);
    captured_log log;
    sweep_allocations([&] {
        Char* out = nullptr;
        const kr_result result = convert(src, &out);
        EXPECT_EQ(out != nullptr, kr_result_succeeded(result));
        EXPECT_TRUE(out == nullptr || std::equal(src, src + size, out));
        kr_memory_deallocate_hook(out);
        return result;
    });
    EXPECT_THAT(log.take(), ElementsAre(line, line)); // the sweep meets the one allocation twice
    const failing_allocator allocator;
    Char* out = nullptr;
    EXPECT_EQ(convert(src, &out), ok);
    EXPECT_EQ(allocator.last_size(), size * sizeof(Char));
    kr_memory_deallocate_hook(out);
}

TEST(AsciiDuplicates, ComeFromTheHookInTheSizeOfTheText) {
    expect_duplicates(kr_ascii_to_wchar_strdup, "tools",
                      "kr_ascii_to_wchar_strdup: Failed to allocate memory for wchar_t string");
    expect_duplicates(kr_ascii_to_krchar_strdup, "tools",
                      "kr_ascii_to_krchar_strdup: Failed to allocate memory for kr_char_string");
    expect_duplicates(kr_krchar_to_ascii_strdup, KR_TEXT("tools"),
                      "kr_krchar_to_ascii_strdup: Failed to allocate memory for ascii char string");
    const failing_allocator allocator;
    char* copy = nullptr;
    EXPECT_EQ(kr_krchar_to_ascii_strdup(KR_TEXT("\u00E9"), &copy), invalid);
    EXPECT_EQ(copy, nullptr);
}

TEST(Utf8Counts, NeverPassTheTerminator) {
    constexpr struct {
        int line;
        std::string_view text; ///< behind its terminator stands text that no count may include
        u64 characters, bytes;
    } rows[] = {
        {__LINE__, std::string_view("\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80\0d", 11), 3, 9},
        {__LINE__, std::string_view("\xF8 234\xFC 2345\0d", 13), 2, 11},
        {__LINE__, std::string_view("\xC3\0\xA9", 3), 1, 1},
        {__LINE__, std::string_view("\xFF\x80\0\x80\x80\x80\x80\x80", 8), 1, 2},
        {__LINE__, std::string_view("a\x80\xBF z\0d", 7), 3, 5},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(r.line);
        EXPECT_EQ(kr_string_char_count_utf8(r.text.data()), r.characters);
        EXPECT_EQ(kr_string_bytesize_clean_utf8(r.text.data()), r.bytes);
        EXPECT_EQ(kr_string_bytesize_utf8(r.text.data()), r.bytes + 1);
    }
    for (const auto count :
         {kr_string_char_count_utf8, kr_string_bytesize_clean_utf8, kr_string_bytesize_utf8}) {
        EXPECT_EQ(count(nullptr), invalid);
    }
    captured_log log;
    EXPECT_EQ(kr_string_bytesize_clean_utf8("\xBF"), 1u);
    EXPECT_THAT(log.take(),
                ElementsAre("E 01 kr_string_bytesize_clean_utf8: Invalid byte value 0xBF in UTF-8 "
                            "sequence, ignoring it!"));
}

} // namespace
