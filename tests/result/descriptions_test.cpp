/// Descriptions: which text a code has, what the frame around it is, and what happens in small
/// rooms.
#include "result/descriptions.h"

#include "platform/platform.h"
#include "support/guarded_buffer.h"

namespace {

using namespace kr::test;

constexpr kr_result cut = 0x02000021;

struct description_row {
    kr_result result;
    const char* text;
};

TEST(CodeDescription, FindsTheTextOfEverySpace) {
    constexpr description_row rows[] = {
        {0x8200001E, "Unknown internal code"},
        {0x820000D1, "Login required"},
        {0x82001000, "Unknown internal code"},
        {0x82001001, "XML parse has failed and the XML is considered bad"},
        {0x0255200E, "The template project is not available"},
        {0x8200FFFF, "Unknown internal code"},
        {0x81000000, "No error"},
        {0x81000023, "Resource temporarily unavailable / Operation would block"},
        {0x8100005D, "Attribute not found"},
        {0x81000003, "Unknown macintosh BSD code"},
        {0x83000029, "Unknown Linux code"},
        {0x8300007C, "Wrong medium type"},
        {0x8300007D, "Unknown Linux code"},
        {0x86000005, "Buffer overflow"},
        {0x86000279, "Reparse point not handled"},
        {0x86000379, "Unknown NTSTATUS code"},
        {0x0C000000, "success"},
        {0x8C000005, "general error"},
        {0x8C000001, "Unknown macintosh Mach code"},
        {0x8E000000, "Unknown forth code"},
        {0x8E00001D, "Invalid argument passed to a word"},
        {0x8E00001E, "Unknown forth code"},
        {0x85000001, "Unknown pool code"},
        {0xC6000034, "Unknown pool code"}};
    for (const description_row& row : rows) {
        SCOPED_TRACE(row.text);
        const size_t needed = (std::strlen(row.text) + 1) * sizeof(kr_char);
        guarded_buffer<kr_char> buffer(byte_count{needed});
        size_t size = needed - 1;
        EXPECT_EQ(kr_get_result_code_description(row.result, buffer.data(), &size), too_small);
        EXPECT_EQ(size, needed);
        EXPECT_TRUE(buffer.untouched());
        EXPECT_EQ(kr_get_result_code_description(row.result, buffer.data(), &size), KR_SUCCESS);
        EXPECT_EQ(size, needed);
        EXPECT_EQ(utf8(buffer.data()), row.text);
    }
}

TEST(Description, FramesTheTextAndCutsItToTheRoom) {
    constexpr description_row rows[] = {
        {KR_SUCCESS, "success \"Generic\" from \"Unknown source\""},
        {0x82000002, "error \"Out of memory\" from \"Unknown source\""},
        {0x83FF0001, "error \"Operation not permitted\" from \"Unknown source\""},
        {0x83010001, "error \"Operation not permitted\" from \"Driver probe\""},
        {KR_RESULT_INVALID, "Invalid result value"}};
    for (const description_row& row : rows) {
        SCOPED_TRACE(row.text);
        const std::string text = row.text;
        const size_t needed = (text.size() + 1) * sizeof(kr_char);
        size_t size = 0;
        EXPECT_EQ(kr_get_result_description2(row.result, nullptr, &size), KR_SUCCESS);
        EXPECT_EQ(size, needed);
        for (size_t room = 0; room <= needed + 1; ++room) {
            guarded_buffer<kr_char> buffer(byte_count{room});
            size = room;
            const kr_result result = kr_get_result_description2(row.result, buffer.data(), &size);
            if (room < 2) {
                EXPECT_EQ(result, unexpected);
                continue;
            }
            EXPECT_EQ(result, room < needed ? cut : KR_SUCCESS) << room;
            EXPECT_EQ(size, needed);
            EXPECT_EQ(utf8(buffer.data()), text.substr(0, room / 2 - 1));
            EXPECT_EQ(kr_get_result_description(row.result, buffer.data(), room), result);
        }
    }
}

TEST(Win32Message, IsTheSystemsText) {
    constexpr u32 file_not_found = 2, no_such_number = 0xFFFE;
    kr_char expected[256];
    const DWORD length = FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_MAX_WIDTH_MASK, nullptr,
                                        file_not_found, 0x0400, expected, 256, nullptr);
    ASSERT_GT(length, 0u);
    const size_t needed = (length + 1) * sizeof(kr_char);

    guarded_buffer<kr_char> buffer(byte_count{needed});
    size_t size = needed;
    EXPECT_EQ(kr_result_win32_message(file_not_found, buffer.data(), &size), KR_SUCCESS);
    EXPECT_EQ(size, needed);
    EXPECT_EQ(utf8(buffer.data()), utf8(expected));
    // A room that is too small holds the beginning of the text, and the size stays as it was.
    for (const size_t room_chars : {size_t{0}, size_t{1}, size_t{2}, size_t{length}}) {
        guarded_buffer<kr_char> small(byte_count{room_chars * sizeof(kr_char)});
        size = room_chars * sizeof(kr_char);
        EXPECT_EQ(kr_get_result_code_description(0x84000002, small.data(), &size), too_small) << room_chars;
        EXPECT_EQ(size, room_chars * sizeof(kr_char));
        if (room_chars == 0) {
            EXPECT_TRUE(small.untouched());
        } else {
            EXPECT_EQ(utf8(small.data()), utf8(expected).substr(0, room_chars - 1));
        }
    }
    size = needed - 2;
    EXPECT_EQ(kr_get_result_code_description(0x84000000 + no_such_number, buffer.data(), &size), generic);
    EXPECT_EQ(size, needed - 2);

    size = 1;
    EXPECT_EQ(kr_get_result_description2(0x84000002, nullptr, &size), KR_SUCCESS);
    EXPECT_EQ(size, needed + (std::strlen("error \"\" from \"Unknown source\"") * 2));
    EXPECT_EQ(kr_get_result_description2(0x84000000 + no_such_number, nullptr, &size), generic);
}

TEST(Win32Message, IsNotFramedWhenItIsLongerThan127Characters) {
    u32 texts = 0;
    for (u32 error = 0; error < 3000; ++error) {
        kr_char text[4096];
        size_t size = sizeof(text);
        kr_result expected = kr_result_win32_message(static_cast<u16>(error), text, &size);
        if (kr_result_succeeded(expected)) {
            ++texts;
            expected = size > 128 * sizeof(kr_char) ? too_small : KR_SUCCESS;
        }
        size_t framed = 0;
        EXPECT_EQ(kr_get_result_description2(0x84000000 + error, nullptr, &framed), expected) << error;
    }
    EXPECT_GT(texts, 10u);
}

} // namespace
