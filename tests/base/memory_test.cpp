/// The allocator hooks, the buffer utilities and the typed operations on flat memory.
#include "base/memory/memory.h"

#include "base/memory/buffer.h"
#include "base/memory/typed_memory.h"
#include "support/captured_log.h"
#include "support/failing_allocator.h"

namespace {

using namespace kr::test;
using testing::StartsWith;

TEST(RawMemory, TakesNoBytesForOneAndSaysSo) {
    captured_log log;
    log.set_mask(KR_LOG_MEMORY, KR_LOG_ERROR | KR_LOG_DEBUG);
    void* block = nullptr;
    ASSERT_EQ(kr_memory_allocate_raw(&block, 0), ok);
    ASSERT_NE(block, nullptr);
    kr_memory_deallocate_raw(block);
    kr_memory_deallocate_raw(nullptr);
    const std::string freed = "D 26 kr_memory_deallocate_raw: memory_ptr = ";
    EXPECT_THAT(log.take(),
                ElementsAre("D 26 kr_memory_allocate_raw: Allocation size must be greater than zero",
                            StartsWith(freed), StartsWith(freed)));
}

TEST(RawMemory, LeavesTheOutputAloneWhenTheHeapIsExhausted) {
    captured_log log;
    int known = 0;
    void* block = &known;
    volatile size_t too_much = SIZE_MAX / 2;
    EXPECT_EQ(kr_memory_allocate_raw(&block, too_much), out_of_memory);
    EXPECT_EQ(block, &known);
    EXPECT_THAT(log.take(), ElementsAre("E 26 kr_memory_allocate_raw: Out of memory!"));
}

/// A heap buffer with its size, as the growing operations take it.
struct buffer : kr::test::pinned {
    void* data = nullptr;
    size_t size = 0;

    ~buffer() { kr_memory_deallocate_hook(data); }

    kr_result fill_with_abc() {
        const kr_result result = kr_memdup("abc", &data, 3);
        size = data == nullptr ? 0 : 3;
        return result;
    }
    [[nodiscard]] std::string content() const { return {static_cast<const char*>(data), 3}; }
};

TEST(Buffers, GrowKeepTheirContentAndNeverShrink) {
    const failing_allocator allocator;
    buffer grown;
    ASSERT_EQ(grown.fill_with_abc(), ok);
    const void* const before = grown.data;
    for (const size_t no_more : {3, 2, 0}) {
        ASSERT_EQ(kr_memory_grow(&grown.data, &grown.size, no_more), ok);
        ASSERT_EQ(kr_memory_grow_reserve(&grown.data, &grown.size, no_more, 100), ok);
        EXPECT_EQ(grown.data, before);
        EXPECT_EQ(grown.size, 3u);
    }
    ASSERT_EQ(kr_memory_grow(&grown.data, &grown.size, 4), ok);
    EXPECT_EQ(grown.size, 4u);
    ASSERT_EQ(kr_memory_grow_reserve(&grown.data, &grown.size, 5, 7), ok);
    EXPECT_EQ(grown.size, 12u);
    EXPECT_EQ(grown.content(), "abc");
    EXPECT_EQ(kr_memory_grow_reserve(&grown.data, &grown.size, SIZE_MAX, 1), out_of_memory);
    EXPECT_EQ(grown.size, 12u);
}

TEST(Buffers, StayWholeWhenAnAllocationFails) {
    for (const bool reserve : {false, true}) {
        sweep_allocations([reserve] {
            buffer b;
            kr_result result = b.fill_with_abc();
            EXPECT_EQ(kr_result_failed(result), b.data == nullptr);
            if (b.data == nullptr) { return result; }
            result = reserve ? kr_memory_grow_reserve(&b.data, &b.size, 90, 10)
                             : kr_memory_grow(&b.data, &b.size, 100);
            EXPECT_EQ(b.size, kr_result_failed(result) ? 3u : 100u);
            EXPECT_EQ(b.content(), "abc");
            return result;
        });
    }
}

TEST(Buffers, AreZeroOnlyWhenEveryByteIs) {
    for (size_t start = 1; start < 20; ++start) {
        for (size_t size = 0; size < 150; ++size) {
            // The neighbours of the range do not count, its first and last bytes do.
            std::vector<u8> block(300, u8{1});
            std::fill_n(&block[start], size, u8{0});
            ASSERT_TRUE(kr_memory_is_zero(&block[start], size)) << start << ' ' << size;
            for (size_t at = 0; at < size; at += std::max(size / 2, size_t{1})) {
                block[start + at] = 0x80;
                ASSERT_FALSE(kr_memory_is_zero(&block[start], size)) << at;
                block[start + at] = 0;
            }
            if (size != 0) { block[start + size - 1] = 1; }
            ASSERT_EQ(kr_memory_is_zero(&block[start], size), size == 0);
        }
    }
}

TEST(TypedMemory, KnowsHeapAndFlatAndRefusesTheRest) {
    captured_log log;
    log.set_mask(KR_LOG_MEMORY, KR_LOG_ERROR | KR_LOG_DEBUG);
    constexpr u32 heap = KR_MEMORY_TYPE_HEAP, flat = KR_MEMORY_TYPE_FLAT, unknown = 77;
    char a[] = "abcd";
    char b[] = "efgh";
    void* out = a;
    void* moved = a + 2;
    EXPECT_EQ(kr_memcpy_ex(heap, a, heap, b, 2), ok);
    EXPECT_EQ(kr_memcpy_ex(heap, a, flat, b, 2), not_implemented);
    EXPECT_EQ(kr_memcpy_ex(flat, a, heap, b, 2), not_implemented);
    EXPECT_EQ(kr_memory_assign_ex(heap, a + 2, heap, b, 1), ok);
    EXPECT_EQ(kr_memory_assign_ex(flat, a, flat, b, 1), not_implemented);
    EXPECT_EQ(kr_memory_allocate_ex(flat, &out, 1), not_implemented);
    EXPECT_EQ(kr_memory_allocate_ex(unknown, &out, 1), not_implemented);
    EXPECT_EQ(kr_memory_ptr_ex(unknown, a, 1, &out), not_implemented);
    EXPECT_EQ(kr_memory_ptr_advance_ex(heap, -1, &moved), ok);
    EXPECT_EQ(kr_memory_ptr_advance_ex(flat, -1, &moved), not_implemented);
    EXPECT_EQ(kr_memory_prepare_ex(heap, a, 9), ok);
    EXPECT_EQ(kr_memory_prepare_ex(flat, a, 9), not_implemented);
    EXPECT_EQ(kr_memory_split_ex(heap, a, 1), not_implemented);
    EXPECT_EQ(kr_memcpy_ex(heap, nullptr, heap, nullptr, 0), ok);
    EXPECT_STREQ(a, "efed");
    EXPECT_EQ(out, a);
    EXPECT_EQ(moved, a + 1);
    kr_memset_ex(flat, a, 'x', 1);
    kr_memset_ex(heap, a + 1, 'y', 1);
    kr_memset_ex(heap, nullptr, 'z', 1);
    kr_memset_ex(unknown, a, 'z', 4);
    EXPECT_STREQ(a, "xyed");
    kr_memory_deallocate_ex(flat, a);
    EXPECT_THAT(log.take(), ElementsAre("D 26 kr_memcpy_ex: memcpy for 104 <- 5 types is not implemented.",
                                        "D 26 kr_memcpy_ex: memcpy for 5 <- 104 types is not implemented.",
                                        "E 26 kr_memset_ex: Cannot memset memory of type 77",
                                        "E 26 kr_memory_deallocate_ex: Cannot deallocate memory of type 5"));
}

} // namespace
