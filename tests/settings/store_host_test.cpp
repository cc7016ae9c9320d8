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
template <auto Enumerate>
kr_result list(handle settings) {
    kr_result result = 0;
    const bool empty = names_of(Enumerate, settings, &result).empty();
    EXPECT_EQ(empty, kr_result_failed(result));
    return result;
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
    // clang-format off
    const struct {
        int line;
        const char* call;
        u32 error, nth;
        kr_result result;
        kr_result (*run)(handle);
    } rows[] = {
        {__LINE__, "RegQueryValueExW", 5, 1, generic, text},
        {__LINE__, "RegQueryValueExW", 2, 1, not_found, text},
        {__LINE__, "RegQueryValueExW", 2, 2, generic, text},
        {__LINE__, "RegQueryValueExW", 234, 1, generic,
         [](handle s) { kr_char out[8]; return kr_settings_get_string(s, u"e", 8, out); }},
        {__LINE__, "RegQueryInfoKeyW", 1018, 1, generic, list<kr_settings_enum_groups>},
        {__LINE__, "RegEnumKeyW", 259, 3, generic, list<kr_settings_enum_groups>},
        {__LINE__, "RegEnumValueW", 234, 2, generic, list<kr_settings_enum_entries>},
        {__LINE__, "RegDeleteValueW", 5, 1, generic, [](handle s) { return kr_settings_delete_entry(s, u"e"); }},
        {__LINE__, "RegSetValueExW", 2, 1, generic, [](handle s) { return kr_settings_set_string(s, u"e", u""); }},
        {__LINE__, "RegCreateKeyW", 5, 1, generic,
         [](handle) { handle domain = nullptr; return kr_settings_domain_open(u"krtest", &domain); }},
    };
    // clang-format on
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
    for (const u32 room : {16u, 600u}) {
        const struct {
            DWORD type;
            u32 chars;
            bool terminated;
            bool reads; ///< as the old value or the new one, whenever it changes
        } rows[] = {{REG_SZ, room - 1, true, true},
                    {REG_SZ, 1, true, true},
                    {REG_SZ, room, false, false},
                    {REG_SZ, room, true, false},
                    {REG_DWORD, 2, false, false}};
        for (const auto& row : rows) {
            SCOPED_TRACE(testing::Message() << row.chars << "/" << row.terminated << " in " << room);
            const std::string before(room / 2, 'o'), after(row.reads ? row.chars : 0, 'n');
            std::vector<u8> data((row.chars + (row.terminated ? 1 : 0)) * sizeof(kr_char));
            for (u32 index = 0; index < row.chars; ++index) { data[index * sizeof(kr_char)] = 'n'; }
            settings_.plant("e", before.c_str());
            const auto replace = [&] { settings_.plant("e", row.type, data); };
            const kr::host::armed_fault change({.call = "RegQueryValueExW", .nth = 2, .meanwhile = replace});
            guarded_buffer<kr_char> buffer(room);
            const kr_result result = kr_settings_get_string(settings_, u"e", room, buffer.data());
            const std::string read = kr_result_succeeded(result) ? utf8(buffer.data()) : "";
            EXPECT_TRUE(read.empty() ? !row.reads && buffer.untouched() : read == before || read == after);
        }
    }
}

TEST_F(SettingsFaults, SurviveEveryFailedAllocation) {
    settings_.plant("e", REG_SZ, {'a', 0}); // no terminator: two blocks
    sweep_allocations([&] { return text(settings_); });
    sweep_allocations([&] { return list<kr_settings_enum_groups>(settings_); });
    sweep_allocations([&] { return list<kr_settings_enum_entries>(settings_); });
    u64 number = 0;
    sweep_allocations([&] { return kr_settings_get_UINT64(settings_, u"e", &number); });
}

} // namespace
