/// Registry calls and their error numbers, the same on both systems. Works in a key of its own
/// below HKEY_LOCAL_MACHINE and leaves nothing behind.
#include <functional>
#include <set>

#include "support/fresh_registry.h"

namespace {

using namespace kr::test;

const kr_char* const suite_path = KR_TEXT("SOFTWARE\\KorinthSuite");
const kr_char abc[] = KR_TEXT("abc");

/// A key with the subkeys Alpha\bäta\Gamma, top\leaf, 10, 9 and zeta, and the values "" and "Name",
/// both "abc".
class Registry : public testing::Test {
protected:
    Registry() {
        EXPECT_EQ(RegCreateKeyW(HKEY_LOCAL_MACHINE, suite_path, &key), 0);
        for (const kr_char* path : {KR_TEXT("zeta"), KR_TEXT("Alpha\\b\u00E4ta\\Gamma"), KR_TEXT("9"),
                                    KR_TEXT("top\\leaf"), KR_TEXT("10")}) {
            EXPECT_EQ(create(key, path), 0);
        }
        for (const kr_char* name : {static_cast<const kr_char*>(nullptr), KR_TEXT("Name")}) {
            EXPECT_EQ(set(key, name, REG_SZ, abc, 8), 0);
        }
    }
    ~Registry() override { RegCloseKey(key); }

    static LSTATUS closed(LSTATUS status, HKEY opened) { return status == 0 ? RegCloseKey(opened) : status; }
    static LSTATUS open(HKEY parent, const wide& path) {
        HKEY opened = parent;
        const LSTATUS status = RegOpenKeyW(parent, path.c_str(), &opened);
        EXPECT_TRUE(status != 2 || opened == nullptr) << "a missing key leaves null";
        return closed(status, opened);
    }
    static LSTATUS create(HKEY parent, const wide& path, DWORD reserved = 0, DWORD* disposition = nullptr) {
        HKEY opened = nullptr;
        const LSTATUS status =
            RegCreateKeyExW(parent, path.c_str(), reserved, nullptr, REG_OPTION_NON_VOLATILE, KEY_SET_VALUE,
                            nullptr, &opened, disposition);
        return closed(status, opened);
    }
    static LSTATUS set(HKEY to, const kr_char* name, DWORD type, const void* data, DWORD bytes) {
        return RegSetValueExW(to, name, 0, type, static_cast<const BYTE*>(data), bytes);
    }
    static LSTATUS query(HKEY from, const kr_char* name) {
        return RegQueryValueExW(from, name, nullptr, nullptr, nullptr, nullptr);
    }

