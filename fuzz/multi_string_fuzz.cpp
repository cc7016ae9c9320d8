/// Any text as a multi-string: an array that parsing fails on stays as it was, and what was parsed
/// survives composing and parsing again.
#include <algorithm>
#include <string>

#include "owners.h"
#include "settings/multi_string.h"
#include "target.h"

namespace {

bool same(const kr_array_string& a, const kr_array_string& b) {
    return std::equal(a.items, a.items + a.count, b.items, b.items + b.count,
                      [](auto* x, auto* y) { return std::u16string_view(x) == y; });
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const u8* data, size_t size) {
    std::u16string text;
    for (size_t at = 0; at + 1 < size; at += 2) {
        text += static_cast<char16_t>(data[at] | data[at + 1] << 8);
    }
    kr::owned_strings parsed, again;
    require(kr_array_string_new(parsed.out()) == KR_SUCCESS);
    require(kr_array_string_new(again.out()) == KR_SUCCESS);
    if (kr_result_failed(kr_settings_parse_multi_string(text.c_str(), parsed.get()))) {
        require(parsed.get()->count == 0);
        return 0;
    }
    kr::owned_text composed;
    require(kr_settings_compose_multi_string(parsed.get(), composed.out()) == KR_SUCCESS);
    require(kr_settings_parse_multi_string(composed.get(), again.get()) == KR_SUCCESS);
    require(same(*parsed.get(), *again.get()));
    return 0;
}
