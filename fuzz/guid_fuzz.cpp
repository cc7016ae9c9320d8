/// Any text as a GUID in every form, against a model that collects the digits; any GUID as text and
/// back.
#include <algorithm>
#include <cstring>
#include <optional>
#include <string>

#include "base/convert/guid.h"
#include "text_input.h"

namespace {

constexpr std::string_view hexadecimal_digits = "0123456789ABCDEFabcdef";

bool all_of(std::string_view text, std::string_view allowed) {
    return text.find_first_not_of(allowed) == std::string_view::npos;
}

KRGUID from_digits(const std::string& digits) {
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

constexpr KRGUID untouched = {{0x5A, 0x5A}};

outcome refused(u16 code, const KRGUID& guid = untouched) {
    return {kr_result_make_error(code), guid};
}

outcome model_fixed(const std::string& text, size_t length, std::string_view marks) {
    if (text.size() != length) {
        return refused(KR_GENERIC);
    }
    std::string digits = text;
    std::erase_if(digits, [marks](char c) { return marks.find(c) != std::string_view::npos; });
    if (digits.size() != 32 || !all_of(digits, hexadecimal_digits)) {
        return refused(KR_INVALID_ARGUMENT_TO_FUNCTION);
    }
    return {KR_SUCCESS, from_digits(digits)};
}

outcome model_shortest(const std::string& text) {
    if (text.empty() || text.size() % 2 != 0 || text.size() > 32) {
        return refused(KR_INVALID_ARGUMENT_TO_FUNCTION);
    }
    return all_of(text, hexadecimal_digits) ? outcome{KR_SUCCESS, from_digits(text)}
                                            : refused(KR_INVALID_ARGUMENT_TO_FUNCTION, KRGUID{});
}

template <typename Char>
bool gives(kr_result (*parse)(const Char*, KRGUID*), const Char* text, const outcome& expected) {
    KRGUID guid = untouched;
    return parse(text, &guid) == expected.result && kr_guid_equal(&guid, &expected.guid);
}

void check_texts(const KRGUID& guid) {
    const outcome same = {KR_SUCCESS, guid};
    char narrow[KR_GUID_BRACED_LOWER_CHARS];
    kr_char wide[KR_GUID_BRACED_LOWER_CHARS];
    require(gives(kr_guid_from_string_simple_ascii,
                  static_cast<const char*>(kr_guid_to_string_simple_ascii(&guid, narrow)), same));
    require(gives(kr_guid_from_string_simple,
                  static_cast<const kr_char*>(kr_guid_to_string_simple(&guid, wide)), same));
    require(kr_guid_to_string_braced(&guid, narrow) == 37 && std::strlen(narrow) == 37);
    require(gives<char>(kr_guid_from_string_braced_ascii, narrow, same));
    require(kr_guid_to_string_braced_lower(&guid, narrow) == 38 && std::strlen(narrow) == 38);
    require(gives<kr_char>(kr_guid_from_string_braced, exact_text<kr_char>(narrow), same));
    if (!kr_guid_is_null(&guid)) {
        require(kr_guid_to_string_shortest(&guid, narrow, KR_GUID_SIMPLE_CHARS) == KR_SUCCESS);
        require(gives<char>(kr_guid_from_string_shortest_ascii, narrow, same));
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const u8* data, size_t size) {
    const std::string text(text_of(data, size));
    const exact_text<char> narrow(text);
    const exact_text<kr_char> wide(text);
    const outcome simple = model_fixed(text, 32, "");
    require(gives<char>(kr_guid_from_string_simple_ascii, narrow, simple));
    require(gives<kr_char>(kr_guid_from_string_simple, wide, simple));
    require(gives<char>(kr_guid_from_string_braced_ascii, narrow, model_fixed(text, 37, "{}-")));
    require(gives<kr_char>(kr_guid_from_string_braced, wide, model_fixed(text, 38, "{}-")));
    require(gives<kr_char>(kr_guid_from_string_shortest, wide, model_shortest(text)));
    if (std::all_of(text.begin(), text.end(), [](char c) { return c >= 0; })) {
        // Where a byte is a character; other texts are never taken, whichever check refuses them.
        require(gives<char>(kr_guid_from_string_shortest_ascii, narrow, model_shortest(text)));
    } else {
        KRGUID guid{};
        require(kr_result_failed(kr_guid_from_string_shortest_ascii(narrow, &guid)));
    }
    KRGUID any{};
    std::memcpy(any.bytes, data, std::min<size_t>(size, KR_GUID_BYTES));
    check_texts(any);
    return 0;
}
