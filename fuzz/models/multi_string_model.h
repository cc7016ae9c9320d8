/// Lists of strings as escaped text, against plain loops. The input is a text to parse, and cut at
/// its line feeds a list to compose.
#pragma once

#include <optional>
#include <vector>

#include "models/input.h"
#include "owners.h"
#include "settings/multi_string.h"

namespace kr::test {

using wide_items = std::vector<std::basic_string<kr_char>>;

inline std::optional<wide_items> model_parse(const std::basic_string<kr_char>& text) {
    wide_items items;
    std::basic_string<kr_char> item;
    for (size_t at = 0; at < text.size(); ++at) {
        if (text[at] == ';') {
            items.push_back(item);
            item.clear();
            continue;
        }
        if (text[at] == '\\' && (++at == text.size() || (text[at] != ';' && text[at] != '\\'))) {
            return std::nullopt;
        }
        item += text[at];
    }
    if (!item.empty()) {
        items.push_back(item);
    }
    return items;
}

inline std::basic_string<kr_char> model_compose(const wide_items& items) {
    std::basic_string<kr_char> text;
    for (const auto& item : items) {
        for (const kr_char unit : item) {
            text.append(unit == ';' || unit == '\\' ? 1 : 0, '\\') += unit;
        }
        text += KR_TEXT(';');
    }
    return text;
}

inline wide_items items_of(const kr_array_string* array) {
    return {array->items, array->items + array->count};
}

/// Parsing appends, and a text that is refused leaves the array alone.
inline void check_parse(const std::basic_string<kr_char>& text, wide_items before) {
    kr::owned_strings array;
    expect(kr_array_string_new(array.out()) == KR_SUCCESS);
    for (const auto& item : before) {
        expect(kr_array_string_add(array.get(), exact_text<kr_char>(item)) == KR_SUCCESS);
    }
    const auto expected = model_parse(text);
    const kr_result result = kr_settings_parse_multi_string(exact_text<kr_char>(text), array.get());
    expect(kr_result_succeeded(result) == expected.has_value());
    if (expected) {
        before.insert(before.end(), expected->begin(), expected->end());
    }
    expect(items_of(array.get()) == before);
    kr::owned_text composed;
    expect(kr_settings_compose_multi_string(array.get(), composed.out()) == KR_SUCCESS);
    expect(composed.get() == model_compose(before));
}

inline void check_multi_string(std::span<const u8> input) {
    const std::basic_string<kr_char> text = characters<kr_char>(text_of(input));
    wide_items lines(1);
    for (const kr_char unit : text) {
        if (unit == '\n') {
            lines.emplace_back();
        } else {
            lines.back() += unit;
        }
    }
    check_parse(text, lines);
    check_parse(model_compose(lines), {});
}

} // namespace kr::test
