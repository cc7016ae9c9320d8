/// The formatting engine beside its peers: the same texts into a buffer on the stack. Names are
/// work/peer; compare the peers of one work only.
#include <benchmark/benchmark.h>

#include <cstring>
#include <cwchar>
#include <system_error>

#include <fmt/format.h>
#include <fmt/xchar.h>

#define STB_SPRINTF_STATIC
#define STB_SPRINTF_IMPLEMENTATION
#include <stb/stb_sprintf.h>

#include "base/convert/guid.h"
#include "base/product.h"
#include "printf/printf.h"
#include "result/descriptions.h"

constinit const kr_product_record kr_product = {"bench", KR_TEXT("tools"), KR_TEXT("Korinth")};

namespace {

constexpr size_t room = 512;

// The arguments live in variables that the compiler knows nothing about.
template <typename T>
T opaque(T value) {
    benchmark::DoNotOptimize(value);
    return value;
}

template <typename Work>
void run(benchmark::State& state, const Work& work) {
    for (auto iteration : state) {
        benchmark::DoNotOptimize(work());
        benchmark::ClobberMemory();
    }
}

#define KR_WORK(name, ...)                                                                         \
    void name(benchmark::State& state) {                                                           \
        run(state, [&] { return __VA_ARGS__; });                                                   \
    }

template <typename... Args>
auto kr_write(const char* format, Args... args) {
    kr_char out[room];
    size_t size = 0;
    const kr_result result = kr_printf_format2(out, sizeof(out), &size, format, args...);
    benchmark::DoNotOptimize(out);
    return result + size;
}

template <typename... Args>
auto c_write(const char* format, Args... args) {
    char out[room];
    const int length = std::snprintf(out, sizeof(out), format, args...);
    benchmark::DoNotOptimize(out);
    return length;
}

template <typename... Args>
auto w_write(const wchar_t* format, Args... args) {
    wchar_t out[room];
    const int length = std::swprintf(out, room, format, args...);
    benchmark::DoNotOptimize(out);
    return length;
}

template <typename... Args>
auto s_write(const char* format, Args... args) {
    char out[room];
    const int length = stbsp_snprintf(out, sizeof(out), format, args...);
    benchmark::DoNotOptimize(out);
    return length;
}

template <typename... Args>
auto f_write(fmt::format_string<Args...> format, Args&&... args) {
    char out[room];
    const auto end = fmt::format_to_n(out, room, format, std::forward<Args>(args)...);
    *end.out = 0;
    benchmark::DoNotOptimize(out);
    return end.size;
}

template <typename... Args>
auto fw_write(const wchar_t* format, const Args&... args) {
    wchar_t out[room];
    const auto end = fmt::format_to_n(out, room, fmt::wstring_view(format), args...);
    *end.out = 0;
    benchmark::DoNotOptimize(out);
    return end.size;
}

// A line of the log as it is laid out by default, with a message of 60 characters.
struct log_line {
    const char* stamp = opaque("251125 02:08:48");
    const char* domain = opaque("loadprobe");
    const char* thread = opaque("________");
    const char* none = opaque("");
    const char* message = opaque("Unable to create the driver's service, error code = 1072 000");
    const char* function = opaque("wmain");
    const kr_char* stamp16 = opaque(KR_TEXT("251125 02:08:48"));
    const kr_char* message16 =
        opaque(KR_TEXT("Unable to create the driver's service, error code = 1072 000"));
    const wchar_t* wstamp = opaque(L"251125 02:08:48");
    const wchar_t* wdomain = opaque(L"loadprobe");
    const wchar_t* wthread = opaque(L"________");
    const wchar_t* wnone = opaque(L"");
    const wchar_t* wmessage =
        opaque(L"Unable to create the driver's service, error code = 1072 000");
    const wchar_t* wfunction = opaque(L"wmain");
    int milliseconds = opaque(417);
    int sequence = opaque(3);
    int category = opaque(2);
    u32 thread_id = opaque(0xF1Cu);
    char letter = opaque('W');
};

const log_line line;

constexpr const char* kr_line = "%_s.%03d.%03d; %8s:%s:%08X; %s%c%s(%02d); %_s; %s()\n";
constexpr const char* c_line = "%s.%03d.%03d; %8s:%s:%08X; %s%c%s(%02d); %s; %s()\n";
constexpr const wchar_t* w_line = L"%ls.%03d.%03d; %8s:%s:%08X; %s%c%s(%02d); %ls; %s()\n";

#define KR_LINE_ARGUMENTS(stamp, message)                                                          \
    stamp, line.milliseconds, line.sequence, line.domain, line.thread, line.thread_id, line.none,  \
        line.letter, line.none, line.category, message, line.function

KR_WORK(log_line_kr, kr_write(kr_line, KR_LINE_ARGUMENTS(line.stamp16, line.message16)))
KR_WORK(log_line_fmt, f_write("{}.{:03}.{:03}; {:>8}:{}:{:08X}; {}{}{}({:02}); {}; {}()\n",
                              KR_LINE_ARGUMENTS(line.stamp, line.message)))
KR_WORK(log_line_fmt_wide,
        fw_write(L"{}.{:03}.{:03}; {:>8}:{}:{:08X}; {}{}{}({:02}); {}; {}()\n", line.wstamp,
                 line.milliseconds, line.sequence, line.wdomain, line.wthread, line.thread_id,
                 line.wnone, static_cast<wchar_t>(line.letter), line.wnone, line.category,
                 line.wmessage, line.wfunction))
KR_WORK(log_line_snprintf, c_write(c_line, KR_LINE_ARGUMENTS(line.stamp, line.message)))
KR_WORK(log_line_swprintf, w_write(w_line, KR_LINE_ARGUMENTS(line.wstamp, line.wmessage)))
KR_WORK(log_line_stb, s_write(c_line, KR_LINE_ARGUMENTS(line.stamp, line.message)))

// A line unlike that: long texts, a GUID, an address, a result. The peers get the description
// ready.
struct long_line {
    const char* path =
        opaque("C:\\Windows\\System32\\drivers\\a folder with a long name\\krdummy.sys");
    const kr_char* path16 =
        opaque(KR_TEXT("C:\\Windows\\System32\\drivers\\a folder with a long name\\krdummy.sys"));
    const wchar_t* wpath =
        opaque(L"C:\\Windows\\System32\\drivers\\a folder with a long name\\krdummy.sys");
    KRGUID guid = {{0x12, 0x34, 0x56, 0x78, 0x9A, 0xBC, 0xDE, 0xF0, 1, 2, 3, 4, 5, 6, 7, 8}};
    unsigned words[4] = {0x12345678, 0x9ABCDEF0, 0x01020304, 0x05060708};
    unsigned long long base = opaque(0xFFFFF80123456000ull);
    kr_result result = opaque(kr_result{0x82000002});
    const char* description = opaque("error \"Out of memory\" from \"Unknown source\"");
    const wchar_t* wdescription = opaque(L"error \"Out of memory\" from \"Unknown source\"");
};

const long_line other;

#define KR_OTHER_ARGUMENTS(path, description)                                                      \
    path, other.words[0], other.words[1], other.words[2], other.words[3], other.base,              \
        other.result, description
constexpr const char* c_other = "Image '%s' {%08X%08X%08X%08X} at %016llX: Result is 0x%08X (%s)";

KR_WORK(other_line_kr, kr_write("Image '%_s' {%_g} at %016llX: Result is %_r (%_z)", other.path16,
                                &other.guid, other.base, &other.result, &other.result))
KR_WORK(other_line_fmt, f_write("Image '{}' {{{:08X}{:08X}{:08X}{:08X}}} at {:016X}: Result is "
                                "0x{:08X} ({})",
                                KR_OTHER_ARGUMENTS(other.path, other.description)))
KR_WORK(other_line_snprintf, c_write(c_other, KR_OTHER_ARGUMENTS(other.path, other.description)))
KR_WORK(other_line_swprintf,
        w_write(L"Image '%ls' {%08X%08X%08X%08X} at %016llX: Result is 0x%08X (%ls)",
                KR_OTHER_ARGUMENTS(other.wpath, other.wdescription)))
KR_WORK(other_line_stb, s_write(c_other, KR_OTHER_ARGUMENTS(other.path, other.description)))

const u32 number = opaque(1072u);
constexpr const char* text_number = "Unable to create driver service, error code = %u";
KR_WORK(text_u_kr, kr_write(text_number, number))
KR_WORK(text_u_fmt, f_write("Unable to create driver service, error code = {}", number))
KR_WORK(text_u_fmt_wide, fw_write(L"Unable to create driver service, error code = {}", number))
KR_WORK(text_u_snprintf, c_write(text_number, number))
KR_WORK(text_u_swprintf, w_write(L"Unable to create driver service, error code = %u", number))
KR_WORK(text_u_stb, s_write(text_number, number))

const u32 bits = opaque(0x82000021u);
KR_WORK(hex_kr, kr_write("%08X", bits))
KR_WORK(hex_fmt, f_write("{:08X}", bits))
KR_WORK(hex_fmt_wide, fw_write(L"{:08X}", bits))
KR_WORK(hex_snprintf, c_write("%08X", bits))
KR_WORK(hex_swprintf, w_write(L"%08X", bits))
KR_WORK(hex_stb, s_write("%08X", bits))

const unsigned long long largest = opaque(~0ull);
KR_WORK(llu_kr, kr_write("%llu", largest))
KR_WORK(llu_fmt, f_write("{}", largest))
KR_WORK(llu_fmt_wide, fw_write(L"{}", largest))
KR_WORK(llu_snprintf, c_write("%llu", largest))
KR_WORK(llu_swprintf, w_write(L"%llu", largest))
KR_WORK(llu_stb, s_write("%llu", largest))

const void* const address = opaque(static_cast<const void*>(&line));
KR_WORK(pointer_kr, kr_write("%p", address))
KR_WORK(pointer_fmt, f_write("{}", address))
KR_WORK(pointer_snprintf, c_write("%p", address))
KR_WORK(pointer_stb, s_write("%p", address))

const kr_result failure = opaque(kr_result{0x82000002});
const char* const description = opaque("error \"Out of memory\" from \"Unknown source\"");
KR_WORK(result_kr, kr_write("Result is %_r (%_z)", &failure, &failure))
KR_WORK(result_snprintf, c_write("Result is 0x%08X (%s)", failure, description))
KR_WORK(result_strerror, c_write("Result is 0x%08X (error \"%s\" from \"Unknown source\")", failure,
                                 std::strerror(opaque(ENOMEM))))

KR_WORK(measure_kr, [] {
    size_t size = 0;
    const kr_result result = kr_printf_format2(nullptr, 0, &size, kr_line,
                                               KR_LINE_ARGUMENTS(line.stamp16, line.message16));
    return result + size;
}())
KR_WORK(measure_fmt,
        fmt::formatted_size("{}.{:03}.{:03}; {:>8}:{}:{:08X}; {}{}{}({:02}); {}; {}()\n",
                            KR_LINE_ARGUMENTS(line.stamp, line.message)))
KR_WORK(measure_snprintf,
        std::snprintf(nullptr, 0, c_line, KR_LINE_ARGUMENTS(line.stamp, line.message)))
KR_WORK(measure_stb,
        stbsp_snprintf(nullptr, 0, c_line, KR_LINE_ARGUMENTS(line.stamp, line.message)))

KR_WORK(describe_kr, [] {
    kr_char out[room];
    size_t size = sizeof(out);
    const kr_result result =
        kr_get_result_code_description(opaque(kr_result{0x83000002}), out, &size);
    benchmark::DoNotOptimize(out);
    return result + size;
}())
KR_WORK(describe_strerror, std::strerror(opaque(2)))
KR_WORK(describe_strerror_r, [] {
    char out[room];
    return strerror_r(opaque(2), out, sizeof(out));
}())
KR_WORK(describe_error_code, std::error_code(opaque(2), std::generic_category()).message().size())

#define KR_BENCHMARK(work, peer) BENCHMARK(work##_##peer)->Name(#work "/" #peer)

KR_BENCHMARK(log_line, kr);
KR_BENCHMARK(log_line, fmt);
KR_BENCHMARK(log_line, fmt_wide);
KR_BENCHMARK(log_line, snprintf);
KR_BENCHMARK(log_line, swprintf);
KR_BENCHMARK(log_line, stb);
KR_BENCHMARK(other_line, kr);
KR_BENCHMARK(other_line, fmt);
KR_BENCHMARK(other_line, snprintf);
KR_BENCHMARK(other_line, swprintf);
KR_BENCHMARK(other_line, stb);
KR_BENCHMARK(text_u, kr);
KR_BENCHMARK(text_u, fmt);
KR_BENCHMARK(text_u, fmt_wide);
KR_BENCHMARK(text_u, snprintf);
KR_BENCHMARK(text_u, swprintf);
KR_BENCHMARK(text_u, stb);
KR_BENCHMARK(hex, kr);
KR_BENCHMARK(hex, fmt);
KR_BENCHMARK(hex, fmt_wide);
KR_BENCHMARK(hex, snprintf);
KR_BENCHMARK(hex, swprintf);
KR_BENCHMARK(hex, stb);
KR_BENCHMARK(llu, kr);
KR_BENCHMARK(llu, fmt);
KR_BENCHMARK(llu, fmt_wide);
KR_BENCHMARK(llu, snprintf);
KR_BENCHMARK(llu, swprintf);
KR_BENCHMARK(llu, stb);
KR_BENCHMARK(pointer, kr);
KR_BENCHMARK(pointer, fmt);
KR_BENCHMARK(pointer, snprintf);
KR_BENCHMARK(pointer, stb);
KR_BENCHMARK(result, kr);
KR_BENCHMARK(result, snprintf);
KR_BENCHMARK(result, strerror);
KR_BENCHMARK(measure, kr);
KR_BENCHMARK(measure, fmt);
KR_BENCHMARK(measure, snprintf);
KR_BENCHMARK(measure, stb);
KR_BENCHMARK(describe, kr);
KR_BENCHMARK(describe, strerror);
KR_BENCHMARK(describe, strerror_r);
KR_BENCHMARK(describe, error_code);

} // namespace
