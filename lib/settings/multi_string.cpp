/// Lists of strings as escaped text.
#include "settings/multi_string.h"

#include <bit>
#include <cstddef>
#include <limits>

#include "base/memory/owner.h"
#include "base/text/array_string.h"
#include "base/text/array_string_add.h"
#include "base/text/copy_text.h"
#include "base/text/text_walk.h"
#include "base/text/wide_string.h"
#include "log/trace.h"
#include "result/failures.h"
#include "settings/report.h"

namespace {

using kr::detail::invalid_argument;
using kr::detail::report;

constexpr kr_char separator = KR_TEXT(';');
constexpr kr_char escape = KR_TEXT('\\');

/// The longest text whose size in bytes, terminator included, is a u32.
constexpr u64 longest_text_chars = std::numeric_limits<u32>::max() / sizeof(kr_char) - 1;

constexpr kr::detail::is_terminator<kr_char> is_end = {};
constexpr kr::detail::is_either<kr_char> is_escaped = {separator, escape};

constexpr const char* parse_name = "kr_settings_parse_multi_string";
constexpr const char* compose_name = "kr_settings_compose_multi_string";

kr_result append_item(kr_array_string* array, const kr_char* item, u64 length_chars) {
    const kr_result result = kr::detail::array_string_add(array, item, length_chars);
    if (kr_result_failed(result)) {
        KR_LOG_FAILURE_AS(KR_LOG_SETTINGS, KR_LOG_WARNING, parse_name, result,
                          "Unable to add string '%_s' to array string.", item);
    }
    return result;
}

namespace vectors = kr::detail::vectors;

/// What ends a run of characters that stand for themselves.
struct ends_run {
    constexpr bool operator()(kr_char character) const {
        return is_end(character) || is_escaped(character);
    }
#if KR_VECTORS
    __m128i operator()(__m128i chars) const {
        return _mm_or_si128(is_end(chars), is_escaped(chars));
    }
#endif
};

u64 run_length(const kr_char* text) {
    return kr::detail::scan::first_match(text, ends_run{}, kr::detail::no_limit);
}

/// `item` has room for the whole of `text`.
kr_result append_items(const kr_char* text, kr_char* item, kr_array_string* array) {
    kr_char* end = item;
    for (const kr_char* next = text;; ++next) {
        const u64 run = run_length(next);
        kr::detail::copy_text(next, run, end);
        next += run;
        end += run;
        if (*next == escape) {
            if (!is_escaped(*++next)) {
                KR_LOG_AS(KR_LOG_SETTINGS, KR_LOG_WARNING, parse_name,
                          "Parsing error. String '%_s' is not properly escaped.", text);
                return kr::detail::unexpected_behaviour();
            }
            *end++ = *next;
            continue;
        }
        if (*next == 0 && end == item) {
            return KR_SUCCESS;
        }
        *end = 0;
        const kr_result result = append_item(array, item, static_cast<u64>(end - item));
        if (*next == 0 || kr_result_failed(result)) {
            return result;
        }
        end = item;
    }
}

/// Removes from the end: from the front, each removal would move all the later items.
void roll_back(kr_array_string* array, u32 count) {
    while (kr_array_string_count(array) > count) {
        const u32 last = kr_array_string_count(array) - 1;
        const kr_result result = kr_array_string_remove(array, last);
        if (kr_result_failed(result)) {
            KR_LOG_FAILURE_AS(KR_LOG_SETTINGS, KR_LOG_WARNING, parse_name, result,
                              "Unable to remove element at position %u after parse error.", last);
            return;
        }
    }
}

kr_result item_at(const kr_array_string* array, u32 index, const kr_char** item) {
    *item = kr_array_string_get_item(array, index);
    if (*item == nullptr) {
        KR_LOG_AS(KR_LOG_SETTINGS, KR_LOG_WARNING, compose_name,
                  "kr_array_string_get_item() return an invalid item.");
        return invalid_argument();
    }
    return KR_SUCCESS;
}

#if KR_VECTORS && !KR_READS_ARE_WATCHED
/// A vector of an item: two bits for each terminator and for each character to be escaped.
struct piece {
    explicit piece(const kr_char* at)
        : chars(vectors::load_beyond(at)), ends(vectors::bits_of(is_end(chars))),
          escaped(vectors::bits_of(is_escaped(chars))) {}

