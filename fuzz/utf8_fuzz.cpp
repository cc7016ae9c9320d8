/// Any narrow text: its UTF-8 counts against a walk over a bounded view, its way to wide text and
/// back against one character at a time.
#include <algorithm>
#include <memory>
#include <string>

#include "base/convert/convert_text.h"
#include "base/text/widen.h"
#include "text_input.h"

namespace {

u64 count_characters(std::string_view text) {
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

void check_copies(std::string_view text, const char* narrow, size_t room) {
    const std::unique_ptr<kr_char[]> wide(new kr_char[text.size() + 1]);
    kr_ascii_to_krchar(narrow, wide.get());
    for (size_t i = 0; i < text.size(); ++i) {
        require(wide[i] == kr::detail::widen(text[i]));
    }
    require(wide[text.size()] == 0);

    const size_t ascii = static_cast<size_t>(
        std::find_if(text.begin(), text.end(), [](char c) { return c < 0; }) - text.begin());
    const std::unique_ptr<char[]> back(new char[room]);
    const kr_result result = kr_krchar_to_ascii(wide.get(), back.get(), room);
    require(std::equal(back.get(), back.get() + std::min(room, ascii), text.begin()));
    if (room <= ascii) {
        require(kr_result_is(result, KR_SUPPLIED_BUFFER_IS_NOT_LARGE_ENOUGH));
    } else if (ascii < text.size()) {
        require(kr_result_is(result, KR_INVALID_ARGUMENT_TO_FUNCTION));
    } else {
        require(result == KR_SUCCESS && back[ascii] == '\0');
    }
#if KR_VECTORS
    const std::unique_ptr<kr_char[]> by_vectors(new kr_char[text.size() + 1]);
    kr::detail::vectors::widen_text(narrow, by_vectors.get());
    require(std::equal(wide.get(), wide.get() + text.size() + 1, by_vectors.get()));
    const std::unique_ptr<char[]> narrowed(new char[room]);
    require(kr::detail::vectors::narrow_ascii(wide.get(), narrowed.get(), room) ==
            std::min(room, ascii));
    require(std::equal(narrowed.get(), narrowed.get() + std::min(room, ascii), back.get()));
#endif
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const u8* data, size_t size) {
    // The first byte is the room of the copy back, so that every size is met.
    const size_t room = size == 0 ? 0 : data[0];
    const std::string_view text = size == 0 ? std::string_view() : text_of(data + 1, size - 1);
    const exact_text<char> narrow(text);
    require(kr_string_char_count_utf8(narrow) == count_characters(text));
    require(kr_string_bytesize_clean_utf8(narrow) == text.size());
    require(kr_string_bytesize_utf8(narrow) == text.size() + 1);
    check_copies(text, narrow, room);
    return 0;
}