    const fresh_key fresh_{HKEY_LOCAL_MACHINE, suite_path};
    HKEY key = nullptr;
};

TEST_F(Registry, AnswersInOrder) {
    HKEY gone = nullptr;
    ASSERT_EQ(RegCreateKeyW(key, KR_TEXT("top\\leaf"), &gone), 0);
    kr_char name[8];
    DWORD disposition = 0, chars = 8;
    BYTE data[8];
    const struct {
        int line;
        std::function<LSTATUS()> call;
        LSTATUS status;
    } rows[] = {
        {__LINE__, [&] { return open(key, KR_TEXT("ALPHA\\B\u00C4ta\\gAMMA")); }, 0},
        {__LINE__, [&] { return open(key, KR_TEXT("alpha\\")); }, 0},
        {__LINE__, [&] { return open(key, KR_TEXT("\\alpha")); }, 161},
        {__LINE__, [&] { return open(key, KR_TEXT("alpha\\b\u00E4ta\\gamma\\delta")); }, 2},
        {__LINE__, [&] { return open(key, wide(299, 'x')); }, 87},
        {__LINE__, [&] { return RegOpenKeyW(key, KR_TEXT("a"), nullptr); }, 87},
        {__LINE__, [&] { return create(key, KR_TEXT("a\\b\\c"), 0, &disposition); }, 0},
        {__LINE__, [&] { return static_cast<LSTATUS>(disposition); }, REG_CREATED_NEW_KEY},
        {__LINE__, [&] { return create(key, KR_TEXT("A\\B"), 0, &disposition); }, 0},
        {__LINE__, [&] { return static_cast<LSTATUS>(disposition); }, REG_OPENED_EXISTING_KEY},
        {__LINE__, [&] { return create(key, KR_TEXT("x"), 1, nullptr); }, 87},
        {__LINE__, [&] { return open(key, KR_TEXT("x")); }, 2},
        {__LINE__, [&] { return create(key, wide(255, 'y')); }, 0},
        {__LINE__, [&] { return open(key, wide(255, 'y')); }, 0},
        {__LINE__, [&] { return RegDeleteKeyW(key, KR_TEXT("top")); }, 5},
        {__LINE__, [&] { return RegDeleteKeyW(key, KR_TEXT("TOP\\LEAF")); }, 0},
        {__LINE__, [&] { return RegDeleteKeyW(key, KR_TEXT("top\\leaf")); }, 2},
        {__LINE__, [&] { return RegDeleteKeyW(key, KR_TEXT("\\top")); }, 161},
        {__LINE__, [&] { return RegDeleteKeyW(key, nullptr); }, 87},
        {__LINE__, [&] { return RegDeleteKeyW(nullptr, KR_TEXT("top")); }, 6},
        {__LINE__, [&] { return set(gone, KR_TEXT("v"), REG_DWORD, abc, 4); }, 1018},
        {__LINE__, [&] { return create(gone, KR_TEXT("x")); }, 1018},
        {__LINE__, [&] { return create(key, KR_TEXT("top\\leaf")); }, 0}, // another one of that name
        {__LINE__, [&] { return RegDeleteValueW(gone, KR_TEXT("v")); }, 1018},
        {__LINE__, [&] { return RegCloseKey(gone); }, 0},
        {__LINE__, [&] { return RegCloseKey(gone); }, 6},
        {__LINE__, [&] { return query(key, KR_TEXT("NAME")); }, 0},
        {__LINE__, [&] { return query(key, KR_TEXT("")); }, 0}, // the default value
        {__LINE__, [&] { return RegDeleteValueW(key, nullptr); }, 0},
        {__LINE__, [&] { return query(key, nullptr); }, 2},
        {__LINE__, [&] { return RegDeleteValueW(key, KR_TEXT("")); }, 2},
        {__LINE__, [&] { return query(nullptr, KR_TEXT("Name")); }, 6},
        {__LINE__, [&] { return RegQueryValueExW(key, KR_TEXT("Name"), nullptr, nullptr, data, nullptr); },
         87},
        {__LINE__, [&] { return set(key, wide(16383, 'n').c_str(), REG_SZ, abc, 8); }, 0},
        {__LINE__, [&] { return set(key, wide(16384, 'n').c_str(), REG_SZ, abc, 8); }, 87},
        {__LINE__, [&] { return set(key, KR_TEXT("v"), REG_SZ, nullptr, 8); }, 998},
        {__LINE__, [&] { return RegEnumKeyW(nullptr, 0, name, 8); }, 6},
        {__LINE__, [&] { return RegEnumValueW(key, 0, name, nullptr, nullptr, nullptr, nullptr, nullptr); },
         87},
        {__LINE__, [&] { return RegEnumValueW(key, 0, name, &chars, nullptr, nullptr, data, nullptr); }, 87},
    };
    for (const auto& row : rows) { EXPECT_EQ(row.call(), row.status) << "line " << row.line; }
}

TEST_F(Registry, AnEmptyPathIsTheKeyItself) {
    for (const kr_char* path : {static_cast<const kr_char*>(nullptr), KR_TEXT("")}) {
        HKEY same = nullptr, another = nullptr;
        EXPECT_EQ(RegOpenKeyW(key, path, &same), 0);
        EXPECT_EQ(same, key);
        EXPECT_EQ(RegCreateKeyW(key, path, &another), 0);
        EXPECT_NE(another, key);
        EXPECT_EQ(RegCloseKey(another), 0);
    }
}

/// Stores a value and reads it into some room.
TEST_F(Registry, StoresAndReadsAnyTypeAndSize) {
    constexpr DWORD no_data = 99;
    const struct {
        int line;
        DWORD type, given, room;
        LSTATUS status;
        DWORD stored;
        const char* data; ///< what is in the first bytes of the room, "." as it was
    } rows[] = {
        {__LINE__, REG_SZ, 8, no_data, 0, 8, "......"},
        {__LINE__, REG_SZ, 8, 8, 0, 8, "a0b0c000.."},
        {__LINE__, REG_SZ, 8, 7, 234, 8, "......"},
        {__LINE__, REG_SZ, 8, 0, 234, 8, "......"},
        {__LINE__, REG_SZ, 6, 9, 0, 8, "a0b0c000.."}, // the terminator behind it is taken along
        {__LINE__, REG_SZ, 4, 4, 0, 4, "a0b0.."},     // what follows is none
        {__LINE__, REG_SZ, 4, 5, 0, 4, "a0b0.."},
        {__LINE__, REG_SZ, 4, 6, 0, 4, "a0b000.."}, // and gets one where there is room
        {__LINE__, REG_BINARY, 4, 9, 0, 4, "a0b0.."},
        {__LINE__, REG_DWORD, 3, 9, 0, 3, "a0b..."},
        {__LINE__, REG_SZ, 0, 9, 0, 0, "......"},
        {__LINE__, 0x12345, 1, 9, 0, 1, "a....."},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        EXPECT_EQ(set(key, KR_TEXT("v"), row.type, row.given == 0 ? nullptr : abc, row.given), 0);
        DWORD type = 99, size = row.room;
        std::string data(12, '.');
        BYTE* const room = row.room == no_data ? nullptr : reinterpret_cast<BYTE*>(data.data());
        EXPECT_EQ(RegQueryValueExW(key, KR_TEXT("V"), nullptr, &type, room, &size), row.status);
        EXPECT_EQ(type, row.type);
        EXPECT_EQ(size, row.stored);
        std::replace(data.begin(), data.end(), '\0', '0');
        EXPECT_EQ(data.substr(0, std::strlen(row.data)), row.data);
    }
    DWORD both = 77; // one variable for type and size
    EXPECT_EQ(RegQueryValueExW(key, KR_TEXT("Name"), nullptr, &both, nullptr, &both), 0);
    EXPECT_EQ(both, 8u);
    EXPECT_EQ(RegQueryValueExW(key, KR_TEXT("none"), nullptr, nullptr, nullptr, &both), 2);
    EXPECT_EQ(both, 0u);
}

TEST_F(Registry, CountsAndListsSubkeysInOrder) {
    const wide sorted[] = {KR_TEXT("10"), KR_TEXT("9"), KR_TEXT("Alpha"), KR_TEXT("top"), KR_TEXT("zeta")};
    DWORD count = 0, longest = 0;
    ASSERT_EQ(RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, &count, &longest, nullptr, nullptr, nullptr,
                               nullptr, nullptr, nullptr),
              0);
    EXPECT_EQ(count, 5u);
    EXPECT_EQ(longest, 5u);
    kr_char name[6];
    for (const DWORD i : {0u, 1u, 2u, 3u, 4u, 2u, 0u}) {
        EXPECT_EQ(RegEnumKeyW(key, i, name, 6), 0);
        EXPECT_EQ(name, sorted[i]);
    }
    EXPECT_EQ(RegEnumKeyW(key, 5, name, 6), 259);
    EXPECT_EQ(RegEnumKeyW(key, 2, name, 5), 234);
    EXPECT_EQ(RegDeleteKeyW(key, KR_TEXT("10")), 0);
    EXPECT_EQ(RegEnumKeyW(key, 0, name, 6), 0);
    EXPECT_EQ(name, sorted[1]);
}

