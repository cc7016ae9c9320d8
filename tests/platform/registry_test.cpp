/// Registry calls and their error numbers, the same on both systems. Works in a key of its own
/// below HKEY_CURRENT_USER and leaves nothing behind.
#include "support/system.h"

#include <set>

namespace {

using namespace kr::test;

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

    [[nodiscard]] HKEY make(const kr_char* path) const {
        HKEY made = nullptr;
        EXPECT_EQ(RegCreateKeyW(key, path, &made), 0);
        return made;
    }
    [[nodiscard]] LSTATUS set(const kr_char* name, const wide& value) const {
        return RegSetValueExW(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(value.c_str()),
                              static_cast<DWORD>((value.size() + 1) * sizeof(kr_char)));
    }
    static LSTATUS query(HKEY from, const kr_char* name) {
        return RegQueryValueExW(from, name, nullptr, nullptr, nullptr, nullptr);
    }
    [[nodiscard]] LSTATUS open(const wide& path) const {
        HKEY opened = nullptr;
        const LSTATUS status = RegOpenKeyW(key, path.c_str(), &opened);
        return status == 0 ? RegCloseKey(opened) : status;
    }

    HKEY key = nullptr;
};

TEST_F(Registry, OpensByPathWithoutRegardToCase) {
    RegCloseKey(make(KR_TEXT("Alpha\\b\u00E4ta\\Gamma")));
    EXPECT_EQ(open(KR_TEXT("ALPHA\\B\u00C4ta\\gAMMA")), 0);
    EXPECT_EQ(open(KR_TEXT("alpha\\")), 0);
    EXPECT_EQ(open(KR_TEXT("\\alpha")), 161);
    EXPECT_EQ(open(KR_TEXT("b\u00E4ta")), 2);
    EXPECT_EQ(open(KR_TEXT("alpha\\b\u00E4ta\\gamma\\delta")), 2);
    EXPECT_EQ(open(wide(299, 'x')), 87);
    for (const kr_char* path : {static_cast<const kr_char*>(nullptr), KR_TEXT("")}) {
        HKEY same = nullptr;
        EXPECT_EQ(RegOpenKeyW(key, path, &same), 0);
        EXPECT_EQ(same, key);
    }
    EXPECT_EQ(RegOpenKeyW(key, KR_TEXT("a"), nullptr), 87);
    HKEY another = make(KR_TEXT(""));
    EXPECT_NE(another, key);
    EXPECT_EQ(RegCloseKey(another), 0);
    EXPECT_EQ(RegCloseKey(another), 6);
}

TEST_F(Registry, CreatesWithWhatIsMissingAboveAndSaysWhetherItWasThere) {
    DWORD disposition = 0;
    HKEY made = nullptr;
    const auto create = [&](const wide& path, DWORD reserved = 0) {
        return RegCreateKeyExW(key, path.c_str(), reserved, nullptr, REG_OPTION_NON_VOLATILE, KEY_SET_VALUE,
                               nullptr, &made, &disposition);
    };
    EXPECT_EQ(create(KR_TEXT("a\\b\\c")), 0);
    EXPECT_EQ(disposition, DWORD{REG_CREATED_NEW_KEY});
    RegCloseKey(made);
    EXPECT_EQ(create(KR_TEXT("A\\B")), 0);
    EXPECT_EQ(disposition, DWORD{REG_OPENED_EXISTING_KEY});
    EXPECT_EQ(query(made, KR_TEXT("v")), 5) << "the right to set values lets nobody read";
    RegCloseKey(made);
    EXPECT_EQ(create(KR_TEXT("x"), 1), 87);
    EXPECT_EQ(create(KR_TEXT("\\x")), 161);
    EXPECT_EQ(create(wide(299, 'x')), 87);
    EXPECT_EQ(open(KR_TEXT("x")), 2);
    RegCloseKey(make(wide(255, 'y').c_str()));
    EXPECT_EQ(open(wide(255, 'y')), 0);
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
    EXPECT_EQ(query(gone, KR_TEXT("v")), 1018);
    EXPECT_EQ(RegEnumKeyW(gone, 0, name, 8), 1018);
    EXPECT_EQ(RegCreateKeyW(gone, KR_TEXT("x"), &below), 1018);
    RegCloseKey(make(KR_TEXT("gone"))); // a new key of the name is another one
    EXPECT_EQ(RegDeleteValueW(gone, KR_TEXT("v")), 1018);
    EXPECT_EQ(RegCloseKey(gone), 0);
    EXPECT_EQ(RegCloseKey(gone), 6);
    EXPECT_EQ(RegDeleteValueW(gone, KR_TEXT("v")), 6);
}

