/// Walks over 16-bit text against the standard library and against plain loops.
#include <cwctype>
#include <string>

#include <benchmark/benchmark.h>
#include <unicode/uchar.h>
#include <unicode/ustring.h>

#include "base/product.h"
#include "base/text/wide_string.h"

constinit const kr_product_record kr_product = {"bench", KR_TEXT("tools"), KR_TEXT("Korinth")};

namespace {

using text = std::basic_string<kr_char>;

/// The text under test. `benchmark::DoNotOptimize` hides where it points, so that no peer is
/// computed once for all rounds.
text sample(const benchmark::State& state) {
    return text(static_cast<size_t>(state.range(0)), 'x');
}

template <typename Operation>
void walk(benchmark::State& state, Operation operation) {
    const text s = sample(state);
    const kr_char* chars = s.c_str();
    for (auto _ : state) {
        benchmark::DoNotOptimize(chars);
        benchmark::DoNotOptimize(operation(chars));
    }
}

template <typename Operation>
void walk_two(benchmark::State& state, Operation operation) {
    const text s = sample(state);
    // Not on the same alignment, as two texts seldom are.
    const text other = text(1, 'y') + s;
    const kr_char* a = s.c_str();
    const kr_char* b = other.c_str() + 1;
    for (auto _ : state) {
        benchmark::DoNotOptimize(a);
        benchmark::DoNotOptimize(b);
        benchmark::DoNotOptimize(operation(a, b));
    }
}

const kr_char* loop_find(const kr_char* s, kr_char c) {
    for (; *s != 0; ++s) {
        if (*s == c) {
            return s;
        }
    }
    return nullptr;
}

int loop_compare(const kr_char* a, const kr_char* b) {
    while (*a != 0 && *a == *b) {
        ++a;
        ++b;
    }
    return *a - *b;
}

void length_kr(benchmark::State& state) {
    walk(state, [](const kr_char* s) { return kr_string_length(s); });
}
void length_char_traits(benchmark::State& state) {
    walk(state, [](const kr_char* s) { return std::char_traits<kr_char>::length(s); });
}
void bytesize_kr(benchmark::State& state) {
    walk(state, [](const kr_char* s) { return kr_string_bytesize(s); });
}
void bytesize_char_traits(benchmark::State& state) {
    walk(state, [](const kr_char* s) { return (std::char_traits<kr_char>::length(s) + 1) * 2; });
}
void find_char_kr(benchmark::State& state) {
    walk(state, [](const kr_char* s) { return kr_string_find_char(s, 'z'); });
}
void find_char_loop(benchmark::State& state) {
    walk(state, [](const kr_char* s) { return loop_find(s, 'z'); });
}
void compare_kr(benchmark::State& state) {
    walk_two(state, [](const kr_char* a, const kr_char* b) { return kr_string_compare(a, b); });
}
void compare_loop(benchmark::State& state) {
    walk_two(state, loop_compare);
}

/// The same letters, the one text in capitals.
template <typename Operation>
void walk_nocase(benchmark::State& state, Operation operation) {
    const text lower = sample(state);
    const text upper = text(1, 'y') + text(lower.size(), 'X');
    const kr_char* a = lower.c_str();
    const kr_char* b = upper.c_str() + 1;
    for (auto _ : state) {
        benchmark::DoNotOptimize(a);
        benchmark::DoNotOptimize(b);
        benchmark::DoNotOptimize(operation(a, b));
    }
}

i64 loop_compare_nocase(const kr_char* a, const kr_char* b) {
    while (*a != 0 && std::towlower(*a) == std::towlower(*b)) {
        ++a;
        ++b;
    }
    return i64{std::towlower(*a)} - i64{std::towlower(*b)};
}

void compare_nocase_kr(benchmark::State& state) {
    walk_nocase(state, kr_string_compare_nocase);
}
void compare_nocase_towlower(benchmark::State& state) {
    walk_nocase(state, loop_compare_nocase);
}
void compare_nocase_icu(benchmark::State& state) {
    walk_nocase(state, [](const kr_char* a, const kr_char* b) {
        return u_strcasecmp(a, b, U_FOLD_CASE_DEFAULT);
    });
}

void sizes(benchmark::internal::Benchmark* bench) {
    bench->Arg(5)->Arg(20)->Arg(100)->Arg(4000);
}

BENCHMARK(length_kr)->Apply(sizes);
BENCHMARK(length_char_traits)->Apply(sizes);
BENCHMARK(bytesize_kr)->Apply(sizes);
BENCHMARK(bytesize_char_traits)->Apply(sizes);
BENCHMARK(find_char_kr)->Apply(sizes);
BENCHMARK(find_char_loop)->Apply(sizes);
BENCHMARK(compare_kr)->Apply(sizes);
BENCHMARK(compare_loop)->Apply(sizes);
BENCHMARK(compare_nocase_kr)->Apply(sizes);
BENCHMARK(compare_nocase_towlower)->Apply(sizes);
BENCHMARK(compare_nocase_icu)->Apply(sizes);

} // namespace
