/// Results: building, testing, and the two mappings to Win32 error numbers.
#include "result/result.h"

#include "support/suite.h"

namespace {

TEST(Win32Mapping, MapsKnownErrorsAndWrapsTheRest) {
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

} // namespace
