/// Lines against their layouts, written as formats: random fields through the engine and the builder.
#include "log/line.h"

#include <random>

#include "log/log.h"
#include "printf/printf.h"
#include "support/suite.h"

namespace {

using namespace kr::detail;
using kr::test::wide;

/// What the engine makes of a format; empty when it does not fit a line.
template <typename... Args>
wide formatted(const std::string& format, Args... args) {
    kr_char text[line_capacity];
    const kr_result result = kr_printf_format2(text, sizeof(text), nullptr, format.c_str(), args...);
    return kr_result_succeeded(result) ? text : wide();
}

template <typename Build, typename... Args>
wide built(Build build, const Args&... args) {
    kr_char text[line_capacity] = {'~'};
    const size_t size = build(args..., text);
    return size == 0 ? wide() : wide(text, size / sizeof(kr_char) - 1);
}

TEST(Line, HasTheTextOfItsLayout) {
    std::mt19937 random;
    const auto one_of = [&](const auto&... all) { return std::array{all...}[random() % sizeof...(all)]; };
    constexpr char letters[] = "FEW?I???D???????C???";
    const std::pair<u32, const char*> hues[] = {
        {1, "\x1b[31m"}, {2, "\x1b[33m"}, {8, "\x1b[32m"}, {16, "\x1b[34m"}};
    const char* const none = nullptr;
    u32 whole = 0, too_long = 0;
    for (u32 round = 0; round < 3'000; ++round) {
        const char* const d = one_of("", "probe", "eight by", "more than eight", "caf\xE9", none);
        const char* const f = one_of("", "act", "a_function_of_its_own", none);
        const u32 thread = one_of(0x1u, 0xABCDEF0u, ~0u), sequence = one_of(0u, 7u, 99u, 100u, 999u, 1'000u);
        const u32 category = one_of(0u, 9u, 81u, 99u, 100u, ~0u, 0x80000000u);
        const auto level = static_cast<u32>(random() % 20),
                   depth = static_cast<u32>(random() % (maximum_depth + 1));
        const wide message(one_of(0u, 9u, 3'990u + static_cast<u32>(random() % 100)), 'm');
        const bool colors = one_of(true, false), stamped = one_of(true, false);

        thread_label label{};
        formatted("somename:%08X", thread).copy(label.text, thread_label_length);
        const line_stamp stamp = {.text = KR_TEXT("date.ms."), .length = 8, .sequence = sequence};
        const line_fields fields = {.stamp = stamped ? &stamp : nullptr,
                                    .domain = d,
                                    .function = f,
                                    .thread = &label,
                                    .category = category,
                                    .level = level,
                                    .depth = depth,
                                    .colors = colors,
                                    .message = message.c_str(),
                                    .message_length = message.size()};
        const char* before = colors ? "\x1b[0m" : "";
        const char* const behind = before;
        for (const auto& [of_level, hue] : hues) { before = colors && level == of_level ? hue : before; }
        const std::string dots(2 * size_t{depth}, '.');
        const auto line = [&](const char* format, auto... args) {
            return stamped ? formatted(std::string("date.ms.%03d; ") + format, sequence, args...)
                           : formatted(format, args...);
        };
        const std::pair<line_layout, wide> rows[] = {
            {line_layout::thread_first, line("%8s:%s:%08X; %s%c%s(%02d); %_s; %s()\n", d, "somename", thread,
                                             before, letters[level], behind, category, message.c_str(), f)},
            {line_layout::function_first,
             line("%s%c%s(%02d); %s%s(); %_s; %s:%s:%08X\n", before, letters[level], behind, category,
                  dots.c_str(), f, message.c_str(), d, "somename", thread)},
            {line_layout::bare, line("%s%c%s: %_s\n", before, letters[level], behind, message.c_str())},
        };
        for (const auto& [layout, expected] : rows) {
            ASSERT_EQ(built(build_line, layout, fields), expected) << round;
            ++(expected.empty() ? too_long : whole);
        }
    }
    EXPECT_GT(std::min(whole, too_long), 300u);
}

TEST(Line, OtherKindsHaveTheirTextToo) {
    thread_label label{};
    formatted("somename:%08X", 0xABC).copy(label.text, thread_label_length);
    for (const size_t length : {0, 5, 4'040, 4'050, 4'051, 4'052, 4'060, 4'061, 4'062, 4'063, 4'080, 4'089,
                                4'090, 4'093, 4'094, 4'095}) {
        const wide m(length, 'm');
        const std::string text(length, 'f');
        const char* const f = text.c_str();
        for (const u64 ms : {u64{0}, u64{999'999}, ~u64{0}}) {
            EXPECT_EQ(built(build_profile_line, ms, "d", f, label),
                      formatted("[%06ll_u] msec - %s(); d:somename:00000ABC\n", ms, f));
        }
        EXPECT_EQ(built(build_failure_line, f), formatted("kr_printf_format in %s() failed.\n", f));
        EXPECT_EQ(built(build_secondary_line, nullptr, m.c_str(), length), formatted("%_s\n", m.c_str()));
        EXPECT_EQ(built(build_secondary_line, KR_TEXT("date"), m.c_str(), length),
                  formatted("date %_s\n", m.c_str()));
    }
}

} // namespace
