/// What the targets that read text share: input as NUL-terminated text in blocks of exactly its
/// size, so that the sanitizer sees a read one character too far. Each target is one source, so
/// the program's product record stands here, too.
#pragma once

#include <cstdlib>
#include <memory>
#include <string_view>

#include "base/product.h"
#include "platform/types.h"

constinit const kr_product_record kr_product = {"krfuzz", KR_TEXT("tools"), KR_TEXT("Korinth")};

namespace {

inline void require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

/// The input up to its first NUL.
inline std::string_view text_of(const u8* data, size_t size) {
    const std::string_view all(reinterpret_cast<const char*>(data), size);
    return all.substr(0, all.find('\0'));
}

/// `text` and its terminator on the heap, each byte as one character.
template <typename Char>
class exact_text {
public:
    explicit exact_text(std::string_view text) : chars_(new Char[text.size() + 1]) {
        for (size_t i = 0; i < text.size(); ++i) {
            chars_[i] = static_cast<Char>(static_cast<u8>(text[i]));
        }
        chars_[text.size()] = Char{};
    }
    operator const Char*() const { return chars_.get(); }

private:
    std::unique_ptr<Char[]> chars_;
};

} // namespace
