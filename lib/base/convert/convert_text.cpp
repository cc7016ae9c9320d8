/// Copies between ASCII and wide text, and UTF-8 counts. Reaches the allocator hooks and the log.
#include "base/convert/convert_text.h"

#include "base/memory/owner.h"
#include "base/text/text_walk.h"
#include "base/text/widen.h"
#include "log/log.h"
#include "result/failures.h"

using kr::detail::invalid_argument;
using kr::detail::text_length;
using kr::detail::widen;

namespace {

kr_result to_ascii(const char* function, const kr_char* src, char* dst, size_t dst_size) {
    const auto too_small = kr_result_make_error(KR_SUPPLIED_BUFFER_IS_NOT_LARGE_ENOUGH);
    if (dst_size == 0) {
        return too_small;
    }
    if (src == nullptr || dst == nullptr) {
        return invalid_argument();
    }
    const size_t count = kr::detail::scan::first_match(src, kr::detail::ends_ascii{}, dst_size);
    kr::detail::narrow(src, count, dst);
    if (count == dst_size) {
        return too_small;
    }
    const kr_char stop = src[count];
    if (stop != kr_char{}) {
        KR_LOG_AS(KR_LOG_OTHER, KR_LOG_ERROR, function,
                  "Non ASCII unicode char %04X at string index %u cannot be converted to "
                  "non-unicode char",
                  static_cast<u32>(stop), static_cast<u32>(count));
        return invalid_argument();
    }
    dst[count] = '\0';
    return KR_SUCCESS;
}

/// A new string for `convert(chars)` to fill; `out` is written when that succeeds too.
template <typename Char, typename Convert>
kr_result make_string(const char* function, const char* kind, size_t chars, Char** out,
                      Convert convert) {
    kr::owned_block block;
    kr_result result = kr_memory_allocate_hook(block.out(), chars * sizeof(Char));
    if (kr_result_failed(result)) {
        KR_LOG_AS(KR_LOG_OTHER, KR_LOG_ERROR, function,
                  "Failed to allocate memory for %s. Result is %_r (%_z)", kind, &result, &result);
        return result;
    }
    result = convert(static_cast<Char*>(block.get()));
    if (kr_result_succeeded(result)) {
        *out = static_cast<Char*>(block.release());
    }
    return result;
}

kr_result widen_dup(const char* function, const char* kind, const char* src, kr_char** out) {
    if (src == nullptr || out == nullptr) {
        return invalid_argument();
    }
    const size_t size = text_length(src) + 1;
    return make_string(function, kind, size, out, [=](kr_char* dst) {
        widen(src, size, dst);
        return KR_SUCCESS;
    });
}

/// Length of the sequence that a lead byte announces, by the byte's top six bits; 0 for a byte that
/// leads none.
constexpr u8 sequence_bytes[64] = {
    1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1,
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 2, 2, 2, 2, 2, 2, 2, 2, 3, 3, 3, 3, 4, 4, 5, 6,
};

struct utf8_counts {
    u64 characters;
    u64 bytes;
};

utf8_counts count_utf8(const char* function, const char* text) {
    utf8_counts counts{};
    while (text[counts.bytes] != '\0') {
        const auto lead = static_cast<u8>(text[counts.bytes++]);
        const u32 length = sequence_bytes[lead >> 2];
        if (length == 0) {
            KR_LOG_AS(KR_LOG_OTHER, KR_LOG_ERROR, function,
                      "Invalid byte value 0x%02X in UTF-8 sequence, ignoring it!", u32{lead});
            continue;
        }
        ++counts.characters;
        for (u32 i = 1; i < length && text[counts.bytes] != '\0'; ++i) {
            ++counts.bytes;
        }
    }
    return counts;
}

u64 null_text_count() {
    return invalid_argument();
}

} // namespace

kr_result kr_wchar_to_ascii(const kr_char* src, char* dst, size_t dst_size) {
    return to_ascii(__func__, src, dst, dst_size);
}

kr_result kr_krchar_to_ascii(const kr_char* src, char* dst, size_t dst_size) {
    return to_ascii(__func__, src, dst, dst_size);
}

void kr_ascii_to_wchar(const char* src, kr_char* dst) {
    widen(src, text_length(src) + 1, dst);
}

void kr_ascii_to_krchar(const char* src, kr_char* dst) {
    widen(src, text_length(src) + 1, dst);
}

kr_result kr_ascii_to_wchar_strdup(const char* src, kr_char** out) {
    return widen_dup(__func__, "wchar_t string", src, out);
}

kr_result kr_ascii_to_krchar_strdup(const char* src, kr_char** out) {
    return widen_dup(__func__, "kr_char_string", src, out);
}

kr_result kr_krchar_to_ascii_strdup(const kr_char* src, char** out) {
    if (src == nullptr || out == nullptr) {
        return invalid_argument();
    }
    const size_t size = text_length(src) + 1;
    return make_string(__func__, "ascii char string", size, out,
                       [=](char* dst) { return kr_wchar_to_ascii(src, dst, size); });
}

u64 kr_string_char_count_utf8(const char* text) {
    return text == nullptr ? null_text_count() : count_utf8(__func__, text).characters;
}

u64 kr_string_bytesize_clean_utf8(const char* text) {
    return text == nullptr ? null_text_count() : count_utf8(__func__, text).bytes;
}

u64 kr_string_bytesize_utf8(const char* text) {
    return text == nullptr ? null_text_count() : kr_string_bytesize_clean_utf8(text) + 1;
}
