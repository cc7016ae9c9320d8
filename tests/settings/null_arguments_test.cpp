/// Null pointers, over the whole public interface: every operation that returns a result refuses
/// them and leaves its outputs alone. A script (null_arguments.py) holds the rows against the
/// headers, so that no operation can be missing.
#include <cstdarg>
#include <tuple>
#include <utility>

#include "kr.h"
#include "support/captured_log.h"

namespace {

using namespace kr::test;

/// Where every output and every input that is not null points: outputs to a pattern that must stay,
/// inputs to the text "1", narrow or wide.
constexpr u8 pattern = 0xA5;
alignas(64) u8 outputs[4096];
alignas(64) const u8 inputs[512] = {'1'};

void nothing(void*) {}

template <typename T>
T usual() {
    if constexpr (std::is_same_v<T, void (*)(void*)>) {
        return nothing;
    } else if constexpr (!std::is_pointer_v<T>) {
        return T{1};
    } else if constexpr (std::is_const_v<std::remove_pointer_t<T>>) {
        return reinterpret_cast<T>(&inputs);
    } else {
        return reinterpret_cast<T>(&outputs);
    }
}

/// Parameters by their place, from 1.
struct places {
    u32 bits = 0;
    constexpr places(std::initializer_list<u32> list) {
        for (const u32 place : list) { bits |= 1u << place; }
    }
    [[nodiscard]] bool hold(std::size_t place) const { return (bits >> place & 1) != 0; }
};

/// Calls `operation` once per pointer, that one null. `may_be_null` are left out; at `unexpected_at` the
/// answer is KR_UNEXPECTED_BEHAVIOUR.
template <typename... Params>
void refuses(const char* name, kr_result (*operation)(Params...), places may_be_null = {},
             places unexpected_at = {}, std::tuple<Params...> arguments = {usual<Params>()...}) {
    const auto with_null = [&]<std::size_t Place>(std::integral_constant<std::size_t, Place>) {
        using param = std::tuple_element_t<Place, std::tuple<Params...>>;
        if constexpr (std::is_pointer_v<param>) {
            if (may_be_null.hold(Place + 1)) { return; }
            std::tuple<Params...> changed = arguments;
            std::get<Place>(changed) = nullptr;
            std::fill(std::begin(outputs), std::end(outputs), pattern);
            EXPECT_EQ(std::apply(operation, changed), unexpected_at.hold(Place + 1) ? unexpected : invalid)
                << name << ", parameter " << Place + 1;
            EXPECT_EQ(std::count(std::begin(outputs), std::end(outputs), pattern), std::ssize(outputs))
                << name;
        }
    };
    [&]<std::size_t... Place>(std::index_sequence<Place...>) {
        (with_null(std::integral_constant<std::size_t, Place>{}), ...);
    }
    (std::index_sequence_for<Params...>{});
}

/// Calls with a list of no arguments.
kr_result with_list(kr_result (*call)(va_list), ...) {
    va_list list;
    va_start(list, call);
    const kr_result result = call(list);
    va_end(list);
    return result;
}

/// `names` are those of the operations, by commas.
template <typename... Operations>
void all_refuse(std::string names, Operations... operations) {
    const auto next_name = [&names] {
        std::string name = names.substr(0, names.find(','));
        names.erase(0, std::min(names.size(), name.size() + 2));
        return name;
    };
    (refuses(next_name().c_str(), operations), ...);
}

#define REFUSE(...) all_refuse(#__VA_ARGS__, __VA_ARGS__)
#define REFUSES_BUT(operation, ...) refuses(#operation, operation, __VA_ARGS__)

TEST(NullArguments, AreRefusedByResultsAndTime) {
    REFUSE(kr_get_result_code_description, kr_result_win32_message, kr_time_get_current, kr_time_get_uptime,
           kr_time_since, kr_time_is_equal, kr_time_is_zero, kr_time_convert, kr_time_getNanoseconds,
           kr_time_getMicroseconds, kr_time_getMilliseconds, kr_time_getSeconds, kr_time_multiply,
           kr_time_divide, kr_time_getUTC32, kr_time_get_local_date);
    REFUSES_BUT(kr_get_result_description2, {2});
    REFUSES_BUT(kr_get_result_description, {2});
    REFUSES_BUT(kr_time_diff, {3, 4});
    REFUSES_BUT(kr_time_diff_reversed, {3, 4});
    REFUSES_BUT(kr_time_format_local, {2});
}

TEST(NullArguments, AreRefusedByMemoryAndThreads) {
    captured_log log;
    REFUSE(kr_memory_allocate_raw, kr_memory_grow, kr_memory_grow_reserve, kr_memdup, kr_mempool_create,
           kr_mempool_alloc, kr_memvec_create, kr_memvec_seek, kr_memvec_split, kr_memvec_prepare,
           kr_memvec_assign, kr_memvec_copy, kr_memvec_write, kr_memvec_read, kr_log_thread_register,
           kr_log_set_secondary_destination);
    constexpr u32 heap = KR_MEMORY_TYPE_HEAP;
    REFUSES_BUT(kr_memory_allocate_ex, {}, {}, {heap, nullptr, 1});
    REFUSES_BUT(kr_memcpy_ex, {}, {}, {heap, outputs, heap, inputs, 1});
    REFUSES_BUT(kr_memory_ptr_ex, {}, {}, {heap, outputs, 1, nullptr});
    REFUSES_BUT(kr_memory_ptr_advance_ex, {}, {}, {heap, 1, nullptr});
    REFUSES_BUT(kr_memory_prepare_ex, {}, {}, {heap, outputs, 1});
    REFUSES_BUT(kr_memory_split_ex, {2}); // no type can that needs no module
    REFUSES_BUT(kr_memory_assign_ex, {}, {}, {heap, outputs, heap, outputs, 1});
    REFUSES_BUT(kr_thread_create, {3});
    REFUSES_BUT(kr_thread_create_normal, {2});
    REFUSES_BUT(kr_mutex_init, {1});
    REFUSES_BUT(kr_mutex_destroy, {1});
    // The destination may be null: the console.
    REFUSES_BUT(kr_log_set_destination, {1});
}

TEST(NullArguments, AreRefusedByTextAndValues) {
    captured_log log;
    REFUSE(kr_wchar_to_ascii, kr_krchar_to_ascii, kr_ascii_to_wchar_strdup, kr_ascii_to_krchar_strdup,
           kr_krchar_to_ascii_strdup, kr_guid_from_string_simple, kr_guid_from_string_simple_ascii,
           kr_guid_from_string_shortest, kr_guid_from_string_shortest_ascii, kr_guid_from_string_braced,
           kr_guid_from_string_braced_ascii, kr_guid_to_string_shortest, kr_guid_to_serial, kr_string_to_ipv4,
           kr_string_hoststr_to_ipv4, kr_string_ipv4_to_hoststr, kr_string_to_ui64_a_generic,
           kr_string_to_ui64_w_generic, kr_string_from_ui64_a_generic, kr_array_string_new,
           kr_array_string_add, kr_array_string_remove, kr_array_string_remove_value, kr_array_string_copy,
           kr_array_string_free, kr_string_copy_s_generic, kr_string_cat_s_generic, kr_string_compare,
           kr_string_compare_generic, kr_string_compare_nocase, kr_string_compare_nocase_generic,
           kr_string_compare_n, kr_string_compare_n_nocase, kr_string_compare_n_nocase_generic, kr_string_dup,
           kr_string_dup_n, kr_string_concat2, kr_string_concat3, kr_string_concat5);
    // Where the runtime converts, null is unexpected behaviour.
    REFUSES_BUT(kr_string_to_si64_a_generic, {1, 2});
    REFUSES_BUT(kr_string_to_ui16_w, {}, {1});
    REFUSES_BUT(kr_string_to_ui16_a, {}, {1});
    REFUSES_BUT(kr_string_to_ui32_w, {}, {1});
    REFUSES_BUT(kr_string_to_ui32_a, {}, {1});
    REFUSES_BUT(kr_string_to_si32_a, {}, {1});
    REFUSES_BUT(kr_string_hexstr_to_ui32_a, {}, {1});
    REFUSES_BUT(kr_string_to_si64_w, {}, {1});
    REFUSES_BUT(kr_string_to_ui64_w, {}, {1});
    REFUSES_BUT(kr_string_to_si64_a, {}, {1});
    REFUSES_BUT(kr_string_from_si64_w, {}, {2});
    REFUSES_BUT(kr_string_from_ui64_w, {}, {2});
    REFUSES_BUT(kr_string_from_si64_a, {}, {2});
    // As the runtime's copies: a null source empties the destination.
    REFUSES_BUT(kr_string_copy_s, {3});
    REFUSES_BUT(kr_string_cat_s, {3});
}

TEST(NullArguments, AreRefusedBySettings) {
    captured_log log;
    REFUSE(kr_settings_domain_open, kr_settings_domain_close, kr_settings_domain_delete,
           kr_settings_group_open, kr_settings_group_close, kr_settings_group_delete, kr_settings_enum_groups,
           kr_settings_enum_entries, kr_settings_get_string, kr_settings_get_string_alloc,
           kr_settings_set_string, kr_settings_delete_entry, kr_settings_parse_multi_string,
           kr_settings_compose_multi_string, kr_settings_get_multi_string, kr_settings_set_multi_string,
           kr_settings_get_signed_int, kr_settings_set_signed_int, kr_settings_get_unsigned_int,
           kr_settings_set_unsigned_int, kr_settings_get_UINT64, kr_settings_set_UINT64,
           kr_settings_get_INT64, kr_settings_set_INT64, kr_settings_get_UINT8, kr_settings_set_UINT8,
           kr_settings_get_INT8, kr_settings_set_INT8, kr_settings_get_UINT16, kr_settings_set_UINT16,
           kr_settings_get_INT16, kr_settings_set_INT16, kr_settings_get_UINT32, kr_settings_set_UINT32,
           kr_settings_get_INT32, kr_settings_set_INT32, kr_settings_get_BOOL, kr_settings_set_BOOL,
           kr_settings_get_relative_time, kr_settings_get_ip_address, kr_settings_set_ip_address,
           kr_settings_get_ip_subnet, kr_settings_set_ip_subnet, kr_settings_get_guid, kr_settings_set_guid);
    REFUSES_BUT(kr_settings_domain_exists, {1});   // there is none of that name
    REFUSES_BUT(kr_settings_group_exists, {1, 2}); // there is none of that name
    static constexpr kr_time second = {.unit = 0, .count = 1, .relative = 1};
    REFUSES_BUT(kr_settings_set_relative_time, {}, {},
                {usual<kr_settings_handle>(), usual<const kr_char*>(), &second});
}

TEST(NullArguments, AreRefusedByFormatting) {
    captured_log log;
    REFUSE(kr_printf_format_parse_flags, kr_printf_format_parse_width, kr_printf_format_parse_precision,
           kr_printf_format_parse_size_mod, kr_printf_format_pointer, kr_printf_format_kr_pointer,
           kr_printf_format_sguid, kr_printf_format_ipv4, kr_printf_format_sr, kr_printf_format_tr_descr,
           kr_printf_format_uint, kr_printf_format_uint_internal, kr_printf_format_sint,
           kr_printf_format_string, kr_printf_format_ustring, kr_printf_format_char);
    EXPECT_EQ(with_list([](va_list a) { return kr_printf_format(nullptr, 0, nullptr, a, nullptr); }),
              invalid);
    EXPECT_EQ(with_list([](va_list a) {
                  size_t size = 0;
                  return kr_printf_get_required_buffer_size(nullptr, a, &size);
              }),
              invalid);
    EXPECT_EQ(with_list([](va_list a) { return kr_string_format_va(nullptr, 1, "", a); }), invalid);
    EXPECT_EQ(kr_printf_format2(nullptr, 0, nullptr, nullptr), invalid);
    EXPECT_EQ(kr_printf_format2_checked(nullptr, 0, nullptr, "%_r", static_cast<kr_result*>(nullptr)),
              invalid);
    EXPECT_EQ(kr_string_format(nullptr, 1, "%u", 1u), invalid);
    EXPECT_EQ(kr_string_format_checked(nullptr, 1, "%u", 1u), invalid);
}

} // namespace
