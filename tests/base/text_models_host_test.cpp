/// The same models, and descriptions and formats, where every text and every output begins or
/// ends at a page that cannot be read: the vector walks read whole vectors, never another page.
#include "text_models.h"

#include <sys/mman.h>

#include "base/memory/memory.h"
#include "printf/printf.h"
#include "result/descriptions.h"

namespace {

using namespace kr::test;

/// Blocks of less than a page, each in a page between two that cannot be read, for the models and behind the
/// allocator hooks, for a scope.
class page_memory : pinned {
public:
    explicit page_memory(bool at_end) {
        at_end_ = at_end;
        take_exact = take;
        give_exact = give;
        kr_memory_set_hooks(
            [](void** out, size_t size) {
                *out = take(size);
                return ok;
            },
            give);
    }
    ~page_memory() {
        kr_memory_set_hooks(nullptr, nullptr);
        take_exact = std::malloc;
        give_exact = std::free;
        EXPECT_EQ(free_.size(), pages_) << "blocks not given back";
    }

private:
    static constexpr size_t page = 4096;

    static void* take(size_t size) {
        if (free_.empty()) {
            void* const pages = mmap(nullptr, 3 * page, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
            free_.push_back(static_cast<u8*>(pages) + page);
            EXPECT_EQ(mprotect(free_.back(), page, PROT_READ | PROT_WRITE), 0);
            ++pages_;
        }
        u8* const start = free_.back();
        free_.pop_back();
        EXPECT_LT(size, page);
        std::fill_n(start, page, u8{';'});
        return at_end_ ? start + page - size : start;
    }
    static void give(void* block) {
        if (block == nullptr) { return; }
        const auto inside = reinterpret_cast<std::uintptr_t>(block) - (at_end_ ? 1 : 0);
        free_.push_back(reinterpret_cast<u8*>(inside & ~(page - 1)));
    }

    static inline bool at_end_;
    static inline size_t pages_ = 0; ///< kept for the next scope
    static inline std::vector<u8*> free_;
};

void check_description(std::span<const u8> input) {
    kr_result result = 0;
    std::memcpy(&result, input.data(), std::min(input.size(), sizeof result));
    size_t size = 0;
    if (kr_get_result_description2(result, nullptr, &size) != ok) { return; }
    const exact_block<kr_char> text(size / sizeof(kr_char));
    expect(kr_get_result_description2(result, text.get(), &size) == ok);
    expect((wide(text.get()).size() + 1) * sizeof(kr_char) == size);
}

void check_format(std::span<const u8> input) {
    std::string text(text_of(input));
    std::erase(text, '%');
    const exact_text<char> narrow(text), format("%s" + text + "%_s" + text);
    const exact_text<kr_char> broad{std::string_view(text)};
    size_t size = 0;
    expect(kr_printf_format2(nullptr, 0, &size, format, narrow.get(), broad.get()) == ok);
    const exact_block<kr_char> out(size / sizeof(kr_char));
    expect(kr_printf_format2(out.get(), size, nullptr, format, narrow.get(), broad.get()) == ok);
    wide expected;
    for (const char c : text) { expected += kr::detail::widen(c); }
    expect(out.get() == expected + expected + characters<kr_char>(text) + expected);
}

TEST(TextModels, AgreeAtTheEdgeOfReadableMemory) {
    for (const bool at_end : {true, false}) {
        const page_memory memory(at_end);
        for (const auto& [check, seeds, alphabet] : text_models) { run_model(check, seeds, alphabet, 1500); }
        run_model(check_description, "guid_fuzz", "\x02\x82\x03\x83\x01", 500);
        run_model(check_format, "narrow_text_fuzz", "abc", 500);
    }
}

} // namespace