    __m128i chars;
    u32 ends;
    u32 escaped;
};

constexpr u32 count_pairs(u32 bits) {
    const u32 nibbles = (bits & 0x1111) + (bits >> 2 & 0x1111);
    return nibbles * 0x1111 >> 12 & 0xF;
}
#endif

/// The characters of an item with what escapes them.
u64 escaped_length(const kr_char* item) {
    u64 total = 0;
#if KR_VECTORS && !KR_READS_ARE_WATCHED
    for (; vectors::in_one_page(item); item += vectors::vector_chars) {
        const piece next(item);
        if (next.ends != 0) {
            const u32 before = next.ends ^ (next.ends - 1);
            return total + static_cast<u32>(std::countr_zero(next.ends)) / sizeof(kr_char) +
                   count_pairs(next.escaped & before);
        }
        total += vectors::vector_chars + count_pairs(next.escaped);
    }
#endif
    for (; *item != 0; ++item) {
        total += is_escaped(*item) ? 2 : 1;
    }
    return total;
}

/// Writes an item and gives the place behind it; nothing is written from `end` on.
kr_char* write_escaped(const kr_char* item, kr_char* text, [[maybe_unused]] const kr_char* end) {
#if KR_VECTORS && !KR_READS_ARE_WATCHED
    while (vectors::in_one_page(item) && end - text >= std::ptrdiff_t{vectors::vector_chars}) {
        const piece next(item);
        vectors::store(text, next.chars);
        const u32 stops = next.ends | next.escaped;
        if (stops == 0) {
            item += vectors::vector_chars;
            text += vectors::vector_chars;
            continue;
        }
        const auto run = static_cast<u32>(std::countr_zero(stops)) / sizeof(kr_char);
        item += run;
        text += run;
        if (*item == 0) {
            return text;
        }
        *text++ = escape;
        *text++ = *item++;
    }
#endif
    for (; *item != 0; ++item) {
        if (is_escaped(*item)) {
            *text++ = escape;
        }
        *text++ = *item;
    }
    return text;
}

kr_result measure_text(const kr_array_string* array, u64* length_chars) {
    u64 total = 0;
    for (u32 index = 0; index < kr_array_string_count(array); ++index) {
        const kr_char* item = nullptr;
        const kr_result result = item_at(array, index, &item);
        if (kr_result_failed(result)) {
            return result;
        }
        total += escaped_length(item) + 1;
    }
    *length_chars = total;
    return KR_SUCCESS;
}

/// `text` has room for `length_chars` and a terminator.
kr_result write_text(const kr_array_string* array, kr_char* text, u64 length_chars) {
    const kr_char* const end = text + length_chars;
    for (u32 index = 0; index < kr_array_string_count(array); ++index) {
        const kr_char* item = nullptr;
        const kr_result result = item_at(array, index, &item);
        if (kr_result_failed(result)) {
            return result;
        }
        text = write_escaped(item, text, end);
        *text++ = separator;
    }
    *text = 0;
    return KR_SUCCESS;
}

kr_result get_items(const char* function, kr_settings_handle settings, const kr_char* name,
                    kr_array_string* array) {
    if (array == nullptr) {
        return invalid_argument();
    }
    kr::owned_text text;
    kr_result result = report(function, "kr_settings_get_string_alloc",
                              kr_settings_get_string_alloc(settings, name, text.out()));
    if (kr_result_failed(result)) {
        return result;
    }
    result = kr_settings_parse_multi_string(text.get(), array);
    if (kr_result_failed(result)) {
        KR_LOG_FAILURE_AS(KR_LOG_SETTINGS, KR_LOG_WARNING, function, result,
                          "Unable to parse multi string %_s", text.get());
    }
    return result;
}

kr_result set_items(const char* function, kr_settings_handle settings, const kr_char* name,
                    const kr_array_string* array) {
    kr::owned_text text;
    const kr_result result = kr_settings_compose_multi_string(array, text.out());
    if (kr_result_failed(result)) {
        KR_LOG_FAILURE_AS(KR_LOG_SETTINGS, KR_LOG_WARNING, function, result,
                          "Unable to compose multi string from array of strings.");
        return result;
    }
    return report(function, "kr_settings_set_string",
                  kr_settings_set_string(settings, name, text.get()));
}

} // namespace

kr_result kr_settings_parse_multi_string(const kr_char* text, kr_array_string* array) {
    if (text == nullptr || array == nullptr) {
        return invalid_argument();
    }
    const u32 count_before = kr_array_string_count(array);
    kr::owned_block item;
    kr_result result = kr_memory_allocate_hook(item.out(), kr_string_bytesize(text));
    if (kr_result_failed(result)) {
        KR_LOG_FAILURE(KR_LOG_SETTINGS, KR_LOG_WARNING, result, "Unable to allocate memory.");
        return result;
    }
    result = append_items(text, static_cast<kr_char*>(item.get()), array);
    if (kr_result_failed(result)) {
        roll_back(array, count_before);
    }
    return result;
}

kr_result kr_settings_compose_multi_string(const kr_array_string* array, kr_char** out) {
    if (array == nullptr || out == nullptr) {
        return invalid_argument();
    }
    u64 length_chars = 0;
    kr_result result = measure_text(array, &length_chars);
    if (kr_result_failed(result)) {
        return result;
    }
    if (length_chars > longest_text_chars) {
        return kr_result_make_error(KR_OVERFLOW);
    }
    const u64 size_bytes = (length_chars + 1) * sizeof(kr_char);
    kr::owned_block text;
    result = kr_memory_allocate_hook(text.out(), size_bytes);
    if (kr_result_failed(result)) {
        KR_LOG_FAILURE(KR_LOG_SETTINGS, KR_LOG_WARNING, result, "Unable to allocate %u bytes.",
                       static_cast<u32>(size_bytes));
        return result;
    }
    result = write_text(array, static_cast<kr_char*>(text.get()), length_chars);
    if (kr_result_succeeded(result)) {
        *out = static_cast<kr_char*>(text.release());
    }
    return result;
}

kr_result kr_settings_get_multi_string(kr_settings_handle settings, const kr_char* name,
                                       kr_array_string* array) {
    const kr_trace trace(KR_LOG_SETTINGS, __func__);
    trace.enter("Enter (name = %_s)", name);
    const kr_result result = get_items(__func__, settings, name, array);
    trace.leave_with("Return %_r () %_z", &result, &result);
    return result;
}

kr_result kr_settings_set_multi_string(kr_settings_handle settings, const kr_char* name,
                                       const kr_array_string* array) {
    const kr_trace trace(KR_LOG_SETTINGS, __func__);
    trace.enter("Enter (name=%_s)", name);
    const kr_result result = set_items(__func__, settings, name, array);
    trace.leave_with("Return %_r () %_z", &result, &result);
    return result;
}
