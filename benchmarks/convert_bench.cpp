/// Conversions against the standard library and plain loops, on the same text in one process. A row
/// WORK_kr/n beside WORK_PEER/n gives the ratio.
#include <array>
#include <charconv>
#include <cstdlib>
#include <cwchar>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <fmt/format.h>
#include <iconv.h>
#include <unicode/ustring.h>

#include "base/convert/convert.h"
#include "base/product.h"
#include "base/text/widen.h"
#include "log/destinations/utf8.h"

constinit const kr_product_record kr_product = {"krbench", KR_TEXT("tools"), KR_TEXT("Korinth")};

namespace {

/// Numbers of n digits, enough of them that no branch predictor learns the digits.
template <typename Char>
const std::vector<std::basic_string<Char>>& numbers(size_t digits) {
    static std::array<std::vector<std::basic_string<Char>>, 21> texts;
    auto& found = texts.at(digits);
    u64 state = 88172645463325252u;
    while (found.size() < 256) {
        std::basic_string<Char> text(1, Char{'1'});
        while (text.size() < digits) {
            state ^= state << 13u;
            state ^= state >> 7u;
            state ^= state << 17u;
            text += static_cast<Char>('0' + state % 10);
        }
        found.push_back(text);
    }
    return found;
}

template <typename Char, typename Parse>
void parse_each(benchmark::State& state, Parse parse) {
    const auto& texts = numbers<Char>(static_cast<size_t>(state.range(0)));
    for ([[maybe_unused]] auto _ : state) {
        for (const auto& text : texts) {
            benchmark::DoNotOptimize(parse(text));
        }
    }
    state.SetItemsProcessed(state.iterations() * static_cast<i64>(texts.size()));
}

template <auto Parse, typename Char>
u64 ours(const std::basic_string<Char>& text) {
    u64 value = 0;
    benchmark::DoNotOptimize(Parse(text.c_str(), &value));
    return value;
}

void u64_from_narrow_kr(benchmark::State& state) {
    parse_each<char>(state, ours<kr_string_to_ui64_a_generic, char>);
}
void u64_from_narrow_from_chars(benchmark::State& state) {
    parse_each<char>(state, [](const std::string& text) {
        u64 value = 0;
        benchmark::DoNotOptimize(std::from_chars(text.data(), text.data() + text.size(), value));
        return value;
    });
}
void u64_from_wide_strict_kr(benchmark::State& state) {
    parse_each<kr_char>(state, ours<kr_string_to_ui64_w_generic, kr_char>);
}
void u64_from_wide_kr(benchmark::State& state) {
    parse_each<kr_char>(state, ours<kr_string_to_ui64_w, kr_char>);
}
void u64_from_wide_wcstoull(benchmark::State& state) {
    parse_each<wchar_t>(
        state, [](const std::wstring& text) { return std::wcstoull(text.c_str(), nullptr, 10); });
}

template <typename Write>
void write_each(benchmark::State& state, Write write) {
    const auto& texts = numbers<char>(static_cast<size_t>(state.range(0)));
    std::vector<u64> values;
    values.reserve(texts.size());
    for (const std::string& text : texts) {
        values.push_back(std::strtoull(text.c_str(), nullptr, 10));
    }
    for ([[maybe_unused]] auto _ : state) {
        for (const u64 value : values) {
            write(value);
            benchmark::ClobberMemory();
        }
    }
    state.SetItemsProcessed(state.iterations() * static_cast<i64>(values.size()));
}

void u64_to_narrow_kr(benchmark::State& state) {
    char text[KR_STRING_INTEGER_CHARS];
    benchmark::DoNotOptimize(&text[0]);
    write_each(state, [&text](u64 value) {
        benchmark::DoNotOptimize(kr_string_from_ui64_a_generic(value, text));
    });
}
void u64_to_narrow_to_chars(benchmark::State& state) {
    char text[KR_STRING_INTEGER_CHARS];
    benchmark::DoNotOptimize(&text[0]);
    write_each(state,
               [&text](u64 value) { *std::to_chars(text, text + sizeof text, value).ptr = '\0'; });
}
/// fmt's own fast path keeps the text in the object that makes it; its terminator comes with
/// c_str().
void u64_to_narrow_format_int(benchmark::State& state) {
    write_each(state, [](u64 value) {
        const fmt::format_int text(value);
        benchmark::DoNotOptimize(text.c_str());
    });
}
void u64_to_wide_kr(benchmark::State& state) {
    kr_char text[KR_STRING_INTEGER_CHARS];
    benchmark::DoNotOptimize(&text[0]);
    write_each(state, [&text](u64 value) {
        benchmark::DoNotOptimize(kr_string_from_ui64_w(value, text));
    });
}

/// The loop that one would write by hand. Kept out of line and scalar, as a caller would have it.
[[gnu::noinline]] void plain_widen(const char* src, kr_char* dst) {
    do {
        *dst++ = kr::detail::widen(*src);
    } while (*src++ != '\0');
}

[[gnu::noinline]] bool plain_narrow(const kr_char* src, char* dst, size_t size) {
    for (size_t i = 0; i < size; ++i) {
        if (src[i] >= 128) {
            return false;
        }
        dst[i] = static_cast<char>(src[i]);
        if (src[i] == 0) {
            return true;
        }
    }
    return false;
}

void ascii_to_wide_kr(benchmark::State& state) {
    const std::string src(static_cast<size_t>(state.range(0)), 'a');
    std::basic_string<kr_char> dst(src.size() + 1, kr_char{});
    for ([[maybe_unused]] auto _ : state) {
        kr_ascii_to_krchar(src.c_str(), dst.data());
        benchmark::ClobberMemory();
    }
}
void ascii_to_wide_plain_loop(benchmark::State& state) {
    const std::string src(static_cast<size_t>(state.range(0)), 'a');
    std::basic_string<kr_char> dst(src.size() + 1, kr_char{});
    for ([[maybe_unused]] auto _ : state) {
        plain_widen(src.c_str(), dst.data());
        benchmark::ClobberMemory();
    }
}
void wide_to_ascii_kr(benchmark::State& state) {
    const std::basic_string<kr_char> src(static_cast<size_t>(state.range(0)), kr_char{'a'});
    std::string dst(src.size() + 1, '\0');
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(kr_krchar_to_ascii(src.c_str(), dst.data(), dst.size()));
        benchmark::ClobberMemory();
    }
}
void wide_to_ascii_plain_loop(benchmark::State& state) {
    const std::basic_string<kr_char> src(static_cast<size_t>(state.range(0)), kr_char{'a'});
    std::string dst(src.size() + 1, '\0');
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(plain_narrow(src.c_str(), dst.data(), dst.size()));
        benchmark::ClobberMemory();
    }
}

