/// Any text as a GUID in every form, against a model that collects the digits; any GUID as text and
/// back.
#pragma once

#include <cstring>

#include "base/convert/guid.h"
#include "models/input.h"

namespace kr::test {

inline constexpr std::string_view hexadecimal_digits = "0123456789ABCDEFabcdef";

inline bool consists_of(std::string_view text, std::string_view allowed) {
    return text.find_first_not_of(allowed) == std::string_view::npos;
}

inline KRGUID from_digits(const std::string& digits) {
    KRGUID guid{};
    for (size_t i = 0; i < digits.size() / 2; ++i) {
        guid.bytes[i] = static_cast<u8>(std::stoul(digits.substr(2 * i, 2), nullptr, 16));
    }
    return guid;
}

struct outcome {
    kr_result result;
    KRGUID guid;
};

inline constexpr KRGUID untouched_guid = {{0x5A, 0x5A}};

inline outcome refused(u16 code, const KRGUID& guid = untouched_guid) {
    return {kr_result_make_error(code), guid};
}

inline outcome model_fixed(const std::string& text, size_t length, std::string_view marks) {
    if (text.size() != length) {
        return refused(KR_GENERIC);
    }
    std::string digits = text;
    std::erase_if(digits, [marks](char c) { return marks.find(c) != std::string_view::npos; });
    if (digits.size() != 32 || !consists_of(digits, hexadecimal_digits)) {
        return refused(KR_INVALID_ARGUMENT_TO_FUNCTION);
    }
    return {KR_SUCCESS, from_digits(digits)};
}

inline outcome model_shortest(const std::string& text) {
    if (text.empty() || text.size() % 2 != 0 || text.size() > 32) {
        return refused(KR_INVALID_ARGUMENT_TO_FUNCTION);
    }
    return consists_of(text, hexadecimal_digits)
               ? outcome{KR_SUCCESS, from_digits(text)}
               : refused(KR_INVALID_ARGUMENT_TO_FUNCTION, KRGUID{});
}

template <typename Char>
bool gives_guid(kr_result (*parse)(const Char*, KRGUID*), const Char* text,
                const outcome& expected) {
    KRGUID guid = untouched_guid;
    return parse(text, &guid) == expected.result && kr_guid_equal(&guid, &expected.guid);
}

inline void check_guid_texts(const KRGUID& guid) {
    const outcome same = {KR_SUCCESS, guid};
    const exact_block<char> simple(KR_GUID_SIMPLE_CHARS), shortest(KR_GUID_SIMPLE_CHARS);
    const exact_block<char> braced(KR_GUID_BRACED_CHARS), lower(KR_GUID_BRACED_LOWER_CHARS);
    const exact_block<kr_char> wide(KR_GUID_SIMPLE_CHARS);
    expect(kr_guid_to_string_simple_ascii(&guid, simple.get()) == simple.get());
    expect(gives_guid<char>(kr_guid_from_string_simple_ascii, simple, same));
    expect(kr_guid_to_string_simple(&guid, wide.get()) == wide.get());
    expect(wide.get() == characters<kr_char>(simple.get()));
    expect(kr_guid_to_string_braced(&guid, braced.get()) == 37);
    expect(gives_guid<char>(kr_guid_from_string_braced_ascii, braced, same));
    expect(kr_guid_to_string_braced_lower(&guid, lower.get()) == 38);
    expect(gives_guid<kr_char>(kr_guid_from_string_braced,
                               exact_text<kr_char>(std::string_view(lower.get())), same));
    if (kr_guid_is_null(&guid)) {
        return;
    }
    // The plain form without its last pairs of zeros, but not below eight digits.
    const std::string all = simple.get();
    const size_t used = (all.find_last_not_of('0') / 2 + 1) * 2;
    const std::string expected = all.substr(0, std::max<size_t>(used, 8));
    const exact_block<char> tight(expected.size());
    expect(kr_guid_to_string_shortest(&guid, tight.get(), expected.size()) ==
           kr_result_make_error(KR_SUPPLIED_BUFFER_IS_NOT_LARGE_ENOUGH));
    expect(kr_guid_to_string_shortest(&guid, shortest.get(), expected.size() + 1) == KR_SUCCESS);
    expect(shortest.get() == expected);
    expect(gives_guid<char>(kr_guid_from_string_shortest_ascii, shortest, same));
}

inline void check_guid(std::span<const u8> input) {
    const std::string text(text_of(input));
    const exact_text<char> narrow(text);
    const exact_text<kr_char> wide{std::string_view(text)};
    const outcome simple = model_fixed(text, 32, "");
    expect(gives_guid<char>(kr_guid_from_string_simple_ascii, narrow, simple));
    expect(gives_guid<kr_char>(kr_guid_from_string_simple, wide, simple));
    expect(
        gives_guid<char>(kr_guid_from_string_braced_ascii, narrow, model_fixed(text, 37, "{}-")));
    expect(gives_guid<kr_char>(kr_guid_from_string_braced, wide, model_fixed(text, 38, "{}-")));
    expect(gives_guid<kr_char>(kr_guid_from_string_shortest, wide, model_shortest(text)));
    if (std::all_of(text.begin(), text.end(), [](char c) { return c >= 0; })) {
        // Where a byte is a character; other texts are never taken, whichever check refuses them.
        expect(gives_guid<char>(kr_guid_from_string_shortest_ascii, narrow, model_shortest(text)));
    } else {
        KRGUID guid{};
        expect(kr_result_failed(kr_guid_from_string_shortest_ascii(narrow, &guid)));
    }
    KRGUID any{};
    std::memcpy(any.bytes, input.data(), std::min<size_t>(input.size(), KR_GUID_BYTES));
    check_guid_texts(any);
}

} // namespace kr::test
