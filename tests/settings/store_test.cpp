/// The settings store: what it creates and deletes, what it makes of values that other programs
/// stored, and its enumerations. Runs against the real registry of either system.
#include "settings/store.h"

#include "support/failing_allocator.h"
#include "support/fresh_registry.h"
#include "support/guarded_buffer.h"

namespace {

using namespace kr::test;
using testing::UnorderedElementsAre;

class SettingsStore : public testing::Test {
    fresh_registry registry_;
};

TEST_F(SettingsStore, LooksWithoutCreatingAndDeletesLeavesOnly) {
    const kr_char* const domain = KR_TEXT("KrTest");
    EXPECT_EQ(kr_settings_domain_exists(domain), no);
    EXPECT_EQ(kr_settings_domain_exists(domain), no) << "the first look created it";
    EXPECT_EQ(kr_settings_domain_delete(domain), generic);
    const open_settings settings;
    EXPECT_EQ(kr_settings_domain_exists(domain), yes);
    EXPECT_EQ(kr_settings_group_exists(settings, KR_TEXT("log")), no);
    EXPECT_EQ(kr_settings_group_exists(settings, KR_TEXT("")), no);
    EXPECT_EQ(kr_settings_group_delete(settings, KR_TEXT("log")), not_found);
    EXPECT_EQ(kr_settings_group_delete(settings, KR_TEXT("")), invalid);
    const open_settings group(settings, "log");
    const open_settings inner(group, "inner");
    EXPECT_EQ(kr_settings_group_exists(settings, KR_TEXT("LOG\\inner")), yes);
    EXPECT_EQ(kr_settings_group_delete(settings, KR_TEXT("log")), generic);
    EXPECT_EQ(kr_settings_group_delete(group, KR_TEXT("inner")), ok);
    EXPECT_EQ(kr_settings_domain_delete(domain), generic);
    EXPECT_EQ(kr_settings_domain_exists(KR_TEXT("\\")), no) << "that is the key above";
    EXPECT_EQ(kr_settings_domain_delete(KR_TEXT("\\")), invalid);
    EXPECT_EQ(kr_settings_group_delete(settings, KR_TEXT("log")), ok);
    EXPECT_EQ(kr_settings_set_string(group, KR_TEXT("x"), KR_TEXT("")), generic);
    EXPECT_EQ(kr_settings_domain_delete(domain), ok);
    EXPECT_EQ(kr_settings_domain_exists(domain), no);
}

TEST_F(SettingsStore, RefusesPathsThatDoNotFit) {
    constexpr std::size_t longest_chars = 255 - (sizeof("SOFTWARE\\Korinth\\tools\\") - 1);
    const struct {
        std::size_t domain_chars;
        kr_result result; ///< of opening and of deleting
    } rows[] = {{0, invalid}, {longest_chars, ok}, {longest_chars + 1, too_small}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.domain_chars);
        const wide domain(row.domain_chars, KR_TEXT('d'));
        kr_settings_handle handle = nullptr;
        EXPECT_EQ(kr_settings_domain_open(domain.c_str(), &handle), row.result);
        EXPECT_EQ(kr_settings_domain_exists(domain.c_str()), handle != nullptr ? yes : no);
        EXPECT_EQ(kr_settings_domain_close(handle), row.result == ok ? ok : invalid);
        EXPECT_EQ(kr_settings_domain_delete(domain.c_str()), row.result);
    }
}

TEST_F(SettingsStore, ReadsWhatOtherProgramsStored) {
    const struct {
        int line;
        DWORD type;
        std::vector<u8> data;
        const char* text;
        bool fits; ///< into 4 characters
    } rows[] = {
        {__LINE__, REG_SZ, {}, "", true},
        {__LINE__, REG_SZ, {'a'}, "", true},
        {__LINE__, REG_SZ, {'a', 0, 'b', 0, 'c', 0}, "abc", true},
        {__LINE__, REG_SZ, {'a', 0, 'b', 0, 'c'}, "ab", true},
        {__LINE__, REG_SZ, {'a', 0, 'b', 0, 'c', 0, 'd', 0}, "abcd", false},
        {__LINE__, REG_SZ, {'a', 0, 'b', 0, 'c', 0, 'd', 0, 0, 0}, "abcd", false},
        {__LINE__, REG_SZ, {'a', 0, 0, 0, 'b', 0, 0, 0}, "a", true},
        {__LINE__, REG_DWORD, {1, 0, 0, 0}, "<failed>", false},
        {__LINE__, REG_EXPAND_SZ, {'a', 0, 0, 0}, "<failed>", false},
        {__LINE__, REG_MULTI_SZ, {'a', 0, 0, 0, 0, 0}, "<failed>", false},
    };
    const open_settings settings;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        settings.plant("e", row.type, row.data);
        EXPECT_EQ(settings.text("E"), row.text);
        guarded_buffer<kr_char> buffer(4);
        const kr_result result = kr_settings_get_string(settings, KR_TEXT("e"), 4, buffer.data());
        EXPECT_EQ(result, row.fits ? ok : generic);
        if (row.fits) {
            EXPECT_EQ(utf8(buffer.data()), row.text);
        } else {
            EXPECT_TRUE(buffer.untouched());
        }
    }
}

TEST_F(SettingsStore, WritesReplacesAndDeletes) {
    const open_settings settings;
    for (const std::string& name : {std::string(), std::string("a;b\\c"), std::string(255, 'n')}) {
        EXPECT_EQ(settings.text(name), "<missing>");
        for (const std::string& value :
             {std::string(), std::string(";\\;\\"), std::string(16383, 'v'), std::string(100000, ';')}) {
            settings.plant(name, nullptr);
            settings.plant(name, value.c_str());
            EXPECT_EQ(settings.text(name), value);
        }
        const wide wide_name = widen(name);
        EXPECT_EQ(kr_settings_delete_entry(settings, wide_name.c_str()), ok);
        EXPECT_EQ(kr_settings_delete_entry(settings, wide_name.c_str()), not_found);
    }
}

TEST_F(SettingsStore, ListsNamesWhole) {
    const open_settings settings;
    kr_result result = 0;
    EXPECT_THAT(names_of(kr_settings_enum_groups, settings, &result), IsEmpty());
    EXPECT_EQ(result, ok);
    const std::string longest(255, 'n');
    for (const std::string& name : {std::string("x"), longest, std::string("Two words")}) {
        const open_settings group(settings, name);
        settings.plant(name, "");
    }
    settings.plant("", "");
    EXPECT_THAT(names_of(kr_settings_enum_groups, settings, &result),
                UnorderedElementsAre("x", longest, "Two words"));
    EXPECT_THAT(names_of(kr_settings_enum_entries, settings, &result),
                UnorderedElementsAre("", "x", longest, "Two words"));
}

} // namespace
