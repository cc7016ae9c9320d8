/// The settings store: what it creates and deletes, what it makes of values that other programs
/// stored, and its enumerations. Runs against the real registry of either system.
#include "settings/store.h"

#include <gmock/gmock.h>

#include <atomic>
#include <thread>

#include "support/failing_allocator.h"
#include "support/fresh_registry.h"
#include "support/guarded_buffer.h"

namespace {

using kr::test::fresh_registry;
using kr::test::names_of;
using kr::test::open_settings;
using kr::test::wide;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

const kr_result yes = kr_result_make_success(KR_YES);
const kr_result no = kr_result_make_success(KR_NO);
const kr_result generic = kr_result_make_error(KR_GENERIC);
const kr_result not_found = kr_result_make_error(KR_NOT_FOUND);
const kr_result invalid = kr_result_make_error(KR_INVALID_ARGUMENT_TO_FUNCTION);
const kr_result too_long = kr_result_make_error(KR_SUPPLIED_BUFFER_IS_NOT_LARGE_ENOUGH);

class SettingsStore : public testing::Test {
    fresh_registry registry_;
};

TEST_F(SettingsStore, LooksWithoutCreatingAndDeletesLeavesOnly) {
    const kr_char* const domain = fresh_registry::domain;
    EXPECT_EQ(kr_settings_domain_exists(domain), no);
    EXPECT_EQ(kr_settings_domain_exists(domain), no) << "the first look created it";
    EXPECT_EQ(kr_settings_domain_delete(domain), generic);
    {
        const open_settings settings;
        EXPECT_EQ(kr_settings_domain_exists(KR_TEXT("KRTEST")), yes);
        EXPECT_EQ(kr_settings_group_exists(settings, KR_TEXT("log")), no);
        EXPECT_EQ(kr_settings_group_exists(settings, KR_TEXT("")), no);
        EXPECT_EQ(kr_settings_group_delete(settings, KR_TEXT("log")), not_found);
        EXPECT_EQ(kr_settings_group_delete(settings, KR_TEXT("")), invalid);
        const open_settings group(settings, KR_TEXT("log"));
        const open_settings inner(group, KR_TEXT("inner"));
        EXPECT_EQ(kr_settings_group_exists(settings, KR_TEXT("LOG\\inner")), yes);
        EXPECT_EQ(kr_settings_group_delete(settings, KR_TEXT("log")), generic);
        EXPECT_EQ(kr_settings_group_delete(group, KR_TEXT("inner")), KR_SUCCESS);
        EXPECT_EQ(kr_settings_domain_delete(domain), generic);
        EXPECT_EQ(kr_settings_group_delete(settings, KR_TEXT("log")), KR_SUCCESS);
        EXPECT_EQ(kr_settings_set_string(group, KR_TEXT("x"), KR_TEXT("")), generic);
    }
    EXPECT_EQ(kr_settings_domain_delete(domain), KR_SUCCESS);
    EXPECT_EQ(kr_settings_domain_exists(domain), no);
    EXPECT_EQ(kr_settings_group_close(nullptr), generic);
}

TEST_F(SettingsStore, RefusesPathsThatDoNotFit) {
    constexpr std::size_t longest_domain_chars = 255 - (sizeof("SOFTWARE\\Korinth\\tools\\") - 1);
    const struct {
        int line;
        wide domain;
        kr_result result; ///< of opening and of deleting
    } rows[] = {
        {__LINE__, KR_TEXT(""), invalid},
        {__LINE__, wide(longest_domain_chars, KR_TEXT('d')), KR_SUCCESS},
        {__LINE__, wide(longest_domain_chars + 1, KR_TEXT('d')), too_long},
        {__LINE__, wide(70000, KR_TEXT('d')), too_long},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        kr_settings_handle handle = nullptr;
        EXPECT_EQ(kr_settings_domain_open(row.domain.c_str(), &handle), row.result);
        EXPECT_EQ(handle != nullptr, row.result == KR_SUCCESS);
        EXPECT_EQ(kr_settings_domain_exists(row.domain.c_str()), handle != nullptr ? yes : no);
        if (handle != nullptr) {
            EXPECT_EQ(kr_settings_domain_close(handle), KR_SUCCESS);
        }
        EXPECT_EQ(kr_settings_domain_delete(row.domain.c_str()), row.result);
    }
}

TEST_F(SettingsStore, ReadsWhatOtherProgramsStored) {
    const struct {
        int line;
        DWORD type;
        std::vector<u8> data;
        wide text;
        kr_result fixed; ///< reading into 4 characters
    } rows[] = {
        {__LINE__, REG_SZ, {0, 0}, KR_TEXT(""), KR_SUCCESS},
        {__LINE__, REG_SZ, {}, KR_TEXT(""), KR_SUCCESS},
        {__LINE__, REG_SZ, {'a'}, KR_TEXT(""), KR_SUCCESS},
        {__LINE__, REG_SZ, {'a', 0, 'b', 0, 'c', 0, 0, 0}, KR_TEXT("abc"), KR_SUCCESS},
        {__LINE__, REG_SZ, {'a', 0, 'b', 0, 'c', 0}, KR_TEXT("abc"), KR_SUCCESS},
        {__LINE__, REG_SZ, {'a', 0, 'b', 0, 'c'}, KR_TEXT("ab"), KR_SUCCESS},
        {__LINE__, REG_SZ, {'a', 0, 'b', 0, 'c', 0, 'd', 0}, KR_TEXT("abcd"), generic},
        {__LINE__, REG_SZ, {'a', 0, 'b', 0, 'c', 0, 'd', 0, 0, 0}, KR_TEXT("abcd"), generic},
        {__LINE__, REG_SZ, {'a', 0, 0, 0, 'b', 0, 0, 0}, KR_TEXT("a"), KR_SUCCESS},
        {__LINE__, REG_DWORD, {1, 0, 0, 0}, KR_TEXT("<failed>"), generic},
        {__LINE__, REG_EXPAND_SZ, {'a', 0, 0, 0}, KR_TEXT("<failed>"), generic},
        {__LINE__, REG_MULTI_SZ, {'a', 0, 0, 0, 0, 0}, KR_TEXT("<failed>"), generic},
    };
    const open_settings settings;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        settings.plant(KR_TEXT("e"), row.type, row.data);
        {
            const kr::test::failing_allocator allocator;
            EXPECT_EQ(settings.text(KR_TEXT("E")), row.text);
        }
        kr::test::guarded_buffer<kr_char> buffer(4);
        EXPECT_EQ(kr_settings_get_string(settings, KR_TEXT("e"), 4, buffer.data()), row.fixed);
        if (row.fixed == KR_SUCCESS) {
            EXPECT_EQ(buffer.data(), row.text);
        } else if (row.data.size() != buffer.size_bytes()) {
            EXPECT_TRUE(buffer.untouched());
        }
    }
}

