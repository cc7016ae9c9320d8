/// Null pointers, over the whole public interface: every operation that returns a result refuses
/// them and leaves its outputs alone. A script (null_arguments.py) makes a row of every operation that
/// the headers declare; here stands only which nulls are taken.
#include <set>
#include <tuple>

#include "kr.h"
#include "support/captured_log.h"

namespace {

using namespace kr::test;

constexpr kr_result not_called = 1;

/// The other answers, by operation and parameter, from 1. Each is taken out when it was seen.
struct {
    kr_result answer;
    std::set<std::string> places;
} other_answers[] = {
    // Nothing is asked for there, or it is handed on.
    {ok,
     {"kr_get_result_description 2", "kr_get_result_description2 2", "kr_time_format_local 2",
      "kr_printf_format 1", "kr_printf_format2 1", "kr_printf_get_required_buffer_size 3"}},
    {zero & 0x7FFFFFFF,
     {"kr_time_diff 3", "kr_time_diff 4", "kr_time_diff_reversed 3", "kr_time_diff_reversed 4"}},
    {no, {"kr_settings_domain_exists 1", "kr_settings_group_exists 1", "kr_settings_group_exists 2"}},
    {not_implemented, {"kr_memory_split_ex 2"}},                    // no type can that needs no module
    {generic, {"kr_thread_create 3", "kr_thread_create_normal 2"}}, // without the module
    {too_small, {"kr_printf_format 5", "kr_printf_format2 3"}},
    // Where the runtime converts, null is unexpected behaviour.
    {unexpected,
     {"kr_string_to_ui16_w 1", "kr_string_to_ui16_a 1", "kr_string_to_ui32_w 1", "kr_string_to_ui32_a 1",
      "kr_string_to_si32_a 1", "kr_string_hexstr_to_ui32_a 1", "kr_string_to_si64_w 1",
      "kr_string_to_ui64_w 1", "kr_string_to_si64_a 1", "kr_string_from_si64_w 2", "kr_string_from_ui64_w 2",
      "kr_string_from_si64_a 2"}},
    // Null is the console, or cannot be refused; the copies empty the destination; a list of arguments need
    // not be a pointer.
    {not_called,
     {"kr_log_set_destination 1", "kr_mutex_init 1", "kr_mutex_destroy 1", "kr_string_to_si64_a_generic 1",
      "kr_string_to_si64_a_generic 2", "kr_string_copy_s 3", "kr_string_cat_s 3", "kr_printf_format 4",
      "kr_printf_get_required_buffer_size 2", "kr_string_format_va 4"}},
};

/// Where every output and every input that is not null points: outputs to a pattern that must stay,
/// inputs to the text "1", narrow or wide.
constexpr u8 pattern = 0xA5;
alignas(64) u8 outputs[4096];
alignas(64) const u8 inputs[512] = {'1'};
constexpr kr_time second = {.unit = 0, .count = 1, .relative = 1};

template <typename T>
T usual() {
    if constexpr (std::is_same_v<T, void (*)(void*)>) {
        return [](void*) {};
    } else if constexpr (std::is_same_v<T, const kr_time*>) {
        return &second;
    } else if constexpr (std::is_same_v<T, u32>) {
        return KR_MEMORY_TYPE_HEAP; // where it is no count
    } else if constexpr (!std::is_pointer_v<T>) {
        return T{1};
    } else if constexpr (std::is_convertible_v<T, void*>) {
        return reinterpret_cast<T>(&outputs);
    } else {
        return reinterpret_cast<T>(&inputs);
    }
}

/// Calls `operation` with that parameter null, when it is a pointer.
template <size_t Place, typename... Params>
void refuses_null(const char* name, auto operation) {
    std::tuple<Params...> arguments = {usual<Params>()...};
    if constexpr (std::is_pointer_v<std::tuple_element_t<Place, std::tuple<Params...>>>) {
        kr_result answer = invalid;
        for (auto& other : other_answers) {
            if (other.places.erase(name + (' ' + std::to_string(Place + 1))) != 0) { answer = other.answer; }
        }
        if (answer == not_called) { return; }

        SCOPED_TRACE(testing::Message() << name << ", parameter " << Place + 1);
        std::get<Place>(arguments) = nullptr;
        std::fill(std::begin(outputs), std::end(outputs), pattern);
        EXPECT_EQ(std::apply(operation, arguments), answer);
        const bool untouched = std::count(outputs, std::end(outputs), pattern) == std::ssize(outputs);
        EXPECT_TRUE(untouched || kr_result_succeeded(answer));
    }
}

template <typename... Params>
void refuses_nulls(const char* name, auto operation) {
    [&]<size_t... Place>(std::index_sequence<Place...>) {
        (refuses_null<Place, Params...>(name, operation), ...);
    }
    (std::index_sequence_for<Params...>{});
}
template <typename... Params>
void refuses(const char* name, kr_result (*operation)(Params...)) {
    refuses_nulls<Params...>(name, operation);
}
template <typename... Params>
void refuses(const char* name, kr_result (*operation)(Params..., ...)) {
    refuses_nulls<Params...>(name, operation);
}

TEST(NullArguments, AreRefusedByEveryOperation) {
    captured_log log;
#include "null_arguments_rows.inc"
    for (const auto& other : other_answers) { EXPECT_THAT(other.places, IsEmpty()) << "no such places"; }
}

} // namespace
