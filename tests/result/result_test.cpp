/// Results: building, testing, and the two mappings to Win32 error numbers.
#include "result/result.h"

#include "support/suite.h"

namespace {

TEST(Win32Mapping, MapsKnownErrorsAndWrapsTheRest) {
    constexpr struct {
        int line;
        u32 error;
        kr_result result;
        u32 back;
    } rows[] = {
        {__LINE__, 0, KR_SUCCESS, 0},          {__LINE__, 1, 0x84000001, 1},
        {__LINE__, 2, 0x8200007B, 2},          {__LINE__, 3, 0x820000A8, 3},
        {__LINE__, 5, 0x8200007E, 5},          {__LINE__, 32, 0x8200007D, 32},
        {__LINE__, 39, 0x820000B4, 112},       {__LINE__, 53, 0x820000D3, 53},
        {__LINE__, 67, 0x820000D2, 67},        {__LINE__, 80, 0x8200007A, 80},
        {__LINE__, 112, 0x820000B4, 112},      {__LINE__, 183, 0x8200007A, 80},
        {__LINE__, 1326, 0x82000071, 1326},    {__LINE__, 0x12345, 0x84002345, 0x2345},
        {__LINE__, 0x80000002, 0x84000002, 2},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(r.line);
        EXPECT_EQ(kr_result_from_win32(r.error), r.result);
        EXPECT_EQ(kr_result_to_win32(r.result), r.back);
    }
}

TEST(Win32Mapping, LooksUpTheCodeWhateverTheSpace) {
    constexpr struct {
        int line;
        kr_result result;
        u32 error;
    } rows[] = {
        {__LINE__, 0x0200001F, 0},          {__LINE__, 0x84000057, 0x57}, {__LINE__, 0x82000002, 160},
        {__LINE__, 0x83000071, 1326},       {__LINE__, 0x820000D4, 5},    {__LINE__, 0x84000071, 0x71},
        {__LINE__, KR_RESULT_INVALID, 160},
    };
    for (const auto& r : rows) { EXPECT_EQ(kr_result_to_win32(r.result), r.error) << r.line; }
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

} // namespace
