/// Wide-string utilities, on the library's walks and on the runtime's locale routines.
#include "base/text/wide_string.h"

#include <algorithm>
#include <span>

#include "base/memory/memory.h"
#include "base/text/wide_mismatch.h"
#include "platform/platform.h"
#include "result/failures.h"

namespace scan = kr::detail::scan;
namespace plain = kr::detail::plain;

namespace {

using kr::detail::invalid_argument;
using kr::detail::no_limit;
using kr::detail::text_length;
using kr::detail::text_length_within;
using ends = kr::detail::is_terminator<kr_char>;

kr_result too_small() {
    return kr_result_make_error(KR_SUPPLIED_BUFFER_IS_NOT_LARGE_ENOUGH);
}

constexpr u64 bytes_of(u64 length_chars) {
    return length_chars * sizeof(kr_char);
}

// Checked copies.

kr_result from_runtime(int error) {
    switch (error) {
    case 0:
        return KR_SUCCESS;
    case EINVAL:
        return invalid_argument();
    case ERANGE:
        return too_small();
    default:
        return kr_result_make_error(KR_GENERIC);
    }
}

/// What the runtime's checked copies report for `src` behind `used` characters of `dst`, 0 when
/// they will succeed; empties `dst` on a refusal, as they do. It is found out beforehand so that
/// the runtime never calls the process's invalid-parameter handler: to replace the handler for the
/// call would change it for every other thread as well.
int refusal(kr_char* dst, u64 size, u64 used, const kr_char* src) {
    if (dst == nullptr || size == 0) {
        return EINVAL;
    }
    int error = 0;
    if (src == nullptr || used == size) {
        error = EINVAL;
    } else if (text_length_within(src, size - used) == size - used) {
        error = ERANGE;
    }
    if (error != 0) {
        dst[0] = 0;
    }
    return error;
}

template <typename Char>
kr_result copy_bounded(Char* dst, u64 size, const Char* src) {
    if (dst == nullptr || src == nullptr || size == 0) {
        return invalid_argument();
    }
    for (u64 at = 0; at < size; ++at) {
        dst[at] = src[at];
        if (src[at] == 0) {
            return KR_SUCCESS;
        }
    }
    return too_small();
}

// Searches.

using either = kr::detail::is_either<kr_char>;

/// The position of the first `c` or of the terminator, whichever comes first.
u64 find_or_end(const kr_char* s, kr_char c) {
    return scan::first_match(s, either{c, 0}, no_limit);
}

// Comparisons.

template <typename Value>
kr_result order_of(Value a, Value b) {
    return kr_result_make_success(a == b ? KR_EQUAL : a < b ? KR_LESS : KR_GREATER);
}

bool says_equal(kr_result result) {
    return kr_result_succeeded(result) && kr_result_is(result, KR_EQUAL);
}

using kr::detail::as_is;
using kr::detail::ascii_folded;

struct folded {
    u32 operator()(kr_char unit) const { return static_cast<kr_char>(towlower(unit)); }
};

/// What the runtime says of two texts, or of their first `n` units. Every locale folds ASCII alike,
/// so the runtime is asked about what stands behind the first two units that differ then, and about
/// these only where one of them is beyond ASCII.
kr_result compare_folded(const kr_char* a, const kr_char* b, u64 n) {
    if (a == nullptr || b == nullptr) {
        return invalid_argument();
    }
    const u64 at = scan::mismatch(a, b, n, ascii_folded{});
    if (at == n) {
        return kr_result_make_success(KR_EQUAL);
    }
    if ((a[at] | b[at]) < 0x80) {
        return order_of(ascii_folded{}(a[at]), ascii_folded{}(b[at]));
    }
    return order_of(n == no_limit ? _wcsicmp(a + at, b + at) : _wcsnicmp(a + at, b + at, n - at),
                    0);
}

template <typename Fold>
kr_result compare_plainly(const kr_char* a, const kr_char* b, u64 n, Fold fold) {
    if (a == nullptr || b == nullptr) {
        return invalid_argument();
    }
    for (u64 at = 0; at < n; ++at) {
        const u32 x = fold(a[at]), y = fold(b[at]);
        if (x != y || x == 0) {
            return order_of(x, y);
        }
    }
    return kr_result_make_success(KR_EQUAL);
}

// New buffers.

/// A text for `length` units, the terminator behind them; `out` is written on success only.
kr_result new_text(kr_char** out, u64 length) {
    void* block = nullptr;
    const kr_result result = kr_memory_allocate_hook(&block, bytes_of(length + 1));
    if (kr_result_succeeded(result)) {
        *out = static_cast<kr_char*>(block);
        (*out)[length] = 0;
    }
    return result;
}

kr_result concat(kr_char** out, std::span<const kr_char* const> parts) {
    constexpr size_t most_parts = 5;
    u64 lengths[most_parts] = {};
    u64 total = 0;
    if (out == nullptr) {
        return invalid_argument();
    }
    for (size_t i = 0; i < parts.size(); ++i) {
        if (parts[i] == nullptr) {
            return invalid_argument();
        }
        lengths[i] = kr_string_length(parts[i]);
        total += lengths[i];
    }
    const kr_result result = new_text(out, total);
    if (kr_result_failed(result)) {
        return result;
    }
    kr_char* end = *out;
    for (size_t i = 0; i < parts.size(); ++i) {
        kr_memcpy(end, parts[i], bytes_of(lengths[i]));
        end += lengths[i];
    }
    return result;
}

// The module's narrow functions.

u64 narrow_length(const char* s) {
    return text_length(s);
}

kr_result string_module_init() {
    kr_string_functions = {.copy = copy_bounded<char>, .length = narrow_length};
    return KR_SUCCESS;
}

} // namespace