TEST_F(SettingsStore, WritesReplacesAndDeletes) {
    const open_settings settings;
    const wide names[] = {KR_TEXT(""), KR_TEXT("a;b\\c"), wide(255, KR_TEXT('n'))};
    const wide values[] = {KR_TEXT(""), KR_TEXT(";\\;\\"), wide(16383, KR_TEXT('v')),
                           wide(100000, KR_TEXT(';'))};
    for (const wide& name : names) {
        EXPECT_EQ(kr_settings_delete_entry(settings, name.c_str()), not_found);
        for (const wide& value : values) {
            settings.plant(name.c_str(), REG_DWORD, std::vector<u8>(4));
            EXPECT_EQ(kr_settings_set_string(settings, name.c_str(), value.c_str()), KR_SUCCESS);
            EXPECT_EQ(settings.text(name.c_str()), value);
        }
        EXPECT_EQ(kr_settings_delete_entry(settings, name.c_str()), KR_SUCCESS);
        EXPECT_EQ(settings.text(name.c_str()), KR_TEXT("<missing>"));
    }
    kr_char buffer[1];
    kr_char* text = nullptr;
    EXPECT_EQ(kr_settings_get_string(settings, KR_TEXT("e"), 1, nullptr), invalid);
    EXPECT_EQ(kr_settings_get_string(settings, KR_TEXT("e"), 1, buffer), generic);
    EXPECT_EQ(kr_settings_get_string_alloc(nullptr, KR_TEXT("e"), &text), generic);
    EXPECT_EQ(kr_settings_set_string(nullptr, KR_TEXT("e"), KR_TEXT("")), generic);
    EXPECT_EQ(kr_settings_delete_entry(nullptr, KR_TEXT("e")), generic);
}

TEST_F(SettingsStore, ListsNamesWhole) {
    const open_settings settings;
    kr_result result = 0;
    EXPECT_THAT(names_of(kr_settings_enum_groups, settings, &result), IsEmpty());
    EXPECT_EQ(result, KR_SUCCESS);
    const wide longest(255, KR_TEXT('n'));
    for (const kr_char* name : {KR_TEXT("x"), longest.c_str(), KR_TEXT("Two words")}) {
        const open_settings group(settings, name);
        EXPECT_EQ(kr_settings_set_string(settings, name, KR_TEXT("")), KR_SUCCESS);
    }
    EXPECT_EQ(kr_settings_set_string(settings, KR_TEXT(""), KR_TEXT("")), KR_SUCCESS);

    const kr::test::failing_allocator allocator;
    EXPECT_THAT(names_of(kr_settings_enum_groups, settings, &result),
                UnorderedElementsAre(KR_TEXT("x"), longest, KR_TEXT("Two words")));
    EXPECT_THAT(names_of(kr_settings_enum_entries, settings, &result),
                UnorderedElementsAre(KR_TEXT(""), KR_TEXT("x"), longest, KR_TEXT("Two words")));
    names_of(kr_settings_enum_entries, nullptr, &result);
    EXPECT_EQ(result, generic);
}

TEST_F(SettingsStore, ListsAllOrNothingWhileAnotherThreadWrites) {
    const open_settings settings;
    std::atomic<bool> done = false;
    std::thread writer([&done] {
        const open_settings own;
        const wide longer(40, KR_TEXT('l'));
        while (!done) {
            for (const kr_char* name : {KR_TEXT("a"), KR_TEXT("b"), longer.c_str()}) {
                (void)kr_settings_set_string(own, name, KR_TEXT("1"));
            }
            for (const kr_char* name : {KR_TEXT("a"), longer.c_str(), KR_TEXT("b")}) {
                (void)kr_settings_delete_entry(own, name);
            }
        }
    });
    for (int round = 0; round < 300; ++round) {
        kr_result result = 0;
        EXPECT_LE(names_of(kr_settings_enum_entries, settings, &result).size(), 3u);
        EXPECT_TRUE(result == KR_SUCCESS || result == generic);
    }
    done = true;
    writer.join();
}

} // namespace
