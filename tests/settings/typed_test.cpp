/// Typed settings and multi-strings: what each type makes of a stored text, what it stores in turn,
/// and what it says about values that it refuses.
#include "settings/typed.h"

#include "base/convert/guid.h"
#include "settings/multi_string.h"
#include "support/failing_allocator.h"
#include "support/fresh_registry.h"
#include "support/guarded_buffer.h"
#include "support/string_array.h"

namespace {

using namespace kr::test;
using handle = kr_settings_handle;

constexpr const char* digits = "00112233445566778899AABBCCDDEEFF";

template <typename T>
using getter = kr_result (*)(handle, const kr_char*, T*);
template <typename T>
using setter = kr_result (*)(handle, const kr_char*, T);

/// Reads the entry "from" and stores its value as "to". A failed read leaves the value alone.
template <typename T, typename Stored>
kr_result copy(getter<T> get, setter<Stored> set, handle from, handle to) {
    guarded_buffer<T> read(1);
    const kr_result result = get(from, KR_TEXT("from"), read.data());
    if (kr_result_failed(result)) {
        EXPECT_TRUE(read.untouched());
        return result;
    }
    if constexpr (std::is_pointer_v<Stored>) {
        return set(to, KR_TEXT("to"), read.data());
    } else {
        return set(to, KR_TEXT("to"), static_cast<Stored>(read[0]));
    }
}

/// The items read stand behind "p" and "q".
kr_result copy(getter<kr_array_string> get, setter<const kr_array_string*> set, handle from, handle to) {
    const kr::owned_strings read = array_of({"p", "q"});
    const kr_result result = get(from, KR_TEXT("from"), read.get());
    if (kr_result_succeeded(result)) { return set(to, KR_TEXT("to"), read.get()); }
    EXPECT_THAT(items_of(read), ElementsAre("p", "q"));
    return result;
}

struct copier {
    std::string type;
    kr_result (*copy)(handle from, handle to);
};
// clang-format off
#define COPIER(type) \
    {#type, [](handle a, handle b) { return copy(kr_settings_get_##type, kr_settings_set_##type, a, b); }}
// clang-format on

class TypedSettings : public testing::Test {
protected:
    captured_log log_;
    fresh_registry registry_;
    open_settings settings_;
    const handle unopened = reinterpret_cast<handle>(0x7FFF0004);
};

/// Entry and return lines of the getter and of the setter; what they call is a level deeper.
TEST_F(TypedSettings, CopyAndTrace) {
    // clang-format off
    const std::string success = "0x02000000 () success \"Generic\" from \"Unknown source\"";
    const struct {
        int line;
        copier row;
        std::string from, to, returned = "()";
        const char* shown = nullptr; ///< when it is not the value of `to`
    } rows[] = {
        {__LINE__, COPIER(signed_int), "4294967297abc", "1", success},
        {__LINE__, COPIER(unsigned_int), "-1", "4294967295", success},
        {__LINE__, COPIER(INT64), "-9223372036854775808", "-9223372036854775808", success},
        {__LINE__, COPIER(UINT64), "9223372036854775807", "9223372036854775807", success},
        {__LINE__, COPIER(INT8), "-128", "-128", "()", ", value=4294967168"},
        {__LINE__, COPIER(UINT8), "255", "255"},
        {__LINE__, COPIER(INT16), "-32768", "-32768"},
        {__LINE__, COPIER(UINT16), "65535", "65535"},
        {__LINE__, COPIER(INT32), "2147483648", "-2147483648"},
        {__LINE__, COPIER(UINT32), "4294967295", "4294967295"},
        {__LINE__, COPIER(BOOL), "2", "1", "(1)"},
        {__LINE__, COPIER(relative_time), "1500000000", "1500000000", "()", ""},
        {__LINE__, COPIER(ip_address), "255.255.255.255", "255.255.255.255", "(255.255.255.255)"},
        {__LINE__, COPIER(ip_subnet), "10.0.0.0/0x10", "10.0.0.0/16", "(10.0.0.0 / 16)"},
        {__LINE__, COPIER(ip_subnet), "255.255.255.255/255", "255.255.255.255/255", "(255.255.255.255 / 255)"},
        {__LINE__, COPIER(ip_subnet), "10.0.0.0/", "10.0.0.0/0", "(10.0.0.0 / 0)"},
        {__LINE__, COPIER(guid), digits, digits, std::string("(") + digits + ")"},
        {__LINE__, COPIER(multi_string), "x;y", "p;q;x;y;", success, ""},
        {__LINE__, COPIER(multi_string), "a\\;b;c\\\\d;;", "p;q;a\\;b;c\\\\d;;", success, ""},
    };
    // clang-format on
    log_.set_mask(KR_LOG_SETTINGS, KR_LOG_CALL);
    for (const auto& [line, row, from, to, returned, shown] : rows) {
        SCOPED_TRACE(line);
        settings_.plant("from", from.c_str());
        EXPECT_EQ(row.copy(settings_, settings_), ok);
        std::vector<std::string> lines = log_.take();
        std::erase_if(lines, [](const std::string& one) { return one[5] == '.'; });
        const auto traced = [&row = row](std::string operation, const std::string& what) {
            return operation.insert(0, "C 07 kr_settings_").append(row.type).append(": ").append(what);
        };
        const std::string value = shown == nullptr ? ", value=" + to : shown;
        EXPECT_THAT(lines,
                    ElementsAre(traced("get_", "Enter (name = from)"), traced("get_", "Return " + returned),
                                traced("set_", "Enter (name=to" + value + ")"),
                                traced("set_", "Return " + (to.back() == ';' ? success : "()"))));
        EXPECT_EQ(settings_.text("to"), to);
    }
}

TEST_F(TypedSettings, RefuseAndSaySo) {
    const char* const number = nullptr; // an entry that is no string
    const char* const missing = "no entry at all";
    constexpr bool lost = true; // it reads; the handle to store it with is not open
    // clang-format off
    const struct {
        int line;
        copier row;
        const char* from;
        kr_result result;
        std::vector<std::string> said = {};
        bool lost = false;
    } rows[] = {
        {__LINE__, COPIER(INT8), "-129", overflow},
        {__LINE__, COPIER(INT8), "-1", generic,
         {"set_signed_int: kr_settings_set_string(name_ptr=to, value=-1) failed."}, lost},
        {__LINE__, COPIER(INT16), "9223372036854775808", generic,
         {"get_signed_int: kr_string_to_si64() failed for string=9223372036854775808"}},
        {__LINE__, COPIER(BOOL), "256", overflow, {"get_BOOL: kr_settings_get_UINT8() failed."}},
        {__LINE__, COPIER(BOOL), number, generic,
         {"get_unsigned_int: kr_settings_get_string_alloc() failed for name=from",
          "get_BOOL: kr_settings_get_UINT8() failed."}},
        {__LINE__, COPIER(BOOL), "0", generic,
         {"set_unsigned_int: kr_settings_set_string(name_ptr=to, value=0) failed.",
          "set_BOOL: kr_settings_set_UINT8() failed."}, lost},
        {__LINE__, COPIER(relative_time), "0", zero, {"set_relative_time: kr_time_getNanoseconds() failed."}},
        {__LINE__, COPIER(relative_time), "9223372036854775808", generic,
         {"get_UINT64: kr_string_to_ui64() failed for string=9223372036854775808",
          "get_relative_time: kr_settings_get_UINT64() failed."}},
        {__LINE__, COPIER(relative_time), "7", generic,
         {"set_UINT64: kr_settings_set_string(name_ptr=to, value=7) failed.",
          "set_relative_time: kr_settings_set_UINT64() failed."}, lost},
        {__LINE__, COPIER(ip_address), "0255.255.255.255", generic,
         {"get_ip_address: kr_settings_get_string() failed."}},
        {__LINE__, COPIER(ip_address), "1.2.3.256", generic, {"get_ip_address: kr_string_to_ipv4() failed."}},
        {__LINE__, COPIER(ip_address), "1.2.3.\xE9", invalid, {"get_ip_address: kr_krchar_to_ascii() failed."}},
        {__LINE__, COPIER(ip_address), "1.2.3.4", generic, {"set_ip_address: kr_settings_set_string() failed."}, lost},
        {__LINE__, COPIER(ip_subnet), "10.0.0.0", generic, {"get_ip_subnet: Subnet separator not found."}},
        {__LINE__, COPIER(ip_subnet), "10.0.0/8", generic, {"get_ip_subnet: kr_string_to_ipv4() failed."}},
        {__LINE__, COPIER(ip_subnet), "10.0.0.0/8/8", generic, {"get_ip_subnet: kr_string_to_ui16_a() failed."}},
        {__LINE__, COPIER(ip_subnet), "10.0.0.0/256", generic, {"get_ip_subnet: Invalid subnet"}},
        {__LINE__, COPIER(ip_subnet), "10.0.0.0/8", generic, {"set_ip_subnet: kr_settings_set_string() failed"}, lost},
        {__LINE__, COPIER(guid), digits + 1, generic, {"get_guid: kr_guid_from_string_simple() failed."}},
        {__LINE__, COPIER(guid), digits, generic, {"set_guid: kr_settings_set_string() failed."}, lost},
        {__LINE__, COPIER(multi_string), "a;b\\", unexpected,
         {"parse_multi_string: Parsing error. String 'a;b\\' is not properly escaped.",
          "get_multi_string: Unable to parse multi string a;b\\ Result is 0x82000003"}},
        {__LINE__, COPIER(multi_string), "a;b;c\\x", unexpected,
         {"parse_multi_string: Parsing error. String 'a;b;c\\x' is not properly escaped.",
          "get_multi_string: Unable to parse multi string a;b;c\\x Result is 0x82000003"}},
        {__LINE__, COPIER(multi_string), number, generic, {"get_multi_string: kr_settings_get_string_alloc() failed."}},
        {__LINE__, COPIER(multi_string), "a;b", generic, {"set_multi_string: kr_settings_set_string() failed."}, lost},
        {__LINE__, COPIER(BOOL), missing, not_found},
        {__LINE__, COPIER(ip_address), missing, generic, {"get_ip_address: kr_settings_get_string() failed."}},
    };
    // clang-format on
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        (void)kr_settings_delete_entry(settings_, KR_TEXT("from"));
        if (row.from != missing) { settings_.plant("from", row.from); }
        EXPECT_EQ(row.row.copy(settings_, row.lost ? unopened : settings_), row.result);
        EXPECT_EQ(settings_.text("to"), "<missing>");
        char result[40];
        std::snprintf(result, sizeof(result), " Result is 0x%08X", row.result);
        std::string lines;
        for (const std::string& line : row.said) {
            lines += "W kr_settings_" + line + (line.find("failed") == line.npos ? "" : result) + '\n';
        }
        EXPECT_EQ(said(log_, "07"), lines);
    }
}

TEST_F(TypedSettings, StoreOddValues) {
    EXPECT_EQ(kr_settings_set_UINT64(settings_, KR_TEXT("to"), ~u64{0}), ok);
    EXPECT_EQ(settings_.text("to"), "18446744073709551615");
    EXPECT_EQ(kr_settings_set_BOOL(settings_, KR_TEXT("to"), -7), ok);
    const kr_ip_subnet refused = {0x0A000001, 256};
    EXPECT_EQ(kr_settings_set_ip_subnet(settings_, KR_TEXT("to"), &refused), invalid);
    kr_char* null_item = nullptr;
    const kr_array_string holed = {1, 1, &null_item};
    EXPECT_EQ(kr_settings_set_multi_string(settings_, KR_TEXT("to"), &holed), invalid);
    EXPECT_EQ(settings_.text("to"), "1") << "the last that was not refused";
    handle group = nullptr;
    EXPECT_EQ(kr_settings_group_open(unopened, KR_TEXT("g"), &group), generic);
    EXPECT_EQ(said(log_, "07"),
              "W kr_settings_set_ip_subnet: invalid subnet mask\n"
              "W kr_settings_compose_multi_string: kr_array_string_get_item() return an invalid item.\n"
              "W kr_settings_set_multi_string: Unable to compose multi string from array of strings. "
              "Result is 0x8200000C\n"
              "W kr_settings_group_open: Unable to open subkey 'g', error code = 6\n");
}

TEST_F(TypedSettings, MultiStringsTakeTheirTextsRoomAndNoMore) {
    for (size_t length = 0; length < 20; ++length) {
        wide item = wide(length, ';') + wide(1, 0) + wide(20, ';'); // what lies behind an item does not count
        kr_char* pointer = item.data();
        const kr_array_string array = {1, 1, &pointer};
        const failing_allocator allocator;
        kr::owned_text composed;
        EXPECT_EQ(kr_settings_compose_multi_string(&array, composed.out()), ok);
        EXPECT_EQ(allocator.last_size(), (2 * length + 2) * sizeof(kr_char));
    }
}

TEST_F(TypedSettings, MultiStringsLeaveNothingBehindWhenMemoryRunsOut) {
    std::vector<std::string> items(12, "a;b\\c");
    items.back() = "x";
    const kr::owned_strings source = array_of(items);
    sweep_allocations([&] {
        kr::owned_text text;
        kr_array_string array = {};
        kr_result result = kr_settings_compose_multi_string(source.get(), text.out());
        EXPECT_EQ(text.get() != nullptr, kr_result_succeeded(result));
        if (text.get() != nullptr) { result = kr_settings_parse_multi_string(text.get(), &array); }
        EXPECT_EQ(array.count, kr_result_succeeded(result) ? 12u : 0u);
        kr_array_string_clear(&array);
        kr_memory_deallocate_hook(array.items);
        return result;
    });
    EXPECT_THAT(said(log_, "07"),
                testing::HasSubstr("add string 'x' to array string. Result is 0x82000002\n"));
}

} // namespace
