/// Wide-string utilities, on the scans and on the runtime's locale routines.
#include "base/text/wide_string.h"

#include <algorithm>
#include <cstdint>
#include <span>

#include "base/memory/memory.h"
#include "base/text/wide_scan.h"
#include "platform/platform.h"

namespace scan = kr::detail::scan;
namespace plain = kr::detail::plain;

namespace {

constexpr u64 no_limit = UINT64_MAX;

kr_result invalid_argument() {
    return kr_result_make_error(KR_INVALID_ARGUMENT_TO_FUNCTION);
}

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
    } else if (scan::length_within(src, size - used) == size - used) {
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

// Comparisons.

kr_result order_of(int difference) {
    if (difference == 0) {
        return kr_result_make_success(KR_EQUAL);
    }
    return kr_result_make_success(difference < 0 ? KR_LESS : KR_GREATER);
}

bool says_equal(kr_result result) {
    return kr_result_succeeded(result) && kr_result_is(result, KR_EQUAL);
}

struct as_is {
    int operator()(kr_char unit) const { return unit; }
};

struct folded {
    int operator()(kr_char unit) const { return static_cast<kr_char>(towlower(unit)); }
};

template <typename Fold>
kr_result compare_plainly(const kr_char* a, const kr_char* b, u64 n, Fold fold) {
    if (a == nullptr || b == nullptr) {
        return invalid_argument();
    }
    for (u64 at = 0; at < n; ++at) {
        const int difference = fold(a[at]) - fold(b[at]);
        if (difference != 0 || a[at] == 0) {
            return order_of(difference);
        }
    }
    return kr_result_make_success(KR_EQUAL);
}

// New buffers.

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
    void* block = nullptr;
    const kr_result result = kr_memory_allocate_hook(&block, bytes_of(total + 1));
    if (kr_result_failed(result)) {
        return result;
    }
    *out = static_cast<kr_char*>(block);
    kr_char* end = *out;
    for (size_t i = 0; i < parts.size(); ++i) {
        kr_memcpy(end, parts[i], bytes_of(lengths[i]));
        end += lengths[i];
    }
    *end = 0;
    return result;
}

// The module's narrow functions.

u64 narrow_length(const char* s) {
    u64 length = 0;
    while (s[length] != 0) {
        ++length;
    }
    return length;
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
    const u64 used = dst != nullptr ? scan::length_within(dst, size) : 0;
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
    kr_char* end = dst + plain::length(dst);
    do {
        *end++ = *src;
    } while (*src++ != 0);
}

bool kr_string_copy_trunc(kr_char* dst, u64 dst_bytes, const kr_char* src) {
    const u64 room = dst_bytes / sizeof(kr_char);
    if (room == 0) {
        return true;
    }
    const u64 length = scan::length_within(src, room);
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
    const u64 used = plain::length_within(dst, size);
    return used == size ? too_small() : copy_bounded(dst + used, size - used, src);
}

kr_result kr_string_compare(const kr_char* a, const kr_char* b) {
    return kr_string_compare_n(a, b, no_limit);
}

kr_result kr_string_compare_generic(const kr_char* a, const kr_char* b) {
    return compare_plainly(a, b, no_limit, as_is{});
}

kr_result kr_string_compare_nocase(const kr_char* a, const kr_char* b) {
    if (a == nullptr || b == nullptr) {
        return invalid_argument();
    }
    return order_of(_wcsicmp(a, b));
}

kr_result kr_string_compare_nocase_generic(const kr_char* a, const kr_char* b) {
    return compare_plainly(a, b, no_limit, folded{});
}

kr_result kr_string_compare_n(const kr_char* a, const kr_char* b, u64 n) {
    if (a == nullptr || b == nullptr) {
        return invalid_argument();
    }
    const u64 at = scan::mismatch(a, b, n);
    return order_of(at < n ? a[at] - b[at] : 0);
}

kr_result kr_string_compare_n_nocase(const kr_char* a, const kr_char* b, u64 n) {
    if (a == nullptr || b == nullptr) {
        return invalid_argument();
    }
    return order_of(_wcsnicmp(a, b, n));
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
    return scan::length(s);
}

u64 kr_string_bytesize(const kr_char* s) {
    return bytes_of(scan::length(s) + 1);
}

u64 kr_string_bytesize_generic(const kr_char* s) {
    return bytes_of(plain::length(s) + 1);
}

u64 kr_string_bytesize_clean(const kr_char* s) {
    return bytes_of(scan::length(s));
}

u64 kr_string_bytesize_clean_generic(const kr_char* s) {
    return bytes_of(plain::length(s));
}

const kr_char* kr_string_find_char(const kr_char* s, kr_char c) {
    const kr_char* const found = s + scan::find_or_end(s, c);
    return *found == c ? found : nullptr;
}

const kr_char* kr_string_find_char_generic(const kr_char* s, kr_char c) {
    const kr_char* const found = s + plain::find_or_end(s, c);
    return *found == c && c != 0 ? found : nullptr;
}

const kr_char* kr_string_find_last_char(const kr_char* s, kr_char c) {
    for (u64 at = scan::length(s); at-- > 0;) {
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
    const u64 sub_length = scan::length(sub);
    // A terminator of `s` equals no character of `sub`, so no match runs beyond the end.
    for (const kr_char* q = s;; ++q) {
        q += scan::find_or_end(q, *sub);
        if (*q == 0) {
            return nullptr;
        }
        if (scan::mismatch(q, sub, sub_length) == sub_length) {
            return q;
        }
    }
}

const kr_char* kr_string_find_with(const kr_char* s, const kr_char* sub, kr_string_comparison cmp) {
    const u64 sub_length = scan::length(sub);
    u64 left = scan::length(s);
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
    void* block = nullptr;
    const kr_result result = kr_memory_allocate_hook(&block, bytes_of(n + 1));
    if (kr_result_failed(result)) {
        return result;
    }
    *out = static_cast<kr_char*>(block);
    kr_memcpy(*out, s, bytes_of(n));
    (*out)[n] = 0;
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
