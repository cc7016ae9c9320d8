/// The vector walks beside pages that cannot be read.
#include "base/text/wide_scan.h"
#include "support/guard_page.h"

namespace {

using kr::test::guarded_page;
namespace vectors = kr::detail::vectors;

TEST(VectorWalks, NeverTouchAPageThatTheTextDoesNotReach) {
    const guarded_page page;
    const guarded_page other;
    for (u64 length = 0; length < 130; ++length) {
        SCOPED_TRACE(length);
        std::vector<kr_char> s(length + 1, 'x');
        s.back() = 0;
        for (const bool at_end : {false, true}) {
            kr_char* const chars =
                at_end ? page.put_last(s.data(), s.size()) : page.put_first(s.data(), s.size());
            ASSERT_EQ(vectors::length(chars), length);
            ASSERT_EQ(vectors::find_or_end(chars, 'y'), length);
            for (u64 offset = 0; offset < 9; ++offset) {
                std::vector<kr_char> shifted(s);
                shifted.resize(s.size() + offset);
                const kr_char* const equal = other.put_last(shifted.data(), shifted.size());
                ASSERT_EQ(vectors::mismatch(chars, equal, UINT64_MAX), length);
                ASSERT_EQ(vectors::mismatch(equal, chars, UINT64_MAX), length);
            }
            // Without a terminator the limit alone keeps the walk within the page.
            chars[length] = 'x';
            ASSERT_EQ(vectors::length_within(chars, length + 1), length + 1);
            ASSERT_EQ(vectors::mismatch(chars, other.put_last(chars, length + 1), length + 1), length + 1);
        }
    }
    const std::vector<u8> zeros(130);
    for (size_t size = 0; size <= zeros.size(); ++size) {
        ASSERT_TRUE(vectors::is_zero(page.put_last(zeros.data(), size), size));
        ASSERT_TRUE(vectors::is_zero(page.put_first(zeros.data(), size), size));
    }
}

} // namespace
