/// Registry calls and their error numbers, the same on both systems. Works in a key of its own
/// below HKEY_CURRENT_USER and leaves nothing behind.
#include "platform/platform.h"

#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

using text = std::basic_string<kr_char>;

const kr_char* const suite_path = KR_TEXT("Software\\KorinthSuite");

class Registry : public testing::Test {
protected:
    void SetUp() override {
        RegDeleteTreeW(HKEY_CURRENT_USER, suite_path);
        ASSERT_EQ(RegCreateKeyW(HKEY_CURRENT_USER, suite_path, &key), 0);
    }
    void TearDown() override {
        RegCloseKey(key);
        EXPECT_EQ(RegDeleteTreeW(HKEY_CURRENT_USER, suite_path), 0);
    }

    [[nodiscard]] HKEY make(const kr_char* path, HKEY parent = nullptr) const {
        HKEY made = nullptr;
        EXPECT_EQ(RegCreateKeyW(parent == nullptr ? key : parent, path, &made), 0);
        return made;
    }
    [[nodiscard]] LSTATUS set(const kr_char* name, const text& value) const {
        return RegSetValueExW(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(value.c_str()),
                              static_cast<DWORD>((value.size() + 1) * sizeof(kr_char)));
    }
    [[nodiscard]] LSTATUS open_status(const kr_char* path) const {
        HKEY opened = nullptr;
        const LSTATUS status = RegOpenKeyW(key, path, &opened);
        if (status == 0) {
            RegCloseKey(opened);
        }
        return status;
    }

    HKEY key = nullptr;
};

TEST_F(Registry, OpensByPathWithoutRegardToCase) {
    RegCloseKey(make(KR_TEXT("Alpha\\beta\\Gamma")));
    const struct {
        int line;
        const kr_char* path;
        LSTATUS status;
    } rows[] = {
        {__LINE__, KR_TEXT("Alpha"), 0},   {__LINE__, KR_TEXT("ALPHA\\Beta\\gAMMA"), 0},
        {__LINE__, KR_TEXT("alpha\\"), 0}, {__LINE__, KR_TEXT("\\alpha"), 161},
        {__LINE__, KR_TEXT("beta"), 2},    {__LINE__, KR_TEXT("alpha\\beta\\gamma\\delta"), 2},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(r.line);
        EXPECT_EQ(open_status(r.path), r.status);
    }
    EXPECT_EQ(open_status(text(299, 'x').c_str()), 87);
}

TEST_F(Registry, CreatesWithWhatIsMissingAboveAndSaysWhetherItWasThere) {
    DWORD disposition = 0;
    HKEY made = nullptr;
    const auto create = [&](const kr_char* path, DWORD reserved) {
        return RegCreateKeyExW(key, path, reserved, nullptr, REG_OPTION_NON_VOLATILE, KEY_SET_VALUE,
                               nullptr, &made, &disposition);
    };
    EXPECT_EQ(create(KR_TEXT("a\\b\\c"), 0), 0);
    EXPECT_EQ(disposition, DWORD{REG_CREATED_NEW_KEY});
    RegCloseKey(made);
    EXPECT_EQ(create(KR_TEXT("A\\B"), 0), 0);
    EXPECT_EQ(disposition, DWORD{REG_OPENED_EXISTING_KEY});
    // The right to set values lets nobody read.
    EXPECT_EQ(RegQueryValueExW(made, KR_TEXT("v"), nullptr, nullptr, nullptr, nullptr), 5);
    RegCloseKey(made);
    EXPECT_EQ(create(KR_TEXT("x"), 1), 87);
    EXPECT_EQ(create(KR_TEXT("\\x"), 0), 161);
    EXPECT_EQ(create(text(299, 'x').c_str(), 0), 87);
    EXPECT_EQ(open_status(KR_TEXT("x")), 2);
    const text longest(255, 'y');
    RegCloseKey(make(longest.c_str()));
    EXPECT_EQ(open_status(longest.c_str()), 0);
}

