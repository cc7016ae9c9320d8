/// Look-up of the texts of results and the frame around them.
#include "result/descriptions.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <iterator>
#include <span>

#include "base/text/copy_text.h"
#include "platform/platform.h"
#include "result/description_texts.h"
#include "result/failures.h"

using kr::detail::invalid_argument;
using kr::detail::unexpected_behaviour;

namespace {

using kr::detail::description_row;
using kr::detail::description_text;

constexpr size_t size_of_text(size_t chars) {
    return (chars + 1) * sizeof(kr_char);
}

/// Room for the code's text inside a whole description: 127 characters and the terminator.
constexpr size_t code_text_chars = 128;

constexpr bool rows_are_sound(std::span<const description_row> rows) {
    for (size_t i = 0; i < rows.size(); ++i) {
        if (rows[i].text.empty() || rows[i].text.size() >= code_text_chars ||
            (i > 0 && rows[i - 1].code >= rows[i].code)) {
            return false;
        }
    }
    return true;
}

/// Row numbers by code in one step: pages of 256 codes, only those that hold a row. A binary search
/// over the widest table mispredicts its way through eight steps.
template <size_t Pages>
struct row_index {
    std::array<u8, 256> page{};                       ///< by high byte, 1-based; 0: no row there
    std::array<std::array<u8, 256>, Pages> entries{}; ///< by low byte, 1-based; 0: no row
};

constexpr size_t page_count(std::span<const description_row> rows) {
    size_t count = 0;
    for (size_t i = 0; i < rows.size(); ++i) {
        count += i == 0 || (rows[i].code >> 8) != (rows[i - 1].code >> 8) ? 1 : 0;
    }
    return count;
}

template <const auto& Rows>
constexpr auto make_index() {
    static_assert(rows_are_sound(Rows), "ascending, no empty text, none longer than its room");
    static_assert(std::size(Rows) < 256, "row numbers are bytes");
    row_index<page_count(Rows)> index{};
    u8 pages = 0;
    u8 number = 0;
    for (const description_row& row : Rows) {
        u8& page = index.page[row.code >> 8];
        if (page == 0) {
            page = ++pages;
        }
        index.entries[page - 1u][row.code & 0xFF] = ++number;
    }
    return index;
}

template <const auto& Rows>
description_text find_text(u16 code, description_text unknown) {
    static constexpr auto index = make_index<Rows>();
    const u8 page = index.page[code >> 8];
    const u8 number = page == 0 ? u8{0} : index.entries[page - 1u][code & 0xFF];
    return number == 0 ? unknown : Rows[number - 1u].text;
}

/// The constant text of a result's code. Win32 errors have none.
description_text code_text(kr_result result) {
    const u16 code = kr_result_code(result);
    switch (kr_result_space(result)) {
    case KR_SPACE_BSD:
        return find_text<kr::detail::bsd_descriptions>(code, KR_TEXT("Unknown macintosh BSD code"));
    case KR_SPACE_INTERNAL:
        return find_text<kr::detail::internal_descriptions>(code, KR_TEXT("Unknown internal code"));
    case KR_SPACE_LINUX:
        return find_text<kr::detail::linux_descriptions>(code, KR_TEXT("Unknown Linux code"));
    case KR_SPACE_NTSTATUS:
        return find_text<kr::detail::ntstatus_descriptions>(code, KR_TEXT("Unknown NTSTATUS code"));
    case KR_SPACE_MACH:
        return find_text<kr::detail::mach_descriptions>(code,
                                                        KR_TEXT("Unknown macintosh Mach code"));
    case KR_SPACE_FORTH:
        return find_text<kr::detail::forth_descriptions>(code, KR_TEXT("Unknown forth code"));
    default:
        return KR_TEXT("Unknown pool code");
    }
}

struct source_row {
    u8 source;
    description_text end; ///< what stands behind the code's text
};

/// The components that stamp their results with a source of their own. Source 0 is nobody's.
constexpr source_row source_ends[] = {
    {0x01, KR_TEXT("\" from \"Driver probe\"")},
};

description_text source_end(kr_result result) {
    const u32 source = (result & KR_RESULT_SOURCE_MASK) >> KR_RESULT_SOURCE_SHIFT;
    for (const source_row& row : source_ends) {
        if (row.source == source) {
            return row.end;
        }
    }
    return KR_TEXT("\" from \"Unknown source\"");
}

/// Joins the pieces in a buffer of `*size` bytes, at least 2, or only measures them. A piece that
/// does not fit is cut and ends the text.
kr_result put_pieces(std::span<const description_text> pieces, kr_char* buffer, size_t* size) {
    size_t chars = 0;
    for (const description_text piece : pieces) {
        chars += piece.size();
    }
    const size_t room = buffer == nullptr ? 0 : *size / sizeof(kr_char) - 1;
    *size = size_of_text(chars);
    if (buffer == nullptr) {
        return KR_SUCCESS;
    }
    size_t used = 0;
    for (const description_text piece : pieces) {
        const size_t fitting = std::min(piece.size(), room - used);
        kr::detail::copy_text(piece.data(), fitting, buffer + used);
        used += fitting;
    }
    buffer[used] = 0;
    return used == chars ? KR_SUCCESS
                         : kr_result_make_success(KR_SUPPLIED_BUFFER_IS_NOT_LARGE_ENOUGH);
}

} // namespace

