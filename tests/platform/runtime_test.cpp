/// The C runtime's wide-character and number routines, the same on both systems.
#include "platform/platform.h"

#include <string>

#include <gtest/gtest.h>

namespace {

using text = std::basic_string<kr_char>;

struct number_row {
    int line;
    const kr_char* text;
    int base;
    i64 value;
    /// Characters used.
    std::ptrdiff_t used;
    int error = 0;
};

template <typename Convert>
void check_numbers(Convert convert, std::initializer_list<number_row> rows) {
    for (const number_row& r : rows) {
        SCOPED_TRACE(r.line);
        kr_char* end = nullptr;
        errno = 0;
        EXPECT_EQ(static_cast<i64>(convert(r.text, &end, r.base)), r.value);
        EXPECT_EQ(errno, r.error);
        EXPECT_EQ(end - r.text, r.used);
    }
}

TEST(WideNumbers, LongIs32BitsWide) {
    check_numbers([](const kr_char* t, kr_char** end, int base) { return wcstol(t, end, base); },
                  {
                      {__LINE__, KR_TEXT("0x1F"), 0, 31, 4},
                      {__LINE__, KR_TEXT("017"), 0, 15, 3},
                      {__LINE__, KR_TEXT("08"), 0, 0, 1},
                      {__LINE__, KR_TEXT(" \t\n-12x"), 0, -12, 6},
                      {__LINE__, KR_TEXT("+7"), 10, 7, 2},
                      {__LINE__, KR_TEXT(""), 10, 0, 0},
                      {__LINE__, KR_TEXT("  -"), 10, 0, 0},
                      {__LINE__, KR_TEXT("zZ"), 36, 35 * 36 + 35, 2},
                      {__LINE__, KR_TEXT("102"), 2, 2, 2},
                      {__LINE__, KR_TEXT("0XfFg"), 16, 255, 4},
                      {__LINE__, KR_TEXT("2147483647"), 10, 2147483647, 10},
                      {__LINE__, KR_TEXT("2147483648"), 10, 2147483647, 10, ERANGE},
                      {__LINE__, KR_TEXT("-2147483648"), 10, -2147483648LL, 11},
                      {__LINE__, KR_TEXT("-2147483649"), 10, -2147483648LL, 11, ERANGE},
                      {__LINE__, KR_TEXT("99999999999999999999999"), 10, 2147483647, 23, ERANGE},
                  });
    check_numbers([](const kr_char* t, kr_char** end, int base) { return wcstoul(t, end, base); },
                  {
                      {__LINE__, KR_TEXT("4294967295"), 10, 4294967295, 10},
                      {__LINE__, KR_TEXT("4294967296"), 10, 4294967295, 10, ERANGE},
                      {__LINE__, KR_TEXT("-1"), 10, 4294967295, 2},
                  });
}

TEST(WideNumbers, SixtyFourBitsStopAtTheirLimits) {
    check_numbers([](const kr_char* t, kr_char** end, int base) { return _wcstoi64(t, end, base); },
                  {
                      {__LINE__, KR_TEXT("9223372036854775807"), 10, INT64_MAX, 19},
                      {__LINE__, KR_TEXT("9223372036854775808"), 10, INT64_MAX, 19, ERANGE},
                      {__LINE__, KR_TEXT("-9223372036854775808"), 10, INT64_MIN, 20},
                      {__LINE__, KR_TEXT("-9223372036854775809"), 10, INT64_MIN, 20, ERANGE},
                  });
    EXPECT_EQ(_wtoi64(KR_TEXT(" -42abc")), -42);
    EXPECT_EQ(_wtoi64(KR_TEXT("x")), 0);
    EXPECT_EQ(_atoi64("-9223372036854775808"), INT64_MIN);
    char* end = nullptr;
    EXPECT_EQ(_strtoi64("9223372036854775807z", &end, 10), INT64_MAX);
    EXPECT_EQ(*end, 'z');
    errno = 0;
    EXPECT_EQ(_strtoi64("-9223372036854775809", nullptr, 0), INT64_MIN);
    EXPECT_EQ(errno, ERANGE);
}

TEST(WideNumbers, WritesEveryBaseAndBothEnds) {
    const struct {
        int line;
        i64 value;
        int base;
        const char* as_signed;
        const char* as_unsigned;
    } rows[] = {
        {__LINE__, 0, 10, "0", "0"},
        {__LINE__, -1, 10, "-1", "18446744073709551615"},
        {__LINE__, -1, 16, "ffffffffffffffff", "ffffffffffffffff"},
        {__LINE__, INT64_MIN, 10, "-9223372036854775808", "9223372036854775808"},
        {__LINE__, INT64_MAX, 10, "9223372036854775807", "9223372036854775807"},
        {__LINE__, 35, 36, "z", "z"},
        {__LINE__, 5, 2, "101", "101"},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(r.line);
        kr_char wide[66];
        char narrow[66];
        const auto widened = [](const char* t) {
            return text(t, t + std::strlen(t));
        };
        EXPECT_EQ(_i64tow(r.value, wide, r.base), widened(r.as_signed));
        EXPECT_EQ(_ui64tow(static_cast<u64>(r.value), wide, r.base), widened(r.as_unsigned));
        EXPECT_STREQ(_i64toa(r.value, narrow, r.base), r.as_signed);
    }
}

TEST(WideStrings, ComparesFoldsAndFinds) {
    const struct {
        int line;
        const kr_char* a;
        const kr_char* b;
        int sign;
    } rows[] = {
        {__LINE__, KR_TEXT("abc"), KR_TEXT("abc"), 0},
        {__LINE__, KR_TEXT("ABC"), KR_TEXT("abd"), -1},
        {__LINE__, KR_TEXT("ABC"), KR_TEXT("abc"), 0},
        {__LINE__, KR_TEXT("ab"), KR_TEXT("abc"), -1},
        {__LINE__, KR_TEXT("b"), KR_TEXT("A"), 1},
        // Folded to lower case, the underscore stands before the letters.
        {__LINE__, KR_TEXT("_"), KR_TEXT("A"), -1},
        {__LINE__, KR_TEXT("\xFFFD"), KR_TEXT("a"), 1},
    };
    const auto sign = [](int difference) {
        return (difference > 0) - (difference < 0);
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(r.line);
        EXPECT_EQ(sign(_wcsicmp(r.a, r.b)), r.sign);
        EXPECT_EQ(sign(_wcsnicmp(r.a, r.b, 9)), r.sign);
        EXPECT_EQ(_wcsnicmp(r.a, r.b, 0), 0);
    }
    EXPECT_EQ(_wcsnicmp(KR_TEXT("abX"), KR_TEXT("ABY"), 2), 0);
    EXPECT_EQ(towlower(KR_TEXT('Z')), KR_TEXT('z'));
    EXPECT_EQ(towlower(KR_TEXT('[')), KR_TEXT('['));
    const kr_char* const hay = KR_TEXT("a/b/c");
    EXPECT_EQ(wcschr(hay, KR_TEXT('/')), hay + 1);
    EXPECT_EQ(wcschr(hay, 0), hay + 5);
    EXPECT_EQ(wcschr(hay, KR_TEXT('x')), nullptr);
}

TEST(WideStrings, CheckedCopiesRefuseAndEmptyTheTarget) {
    const struct {
        int line;
        std::size_t room;
        const kr_char* text;
        int copied;
        int appended;
    } rows[] = {
        {__LINE__, 4, KR_TEXT("abc"), 0, ERANGE},
        {__LINE__, 3, KR_TEXT("abc"), ERANGE, ERANGE},
        {__LINE__, 5, KR_TEXT("abc"), 0, ERANGE},
        {__LINE__, 6, KR_TEXT("abc"), 0, 0},
        {__LINE__, 0, KR_TEXT("a"), EINVAL, EINVAL},
        {__LINE__, 6, nullptr, EINVAL, EINVAL},
        {__LINE__, 3, KR_TEXT(""), 0, 0},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(r.line);
        kr_char copy[8] = KR_TEXT("xy#####");
        EXPECT_EQ(wcscpy_s(copy, r.room, r.text), r.copied);
        EXPECT_EQ(text(copy), r.copied == 0 ? r.text
                              : r.room == 0 ? KR_TEXT("xy#####")
                                            : KR_TEXT(""));
        kr_char target[8] = KR_TEXT("xy");
        EXPECT_EQ(wcscat_s(target, r.room, r.text), r.appended);
        EXPECT_EQ(text(target), r.appended == 0 ? text(KR_TEXT("xy")) + r.text
                                : r.room == 0   ? text(KR_TEXT("xy"))
                                                : text());
    }
    EXPECT_EQ(wcscpy_s(nullptr, 2, KR_TEXT("")), EINVAL);
}

TEST(NarrowFormat, SaysWhenItCutAndNeverWritesBehind) {
    const struct {
        int number;
        int result;
        const char* buffer;
    } rows[] = {{12345, -1, "123#####"}, {987, 3, "987#####"}, {45, 2, "45"}};
    for (const auto& r : rows) {
        char buffer[] = "########";
        EXPECT_EQ(_snprintf(buffer, 3, "%d", r.number), r.result);
        EXPECT_STREQ(buffer, r.buffer);
    }
}

} // namespace