TEST_F(Registry, AnEmptyPathMeansTheKeyItself) {
    for (const kr_char* path : {static_cast<const kr_char*>(nullptr), KR_TEXT("")}) {
        HKEY same = nullptr;
        EXPECT_EQ(RegOpenKeyW(key, path, &same), 0);
        EXPECT_EQ(same, key);
    }
    HKEY another = make(KR_TEXT(""));
    EXPECT_NE(another, key);
    EXPECT_EQ(RegCloseKey(another), 0);
    EXPECT_EQ(RegCloseKey(another), 6);
    EXPECT_EQ(RegOpenKeyW(key, KR_TEXT("a"), nullptr), 87);
}

TEST_F(Registry, AReadHandleChangesNothingButLetsCreateBelow) {
    ASSERT_EQ(set(KR_TEXT("v"), text(1, 'x')), 0);
    HKEY reader = nullptr;
    ASSERT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, suite_path, 0, KEY_READ, &reader), 0);
    const BYTE data[4] = {};
    EXPECT_EQ(RegSetValueExW(reader, KR_TEXT("w"), 0, REG_BINARY, data, 4), 5);
    EXPECT_EQ(RegDeleteValueW(reader, KR_TEXT("v")), 5);
    EXPECT_EQ(RegQueryValueExW(reader, KR_TEXT("v"), nullptr, nullptr, nullptr, nullptr), 0);
    RegCloseKey(make(KR_TEXT("below"), reader));
    RegCloseKey(reader);
    EXPECT_EQ(open_status(KR_TEXT("below")), 0);
}

TEST_F(Registry, DeletesLeavesOnly) {
    RegCloseKey(make(KR_TEXT("top\\leaf")));
    EXPECT_EQ(RegDeleteKeyW(key, KR_TEXT("top")), 5);
    EXPECT_EQ(RegDeleteKeyW(key, KR_TEXT("TOP\\LEAF")), 0);
    EXPECT_EQ(RegDeleteKeyW(key, KR_TEXT("top\\leaf")), 2);
    EXPECT_EQ(RegDeleteKeyW(key, KR_TEXT("top")), 0);
    EXPECT_EQ(RegDeleteKeyW(key, nullptr), 87);
    EXPECT_EQ(RegDeleteKeyW(nullptr, KR_TEXT("top")), 6);
}

TEST_F(Registry, ADeletedKeyAnswersOnlyToItsClose) {
    HKEY gone = make(KR_TEXT("gone"));
    ASSERT_EQ(RegDeleteKeyW(key, KR_TEXT("gone")), 0);
    const BYTE data[4] = {};
    kr_char name[8];
    HKEY below = nullptr;
    EXPECT_EQ(RegSetValueExW(gone, KR_TEXT("v"), 0, REG_DWORD, data, 4), 1018);
    EXPECT_EQ(RegQueryValueExW(gone, KR_TEXT("v"), nullptr, nullptr, nullptr, nullptr), 1018);
    EXPECT_EQ(RegEnumKeyW(gone, 0, name, 8), 1018);
    EXPECT_EQ(RegCreateKeyW(gone, KR_TEXT("x"), &below), 1018);
    // A new key of the name is another one.
    RegCloseKey(make(KR_TEXT("gone")));
    EXPECT_EQ(RegDeleteValueW(gone, KR_TEXT("v")), 1018);
    EXPECT_EQ(RegCloseKey(gone), 0);
    EXPECT_EQ(RegCloseKey(gone), 6);
    EXPECT_EQ(RegDeleteValueW(gone, KR_TEXT("v")), 6);
}

TEST_F(Registry, DeletesATreeOrWhatIsBelowAKey) {
    HKEY deep = make(KR_TEXT("tree\\branch\\leaf"));
    ASSERT_EQ(set(KR_TEXT("v"), text(1, 'x')), 0);
    EXPECT_EQ(RegDeleteTreeW(key, KR_TEXT("none")), 2);
    EXPECT_EQ(RegDeleteTreeW(key, KR_TEXT("tree\\branch")), 0);
    EXPECT_EQ(RegDeleteValueW(deep, KR_TEXT("v")), 1018);
    RegCloseKey(deep);
    EXPECT_EQ(open_status(KR_TEXT("tree")), 0);
    EXPECT_EQ(RegDeleteTreeW(key, nullptr), 0);
    EXPECT_EQ(open_status(KR_TEXT("tree")), 2);
    EXPECT_EQ(RegQueryValueExW(key, KR_TEXT("v"), nullptr, nullptr, nullptr, nullptr), 2);
}