constinit kr_string_table kr_string_functions = {};

kr_module* kr_string_module() {
    static constinit kr_module module = {
        .name = "string", .init = string_module_init, .fini = nullptr, .dependencies = nullptr};
    return &module;
}

kr_result kr_string_copy_s(kr_char* dst, u64 size, const kr_char* src) {
    const int refused = refusal(dst, size, 0, src);
    return from_runtime(refused != 0 ? refused : wcscpy_s(dst, size, src));
}

kr_result kr_string_cat_s(kr_char* dst, u64 size, const kr_char* src) {
    const u64 used = dst != nullptr ? text_length_within(dst, size) : 0;
    const int refused = refusal(dst, size, used, src);
    return from_runtime(refused != 0 ? refused : wcscat_s(dst, size, src));
}

void kr_string_copy(kr_char* dst, const kr_char* src) {
    kr_memcpy(dst, src, kr_string_bytesize(src));
}

void kr_string_cat(kr_char* dst, const kr_char* src) {
    kr_string_copy(dst + kr_string_length(dst), src);
}

void kr_string_cat_generic(kr_char* dst, const kr_char* src) {
    kr_char* end = dst + plain::first_match(dst, ends{}, no_limit);
    do {
        *end++ = *src;
    } while (*src++ != 0);
}

bool kr_string_copy_trunc(kr_char* dst, u64 dst_bytes, const kr_char* src) {
    const u64 room = dst_bytes / sizeof(kr_char);
    if (room == 0) {
        return true;
    }
    const u64 length = text_length_within(src, room);
    const bool cut = length == room;
    const u64 kept = cut ? room - 1 : length;
    kr_memcpy(dst, src, bytes_of(kept));
    dst[kept] = 0;
    return cut;
}

kr_result kr_string_copy_s_generic(kr_char* dst, u64 size, const kr_char* src) {
    return copy_bounded(dst, size, src);
}

kr_result kr_string_cat_s_generic(kr_char* dst, u64 size, const kr_char* src) {
    if (dst == nullptr || src == nullptr || size == 0) {
        return invalid_argument();
    }
    const u64 used = plain::first_match(dst, ends{}, size);
    return used == size ? too_small() : copy_bounded(dst + used, size - used, src);
}

kr_result kr_string_compare(const kr_char* a, const kr_char* b) {
    return kr_string_compare_n(a, b, no_limit);
}

kr_result kr_string_compare_generic(const kr_char* a, const kr_char* b) {
    return compare_plainly(a, b, no_limit, as_is{});
}

kr_result kr_string_compare_nocase(const kr_char* a, const kr_char* b) {
    return compare_folded(a, b, no_limit);
}

kr_result kr_string_compare_nocase_generic(const kr_char* a, const kr_char* b) {
    return compare_plainly(a, b, no_limit, folded{});
}

kr_result kr_string_compare_n(const kr_char* a, const kr_char* b, u64 n) {
    if (a == nullptr || b == nullptr) {
        return invalid_argument();
    }
    const u64 at = scan::mismatch(a, b, n);
    return at < n ? order_of(a[at], b[at]) : kr_result_make_success(KR_EQUAL);
}

kr_result kr_string_compare_n_nocase(const kr_char* a, const kr_char* b, u64 n) {
    return compare_folded(a, b, n);
}

kr_result kr_string_compare_n_nocase_generic(const kr_char* a, const kr_char* b, u64 n) {
    return compare_plainly(a, b, n, folded{});
}