TEST_F(Registry, CountsAndListsValuesInSomeOrder) {
    EXPECT_EQ(set(key, KR_TEXT("Longer"), REG_DWORD, abc, 4), 0);
    DWORD count = 0, longest_name = 0, longest_data = 0;
    ASSERT_EQ(RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, &count,
                               &longest_name, &longest_data, nullptr, nullptr),
              0);
    EXPECT_EQ(count, 3u);
    EXPECT_EQ(longest_name, 6u);
    EXPECT_EQ(longest_data, 8u);
    kr_char name[7];
    BYTE data[8];
    std::set<wide> listed;
    for (DWORD i = 0; i < count; ++i) {
        DWORD type = 0, bytes = 8, chars = 7;
        EXPECT_EQ(RegEnumValueW(key, i, name, &chars, nullptr, &type, data, &bytes), 0);
        EXPECT_EQ(chars, wide(name).size());
        EXPECT_EQ(type, static_cast<DWORD>(chars == 6 ? REG_DWORD : REG_SZ));
        EXPECT_EQ(bytes, chars == 6 ? 4u : 8u);
        listed.insert(name);
        bytes = bytes - 1, chars = 7;
        EXPECT_EQ(RegEnumValueW(key, i, name, &chars, nullptr, nullptr, data, &bytes), 234);
        chars = static_cast<DWORD>(wide(name).size());
        EXPECT_EQ(RegEnumValueW(key, i, name, &chars, nullptr, nullptr, nullptr, nullptr), 234);
    }
    EXPECT_EQ(listed, (std::set<wide>{KR_TEXT(""), KR_TEXT("Name"), KR_TEXT("Longer")}));
    DWORD chars = 7;
    EXPECT_EQ(RegEnumValueW(key, 3, name, &chars, nullptr, nullptr, nullptr, nullptr), 259);
}

} // namespace