TEST_F(Registry, ReadsSizesThenData) {
    ASSERT_EQ(set(KR_TEXT("Name"), KR_TEXT("abc")), 0);
    const struct {
        bool with_data;
        DWORD room;
        LSTATUS status;
    } rows[] = {{false, 0, 0}, {true, 8, 0}, {true, 64, 0}, {true, 7, 234}, {true, 0, 234}};
    for (const auto& r : rows) {
        SCOPED_TRACE(r.room);
        DWORD type = 99;
        DWORD size = r.room;
        BYTE data[64] = {0xA5};
        EXPECT_EQ(RegQueryValueExW(key, KR_TEXT("nAME"), nullptr, &type,
                                   r.with_data ? data : nullptr, &size),
                  r.status);
        EXPECT_EQ(size, 8u);
        EXPECT_EQ(type, DWORD{REG_SZ});
        EXPECT_EQ(data[0], r.with_data && r.status == 0 ? 'a' : 0xA5);
    }
    BYTE data[8];
    DWORD size = 8;
    EXPECT_EQ(RegQueryValueExW(key, KR_TEXT("Name"), nullptr, nullptr, data, nullptr), 87);
    EXPECT_EQ(RegQueryValueExW(key, KR_TEXT("none"), nullptr, nullptr, data, &size), 2);
    EXPECT_EQ(RegQueryValueExW(key, nullptr, nullptr, nullptr, data, &size), 2);
    EXPECT_EQ(RegQueryValueExW(nullptr, KR_TEXT("Name"), nullptr, nullptr, data, &size), 6);
}

