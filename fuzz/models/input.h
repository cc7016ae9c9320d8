/// What the models of text share: expectations, and input as text in memory of exactly its size, so
/// that a sanitizer or a page that cannot be read sees an access one character too far.
#pragma once

#include <algorithm>
#include <cstdlib>
#include <span>
#include <string>
#include <string_view>

#include "platform/types.h"

namespace kr::test {

/// The line of the first expectation that did not hold, 0 while all do.
inline int failed_line = 0;

inline void expect(bool holds, int line = __builtin_LINE()) {
    if (!holds && failed_line == 0) {
        failed_line = line;
    }
}

/// Where the blocks come from; a test may put its own source here.
inline void* (*take_exact)(size_t size_bytes) = std::malloc;
inline void (*give_exact)(void* block) = std::free;

template <typename T>
class exact_block {
public:
    explicit exact_block(size_t count) : data_(static_cast<T*>(take_exact(count * sizeof(T)))) {}
    exact_block(const exact_block&) = delete;
    exact_block& operator=(const exact_block&) = delete;
    ~exact_block() { give_exact(data_); }
    [[nodiscard]] T* get() const { return data_; }
    operator const T*() const { return data_; }

private:
    T* data_;
};

/// The input up to its first NUL.
inline std::string_view text_of(std::span<const u8> input) {
    const std::string_view all(reinterpret_cast<const char*>(input.data()), input.size());
    return all.substr(0, all.find('\0'));
}

/// A byte beyond ASCII makes a unit whose low byte is ASCII: nobody may look at that alone.
template <typename Char>
std::basic_string<Char> characters(std::string_view text) {
    std::basic_string<Char> made;
    for (const char c : text) {
        const auto byte = static_cast<u8>(c);
        made +=
            static_cast<Char>(sizeof(Char) == 1 || byte < 0x80 ? byte : byte << 8 | (byte & 0x7F));
    }
    return made;
}

/// A text and its terminator.
template <typename Char>
class exact_text : public exact_block<Char> {
public:
    explicit exact_text(const std::basic_string<Char>& text) : exact_block<Char>(text.size() + 1) {
        std::copy_n(text.c_str(), text.size() + 1, this->get());
    }
    explicit exact_text(std::string_view text) requires(sizeof(Char) != 1)
        : exact_text(characters<Char>(text)) {}
};

} // namespace kr::test