TEST_F(Registry, DeletesATreeOrWhatIsBelowAKey) {
    HKEY deep = make(KR_TEXT("tree\\branch\\leaf"));
    ASSERT_EQ(set(KR_TEXT("v"), KR_TEXT("x")), 0);
    EXPECT_EQ(RegDeleteTreeW(key, KR_TEXT("none")), 2);
    EXPECT_EQ(RegDeleteTreeW(key, KR_TEXT("tree\\branch")), 0);
    EXPECT_EQ(RegDeleteValueW(deep, KR_TEXT("v")), 1018);
    RegCloseKey(deep);
    EXPECT_EQ(open(KR_TEXT("tree")), 0);
    EXPECT_EQ(RegDeleteTreeW(key, nullptr), 0);
    EXPECT_EQ(open(KR_TEXT("tree")), 2);
    EXPECT_EQ(query(key, KR_TEXT("v")), 2);
}

TEST_F(Registry, ReadsSizesThenData) {
    ASSERT_EQ(set(KR_TEXT("Name"), KR_TEXT("abc")), 0);
    const struct {
        bool with_data;
        DWORD room;
        LSTATUS status;
    } rows[] = {{false, 0, 0}, {true, 8, 0}, {true, 7, 234}, {true, 0, 234}};
    for (const auto& r : rows) {
        SCOPED_TRACE(r.room);
        DWORD type = 99, size = r.room;
        BYTE data[64] = {0xA5};
        BYTE* const out = r.with_data ? data : nullptr;
        EXPECT_EQ(RegQueryValueExW(key, KR_TEXT("nAME"), nullptr, &type, out, &size), r.status);
        EXPECT_EQ(size, 8u);
        EXPECT_EQ(type, DWORD{REG_SZ});
        EXPECT_EQ(data[0], r.with_data && r.status == 0 ? 'a' : 0xA5);
    }
    BYTE data[8];
    EXPECT_EQ(RegQueryValueExW(key, KR_TEXT("Name"), nullptr, nullptr, data, nullptr), 87);
    EXPECT_EQ(query(key, KR_TEXT("none")), 2);
    EXPECT_EQ(query(key, nullptr), 2);
    EXPECT_EQ(query(nullptr, KR_TEXT("Name")), 6);
}

TEST_F(Registry, StoresAnyTypeAndSizeAndReplacesBoth) {
    const kr_char abc[] = KR_TEXT("abc");
    const struct {
        int line;
        DWORD type;
        const void* data;
        DWORD bytes, stored;
    } rows[] = {
        {__LINE__, REG_SZ, abc, 8, 8},
        {__LINE__, REG_SZ, abc, 6, 8}, // the terminator behind it is taken along
        {__LINE__, REG_SZ, abc, 4, 4}, // what follows is none
        {__LINE__, REG_BINARY, abc, 6, 6},
        {__LINE__, REG_DWORD, abc, 3, 3},
        {__LINE__, REG_SZ, nullptr, 0, 0},
        {__LINE__, 0x12345, abc, 1, 1},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(r.line);
        DWORD type = 99, size = 0;
        EXPECT_EQ(RegSetValueExW(key, KR_TEXT("v"), 0, r.type, static_cast<const BYTE*>(r.data), r.bytes), 0);
        EXPECT_EQ(RegQueryValueExW(key, KR_TEXT("V"), nullptr, &type, nullptr, &size), 0);
        EXPECT_EQ(type, r.type);
        EXPECT_EQ(size, r.stored);
    }
    EXPECT_EQ(RegDeleteValueW(key, KR_TEXT("V")), 0);
    EXPECT_EQ(RegDeleteValueW(key, KR_TEXT("v")), 2);
    EXPECT_EQ(set(nullptr, KR_TEXT("d")), 0); // the default value's name is null or empty
    EXPECT_EQ(query(key, KR_TEXT("")), 0);
    EXPECT_EQ(set(wide(16383, 'n').c_str(), KR_TEXT("x")), 0);
    EXPECT_EQ(set(wide(16384, 'n').c_str(), KR_TEXT("x")), 87);
}

