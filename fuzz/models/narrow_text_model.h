/// Any narrow text: its UTF-8 counts against a walk over a bounded view, its way to wide text and
/// back against one character at a time.
#pragma once

#include "base/convert/convert_text.h"
#include "base/text/widen.h"
#include "models/input.h"

namespace kr::test {

inline u64 count_characters(std::string_view text) {
    u64 count = 0;
    while (!text.empty()) {
        const auto lead = static_cast<u8>(text.front());
        const size_t length = lead < 0x80   ? 1
                              : lead < 0xC0 ? 0
                              : lead < 0xE0 ? 2
                              : lead < 0xF0 ? 3
                              : lead < 0xF8 ? 4
                              : lead < 0xFC ? 5
                                            : 6;
        count += length == 0 ? 0u : 1u;
        text.remove_prefix(std::min(std::max<size_t>(length, 1), text.size()));
    }
    return count;
}

inline void check_copies(std::string_view text, const char* narrow, size_t room) {
    const exact_block<kr_char> wide(text.size() + 1);
    kr_ascii_to_krchar(narrow, wide.get());
    for (size_t i = 0; i < text.size(); ++i) {
        expect(wide[i] == kr::detail::widen(text[i]));
    }
    expect(wide[text.size()] == 0);

    const size_t ascii = static_cast<size_t>(
        std::find_if(text.begin(), text.end(), [](char c) { return c < 0; }) - text.begin());
    const exact_block<char> back(room);
    const kr_result result = kr_krchar_to_ascii(wide.get(), back.get(), room);
    expect(std::equal(back.get(), back.get() + std::min(room, ascii), text.begin()));
    if (room <= ascii) {
        expect(kr_result_is(result, KR_SUPPLIED_BUFFER_IS_NOT_LARGE_ENOUGH));
    } else if (ascii < text.size()) {
        expect(kr_result_is(result, KR_INVALID_ARGUMENT_TO_FUNCTION));
    } else {
        expect(result == KR_SUCCESS && back[ascii] == '\0');
    }
}

inline void check_narrow_text(std::span<const u8> input) {
    // The first byte is the room of the copy back, so that every size is met.
    const size_t room = input.empty() ? 0 : input[0];
    const std::string text(text_of(input.subspan(input.empty() ? 0 : 1)));
    const exact_text<char> narrow(text);
    expect(kr_string_char_count_utf8(narrow) == count_characters(text));
    expect(kr_string_bytesize_clean_utf8(narrow) == text.size());
    expect(kr_string_bytesize_utf8(narrow) == text.size() + 1);
    check_copies(text, narrow, room);
}

} // namespace kr::test
