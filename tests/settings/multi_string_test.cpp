/// Multi-string settings: the text form in both directions, and arrays that a failure must not
/// change.
#include "settings/multi_string.h"

#include "base/text/array_string.h"
#include "support/failing_allocator.h"
#include "support/fresh_registry.h"

namespace {

using namespace kr::test;
using items = std::vector<std::string>;

constexpr const kr_char* entry = KR_TEXT("entry");

struct string_array : kr::test::pinned {
    explicit string_array(const items& content) {
        for (const std::string& item : content) {
            EXPECT_EQ(kr_array_string_add(&array, widen(item).c_str()), ok);
        }
    }
    ~string_array() {
        kr_array_string_clear(&array);
        kr_memory_deallocate_hook(array.items);
    }

    [[nodiscard]] items content() const {
        items copy;
        for (u32 index = 0; index < array.count; ++index) { copy.push_back(utf8(array.items[index])); }
        return copy;
    }

    kr_array_string array = {};
};

class MultiString : public testing::Test {
protected:
    captured_log log_;
    fresh_registry registry_;
    open_settings settings_;
};

TEST_F(MultiString, ReadsIntoAnArrayOrLeavesIt) {
    const items before = {"p", "q"};
    const struct {
        int line;
        const char* text;
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
        settings_.plant("entry", row.text);
        string_array read(before);
        const kr_result result = kr_settings_get_multi_string(settings_, entry, &read.array);
        EXPECT_EQ(result, row.stored_again == nullptr ? unexpected : ok);
        items expected = before;
        expected.insert(expected.end(), row.added.begin(), row.added.end());
        EXPECT_EQ(read.content(), expected);
        if (row.stored_again == nullptr) { continue; }
        EXPECT_EQ(said(log_, "07"), "");
        const string_array added(row.added);
        EXPECT_EQ(kr_settings_set_multi_string(settings_, entry, &added.array), ok);
        EXPECT_EQ(settings_.text("entry"), row.stored_again);
    }
    const std::string parse = "W kr_settings_parse_multi_string: Parsing error. String '";
    const std::string get = "W kr_settings_get_multi_string: Unable to parse multi string ";
    std::string lines;
    for (const std::string text : {"a;b\\", "a;b;c\\x"}) {
        lines.append(parse).append(text).append("' is not properly escaped.\n");
        lines.append(get).append(text).append(" Result is 0x82000003\n");
    }
    EXPECT_EQ(said(log_, "07"), lines);
}

TEST_F(MultiString, RefusesWhatIsNotThere) {
    string_array read({"p"});
    EXPECT_EQ(kr_settings_get_multi_string(settings_, entry, &read.array), not_found);
    EXPECT_EQ(read.content(), items{"p"});
    EXPECT_EQ(said(log_, "07"), "");
    kr_char* null_item = nullptr;
    const kr_array_string holed = {1, 1, &null_item};
    EXPECT_EQ(kr_settings_set_multi_string(settings_, entry, &holed), invalid);
    EXPECT_EQ(settings_.text("entry"), "<missing>");
}

TEST_F(MultiString, LeavesNothingBehindWhenMemoryRunsOut) {
    const string_array source(items(12, "a;b\\c"));
    kr_char* text = nullptr;
    sweep_allocations([&] {
        kr_char* out = nullptr;
        const kr_result result = kr_settings_compose_multi_string(&source.array, &out);
        EXPECT_EQ(out != nullptr, kr_result_succeeded(result));
        kr_memory_deallocate_hook(out);
        return result;
    });
    ASSERT_EQ(kr_settings_compose_multi_string(&source.array, &text), ok);
    sweep_allocations([&] {
        string_array read({});
        const kr_result result = kr_settings_parse_multi_string(text, &read.array);
        EXPECT_EQ(read.array.count, kr_result_succeeded(result) ? 12u : 0u);
        return result;
    });
    kr_memory_deallocate_hook(text);
}

} // namespace