TEST_F(Registry, CountsAndListsSubkeysInOrder) {
    const wide sorted[] = {KR_TEXT("10"), KR_TEXT("9"), KR_TEXT("Alpha"), KR_TEXT("beta"), KR_TEXT("zeta")};
    for (const u32 i : {3u, 4u, 1u, 2u, 0u}) { RegCloseKey(make(sorted[i].c_str())); }
    DWORD count = 0, longest = 0;
    ASSERT_EQ(RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, &count, &longest, nullptr, nullptr, nullptr,
                               nullptr, nullptr, nullptr),
              0);
    EXPECT_EQ(count, 5u);
    EXPECT_EQ(longest, 5u);
    kr_char name[6];
    for (DWORD i = 0; i < 5; ++i) {
        EXPECT_EQ(RegEnumKeyW(key, i, name, 6), 0);
        EXPECT_EQ(name, sorted[i]);
    }
    EXPECT_EQ(RegEnumKeyW(key, 5, name, 6), 259);
    EXPECT_EQ(RegEnumKeyW(key, 2, name, 5), 234);
    EXPECT_EQ(RegEnumKeyW(nullptr, 0, name, 6), 6);
}

TEST_F(Registry, CountsAndListsValuesInSomeOrder) {
    const std::set<wide> names = {KR_TEXT(""), KR_TEXT("a"), KR_TEXT("Longer"), KR_TEXT("z")};
    for (const wide& name : names) { ASSERT_EQ(set(name.c_str(), name), 0); }
    DWORD count = 0, longest_name = 0, longest_data = 0;
    ASSERT_EQ(RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, &count,
                               &longest_name, &longest_data, nullptr, nullptr),
              0);
    EXPECT_EQ(count, 4u);
    EXPECT_EQ(longest_name, 6u);
    EXPECT_EQ(longest_data, 14u);
    kr_char name[7];
    DWORD chars = 7;
    std::set<wide> listed;
    for (DWORD i = 0; i < count; ++i, chars = 7) {
        DWORD type = 0, bytes = 0;
        EXPECT_EQ(RegEnumValueW(key, i, name, &chars, nullptr, &type, nullptr, &bytes), 0);
        EXPECT_EQ(chars, wide(name).size());
        EXPECT_EQ(type, DWORD{REG_SZ});
        EXPECT_EQ(bytes, (chars + 1) * sizeof(kr_char));
        listed.insert(name);
    }
    EXPECT_EQ(listed, names);
    EXPECT_EQ(RegEnumValueW(key, 4, name, &chars, nullptr, nullptr, nullptr, nullptr), 259);
    EXPECT_EQ(RegEnumValueW(key, 0, name, nullptr, nullptr, nullptr, nullptr, nullptr), 87);
}

TEST_F(Registry, SaysWhenAListedValueDoesNotFit) {
    ASSERT_EQ(set(KR_TEXT("Longer"), KR_TEXT("data")), 0);
    for (const auto& [room, bytes_room, status] : {std::tuple(6u, 10u, 234), {7u, 9u, 234}, {7u, 10u, 0}}) {
        kr_char name[7];
        BYTE data[16];
        DWORD chars = room, bytes = bytes_room;
        EXPECT_EQ(RegEnumValueW(key, 0, name, &chars, nullptr, nullptr, data, &bytes), status);
        EXPECT_TRUE(status != 0 || (bytes == 10 && wide(name) == KR_TEXT("Longer")));
    }
}

} // namespace
