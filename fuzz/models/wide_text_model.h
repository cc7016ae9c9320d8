/// Wide strings against std::basic_string, and the vector walks against the plain ones. The input
/// is a number, a place, a change and a text: the second text is the first with that change, so
/// that the two agree for a while.
#pragma once

#include <optional>

#include "base/memory/owner.h"
#include "base/memory/zero_test.h"
#include "base/text/wide_mismatch.h"
#include "base/text/wide_string.h"
#include "models/input.h"
#include "platform/platform.h"

namespace kr::test {

using wide_text = std::basic_string<kr_char>;

inline wide_text lower_case(wide_text text) {
    for (kr_char& unit : text) {
        unit = static_cast<kr_char>(towlower(unit));
    }
    return text;
}

inline kr_result order(const wide_text& a, const wide_text& b, u64 n) {
    const int difference = a.compare(0, n, b, 0, n);
    return kr_result_make_success(difference == 0  ? KR_EQUAL
                                  : difference < 0 ? KR_LESS
                                                   : KR_GREATER);
}

template <typename Char>
void check_walks(const std::basic_string<Char>& text, Char wanted, u64 limit) {
    namespace plain = kr::detail::plain;
    namespace vectors = kr::detail::vectors;
    const exact_text<Char> whole(text);
    const kr::detail::is_either<Char> either{wanted, Char{}};
    const auto all = kr::detail::no_limit;
    expect(vectors::first_match<Char>(whole, either, all) ==
           plain::first_match<Char>(whole, either, all));
    expect(vectors::first_match<Char>(whole, kr::detail::is_terminator<Char>{}, all) ==
           text.size());
    if (limit != 0 && limit <= text.size()) { // then no terminator need be there
        exact_block<Char> part(limit);
        std::copy_n(text.data(), limit, part.get());
        expect(vectors::first_match<Char>(part, either, limit) ==
               plain::first_match<Char>(part, either, limit));
    }
}

inline void check_pair(const wide_text& a, const wide_text& b, u64 n) {
    const exact_text<kr_char> x(a), y(b);
    const auto all = kr::detail::no_limit;
    namespace plain = kr::detail::plain;
    namespace vectors = kr::detail::vectors;
    for (const u64 limit : {n, all}) {
        expect(vectors::mismatch(x, y, limit) == plain::mismatch(x, y, limit));
        expect(vectors::mismatch(x, y, limit, kr::detail::ascii_folded{}) ==
               plain::mismatch(x, y, limit, kr::detail::ascii_folded{}));
    }
    const kr_result whole = order(a, b, all), first = order(a, b, n);
    expect(kr_string_compare(x, y) == whole && kr_string_compare_generic(x, y) == whole);
    expect(kr_string_compare_n(x, y, n) == first);
    const wide_text c = lower_case(a), d = lower_case(b);
    const kr_result whole_nocase = order(c, d, all), first_nocase = order(c, d, n);
    expect(kr_string_compare_nocase(x, y) == whole_nocase);
    expect(kr_string_compare_nocase_generic(x, y) == whole_nocase);
    expect(kr_string_compare_n_nocase(x, y, n) == first_nocase);
    expect(kr_string_compare_n_nocase_generic(x, y, n) == first_nocase);
    const kr_result same = kr_result_make_success(KR_EQUAL);
    expect(kr_string_equal(x, y) == (whole == same) &&
           kr_string_equal_n(x, y, n) == (first == same));
    expect(kr_string_equal_nocase(x, y) == (whole_nocase == same));
    expect(kr_string_equal_n_nocase(x, y, n) == (first_nocase == same));
    expect(kr_string_starts_with(x, y) == a.starts_with(b));
    expect(kr_string_starts_with_nocase(x, y) == c.starts_with(d));
}

inline void check_searches(const wide_text& a, const wide_text& sub, kr_char c) {
    const exact_text<kr_char> s(a), t(sub);
    const auto at = [&](const kr_char* found) {
        return found == nullptr ? wide_text::npos : static_cast<size_t>(found - s.get());
    };
    expect(kr_string_length(s) == a.size());
    expect(kr_string_bytesize_clean(s) == a.size() * 2 &&
           kr_string_bytesize(s) == a.size() * 2 + 2);
    expect(kr_string_bytesize_clean_generic(s) == a.size() * 2);
    expect(kr_string_bytesize_generic(s) == a.size() * 2 + 2);
    expect(at(kr_string_find_char(s, 0)) == a.size() && at(kr_string_find_char(s, c)) == a.find(c));
    for (const kr_char wanted : {c, kr_char{}}) {
        expect(at(kr_string_find_char_generic(s, wanted)) == a.find(wanted));
        expect(at(kr_string_find_last_char(s, wanted)) == a.rfind(wanted));
    }
    const size_t expected = a.empty() ? wide_text::npos : a.find(sub);
    expect(at(kr_string_find(s, t)) == expected);
    expect(at(kr_string_find_with(s, t, kr_string_compare_n)) == expected);
    expect(at(kr_string_find_with(s, t, kr_string_compare_n_nocase)) ==
           (a.empty() ? a.npos : lower_case(a).find(lower_case(sub))));
    expect(kr_string_to_lower(s.get()) == s.get() && s.get() == lower_case(a));
}

/// A bounded copy or append into `size` characters that hold `before`. The runtime's forms empty
/// the target when they refuse; ours fill it.
inline void check_bounded(bool runtime, const wide_text& before, const wide_text& src, u64 size) {
    const exact_text<kr_char> from(src);
    const exact_block<kr_char> into(size);
    // What a refused copy must empty: no terminator stands there before.
    std::fill_n(into.get(), size, kr_char{'z'});
    std::copy_n(before.c_str(), std::min<u64>(before.empty() ? 0 : before.size() + 1, size),
                into.get());
    const auto copy = runtime ? kr_string_copy_s : kr_string_copy_s_generic;
    const auto append = runtime ? kr_string_cat_s : kr_string_cat_s_generic;
    const bool open = !before.empty() && before.size() >= size; // no terminator within the size
    const kr_result result = (before.empty() ? copy : append)(into.get(), size, from);
    const wide_text all = before + src;
    if (size == 0 || (open && runtime)) {
        expect(result == kr_result_make_error(KR_INVALID_ARGUMENT_TO_FUNCTION));
    } else if (all.size() >= size) {
        expect(result == kr_result_make_error(KR_SUPPLIED_BUFFER_IS_NOT_LARGE_ENOUGH));
    } else {
        expect(result == KR_SUCCESS && into.get() == all);
        return;
    }
    const bool emptied = runtime && size != 0;
    expect(size == 0 || into[0] == (emptied ? kr_char{} : all[0]));
    expect(emptied || std::equal(into.get(), into.get() + size, (open ? before : all).begin()));
}

inline void check_copies_of(const wide_text& a, const wide_text& b, u64 n) {
    const exact_text<kr_char> s(a), t(b);
    for (const bool runtime : {false, true}) {
        for (const wide_text& before : {wide_text(), b}) {
            check_bounded(runtime, before, a, n);
            check_bounded(runtime, before, a, before.size() + a.size() + 1);
        }
    }
    for (const auto append : {kr_string_cat, kr_string_cat_generic}) {
        const exact_block<kr_char> both(a.size() + b.size() + 1);
        kr_string_copy(both.get(), s);
        append(both.get(), t);
        expect(both.get() == a + b);
    }
    const exact_block<kr_char> cut((n + 1) / 2);
    expect(kr_string_copy_trunc(cut.get(), n, s) == (a.size() + 1 > n / 2));
    expect(n < 2 || cut.get() == a.substr(0, n / 2 - 1));
    const auto makes = [](kr_result (*make)(const kr_char*, const kr_char*, u64, kr_char**),
                          const kr_char* x, const kr_char* y, u64 count,
                          const wide_text& expected) {
        kr::owned_text made;
        expect(make(x, y, count, made.out()) == KR_SUCCESS && made.get() == expected);
    };
    makes([](auto* x, auto*, u64, kr_char** out) { return kr_string_dup(out, x); }, s, t, 0, a);
    makes([](auto* x, auto*, u64 count, kr_char** out) { return kr_string_dup_n(out, x, count); },
          s, t, std::min<u64>(n, a.size()), a.substr(0, n));
    makes([](auto* x, auto* y, u64, kr_char** out) { return kr_string_concat2(x, y, out); }, s, t,
          0, a + b);
    makes([](auto* x, auto* y, u64, kr_char** out) { return kr_string_concat3(y, x, y, out); }, s,
          t, 0, b + a + b);
    makes(
        [](auto* x, auto* y, u64, kr_char** out) { return kr_string_concat5(x, y, y, x, y, out); },
        s, t, 0, a + b + b + a + b);
}

inline void check_wide_text(std::span<const u8> input) {
    if (input.size() < 3) {
        return;
    }
    const u64 n = input[0] % 80;
    const size_t place = input[1];
    const u8 change = input[2];
    const std::string narrow(text_of(input.subspan(3)));
    const wide_text a = characters<kr_char>(narrow);
    wide_text b = a.substr(0, change % 4 == 0 ? place : a.npos);
    if (place < b.size() && change % 4 != 0) {
        b[place] = static_cast<kr_char>(b[place] ^ (change == 1 ? 0x8000u : u32{change} & 0x60u));
        b[place] = b[place] == 0 ? kr_char{'?'} : b[place];
    }
    check_walks(narrow, static_cast<char>(change), n);
    check_walks(a, static_cast<kr_char>(change), n);
    check_pair(a, b, n);
    check_pair(b, a, n);
    const kr_char c = place < a.size() ? a[place] : kr_char{'z'};
    check_searches(a, b.substr(std::min<size_t>(place / 2, b.size()), change % 8), c);
    check_copies_of(a, b, n);
    const exact_block<u8> zeros(n);
    std::fill_n(zeros.get(), n, u8{0});
    expect(kr::detail::vectors::is_zero(zeros, n));
    if (n != 0) {
        zeros.get()[place % n] = 1;
        expect(!kr::detail::vectors::is_zero(zeros, n));
    }
}

} // namespace kr::test
