/// ASCII and wide copies: what is logged, and new strings; UTF-8 counts. What is copied and counted
/// stands in the model.
#include "base/convert/convert_text.h"

#include "support/captured_log.h"
#include "support/failing_allocator.h"
#include "support/guarded_buffer.h"

namespace {

using namespace kr::test;

TEST(AsciiCopies, StopAtTheLimitAndAtWhatIsNotAscii) {
    captured_log log;
    guarded_buffer<char> part(8);
    EXPECT_EQ(kr_wchar_to_ascii(nullptr, part.data(), 0), too_small);
    EXPECT_EQ(kr_wchar_to_ascii(KR_TEXT("ab\u00FF"), part.data(), 2), too_small);
    EXPECT_THAT(log.take(), IsEmpty());
    EXPECT_EQ(kr_krchar_to_ascii(KR_TEXT("xy\u20ACd"), part.data(), 8), invalid);
    EXPECT_EQ(std::string(part.data(), 2), "xy");
    EXPECT_TRUE(part.untouched(2));
    EXPECT_THAT(log.take(),
                ElementsAre("E 01 kr_krchar_to_ascii: Non ASCII unicode char 20AC at string index "
                            "2 cannot be converted to non-unicode char"));
}

template <typename Char, typename Source>
void expect_duplicates(kr_result (*convert)(const Source*, Char**), const Source* src, std::string line) {
    line = "E 01 " + line + ". Result is 0x82000002 (error \"Out of memory\" from \"Unknown source\")";
    const size_t size = std::char_traits<Source>::length(src) + 1;
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

TEST(Utf8Counts, NameTheStrayByteAndRefuseNull) {
    for (const auto count :
         {kr_string_char_count_utf8, kr_string_bytesize_clean_utf8, kr_string_bytesize_utf8}) {
        EXPECT_EQ(count(nullptr), invalid);
    }
    captured_log log;
    EXPECT_EQ(kr_string_bytesize_clean_utf8("a\xBF"), 2u);
    EXPECT_THAT(log.take(),
                ElementsAre("E 01 kr_string_bytesize_clean_utf8: Invalid byte value 0xBF in UTF-8 "
                            "sequence, ignoring it!"));
}

} // namespace