TEST_F(Registry, StoresAnyTypeAndSizeAndReplacesBoth) {
    const kr_char abc[] = KR_TEXT("abc");
    const BYTE odd[] = {1, 2, 3};
    struct row {
        int line;
        DWORD type;
        const void* data;
        DWORD bytes;
        DWORD stored;
    };
    const row rows[] = {
        {__LINE__, REG_SZ, abc, 8, 8},
        {__LINE__, REG_SZ, abc, 6, 8}, // the terminator behind it is taken along
        {__LINE__, REG_SZ, abc, 4, 4}, // what follows is none
        {__LINE__, REG_BINARY, abc, 6, 6},
        {__LINE__, REG_DWORD, odd, 3, 3},
        {__LINE__, REG_SZ, nullptr, 0, 0},
        {__LINE__, 0x12345, odd, 1, 1},
    };
    for (const row& r : rows) {
        SCOPED_TRACE(r.line);
        DWORD type = 99;
        DWORD size = 0;
        EXPECT_EQ(
            RegSetValueExW(key, KR_TEXT("v"), 0, r.type, static_cast<const BYTE*>(r.data), r.bytes),
            0);
        EXPECT_EQ(RegQueryValueExW(key, KR_TEXT("V"), nullptr, &type, nullptr, &size), 0);
        EXPECT_EQ(type, r.type);
        EXPECT_EQ(size, r.stored);
    }
    EXPECT_EQ(RegDeleteValueW(key, KR_TEXT("V")), 0);
    EXPECT_EQ(RegDeleteValueW(key, KR_TEXT("v")), 2);
    // The default value has no name, given as null or empty.
    EXPECT_EQ(set(nullptr, text(1, 'd')), 0);
    EXPECT_EQ(RegQueryValueExW(key, KR_TEXT(""), nullptr, nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(set(text(16383, 'n').c_str(), text(1, 'x')), 0);
    EXPECT_EQ(set(text(16384, 'n').c_str(), text(1, 'x')), 87);
}

TEST_F(Registry, CountsAndListsSubkeysInOrder) {
    const kr_char* const sorted[] = {KR_TEXT("10"), KR_TEXT("9"), KR_TEXT("Alpha"), KR_TEXT("beta"),
                                     KR_TEXT("zeta")};
    for (const u32 i : {3u, 4u, 1u, 2u, 0u}) {
        RegCloseKey(make(sorted[i]));
    }
    DWORD count = 0;
    DWORD longest = 0;
    ASSERT_EQ(RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, &count, &longest, nullptr, nullptr,
                               nullptr, nullptr, nullptr, nullptr),
              0);
    EXPECT_EQ(count, 5u);
    EXPECT_EQ(longest, 5u);
    kr_char name[6];
    for (DWORD i = 0; i < 5; ++i) {
        EXPECT_EQ(RegEnumKeyW(key, i, name, 6), 0);
        EXPECT_EQ(text(name), sorted[i]);
        DWORD chars = 6;
        EXPECT_EQ(RegEnumKeyExW(key, i, name, &chars, nullptr, nullptr, nullptr, nullptr), 0);
        EXPECT_EQ(chars, text(sorted[i]).size());
    }
    EXPECT_EQ(RegEnumKeyW(key, 5, name, 6), 259);
    EXPECT_EQ(RegEnumKeyW(key, 2, name, 5), 234);
    DWORD short_room = 5;
    EXPECT_EQ(RegEnumKeyExW(key, 2, name, &short_room, nullptr, nullptr, nullptr, nullptr), 234);
    EXPECT_EQ(RegEnumKeyW(nullptr, 0, name, 6), 6);
}

TEST_F(Registry, CountsAndListsValuesInSomeOrder) {
    const std::set<text> names = {KR_TEXT(""), KR_TEXT("a"), KR_TEXT("Longer"), KR_TEXT("z")};
    for (const text& name : names) {
        ASSERT_EQ(set(name.c_str(), name), 0);
    }
    DWORD count = 0;
    DWORD longest_name = 0;
    DWORD longest_data = 0;
    ASSERT_EQ(RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, &count,
                               &longest_name, &longest_data, nullptr, nullptr),
              0);
    EXPECT_EQ(count, 4u);
    EXPECT_EQ(longest_name, 6u);
    EXPECT_EQ(longest_data, 14u);
    std::set<text> listed;
    for (DWORD i = 0; i < count; ++i) {
        kr_char name[7];
        DWORD chars = 7;
        DWORD type = 0;
        DWORD bytes = 0;
        EXPECT_EQ(RegEnumValueW(key, i, name, &chars, nullptr, &type, nullptr, &bytes), 0);
        EXPECT_EQ(chars, text(name).size());
        EXPECT_EQ(type, DWORD{REG_SZ});
        EXPECT_EQ(bytes, (chars + 1) * sizeof(kr_char));
        listed.insert(name);
    }
    EXPECT_EQ(listed, names);
    kr_char name[7];
    DWORD chars = 7;
    EXPECT_EQ(RegEnumValueW(key, 4, name, &chars, nullptr, nullptr, nullptr, nullptr), 259);
    EXPECT_EQ(RegEnumValueW(key, 0, name, nullptr, nullptr, nullptr, nullptr, nullptr), 87);
}

TEST_F(Registry, SaysWhenAListedValueDoesNotFit) {
    ASSERT_EQ(set(KR_TEXT("Longer"), KR_TEXT("data")), 0);
    kr_char name[7];
    BYTE data[16];
    DWORD chars = 6;
    EXPECT_EQ(RegEnumValueW(key, 0, name, &chars, nullptr, nullptr, nullptr, nullptr), 234);
    chars = 7;
    DWORD bytes = 9;
    EXPECT_EQ(RegEnumValueW(key, 0, name, &chars, nullptr, nullptr, data, &bytes), 234);
    chars = 7;
    bytes = 10;
    EXPECT_EQ(RegEnumValueW(key, 0, name, &chars, nullptr, nullptr, data, &bytes), 0);
    EXPECT_EQ(bytes, 10u);
    EXPECT_EQ(text(name), KR_TEXT("Longer"));
}

} // namespace
