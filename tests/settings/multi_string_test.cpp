/// Multi-string settings: the text form in both directions, and arrays that a failure must not
/// change.
#include "settings/multi_string.h"

#include <random>

#include "support/failing_allocator.h"
#include "support/fresh_registry.h"
#include "support/string_array.h"

namespace {

using namespace kr::test;
using items = std::vector<std::string>;

constexpr const kr_char* entry = KR_TEXT("entry");

class MultiString : public testing::Test {
protected:
    captured_log log_;
    fresh_registry registry_;
    open_settings settings_;
};

TEST_F(MultiString, ReadsIntoAnArrayOrLeavesIt) {
    const struct {
        int line;
        std::string text;
        items added;
        const char* stored_again; ///< null: the text is broken
    } rows[] = {
        {__LINE__, "", {}, ""},
        {__LINE__, ";;", {"", ""}, ";;"},
        {__LINE__, "x;y", {"x", "y"}, "x;y;"},
        {__LINE__, "a\\;b;c\\\\d;;", {"a;b", "c\\d", ""}, "a\\;b;c\\\\d;;"},
        {__LINE__, "\\\\\\; \t\n;", {"\\; \t\n"}, "\\\\\\; \t\n;"},
        {__LINE__, "a;b\\", {}, nullptr},
        {__LINE__, "a;b;c\\x", {}, nullptr},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        settings_.plant("entry", row.text.c_str());
        const kr::owned_strings read = array_of({"p", "q"});
        const kr_result result = kr_settings_get_multi_string(settings_, entry, read.get());
        const bool reads = row.stored_again != nullptr;
        EXPECT_EQ(result, reads ? ok : unexpected);
        items expected = {"p", "q"};
        expected.insert(expected.end(), row.added.begin(), row.added.end());
        EXPECT_EQ(items_of(read), expected);
        const std::string parse = "W kr_settings_parse_multi_string: Parsing error. String '";
        EXPECT_EQ(said(log_, "07"),
                  reads ? ""
                        : parse + row.text +
                              "' is not properly escaped.\n"
                              "W kr_settings_get_multi_string: Unable to parse multi string " +
                              row.text + " Result is 0x82000003\n");
        if (!reads) { continue; }
        EXPECT_EQ(kr_settings_set_multi_string(settings_, entry, array_of(row.added).get()), ok);
        EXPECT_EQ(settings_.text("entry"), row.stored_again);
    }
}

TEST_F(MultiString, ComposesAsAPlainLoopWould) {
    std::mt19937 random(1);
    for (int round = 0; round < 3000; ++round) {
        items given(random() % 4);
        std::string text;
        for (std::string& item : given) {
            for (auto length = random() % 40; length != 0; --length) {
                item += "ab;\\"[random() % (round % 2 == 0 ? 4 : 2)];
                text += std::string(item.back() == ';' || item.back() == '\\' ? "\\" : "") + item.back();
            }
            text += ';';
        }
        kr::owned_text composed;
        EXPECT_EQ(kr_settings_compose_multi_string(array_of(given).get(), composed.out()), ok);
        EXPECT_EQ(utf8(composed.get()), text);
        const kr::owned_strings read = array_of({});
        EXPECT_EQ(kr_settings_parse_multi_string(composed.get(), read.get()), ok);
        EXPECT_EQ(items_of(read), given);
    }
}

TEST_F(MultiString, TakesABlockOfExactlyItsSize) {
    kr_char item[] = KR_TEXT("a;\0;;;;;;;;;;;;"); // what lies behind it does not count
    kr_char* only_item = item;
    const kr_array_string array = {1, 1, &only_item};
    const failing_allocator allocator;
    kr::owned_text composed;
    EXPECT_EQ(kr_settings_compose_multi_string(&array, composed.out()), ok);
    EXPECT_EQ(utf8(composed.get()), "a\\;;");
    EXPECT_EQ(allocator.last_size(), 5 * sizeof(kr_char));
}

TEST_F(MultiString, RefusesWhatIsNotThere) {
    const kr::owned_strings read = array_of({"p"});
    EXPECT_EQ(kr_settings_get_multi_string(settings_, entry, read.get()), not_found);
    EXPECT_EQ(items_of(read), items{"p"});
    EXPECT_EQ(said(log_, "07"), "");
    kr_char* null_item = nullptr;
    const kr_array_string holed = {1, 1, &null_item};
    EXPECT_EQ(kr_settings_set_multi_string(settings_, entry, &holed), invalid);
    EXPECT_EQ(settings_.text("entry"), "<missing>");
}

TEST_F(MultiString, LeavesNothingBehindWhenMemoryRunsOut) {
    const kr::owned_strings source = array_of(items(12, "a;b\\c"));
    sweep_allocations([&] {
        kr::owned_text out;
        const kr_result result = kr_settings_compose_multi_string(source.get(), out.out());
        EXPECT_EQ(out.get() != nullptr, kr_result_succeeded(result));
        return result;
    });
    kr::owned_text text;
    ASSERT_EQ(kr_settings_compose_multi_string(source.get(), text.out()), ok);
    sweep_allocations([&] {
        kr_array_string array = {};
        const kr_result result = kr_settings_parse_multi_string(text.get(), &array);
        EXPECT_EQ(array.count, kr_result_succeeded(result) ? 12u : 0u);
        kr_array_string_clear(&array);
        kr_memory_deallocate_hook(array.items);
        return result;
    });
}

} // namespace