/// Words of 3 to 9 letters between blanks: of two or three bytes in UTF-8, or ASCII.
enum class script { ascii, two_bytes, three_bytes };

template <script Script>
std::basic_string<kr_char> words(size_t length) {
    constexpr kr_char first_letter[] = {'a', u'\u0430', u'\u4E00'};
    std::basic_string<kr_char> text;
    u64 state = 88172645463325252u;
    while (text.size() < length) {
        state = state * 6364136223846793005u + 1442695040888963407u;
        for (u64 letters = 3 + (state >> 60) % 7; letters != 0; --letters) {
            text += static_cast<kr_char>(first_letter[static_cast<size_t>(Script)] +
                                         (state >> (4 * letters)) % 26);
        }
        text += kr_char{' '};
    }
    return text.substr(0, length);
}

template <script Script, typename Encode>
void encode(benchmark::State& state, Encode encode_text) {
    const auto text = words<Script>(static_cast<size_t>(state.range(0)));
    std::vector<char> out(kr::detail::utf8_room(text.size()));
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(encode_text(text, out));
        benchmark::ClobberMemory();
    }
}

template <script Script>
void utf8_kr(benchmark::State& state) {
    encode<Script>(state, [](const auto& text, auto& out) {
        return kr::detail::encode_utf8(text.data(), text.size(), kr::detail::newline_form::lf,
                                       out.data());
    });
}
template <script Script>
void utf8_icu(benchmark::State& state) {
    encode<Script>(state, [](const auto& text, auto& out) {
        i32 length = 0;
        UErrorCode status = U_ZERO_ERROR;
        u_strToUTF8(out.data(), static_cast<i32>(out.size()), &length, text.data(),
                    static_cast<i32>(text.size()), &status);
        return length;
    });
}
template <script Script>
void utf8_iconv(benchmark::State& state) {
    const iconv_t descriptor = iconv_open("UTF-8", "UTF-16LE");
    encode<Script>(state, [descriptor](const auto& text, auto& out) {
        char* in = const_cast<char*>(reinterpret_cast<const char*>(text.data()));
        size_t in_left = text.size() * sizeof(kr_char);
        char* end = out.data();
        size_t out_left = out.size();
        iconv(descriptor, &in, &in_left, &end, &out_left);
        return end;
    });
    iconv_close(descriptor);
}

BENCHMARK(u64_from_narrow_kr)->Arg(1)->Arg(5)->Arg(10)->Arg(20);
BENCHMARK(u64_from_narrow_from_chars)->Arg(1)->Arg(5)->Arg(10)->Arg(20);
BENCHMARK(u64_from_wide_strict_kr)->Arg(1)->Arg(5)->Arg(10)->Arg(20);
BENCHMARK(u64_from_wide_kr)->Arg(1)->Arg(5)->Arg(10)->Arg(18);
BENCHMARK(u64_from_wide_wcstoull)->Arg(1)->Arg(5)->Arg(10)->Arg(18)->Arg(20);
BENCHMARK(u64_to_narrow_kr)->Arg(1)->Arg(5)->Arg(10)->Arg(20);
BENCHMARK(u64_to_narrow_to_chars)->Arg(1)->Arg(5)->Arg(10)->Arg(20);
BENCHMARK(u64_to_narrow_format_int)->Arg(1)->Arg(5)->Arg(10)->Arg(20);
BENCHMARK(u64_to_wide_kr)->Arg(1)->Arg(5)->Arg(10)->Arg(20);
BENCHMARK(ascii_to_wide_kr)->Arg(5)->Arg(20)->Arg(100)->Arg(4000);
BENCHMARK(ascii_to_wide_plain_loop)->Arg(5)->Arg(20)->Arg(100)->Arg(4000);
BENCHMARK(wide_to_ascii_kr)->Arg(5)->Arg(20)->Arg(100)->Arg(4000);
BENCHMARK(wide_to_ascii_plain_loop)->Arg(5)->Arg(20)->Arg(100)->Arg(4000);

#define UTF8_ROWS(Script)                                                                          \
    BENCHMARK_TEMPLATE(utf8_kr, Script)->Arg(120)->Arg(4000);                                      \
    BENCHMARK_TEMPLATE(utf8_icu, Script)->Arg(120)->Arg(4000);                                     \
    BENCHMARK_TEMPLATE(utf8_iconv, Script)->Arg(120)->Arg(4000)
UTF8_ROWS(script::ascii);
UTF8_ROWS(script::two_bytes);
UTF8_ROWS(script::three_bytes);

} // namespace
