/// Registry calls and their error numbers, the same on both systems. Works in a key of its own
/// below HKEY_LOCAL_MACHINE and leaves nothing behind.
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
        expect(0, {RegCreateKeyW(HKEY_LOCAL_MACHINE, suite_path, &key), create(key, KR_TEXT("zeta")),
                   create(key, KR_TEXT("Alpha\\b\u00E4ta\\Gamma")), create(key, KR_TEXT("9")),
                   create(key, KR_TEXT("top\\leaf")), create(key, KR_TEXT("10")),
                   set(key, nullptr, REG_SZ, abc, 8), set(key, KR_TEXT("Name"), REG_SZ, abc, 8)});
    }
    ~Registry() override { RegCloseKey(key); }

    /// Every one of the calls answers so.
    static void expect(LSTATUS status, std::initializer_list<LSTATUS> answers, int line = __builtin_LINE()) {
        EXPECT_THAT(answers, testing::Each(status)) << "line " << line;
    }
    static LSTATUS open(HKEY parent, const wide& path) {
        HKEY opened = parent;
        const LSTATUS status = RegOpenKeyW(parent, path.c_str(), &opened);
        EXPECT_TRUE(status != 2 || opened == nullptr) << "a missing key leaves null";
        return status == 0 ? RegCloseKey(opened) : status;
    }
    static LSTATUS create(HKEY parent, const wide& path, DWORD reserved = 0, DWORD* disposition = nullptr) {
        HKEY opened = nullptr;
        const LSTATUS status =
            RegCreateKeyExW(parent, path.c_str(), reserved, nullptr, REG_OPTION_NON_VOLATILE, KEY_SET_VALUE,
                            nullptr, &opened, disposition);
        return status == 0 ? RegCloseKey(opened) : status;
    }
    static LSTATUS set(HKEY to, const kr_char* value, DWORD type, const void* bytes, DWORD size) {
        return RegSetValueExW(to, value, 0, type, static_cast<const BYTE*>(bytes), size);
    }
    static LSTATUS query(HKEY from, const kr_char* value) {
        return RegQueryValueExW(from, value, nullptr, nullptr, nullptr, nullptr);
    }

    const fresh_key fresh_{HKEY_LOCAL_MACHINE, suite_path};
    HKEY key = nullptr;
    kr_char name[7] = {};
    BYTE data[8] = {};
};

TEST_F(Registry, FindsMakesAndDeletesKeys) {
    HKEY gone = nullptr, same = nullptr, another = nullptr;
    DWORD made = 0, found = 0;
    expect(0, {open(key, KR_TEXT("ALPHA\\B\u00C4ta\\gAMMA")), open(key, KR_TEXT("alpha\\")),
               create(key, KR_TEXT("a\\b\\c"), 0, &made), create(key, KR_TEXT("A\\B"), 0, &found),
               create(key, wide(255, 'y')), open(key, wide(255, 'y')),
               RegCreateKeyW(key, KR_TEXT("top\\leaf"), &gone)});
    EXPECT_TRUE(made == REG_CREATED_NEW_KEY && found == REG_OPENED_EXISTING_KEY) << made << ' ' << found;
    expect(2, {open(key, KR_TEXT("alpha\\b\u00E4ta\\gamma\\delta")), open(key, KR_TEXT("x"))});
    expect(87, {open(key, wide(299, 'x')), RegOpenKeyW(key, KR_TEXT("a"), nullptr),
                create(key, KR_TEXT("x"), 1), RegDeleteKeyW(key, nullptr)});
    expect(161, {open(key, KR_TEXT("\\alpha")), RegDeleteKeyW(key, KR_TEXT("\\top"))});
    expect(5, {RegDeleteKeyW(key, KR_TEXT("top"))});
    expect(0, {RegDeleteKeyW(key, KR_TEXT("TOP\\LEAF"))});
    expect(2, {RegDeleteKeyW(key, KR_TEXT("top\\leaf"))});
    expect(1018, {set(gone, KR_TEXT("v"), REG_DWORD, abc, 4), create(gone, KR_TEXT("x"))});
    expect(0, {create(key, KR_TEXT("top\\leaf"))}); // another one of that name
    expect(1018, {RegDeleteValueW(gone, KR_TEXT("v"))});
    expect(0, {RegCloseKey(gone)});
    expect(6, {RegCloseKey(gone), RegDeleteKeyW(nullptr, KR_TEXT("top")), query(nullptr, KR_TEXT("Name")),
               RegEnumKeyW(nullptr, 0, name, 7)});
    for (const kr_char* path : {static_cast<const kr_char*>(nullptr), KR_TEXT("")}) { // the key itself
        expect(0, {RegOpenKeyW(key, path, &same), RegCreateKeyW(key, path, &another), RegCloseKey(another)});
        EXPECT_TRUE(same == key && another != key);
    }
}

