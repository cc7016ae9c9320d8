/// The engine reads texts by vector: it must not read a page that a text does not reach.
#include "printf/printf.h"
#include "support/guard_page.h"

namespace {

TEST(EnginePages, TextsMayEndWhereTheirPageEnds) {
    const kr::test::guarded_page format_page;
    const kr::test::guarded_page narrow_page;
    const kr::test::guarded_page wide_page;
    for (size_t length = 0; length < 40; ++length) {
        const std::string text(length, 'x');
        const std::basic_string<kr_char> wide(length, 'y');
        std::string format = "%s";
        format.append(text).append("%_s").append(text);
        const char* const placed = format_page.put_last(format.c_str(), format.size() + 1);
        const char* const narrow = narrow_page.put_last(text.c_str(), length + 1);
        const kr_char* const broad = wide_page.put_last(wide.c_str(), length + 1);
        size_t size = 0;
        ASSERT_EQ(kr_printf_format2(nullptr, 0, &size, placed, narrow, broad), KR_SUCCESS);
        ASSERT_EQ(size, (4 * length + 1) * sizeof(kr_char));
        kr_char out[160];
        ASSERT_EQ(kr_printf_format2(out, size, nullptr, placed, narrow, broad), KR_SUCCESS);
        std::string expected = text;
        expected.append(text).append(length, 'y').append(text);
        EXPECT_EQ(std::string(out, out + 4 * length), expected);
    }
}

} // namespace
