/// The settings when the registry or the memory fails, call by call.
#include <gtest/gtest.h>

#include "platform/host/fault.h"
#include "settings/multi_string.h"
#include "settings/store.h"
#include "support/failing_allocator.h"
#include "support/fresh_registry.h"

namespace {

using kr::test::fresh_registry;
using kr::test::names_of;
using kr::test::open_settings;

kr_result read_text(kr_settings_handle settings) {
    kr_char* text = nullptr;
    const kr_result result = kr_settings_get_string_alloc(settings, KR_TEXT("e"), &text);
    EXPECT_EQ(text != nullptr, kr_result_succeeded(result));
    kr_memory_deallocate_hook(text);
    return result;
}

kr_result read_fixed(kr_settings_handle settings) {
    kr_char text[8];
    return kr_settings_get_string(settings, KR_TEXT("e"), 8, text);
}

template <auto Enumerate>
kr_result list(kr_settings_handle settings) {
    kr_result result = 0;
    const bool empty = names_of(Enumerate, settings, &result).empty();
    EXPECT_EQ(empty, kr_result_failed(result));
    return result;
}

class SettingsFaults : public testing::Test {
protected:
    SettingsFaults() {
        for (const kr_char* name : {KR_TEXT("e"), KR_TEXT("f"), KR_TEXT("longer")}) {
            settings_.plant(name, KR_TEXT("text"));
            const open_settings group(settings_, name);
        }
    }

    fresh_registry registry_;
    open_settings settings_;
};

TEST_F(SettingsFaults, MapTheSystemsErrors) {
    using operation = kr_result (*)(kr_settings_handle);
    const struct {
        int line;
        const char* call;
        u32 error;
        u32 nth;
        operation run;
        u16 code;
    } rows[] = {
        {__LINE__, "RegQueryValueExW", 5, 1, read_text, KR_GENERIC},
        {__LINE__, "RegQueryValueExW", 2, 1, read_text, KR_NOT_FOUND},
        {__LINE__, "RegQueryValueExW", 234, 2, read_text, KR_GENERIC},
        {__LINE__, "RegQueryValueExW", 2, 2, read_text, KR_GENERIC},
        {__LINE__, "RegQueryValueExW", 234, 2, read_fixed, KR_GENERIC},
        {__LINE__, "RegQueryInfoKeyW", 1018, 1, list<kr_settings_enum_groups>, KR_GENERIC},
        {__LINE__, "RegEnumKeyW", 259, 3, list<kr_settings_enum_groups>, KR_GENERIC},
        {__LINE__, "RegEnumKeyW", 234, 2, list<kr_settings_enum_groups>, KR_GENERIC},
        {__LINE__, "RegQueryInfoKeyW", 1018, 1, list<kr_settings_enum_entries>, KR_GENERIC},
        {__LINE__, "RegEnumValueW", 259, 3, list<kr_settings_enum_entries>, KR_GENERIC},
        {__LINE__, "RegEnumValueW", 234, 2, list<kr_settings_enum_entries>, KR_GENERIC},
        {__LINE__, "RegDeleteValueW", 5, 1,
         [](kr_settings_handle settings) { return kr_settings_delete_entry(settings, u"e"); },
         KR_GENERIC},
        {__LINE__, "RegSetValueExW", 2, 1,
         [](kr_settings_handle settings) { return kr_settings_set_string(settings, u"e", u""); },
         KR_GENERIC},
        {__LINE__, "RegCreateKeyW", 5, 1,
         [](kr_settings_handle) {
             kr_settings_handle domain = nullptr;
             return kr_settings_domain_open(u"krtest", &domain);
         },
         KR_GENERIC},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        const kr::test::failing_allocator allocator;
        const kr::host::armed_fault fault({.call = row.call, .error = row.error, .nth = row.nth});
        EXPECT_EQ(row.run(settings_), kr_result_make_error(row.code));
        EXPECT_EQ(fault.hits(), 1u);
    }
}

TEST_F(SettingsFaults, SurviveEveryFailedAllocation) {
    settings_.plant(KR_TEXT("e"), REG_SZ, std::vector<u8>{'a', 0}); // no terminator: two blocks
    kr::test::sweep_allocations([&] { return read_text(settings_); });
    kr::test::sweep_allocations([&] { return list<kr_settings_enum_groups>(settings_); });
    kr::test::sweep_allocations([&] { return list<kr_settings_enum_entries>(settings_); });
}

TEST_F(SettingsFaults, RefuseLongPathsBeforeTheRegistry) {
    const kr::host::call_recorder recorder;
    const kr::test::wide domain(300, KR_TEXT('d'));
    kr_settings_handle handle = nullptr;
    EXPECT_TRUE(kr_result_failed(kr_settings_domain_open(domain.c_str(), &handle)));
    EXPECT_TRUE(kr_result_failed(kr_settings_domain_delete(domain.c_str())));
    EXPECT_TRUE(kr_result_is(kr_settings_domain_exists(domain.c_str()), KR_NO));
    EXPECT_TRUE(recorder.calls().empty());
}

} // namespace