bool kr_string_equal(const kr_char* a, const kr_char* b) {
    return says_equal(kr_string_compare(a, b));
}

bool kr_string_equal_nocase(const kr_char* a, const kr_char* b) {
    return says_equal(kr_string_compare_nocase(a, b));
}

bool kr_string_equal_n(const kr_char* a, const kr_char* b, u64 n) {
    return says_equal(kr_string_compare_n(a, b, n));
}

bool kr_string_equal_n_nocase(const kr_char* a, const kr_char* b, u64 n) {
    return says_equal(kr_string_compare_n_nocase(a, b, n));
}

bool kr_string_starts_with(const kr_char* s, const kr_char* prefix) {
    return kr_string_equal_n(s, prefix, kr_string_length(prefix));
}

bool kr_string_starts_with_nocase(const kr_char* s, const kr_char* prefix) {
    return kr_string_equal_n_nocase(s, prefix, kr_string_length(prefix));
}

u64 kr_string_length(const kr_char* s) {
    return text_length(s);
}

u64 kr_string_bytesize(const kr_char* s) {
    return bytes_of(text_length(s) + 1);
}

u64 kr_string_bytesize_generic(const kr_char* s) {
    return bytes_of(plain::first_match(s, ends{}, no_limit) + 1);
}

u64 kr_string_bytesize_clean(const kr_char* s) {
    return bytes_of(text_length(s));
}

u64 kr_string_bytesize_clean_generic(const kr_char* s) {
    return bytes_of(plain::first_match(s, ends{}, no_limit));
}

const kr_char* kr_string_find_char(const kr_char* s, kr_char c) {
    const kr_char* const found = s + find_or_end(s, c);
    return *found == c ? found : nullptr;
}

const kr_char* kr_string_find_char_generic(const kr_char* s, kr_char c) {
    const kr_char* const found = s + plain::first_match(s, either{c, 0}, no_limit);
    return *found == c && c != 0 ? found : nullptr;
}

const kr_char* kr_string_find_last_char(const kr_char* s, kr_char c) {
    for (u64 at = text_length(s); at-- > 0;) {
        if (s[at] == c) {
            return s + at;
        }
    }
    return nullptr;
}

const kr_char* kr_string_find(const kr_char* s, const kr_char* sub) {
    if (*s == 0 || *sub == 0) {
        return *s == 0 ? nullptr : s;
    }
    const u64 sub_length = text_length(sub);
    // A terminator of `s` equals no character of `sub`, so no match runs beyond the end.
    for (const kr_char* q = s;; ++q) {
        q += find_or_end(q, *sub);
        if (*q == 0) {
            return nullptr;
        }
        if (scan::mismatch(q, sub, sub_length) == sub_length) {
            return q;
        }
    }
}

const kr_char* kr_string_find_with(const kr_char* s, const kr_char* sub, kr_string_comparison cmp) {
    const u64 sub_length = text_length(sub);
    u64 left = text_length(s);
    for (const kr_char* q = s; left != 0 && left >= sub_length; ++q, --left) {
        if (kr_result_code(cmp(q, sub, sub_length)) == KR_EQUAL) {
            return q;
        }
    }
    return nullptr;
}

kr_char* kr_string_to_lower(kr_char* s) {
    if (s != nullptr) {
        for (kr_char* unit = s; *unit != 0; ++unit) {
            *unit = static_cast<kr_char>(towlower(*unit));
        }
    }
    return s;
}

kr_result kr_string_dup(kr_char** out, const kr_char* s) {
    return concat(out, {&s, 1});
}

kr_result kr_string_dup_n(kr_char** out, const kr_char* s, u64 n) {
    if (out == nullptr || s == nullptr) {
        return invalid_argument();
    }
    if (n > SIZE_MAX / sizeof(kr_char) - 1) {
        return kr_result_make_error(KR_OUT_OF_MEMORY);
    }
    const kr_result result = new_text(out, n);
    if (kr_result_succeeded(result)) {
        kr_memcpy(*out, s, bytes_of(n));
    }
    return result;
}

kr_result kr_string_concat2(const kr_char* a, const kr_char* b, kr_char** out) {
    const kr_char* const parts[] = {a, b};
    return concat(out, parts);
}

kr_result kr_string_concat3(const kr_char* a, const kr_char* b, const kr_char* c, kr_char** out) {
    const kr_char* const parts[] = {a, b, c};
    return concat(out, parts);
}

kr_result kr_string_concat5(const kr_char* a, const kr_char* b, const kr_char* c, const kr_char* d,
                            const kr_char* e, kr_char** out) {
    const kr_char* const parts[] = {a, b, c, d, e};
    return concat(out, parts);
}
