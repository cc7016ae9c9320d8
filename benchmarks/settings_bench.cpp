/// Settings: a typed read beside the two registry queries that it makes, and how the operations
/// grow with the number of entries and items. The time per item is in the column `per_item`; flat
/// means that it is the same in every row of a name.
#include <climits>
#include <cstdlib>
#include <malloc.h>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "base/memory/memory.h"
#include "base/product.h"
#include "base/text/array_string.h"
#include "log/startup/config.h"
#include "log/startup/log_module.h"
#include "platform/platform.h"
#include "settings/multi_string.h"
#include "settings/store.h"
#include "settings/typed.h"

constinit const kr_product_record kr_product = {"krbench", KR_TEXT("tools"), KR_TEXT("Korinth")};

namespace {

/// The heap keeps what it was given back. By default a text of a million items goes back to the
/// system every time, and the next one waits for fresh pages as long as for its composition.
[[maybe_unused]] const bool heap_keeps_memory =
    mallopt(M_MMAP_MAX, 0) != 0 && mallopt(M_TRIM_THRESHOLD, INT_MAX) != 0;

/// A group of the program's domain with `count` entries, wiped at the end.
class filled_group {
public:
    explicit filled_group(i64 count) {
        (void)kr_settings_domain_open(KR_TEXT("krbench"), &domain_);
        (void)kr_settings_group_open(domain_, KR_TEXT("log"), &group_);
        for (i64 index = 0; index < count; ++index) {
            (void)kr_settings_set_string(group_, name(index).c_str(), KR_TEXT("7"));
        }
    }
    filled_group(const filled_group&) = delete;
    filled_group& operator=(const filled_group&) = delete;
    ~filled_group() {
        kr_settings_group_close(group_);
        (void)kr_settings_group_delete(domain_, KR_TEXT("log"));
        kr_settings_domain_close(domain_);
        (void)kr_settings_domain_delete(KR_TEXT("krbench"));
    }

    [[nodiscard]] kr_settings_handle get() const { return group_; }

