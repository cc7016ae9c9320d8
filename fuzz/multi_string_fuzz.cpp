/// Any text as a multi-string: an array that parsing fails on stays as it was, and what was parsed
/// survives composing and parsing again.
#include <string>

#include "owners.h"
#include "settings/multi_string.h"
#include "text_input.h"

namespace {

class string_array {
public:
    string_array() { require(kr_result_succeeded(kr_array_string_new(&array_))); }
    string_array(const string_array&) = delete;
    string_array& operator=(const string_array&) = delete;
    ~string_array() { kr_array_string_free(array_); }

    [[nodiscard]] kr_array_string* get() const { return array_; }

    bool operator==(const string_array& other) const {
        if (array_->count != other.array_->count) {
            return false;
        }
        for (u32 index = 0; index < array_->count; ++index) {
            if (std::u16string_view(array_->items[index]) != other.array_->items[index]) {
                return false;
            }
        }
        return true;
    }

private:
    kr_array_string* array_ = nullptr;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const u8* data, std::size_t size) {
    std::u16string text;
    for (std::size_t at = 0; at + 1 < size; at += 2) {
        text += static_cast<char16_t>(data[at] | data[at + 1] << 8);
    }
    const string_array parsed;
    if (kr_result_failed(kr_settings_parse_multi_string(text.c_str(), parsed.get()))) {
        require(parsed.get()->count == 0);
        return 0;
    }
    kr_char* composed = nullptr;
    require(kr_result_succeeded(kr_settings_compose_multi_string(parsed.get(), &composed)));
    const string_array again;
    require(kr_result_succeeded(kr_settings_parse_multi_string(composed, again.get())));
    kr_memory_deallocate_hook(composed);
    require(parsed == again);
    return 0;
}
