/// The settings when the registry or the memory fails, call by call.
#include "owners.h"
#include "platform/host/fault.h"
#include "settings/typed.h"
#include "support/failing_allocator.h"
#include "support/fresh_registry.h"
#include "support/guarded_buffer.h"

namespace {

using namespace kr::test;
using handle = kr_settings_handle;

kr_result text(handle settings) {
    kr::owned_text out;
    const kr_result result = kr_settings_get_string_alloc(settings, u"e", out.out());
    EXPECT_EQ(out.get() != nullptr, kr_result_succeeded(result));
    return result;
}
kr_result fixed(handle settings) {
    kr_char out[8];
    return kr_settings_get_string(settings, u"e", 8, out);
}
template <auto Enumerate>
kr_result list(handle settings) {
    kr_result result = 0;
    const bool empty = names_of(Enumerate, settings, &result).empty();
    EXPECT_EQ(empty, kr_result_failed(result));
    return result;
}
constexpr auto groups = list<kr_settings_enum_groups>;
constexpr auto entries = list<kr_settings_enum_entries>;
kr_result number(handle settings) {
    u64 out = 0;
    return kr_settings_get_UINT64(settings, u"e", &out);
}
kr_result remove(handle settings) { return kr_settings_delete_entry(settings, u"e"); }
kr_result write(handle settings) { return kr_settings_set_string(settings, u"e", u""); }
kr_result open(handle) {
    handle domain = nullptr;
    return kr_settings_domain_open(u"krtest", &domain);
}

class SettingsFaults : public testing::Test {
protected:
    SettingsFaults() {
        for (const char* name : {"e", "f", "longer"}) {
            settings_.plant(name, "text");
            const open_settings group(settings_, name);
        }
    }

    fresh_registry registry_;
    open_settings settings_;
};

TEST_F(SettingsFaults, MapTheSystemsErrors) {
    const struct {
        int line;
        kr_result (*run)(handle);
        const char* call;
        u32 error, nth;
        kr_result result;
    } rows[] = {
        {__LINE__, text, "RegQueryValueExW", 5, 1, generic},
        {__LINE__, text, "RegQueryValueExW", 2, 1, not_found},
        {__LINE__, text, "RegQueryValueExW", 234, 2, generic},
        {__LINE__, text, "RegQueryValueExW", 2, 2, generic},
        {__LINE__, fixed, "RegQueryValueExW", 234, 1, generic},
        {__LINE__, groups, "RegQueryInfoKeyW", 1018, 1, generic},
        {__LINE__, groups, "RegEnumKeyW", 259, 3, generic},
        {__LINE__, groups, "RegEnumKeyW", 234, 2, generic},
        {__LINE__, entries, "RegQueryInfoKeyW", 1018, 1, generic},
        {__LINE__, entries, "RegEnumValueW", 259, 3, generic},
        {__LINE__, entries, "RegEnumValueW", 234, 2, generic},
        {__LINE__, remove, "RegDeleteValueW", 5, 1, generic},
        {__LINE__, write, "RegSetValueExW", 2, 1, generic},
        {__LINE__, open, "RegCreateKeyW", 5, 1, generic},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        const failing_allocator allocator;
        const kr::host::armed_fault fault({.call = row.call, .error = row.error, .nth = row.nth});
        EXPECT_EQ(row.run(settings_), row.result);
        EXPECT_EQ(fault.hits(), 1u);
    }
    const kr::host::armed_fault never({.call = "RegOpenKeyW", .error = 6});
    EXPECT_EQ(kr_settings_group_exists(nullptr, u"e"), no);
    EXPECT_EQ(never.hits(), 0u) << "a null handle reached the registry";
}

// 16 characters are read without a block, 600 with one.
TEST_F(SettingsFaults, ReadOneWholeValueWhileItChanges) {
    const auto text_of = [](std::size_t chars) {
        std::vector<u8> data(chars * 2, 'n');
        for (std::size_t i = 1; i < data.size(); i += 2) { data[i] = 0; }
        return data;
    };
    for (const std::size_t room : {16u, 600u}) {
        std::vector<u8> fits = text_of(room - 1), too_long = text_of(room);
        fits.resize(room * 2), too_long.resize(room * 2 + 2);
        const struct {
            int line;
            DWORD type;
            std::vector<u8> data;
            bool reads; ///< as the old value or the new one, whenever it changes
        } rows[] = {
            {__LINE__, REG_SZ, fits, true},
            {__LINE__, REG_SZ, {'n', 0, 0, 0}, true},
            {__LINE__, REG_SZ, text_of(room), false},
            {__LINE__, REG_SZ, too_long, false},
            {__LINE__, REG_DWORD, {1, 0, 0, 0}, false},
        };
        for (const auto& row : rows) {
            SCOPED_TRACE(testing::Message() << row.line << " with room for " << room);
            const std::string old(room / 2, 'o');
            settings_.plant("e", old.c_str());
            const auto replace = [&] { settings_.plant("e", row.type, row.data); };
            const kr::host::armed_fault change({.call = "RegQueryValueExW", .nth = 2, .meanwhile = replace});
            guarded_buffer<kr_char> buffer(room);
            const kr_result result =
                kr_settings_get_string(settings_, u"e", static_cast<u32>(room), buffer.data());
            const bool read = kr_result_succeeded(result);
            EXPECT_TRUE(read ? utf8(buffer.data()) == old ||
                                   utf8(buffer.data()) == std::string(row.data.size() / 2 - 1, 'n')
                             : !row.reads && buffer.untouched());
        }
    }
}

TEST_F(SettingsFaults, SurviveEveryFailedAllocation) {
    settings_.plant("e", REG_SZ, {'a', 0}); // no terminator: two blocks
    for (const auto operation : {text, groups, entries, number}) {
        sweep_allocations([&] { return operation(settings_); });
    }
}

} // namespace