    /// All names have the same length, so that each costs the same.
    static std::u16string name(i64 index) {
        const std::string digits = std::to_string(10'000'000 + index);
        return KR_TEXT("category ") + std::u16string(digits.begin(), digits.end());
    }

private:
    kr_settings_handle domain_ = nullptr;
    kr_settings_handle group_ = nullptr;
};

void count_items(benchmark::State& state, i64 items) {
    state.counters["per_item"] = benchmark::Counter(static_cast<double>(items),
                                                    benchmark::Counter::kIsIterationInvariantRate |
                                                        benchmark::Counter::kInvert);
}

void read_log_group(benchmark::State& state) {
    kr_log_register_module(KR_TEXT("nowhere"));
    (void)kr_init();
    const filled_group group(state.range(0));
    for (auto _ : state) {
        kr_log_reset();
    }
    count_items(state, state.range(0));
}
BENCHMARK(read_log_group)->Arg(10)->Arg(1'000)->Arg(10'000);

void enumerate_entries(benchmark::State& state) {
    const filled_group group(state.range(0));
    for (auto _ : state) {
        kr_char** names = nullptr;
        u32 count = 0;
        benchmark::DoNotOptimize(kr_settings_enum_entries(group.get(), &names, &count));
        kr_settings_free_names(names, count);
    }
    count_items(state, state.range(0));
}
BENCHMARK(enumerate_entries)->Arg(1'000)->Arg(10'000)->Arg(100'000);

/// The same names through the same calls, as a program without the library would keep them.
void enumerate_entries_std(benchmark::State& state) {
    const filled_group group(state.range(0));
    HKEY key = reinterpret_cast<HKEY>(group.get());
    for (auto _ : state) {
        DWORD count = 0;
        DWORD longest = 0;
        RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, &count,
                         &longest, nullptr, nullptr, nullptr);
        std::vector<std::u16string> names;
        names.reserve(count);
        for (DWORD index = 0; index < count; ++index) {
            std::u16string name(longest + 1, u'\0');
            DWORD chars = longest + 1;
            RegEnumValueW(key, index, name.data(), &chars, nullptr, nullptr, nullptr, nullptr);
            name.resize(chars);
            names.push_back(std::move(name));
        }
        benchmark::DoNotOptimize(names);
    }
    count_items(state, state.range(0));
}
BENCHMARK(enumerate_entries_std)->Arg(1'000);

/// The registry's part of it, with a block for each name: what nobody who lists them can save.
void enumerate_entries_floor(benchmark::State& state) {
    const filled_group group(state.range(0));
    HKEY key = reinterpret_cast<HKEY>(group.get());
    for (auto _ : state) {
        DWORD count = 0;
        DWORD longest = 0;
        RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, &count,
                         &longest, nullptr, nullptr, nullptr);
        auto** const names = static_cast<kr_char**>(std::malloc(count * sizeof(kr_char*)));
        for (DWORD index = 0; index < count; ++index) {
            DWORD chars = longest + 1;
            names[index] = static_cast<kr_char*>(std::malloc(chars * sizeof(kr_char)));
            RegEnumValueW(key, index, names[index], &chars, nullptr, nullptr, nullptr, nullptr);
        }
        for (DWORD index = 0; index < count; ++index) {
            std::free(names[index]);
        }
        std::free(names);
    }
    count_items(state, state.range(0));
}
BENCHMARK(enumerate_entries_floor)->Arg(1'000);

/// Groups made in falling order, each before all that are there, and deleted again.
void make_groups(benchmark::State& state) {
    const filled_group group(0);
    for (auto _ : state) {
        for (i64 index = state.range(0); index > 0; --index) {
            kr_settings_handle made = nullptr;
            (void)kr_settings_group_open(group.get(), filled_group::name(index).c_str(), &made);
            kr_settings_group_close(made);
        }
        for (i64 index = state.range(0); index > 0; --index) {
            (void)kr_settings_group_delete(group.get(), filled_group::name(index).c_str());
        }
    }
    count_items(state, state.range(0));
}
BENCHMARK(make_groups)->Arg(1'000)->Arg(40'000);

std::u16string list_text(i64 items) {
    std::u16string text;
    for (i64 index = 0; index < items; ++index) {
        text += KR_TEXT("C:\\\\Program Files\\;more;");
    }
    return text;
}

void parse_multi_string(benchmark::State& state) {
    const std::u16string text = list_text(state.range(0));
    for (auto _ : state) {
        kr_array_string* array = nullptr;
        (void)kr_array_string_new(&array);
        benchmark::DoNotOptimize(kr_settings_parse_multi_string(text.c_str(), array));
        kr_array_string_free(array);
    }
    count_items(state, state.range(0));
}
BENCHMARK(parse_multi_string)->Arg(1'000)->Arg(100'000)->Arg(1'000'000);

std::vector<std::u16string> parse_std(const std::u16string& text) {
    std::vector<std::u16string> items;
    std::u16string item;
    for (size_t at = 0; at < text.size(); ++at) {
        if (text[at] == u';') {
            items.push_back(std::move(item));
            item.clear();
        } else {
            at += text[at] == u'\\' ? 1 : 0;
            item.push_back(text[at]);
        }
    }
    return items;
}

void parse_multi_string_std(benchmark::State& state) {
    const std::u16string text = list_text(state.range(0));
    for (auto _ : state) {
        benchmark::DoNotOptimize(parse_std(text));
    }
    count_items(state, state.range(0));
}
BENCHMARK(parse_multi_string_std)->Arg(1'000)->Arg(1'000'000);

/// The worst failure: the last character is broken, and every item has to go again.
void parse_broken_multi_string(benchmark::State& state) {
    const std::u16string text = list_text(state.range(0)) + KR_TEXT("\\");
    for (auto _ : state) {
        kr_array_string* array = nullptr;
        (void)kr_array_string_new(&array);
        benchmark::DoNotOptimize(kr_settings_parse_multi_string(text.c_str(), array));
        kr_array_string_free(array);
    }
    count_items(state, state.range(0));
}
BENCHMARK(parse_broken_multi_string)->Arg(1'000)->Arg(100'000)->Arg(1'000'000);

void compose_multi_string(benchmark::State& state) {
    kr_array_string* array = nullptr;
    (void)kr_array_string_new(&array);
    (void)kr_settings_parse_multi_string(list_text(state.range(0)).c_str(), array);
    for (auto _ : state) {
        kr_char* text = nullptr;
        benchmark::DoNotOptimize(kr_settings_compose_multi_string(array, &text));
        kr_memory_deallocate_hook(text);
    }
    kr_array_string_free(array);
    count_items(state, state.range(0));
}
BENCHMARK(compose_multi_string)->Arg(1'000)->Arg(100'000)->Arg(1'000'000);

void compose_multi_string_std(benchmark::State& state) {
    const std::vector<std::u16string> items = parse_std(list_text(state.range(0)));
    for (auto _ : state) {
        std::u16string text;
        for (const std::u16string& item : items) {
            for (const kr_char unit : item) {
                if (unit == u';' || unit == u'\\') {
                    text.push_back(u'\\');
                }
                text.push_back(unit);
            }
            text.push_back(u';');
        }
        benchmark::DoNotOptimize(text);
    }
    count_items(state, state.range(0));
}
BENCHMARK(compose_multi_string_std)->Arg(1'000)->Arg(1'000'000);

void typed_read(benchmark::State& state) {
    const filled_group group(1);
    const std::u16string name = filled_group::name(0);
    for (auto _ : state) {
        u32 value = 0;
        benchmark::DoNotOptimize(kr_settings_get_UINT32(group.get(), name.c_str(), &value));
        benchmark::DoNotOptimize(value);
    }
}
BENCHMARK(typed_read);

/// The value as a string of the right size, then as a number.
void typed_read_std(benchmark::State& state) {
    const filled_group group(1);
    const std::u16string name = filled_group::name(0);
    HKEY key = reinterpret_cast<HKEY>(group.get());
    for (auto _ : state) {
        DWORD type = 0;
        DWORD size = 0;
        RegQueryValueExW(key, name.c_str(), nullptr, &type, nullptr, &size);
        std::u16string text(size / sizeof(kr_char), u'\0');
        RegQueryValueExW(key, name.c_str(), nullptr, &type, reinterpret_cast<BYTE*>(text.data()),
                         &size);
        std::string digits(text.begin(), text.end() - 1);
        benchmark::DoNotOptimize(std::stoul(digits));
    }
}
BENCHMARK(typed_read_std);

void typed_read_two_queries(benchmark::State& state) {
    const filled_group group(1);
    const std::u16string name = filled_group::name(0);
    HKEY key = reinterpret_cast<HKEY>(group.get());
    for (auto _ : state) {
        DWORD type = 0;
        DWORD size = 0;
        BYTE data[64];
        RegQueryValueExW(key, name.c_str(), nullptr, &type, nullptr, &size);
        benchmark::DoNotOptimize(RegQueryValueExW(key, name.c_str(), nullptr, &type, data, &size));
        benchmark::DoNotOptimize(data);
    }
}
BENCHMARK(typed_read_two_queries);

} // namespace
