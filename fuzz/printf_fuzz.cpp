/// The formatting engine under arbitrary formats, and beside the C library.
///
/// The first byte chooses. Even: the second is a room in bytes, 16 more the values that every
/// argument points to, the rest the format. Odd: one conversion of the subset shared with the C
/// library, field by field.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "models/printf_model.h"
#include "printf/printf.h"
#include "target.h"

namespace {

constexpr kr_result too_small = 0x82000021;
constexpr kr_result no_room_at_all = 0x82000003; // of a description

/// Exactly `size` bytes on the heap, so that the sanitizer sees the first byte behind them.
std::unique_ptr<kr_char[], decltype(&std::free)> room_of(size_t size) {
    return {static_cast<kr_char*>(std::malloc(std::max<size_t>(size, 1))), &std::free};
}

size_t length_of(const kr_char* text) {
    return std::basic_string_view<kr_char>(text).size();
}

/// What holds for every format, with `run(buffer, size, required)` to format it.
template <typename Run>
void check_sizes(Run run, size_t some_room) {
    constexpr size_t large = 1 << 16;
    size_t measured = 0;
    const kr_result result = run(nullptr, 0, &measured);
    require(kr_result_failed(result) == (measured == 0));
    if (kr_result_failed(result) || measured > large) {
        const auto buffer = room_of(large);
        const kr_result written = run(buffer.get(), large, nullptr);
        require(written == too_small || (kr_result_failed(result) && written == result));
        return;
    }
    const auto exact = room_of(measured);
    size_t required = 0;
    require(run(exact.get(), measured, &required) == KR_SUCCESS && required == measured);
    require((length_of(exact.get()) + 1) * sizeof(kr_char) <= measured);
    for (const size_t size : {measured - 1, std::min(some_room, measured - 1)}) {
        const auto buffer = room_of(size);
        required = 1;
        const kr_result refused = run(buffer.get(), size, &required);
        require((refused == too_small || refused == no_room_at_all) && required == 1);
    }
}

void format_anything(std::span<const u8> data) {
    if (data.size() < 17) {
        return;
    }
    // Whatever a conversion takes its argument for, it is one: a number, a terminated narrow or
    // wide text, 16 bytes, the address of a result.
    struct alignas(8) {
        u8 values[16];
        u64 terminator = 0;
    } argument;
    const size_t some_room = data[0];
    std::memcpy(argument.values, &data[1], sizeof(argument.values));
    std::string format(data.begin() + 17, data.end());
    constexpr size_t arguments = 12;
    if (static_cast<size_t>(std::count(format.begin(), format.end(), '%')) > arguments) {
        return;
    }
    void* const a = &argument;
    check_sizes(
        [&](kr_char* buffer, size_t size, size_t* required) {
            return kr_printf_format2(buffer, size, required, format.c_str(), a, a, a, a, a, a, a, a,
                                     a, a, a, a);
        },
        some_room);
    if (some_room >= sizeof(kr_char)) {
        const auto buffer = room_of(some_room);
        buffer[0] = 1;
        const kr_result result = kr_string_format(buffer.get(), some_room, format.c_str(), a, a, a,
                                                  a, a, a, a, a, a, a, a, a);
        require(kr_result_succeeded(result) || buffer[0] == 0);
    }
}

void compare_with_the_c_library(std::span<const u8> data) {
    if (data.size() < 14) {
        return;
    }
    constexpr const char* sizes[] = {"", "h", "l", "ll", "z"};
    kr::test::model_conversion model;
    model.zeroes = (data[0] & 1) != 0;
    model.alternate = (data[0] & 2) != 0;
    model.width = data[1];
    model.size = sizes[data[2] % 5];
    model.letter = "diouxXsc%"[data[3] % 9];
    std::memcpy(&model.value, &data[4], sizeof(model.value));
    // A text is what the C library takes for one, widened without loss.
    std::string text(data.begin() + 14, data.end());
    std::erase_if(text, [](char c) { return c <= 0 || c == '%'; });
    model.before = text.substr(0, data[12]);
    model.behind = text.substr(std::min<size_t>(text.size(), data[13]));
    model.text = text;
    if (model.letter == 'c') {
        model.value = 1 + model.value % 127;
    }
    check_sizes([&](kr_char* buffer, size_t size,
                    size_t* required) { return model.run(buffer, size, required); },
                data[2]);
    const std::string expected = model.expected();
    const auto buffer = room_of((expected.size() + 1) * sizeof(kr_char));
    require(model.run(buffer.get(), (expected.size() + 1) * sizeof(kr_char), nullptr) ==
            KR_SUCCESS);
    require(std::equal(expected.begin(), expected.end(), buffer.get()) &&
            buffer[expected.size()] == 0);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const u8* bytes, size_t size) {
    if (size == 0) {
        return 0;
    }
    const std::span<const u8> data(bytes + 1, size - 1);
    if (bytes[0] % 2 == 0) {
        format_anything(data);
    } else {
        compare_with_the_c_library(data);
    }
    return 0;
}
