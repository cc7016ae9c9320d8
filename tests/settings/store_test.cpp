/// The settings store: what it creates and deletes, what it makes of values that other programs
/// stored, and its enumerations. Runs against the real registry of either system.
#include "settings/store.h"

#include "support/fresh_registry.h"
#include "support/guarded_buffer.h"

namespace {

using namespace kr::test;
using testing::UnorderedElementsAre, testing::UnorderedElementsAreArray;

class SettingsStore : public testing::Test {
    fresh_registry registry_;
};

TEST_F(SettingsStore, LooksWithoutCreatingAndDeletesLeavesOnly) {
    const kr_char* const domain = KR_TEXT("KrTest");
    EXPECT_EQ(kr_settings_domain_exists(domain), no);
    EXPECT_EQ(kr_settings_domain_delete(domain), generic) << "the look created it";
    const open_settings settings;
    EXPECT_EQ(kr_settings_domain_exists(domain), yes);
    EXPECT_EQ(kr_settings_group_exists(settings, KR_TEXT("log")), no);
    EXPECT_EQ(kr_settings_group_exists(settings, KR_TEXT("")), no);
    EXPECT_EQ(kr_settings_group_delete(settings, KR_TEXT("log")), not_found);
    EXPECT_EQ(kr_settings_group_delete(settings, KR_TEXT("")), invalid);
    const open_settings group(settings, "log"), inner(group, "inner");
    EXPECT_EQ(kr_settings_group_exists(settings, KR_TEXT("LOG\\inner")), yes);
    EXPECT_EQ(kr_settings_group_delete(settings, KR_TEXT("log")), generic);
    EXPECT_EQ(kr_settings_group_delete(group, KR_TEXT("inner")), ok);
    EXPECT_EQ(kr_settings_domain_delete(domain), generic);
    EXPECT_EQ(kr_settings_domain_exists(KR_TEXT("\\")), no) << "that is the key above";
    EXPECT_EQ(kr_settings_group_delete(settings, KR_TEXT("log")), ok);
    EXPECT_EQ(kr_settings_set_string(group, KR_TEXT("x"), KR_TEXT("")), generic);
    EXPECT_EQ(kr_settings_domain_delete(domain), ok);
    EXPECT_EQ(kr_settings_domain_exists(domain), no);
}

TEST_F(SettingsStore, RefusesPathsThatDoNotFit) {
    constexpr size_t longest_chars = 255 - (sizeof("SOFTWARE\\Korinth\\tools\\") - 1);
    // What opening and deleting answer.
    for (const auto& [chars, result] : {std::pair(size_t{0}, invalid), std::pair(longest_chars, ok),
                                        std::pair(longest_chars + 1, too_small)}) {
        SCOPED_TRACE(chars);
        const wide domain(chars, KR_TEXT('d'));
        kr_settings_handle handle = nullptr;
        EXPECT_EQ(kr_settings_domain_open(domain.c_str(), &handle), result);
        EXPECT_EQ(kr_settings_domain_exists(domain.c_str()), handle != nullptr ? yes : no);
        EXPECT_EQ(kr_settings_domain_close(handle), result == ok ? ok : invalid);
        EXPECT_EQ(kr_settings_domain_delete(domain.c_str()), result);
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
        {__LINE__, REG_SZ, {'a', 0, 'b', 0, 'c', 0}, "abc", true},
        {__LINE__, REG_SZ, {'a', 0, 'b', 0, 'c'}, "ab", true},
        {__LINE__, REG_SZ, {'a', 0, 'b', 0, 'c', 0, 'd', 0}, "abcd", false},
        {__LINE__, REG_SZ, {'a', 0, 'b', 0, 'c', 0, 'd', 0, 0, 0}, "abcd", false},
        {__LINE__, REG_SZ, {'a', 0, 0, 0, 'b', 0, 0, 0}, "a", true},
        {__LINE__, REG_EXPAND_SZ, {'a', 0, 0, 0}, "<failed>", false},
    };
    const open_settings settings;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        settings.plant("e", row.type, row.data);
        EXPECT_EQ(settings.text("E"), row.text);
        guarded_buffer<kr_char> buffer(4);
        EXPECT_EQ(kr_settings_get_string(settings, KR_TEXT("e"), 4, buffer.data()), row.fits ? ok : generic);
        EXPECT_TRUE(row.fits ? utf8(buffer.data()) == row.text : buffer.untouched());
    }
}

TEST_F(SettingsStore, WritesReplacesListsAndDeletes) {
    const open_settings settings;
    const std::string names[] = {"", "a;b\\c", "Two words", std::string(255, 'n')};
    kr_result result = 0;
    EXPECT_THAT(names_of(kr_settings_enum_groups, settings, &result), IsEmpty());
    EXPECT_EQ(result, ok);
    for (const std::string& name : names) {
        EXPECT_EQ(settings.text(name), "<missing>");
        for (const std::string& value : {std::string(), std::string(16383, 'v'), std::string(100000, ';')}) {
            settings.plant(name, nullptr);
            settings.plant(name, value.c_str());
            EXPECT_EQ(settings.text(name), value);
        }
    }
    const open_settings two_words(settings, names[2]), longest(settings, names[3]);
    EXPECT_THAT(names_of(kr_settings_enum_groups, settings, &result),
                UnorderedElementsAre(names[2], names[3]));
    EXPECT_THAT(names_of(kr_settings_enum_entries, settings, &result), UnorderedElementsAreArray(names));
    for (const std::string& name : names) {
        EXPECT_EQ(kr_settings_delete_entry(settings, widen(name).c_str()), ok);
        EXPECT_EQ(kr_settings_delete_entry(settings, widen(name).c_str()), not_found);
    }
}

} // namespace