kr_result kr_get_result_code_description(kr_result result, kr_char* buffer, size_t* size) {
    if (size == nullptr) {
        return invalid_argument();
    }
    if (kr_result_space(result) == KR_SPACE_WIN32) {
        return kr_result_win32_message(kr_result_code(result), buffer, size);
    }
    const description_text text = code_text(result);
    const size_t needed = size_of_text(text.size());
    const bool fits = needed <= *size;
    if (fits && buffer == nullptr) {
        return invalid_argument();
    }
    *size = needed;
    if (!fits) {
        return kr_result_make_error(KR_SUPPLIED_BUFFER_IS_NOT_LARGE_ENOUGH);
    }
    // The terminator comes along: the texts are literals.
    std::memcpy(buffer, text.data(), needed);
    return KR_SUCCESS;
}

kr_result kr_result_win32_message(u16 error, kr_char* buffer, size_t* size) {
    if (size == nullptr || (buffer == nullptr && *size >= sizeof(kr_char))) {
        return invalid_argument();
    }
    // The system takes no more than 64 KiB.
    constexpr size_t most_chars = 0x7FFF;
    constexpr DWORD user_language = 0x0400;
    const DWORD room = static_cast<DWORD>(std::min(*size / sizeof(kr_char), most_chars));
    const DWORD chars = FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_MAX_WIDTH_MASK,
                                       nullptr, error, user_language, buffer, room, nullptr);
    if (chars == 0) {
        const DWORD failure = GetLastError();
        return kr_result_make_error(failure == ERROR_INSUFFICIENT_BUFFER
                                        ? KR_SUPPLIED_BUFFER_IS_NOT_LARGE_ENOUGH
                                        : KR_GENERIC);
    }
    // A system that keeps to the room never comes here.
    const size_t needed = size_of_text(chars);
    if (needed > *size) {
        return kr_result_make_error(KR_SUPPLIED_BUFFER_IS_NOT_LARGE_ENOUGH);
    }
    *size = needed;
    return KR_SUCCESS;
}

kr_result kr_get_result_description2(kr_result result, kr_char* buffer, size_t* size) {
    if (size == nullptr) {
        return invalid_argument();
    }
    if (buffer != nullptr && *size < sizeof(kr_char)) {
        return unexpected_behaviour();
    }
    if (result == KR_RESULT_INVALID) {
        const description_text pieces[] = {KR_TEXT("Invalid result value")};
        return put_pieces(pieces, buffer, size);
    }
    kr_char message[code_text_chars];
    description_text text;
    if (kr_result_space(result) == KR_SPACE_WIN32) {
        size_t message_size = sizeof(message);
        const kr_result found =
            kr_result_win32_message(kr_result_code(result), message, &message_size);
        if (kr_result_failed(found)) {
            return found;
        }
        text = {message, message_size / sizeof(kr_char) - 1};
    } else {
        text = code_text(result);
    }
    const description_text pieces[] = {
        kr_result_failed(result) ? description_text{KR_TEXT("error \"")} : KR_TEXT("success \""),
        text,
        source_end(result),
    };
    return put_pieces(pieces, buffer, size);
}

kr_result kr_get_result_description(kr_result result, kr_char* buffer, size_t size) {
    return kr_get_result_description2(result, buffer, &size);
}
