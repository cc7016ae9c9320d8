/// Results: building, testing, the two mappings to Win32 error numbers, and descriptions: which text a
/// code has, what the frame around it is, and what happens in small rooms.
#include "result/result.h"

#include "platform/platform.h"
#include "result/descriptions.h"
#include "support/guarded_buffer.h"

namespace {

using namespace kr::test;

TEST(Result, MapsKnownWin32ErrorsAndWrapsTheRest) {
    constexpr struct {
        u32 error;
        kr_result result;
        u32 back;
    } rows[] = {{0, KR_SUCCESS, 0},         {1, 0x84000001, 1},
                {2, 0x8200007B, 2},         {3, 0x820000A8, 3},
                {5, 0x8200007E, 5},         {32, 0x8200007D, 32},
                {39, 0x820000B4, 112},      {53, 0x820000D3, 53},
                {67, 0x820000D2, 67},       {80, 0x8200007A, 80},
                {112, 0x820000B4, 112},     {183, 0x8200007A, 80},
                {1326, 0x82000071, 1326},   {0x12345, 0x84002345, 0x2345},
                {0x80000002, 0x84000002, 2}};
    for (const auto& r : rows) {
        EXPECT_EQ(kr_result_from_win32(r.error), r.result) << r.error;
        EXPECT_EQ(kr_result_to_win32(r.result), r.back) << r.error;
    }
    // The way back looks the code up whatever the space.
    constexpr std::pair<kr_result, u32> back[] = {
        {0x0200001F, 0}, {0x84000057, 0x57}, {0x82000002, 160},       {0x83000071, 1326},
        {0x820000D4, 5}, {0x84000071, 0x71}, {KR_RESULT_INVALID, 160}};
    for (const auto& [result, error] : back) { EXPECT_EQ(kr_result_to_win32(result), error) << result; }
}

TEST(Result, RecognisesACodeAsFailureAndAsInformationOnly) {
    EXPECT_TRUE(kr_result_is(0x02000099, KR_EQUAL));
    EXPECT_TRUE(kr_result_is(0x82550099, KR_EQUAL));
    EXPECT_FALSE(kr_result_is(0x84000099, KR_EQUAL));
    EXPECT_TRUE(kr_result_failed(0x80000000));
    EXPECT_FALSE(kr_result_failed(0x7FFFFFFF));
}

TEST(Result, StampsOnlyTheSourceByte) {
    kr_result_source = 0xAB12CDEF;
    EXPECT_EQ(kr_result_make_error(KR_OUT_OF_MEMORY), 0x82120002u);
    EXPECT_EQ(kr_result_make_success(KR_YES), 0x0212001Fu);
    EXPECT_EQ(kr_result_make_win32(0x12345), 0x84122345u);
    kr_result_source = 0;
    EXPECT_EQ(kr_result_make_success(KR_GENERIC), KR_SUCCESS);
}

TEST(Descriptions, FindTheTextOfEverySpace) {
    // clang-format off
    const std::pair<std::string, std::vector<kr_result>> rows[] = {
        {"Login required", {0x820000D1}}, {"XML parse has failed and the XML is considered bad", {0x82001001}},
        {"The template project is not available", {0x0255200E}}, {"Unknown internal code", {0x8200001E, 0x82001000,
         0x8200FFFF}},
        {"No error", {0x81000000}}, {"Resource temporarily unavailable / Operation would block", {0x81000023}},
        {"Attribute not found", {0x8100005D}}, {"Unknown macintosh BSD code", {0x81000003}},
        {"Wrong medium type", {0x8300007C}}, {"Unknown Linux code", {0x83000029, 0x8300007D}},
        {"Buffer overflow", {0x86000005}}, {"Reparse point not handled", {0x86000279}}, {"Unknown NTSTATUS code",
         {0x86000379}},
        {"success", {0x0C000000}}, {"general error", {0x8C000005}}, {"Unknown macintosh Mach code", {0x8C000001}},
        {"Invalid argument passed to a word", {0x8E00001D}}, {"Unknown forth code", {0x8E000000, 0x8E00001E}},
        {"Unknown pool code", {0x85000001, 0xC6000034}},
    };
    // clang-format on
    for (const auto& [text, results] : rows) {
        for (const kr_result result : results) {
            SCOPED_TRACE(result);
            const size_t needed = (text.size() + 1) * sizeof(kr_char);
            guarded_buffer<kr_char> buffer(byte_count{needed});
            size_t size = needed - 1;
            EXPECT_EQ(kr_get_result_code_description(result, buffer.data(), &size), too_small);
            EXPECT_EQ(size, needed);
            EXPECT_TRUE(buffer.untouched());
            EXPECT_EQ(kr_get_result_code_description(result, buffer.data(), &size), ok);
            EXPECT_EQ(size, needed);
            EXPECT_EQ(utf8(buffer.data()), text);
        }
    }
}

TEST(Descriptions, FrameTheTextAndCutItToTheRoom) {
    const std::pair<kr_result, std::string> rows[] = {
        {KR_SUCCESS, "success \"Generic\" from \"Unknown source\""},
        {0x83FF0001, "error \"Operation not permitted\" from \"Unknown source\""},
        {0x83010001, "error \"Operation not permitted\" from \"Driver probe\""},
        {KR_RESULT_INVALID, "Invalid result value"}};
    for (const auto& [described, text] : rows) {
        SCOPED_TRACE(text);
        const size_t needed = (text.size() + 1) * sizeof(kr_char);
        size_t size = 0;
        EXPECT_EQ(kr_get_result_description2(described, nullptr, &size), ok);
        EXPECT_EQ(size, needed);
        for (size_t room = 0; room <= needed + 1; ++room) {
            guarded_buffer<kr_char> buffer(byte_count{room});
            size = room;
            const kr_result result = kr_get_result_description2(described, buffer.data(), &size);
            EXPECT_EQ(result, room < 2 ? unexpected : room < needed ? kr_result{0x02000021} : ok) << room;
            EXPECT_EQ(kr_get_result_description(described, buffer.data(), room), result);
            if (room < 2) { continue; }
            EXPECT_EQ(size, needed);
            EXPECT_EQ(utf8(buffer.data()), text.substr(0, room / 2 - 1));
        }
    }
}

TEST(Descriptions, OfWin32ErrorsAreTheSystemsText) {
    constexpr kr_result file_not_found = 0x84000002, no_such_number = 0x8400FFFE;
    kr_char expected[256];
    const DWORD length = FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_MAX_WIDTH_MASK, nullptr,
                                        kr_result_code(file_not_found), 0x0400, expected, 256, nullptr);
    ASSERT_GT(length, 0u);
    // A room that is too small holds the beginning of the text, and the size stays as it was.
    for (const size_t room : {size_t{0}, size_t{1}, size_t{2}, size_t{length}, size_t{length} + 1}) {
        guarded_buffer<kr_char> buffer(room);
        size_t size = buffer.size_bytes();
        const kr_result result = kr_get_result_code_description(file_not_found, buffer.data(), &size);
        EXPECT_EQ(result, room > length ? ok : too_small);
        EXPECT_EQ(size, buffer.size_bytes());
        EXPECT_TRUE(room == 0 ? buffer.untouched()
                              : utf8(buffer.data()) == utf8(expected).substr(0, room - 1));
    }
    size_t size = sizeof(expected);
    EXPECT_EQ(kr_get_result_code_description(no_such_number, expected, &size), generic);
    EXPECT_EQ(kr_get_result_description2(no_such_number, nullptr, &size), generic);
    EXPECT_EQ(size, sizeof(expected));
}

TEST(Descriptions, OfWin32ErrorsAreNotFramedBeyond127Characters) {
    constexpr std::u16string_view frame = u"error \"\" from \"Unknown source\"";
    u32 texts = 0;
    for (u16 error = 0; error < 3000; ++error) {
        kr_char text[4096];
        size_t size = sizeof(text), framed = 1;
        const kr_result found = kr_result_win32_message(error, text, &size);
        texts += kr_result_succeeded(found) ? 1 : 0;
        const kr_result expected = found == ok && size > 128 * sizeof(kr_char) ? too_small : found;
        EXPECT_EQ(kr_get_result_description2(0x84000000 + error, nullptr, &framed), expected) << error;
        EXPECT_EQ(framed, expected == ok ? size + frame.size() * sizeof(kr_char) : 1) << error;
    }
    EXPECT_GT(texts, 10u);
}

} // namespace