TEST_F(Registry, StoresAndReadsAnyTypeAndSize) {
    constexpr DWORD no_data = 99;
    // What comes of some bytes of "abc" into some room: status, size, the room's bytes, "." as they were.
    const auto stored = [this](DWORD type, DWORD given, DWORD room) {
        expect(0, {set(key, KR_TEXT("v"), type, given == 0 ? nullptr : abc, given)});
        std::string bytes(10, '.');
        BYTE* const target = room == no_data ? nullptr : reinterpret_cast<BYTE*>(bytes.data());
        DWORD stored_type = 99;
        const LSTATUS status = RegQueryValueExW(key, KR_TEXT("V"), nullptr, &stored_type, target, &room);
        EXPECT_EQ(stored_type, type);
        std::replace(bytes.begin(), bytes.end(), '\0', '0');
        return std::to_string(status) + ' ' + std::to_string(room) + ' ' + bytes;
    };
    EXPECT_EQ(stored(REG_SZ, 8, no_data), "0 8 ..........");
    EXPECT_EQ(stored(REG_SZ, 8, 8), "0 8 a0b0c000..");
    EXPECT_EQ(stored(REG_SZ, 8, 7), "234 8 ..........");
    EXPECT_EQ(stored(REG_SZ, 6, 9), "0 8 a0b0c000..") << "the terminator behind it is taken along";
    EXPECT_EQ(stored(REG_SZ, 4, 5), "0 4 a0b0......") << "what follows is none";
    EXPECT_EQ(stored(REG_SZ, 4, 6), "0 4 a0b000....") << "and gets one where there is room";
    EXPECT_EQ(stored(REG_BINARY, 4, 9), "0 4 a0b0......");
    EXPECT_EQ(stored(REG_DWORD, 3, 9), "0 3 a0b.......");
    EXPECT_EQ(stored(REG_SZ, 0, 9), "0 0 ..........");
    EXPECT_EQ(stored(0x12345, 1, 9), "0 1 a.........");
    DWORD both = 77; // one variable for type and size
    expect(0, {RegQueryValueExW(key, KR_TEXT("Name"), nullptr, &both, nullptr, &both)});
    EXPECT_EQ(both, 8u);
    expect(2, {RegQueryValueExW(key, KR_TEXT("none"), nullptr, nullptr, nullptr, &both)});
    EXPECT_EQ(both, 0u);
    expect(0, {query(key, KR_TEXT("NAME")), query(key, KR_TEXT("")), RegDeleteValueW(key, nullptr)});
    expect(2, {query(key, nullptr), RegDeleteValueW(key, KR_TEXT(""))});
    expect(0, {set(key, wide(16383, 'n').c_str(), REG_SZ, abc, 8)});
    expect(87, {set(key, wide(16384, 'n').c_str(), REG_SZ, abc, 8),
                RegQueryValueExW(key, KR_TEXT("Name"), nullptr, nullptr, data, nullptr)});
    expect(998, {set(key, KR_TEXT("v"), REG_SZ, nullptr, 8)});
}

TEST_F(Registry, CountsAndListsSubkeysInOrderAndValuesInSome) {
    expect(0, {set(key, KR_TEXT("Longer"), REG_DWORD, abc, 4)});
    DWORD keys = 0, longest = 0, values = 0, longest_name = 0, longest_data = 0, chars = 7;
    expect(0, {RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, &keys, &longest, nullptr, &values,
                                &longest_name, &longest_data, nullptr, nullptr)});
    EXPECT_THAT((std::vector{keys, longest, values, longest_name, longest_data}), ElementsAre(5, 5, 3, 6, 8));
    const wide sorted[] = {KR_TEXT("10"), KR_TEXT("9"), KR_TEXT("Alpha"), KR_TEXT("top"), KR_TEXT("zeta")};
    for (const DWORD i : {0u, 1u, 2u, 3u, 4u, 2u, 0u}) {
        expect(0, {RegEnumKeyW(key, i, name, 6)});
        EXPECT_EQ(name, sorted[i]);
    }
    expect(259, {RegEnumKeyW(key, 5, name, 6)});
    expect(234, {RegEnumKeyW(key, 2, name, 5)});
    expect(0, {RegDeleteKeyW(key, KR_TEXT("10")), RegEnumKeyW(key, 0, name, 6)});
    EXPECT_EQ(name, sorted[1]);

    std::vector<std::string> listed;
    for (DWORD i = 0; i < values; ++i) {
        DWORD type = 0, bytes = 8, room = 7;
        chars = 7;
        expect(0, {RegEnumValueW(key, i, name, &chars, nullptr, &type, data, &bytes)});
        listed.push_back(utf8(name) + ' ' + std::to_string(chars) + ' ' + std::to_string(type) + ' ' +
                         std::to_string(bytes--));
        expect(234, {RegEnumValueW(key, i, name, &room, nullptr, nullptr, data, &bytes),
                     RegEnumValueW(key, i, name, &chars, nullptr, nullptr, nullptr, nullptr)});
    }
    EXPECT_THAT(listed, testing::UnorderedElementsAre(" 0 1 8", "Name 4 1 8", "Longer 6 4 4"));
    chars = 7;
    expect(259, {RegEnumValueW(key, 3, name, &chars, nullptr, nullptr, nullptr, nullptr)});
    expect(87, {RegEnumValueW(key, 0, name, nullptr, nullptr, nullptr, nullptr, nullptr),
                RegEnumValueW(key, 0, name, &chars, nullptr, nullptr, data, nullptr)});
}

} // namespace
