/// Multi-string settings: the text form in both directions, and arrays that a failure must not
/// change.
#include "settings/multi_string.h"

#include <gmock/gmock.h>

#include "base/array_string.h"
#include "support/failing_allocator.h"
#include "support/fresh_registry.h"

namespace {

using kr::test::fresh_registry;
using kr::test::open_settings;
using kr::test::wide;
using items = std::vector<wide>;

constexpr const kr_char* entry = KR_TEXT("entry");
const kr_result broken = kr_result_make_error(KR_UNEXPECTED_BEHAVIOUR);

class string_array {
public:
    explicit string_array(const items& content) {
        EXPECT_EQ(kr_array_string_new(&array_), KR_SUCCESS);
        for (const wide& item : content) {
            EXPECT_EQ(kr_array_string_add(array_, item.c_str()), KR_SUCCESS);
        }
    }
    string_array(const string_array&) = delete;
    string_array& operator=(const string_array&) = delete;
    ~string_array() { kr_array_string_free(array_); }

    [[nodiscard]] kr_array_string* get() const { return array_; }
    [[nodiscard]] items content() const { return {array_->items, array_->items + array_->count}; }

private:
    kr_array_string* array_ = nullptr;
};

wide composed(const string_array& array) {
    kr_char* text = nullptr;
    EXPECT_EQ(kr_settings_compose_multi_string(array.get(), &text), KR_SUCCESS);
    wide copy = text;
    kr_memory_deallocate_hook(text);
    return copy;
}

TEST(MultiString, ParsesIntoAnArrayOrLeavesIt) {
    const items before = {KR_TEXT("p"), KR_TEXT("q")};
    const struct {
        int line;
        const kr_char* text;
        items added;
        kr_result result = KR_SUCCESS;
        bool composes_back = true;
    } rows[] = {
        {__LINE__, KR_TEXT(""), {}},
        {__LINE__, KR_TEXT(";"), {KR_TEXT("")}},
        {__LINE__, KR_TEXT(";;"), {KR_TEXT(""), KR_TEXT("")}},
        {__LINE__, KR_TEXT("x;y;"), {KR_TEXT("x"), KR_TEXT("y")}},
        {__LINE__, KR_TEXT("x;y"), {KR_TEXT("x"), KR_TEXT("y")}, KR_SUCCESS, false},
        {__LINE__, KR_TEXT("a\\;b;c\\\\d;;"), {KR_TEXT("a;b"), KR_TEXT("c\\d"), KR_TEXT("")}},
        {__LINE__, KR_TEXT(" \t\n;"), {KR_TEXT(" \t\n")}},
        {__LINE__, KR_TEXT("\\\\\\;;"), {KR_TEXT("\\;")}},
        {__LINE__, KR_TEXT("a;b\\"), {}, broken, false},
        {__LINE__, KR_TEXT("a;b;c\\x"), {}, broken, false},
        {__LINE__, KR_TEXT("\\"), {}, broken, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        const string_array array(before);
        EXPECT_EQ(kr_settings_parse_multi_string(row.text, array.get()), row.result);
        items expected = before;
        expected.insert(expected.end(), row.added.begin(), row.added.end());
        EXPECT_EQ(array.content(), expected);
        if (row.composes_back) {
            EXPECT_EQ(composed(string_array(row.added)), row.text);
        }
    }
}

TEST(MultiString, LeavesNothingBehindWhenMemoryRunsOut) {
    const string_array source(items(12, KR_TEXT("a;b\\c")));
    const wide text = composed(source);
    kr::test::sweep_allocations([&] {
        kr_char* out = nullptr;
        const kr_result result = kr_settings_compose_multi_string(source.get(), &out);
        EXPECT_EQ(out != nullptr, kr_result_succeeded(result));
        kr_memory_deallocate_hook(out);
        return result;
    });
    kr::test::sweep_allocations([&] {
        kr_array_string array = {};
        const kr_result result = kr_settings_parse_multi_string(text.c_str(), &array);
        EXPECT_EQ(array.count, kr_result_succeeded(result) ? 12u : 0u);
        kr_array_string_clear(&array);
        kr_memory_deallocate_hook(array.items);
        return result;
    });
}

TEST(MultiString, KeepsListsInTheStore) {
    const fresh_registry registry;
    const open_settings settings;
    const string_array stored({KR_TEXT("a;b"), KR_TEXT("")});
    const string_array read({KR_TEXT("first")});
    EXPECT_EQ(kr_settings_get_multi_string(settings, entry, read.get()),
              kr_result_make_error(KR_NOT_FOUND));
    EXPECT_EQ(kr_settings_set_multi_string(settings, entry, stored.get()), KR_SUCCESS);
    EXPECT_EQ(settings.text(entry), KR_TEXT("a\\;b;;"));
    EXPECT_EQ(kr_settings_get_multi_string(settings, entry, read.get()), KR_SUCCESS);
    EXPECT_EQ(read.content(), (items{KR_TEXT("first"), KR_TEXT("a;b"), KR_TEXT("")}));

    kr_char* null_item = nullptr;
    const kr_array_string invalid = {1, 1, &null_item};
    EXPECT_EQ(kr_settings_set_multi_string(settings, entry, &invalid),
              kr_result_make_error(KR_INVALID_ARGUMENT_TO_FUNCTION));
    EXPECT_EQ(settings.text(entry), KR_TEXT("a\\;b;;")) << "nothing is stored after a failure";
    settings.plant(entry, KR_TEXT("x;\\"));
    EXPECT_EQ(kr_settings_get_multi_string(settings, entry, read.get()), broken);
    EXPECT_EQ(kr_settings_set_multi_string(nullptr, entry, stored.get()),
              kr_result_make_error(KR_GENERIC));
    EXPECT_EQ(read.content().size(), 3u);
}

} // namespace
