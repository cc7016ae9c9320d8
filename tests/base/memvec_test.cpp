/// Memory vectors: random steps against a plain array, and what a model cannot see: ownership,
/// limits, the typed operations, failing allocators.
#include "base/memvec.h"

#include <memory>
#include <numeric>
#include <random>
#include <vector>

#include <gmock/gmock.h>

#include "base/memory.h"
#include "base/memvec_record.h"
#include "base/typed_memory.h"
#include "models/memvec_model.h"
#include "support/captured_log.h"
#include "support/failing_allocator.h"

namespace {

using kr::test::failing_allocator;

constexpr u32 type = KR_MEMORY_TYPE_MEMVEC;
constexpr u32 heap = KR_MEMORY_TYPE_HEAP;
constexpr kr_result invalid = 0x8200000C;
constexpr kr_result missing = 0x82000022;

class Memvec : public testing::Test {
protected:
    Memvec() { EXPECT_EQ(kr_memvec_init(), KR_SUCCESS); }
    ~Memvec() override { kr_memvec_module()->fini(); }

    static kr_memvec_cursor* create(u64 size) {
        kr_memvec_cursor* cursor = nullptr;
        EXPECT_EQ(kr_memvec_create(size, &cursor), KR_SUCCESS);
        return cursor;
    }
};

TEST_F(Memvec, AgreesWithAPlainArray) {
    std::mt19937 random(1); // NOLINT(*-msc51-cpp): the same steps in every run
    for (int round = 0; round < 300; ++round) {
        std::vector<u8> steps(random() % 2000);
        for (u8& step : steps) {
            step = static_cast<u8>(random());
        }
        ASSERT_EQ(kr::test::memvec_model::run(steps), "") << "round " << round;
    }
}

TEST_F(Memvec, HasLimits) {
    kr_memvec_cursor* cursor = nullptr;
    EXPECT_EQ(kr_memvec_create(KR_MEMVEC_SIZE_LIMIT + 1, &cursor), invalid);
    EXPECT_EQ(kr_memvec_create(u64{1} << 32, &cursor), invalid);
    EXPECT_EQ(cursor, nullptr);

    kr_memvec_cursor* const first = create(KR_MEMVEC_SIZE_LIMIT);
    EXPECT_EQ(kr_memvec_seek(first, 0x7FFFFFFF, &cursor), invalid);
    EXPECT_EQ(kr_memvec_seek(first, -1, &cursor), invalid);
    ASSERT_EQ(kr_memvec_seek(first, 0x7FFFFFFE, &cursor), KR_SUCCESS);
    kr_memvec_cursor* const last = cursor;
    EXPECT_EQ(kr_memvec_seek(last, 0x7FFFFFFF, &cursor), invalid);
    ASSERT_EQ(kr_memvec_prepare(last, 1), KR_SUCCESS);
    u8 byte = 7;
    EXPECT_EQ(kr_memvec_write(last, &byte, 1), KR_SUCCESS);
    EXPECT_EQ(kr_memvec_write(last, &byte, ~u64{0}), invalid);
    EXPECT_EQ(kr_memvec_copy(heap, &byte, type, last, ~u64{0}), missing);
    kr_memvec_release(last);
    kr_memvec_release(last);
    EXPECT_EQ(kr_memvec_split(last, 1), 0x82000003);
    kr_memvec_destroy(first);
}

TEST_F(Memvec, PartsOfACutChunkShareItsBlockUnderOneOwner) {
    std::vector<u8> bytes(100);
    std::iota(bytes.begin(), bytes.end(), u8{0});
    for (const bool lends : {false, true}) {
        SCOPED_TRACE(lends);
        std::vector<u8> lent(100);
        const failing_allocator allocator;
        kr_memvec_cursor* const first = create(100);
        if (lends) {
            ASSERT_EQ(kr_memvec_assign(type, first, heap, lent.data(), 100), KR_SUCCESS);
        }
        ASSERT_EQ(kr_memvec_prepare(first, 100), KR_SUCCESS);
        ASSERT_EQ(kr_memvec_write(first, bytes.data(), 100), KR_SUCCESS);
        kr_memvec_cursor* inner = nullptr;
        ASSERT_EQ(kr_memvec_seek(first, 40, &inner), KR_SUCCESS);
        ASSERT_EQ(kr_memvec_prepare(inner, 20), KR_SUCCESS);
        ASSERT_EQ(kr_memvec_split(inner, 10), KR_SUCCESS);
        std::vector<u8> found(100);
        ASSERT_EQ(kr_memvec_read(found.data(), first, 100), KR_SUCCESS);
        EXPECT_EQ(found, bytes);
        EXPECT_EQ(lent == bytes, lends);
        EXPECT_EQ(allocator.live(), lends ? 0u : 1u);
        kr_memvec_destroy(inner);
    }
}

TEST_F(Memvec, FreesExtraBlocks) {
    const failing_allocator allocator;
    kr_memvec_cursor* const first = create(1);
    void* block = nullptr;
    ASSERT_EQ(kr_memory_allocate_hook(&block, sizeof(kr::detail::list_link)), KR_SUCCESS);
    std::construct_at(static_cast<kr::detail::list_link*>(block))
        ->insert_before(first->vector->extra_blocks);
    kr_memvec_destroy(first);
}

/// A vector lent to another vector, all of it through the typed operations.
TEST_F(Memvec, IsAMemoryTypeWhileTheModuleRuns) {
    void* inner = nullptr;
    void* outer = nullptr;
    ASSERT_EQ(kr_memory_allocate_ex(type, &inner, 8), KR_SUCCESS);
    ASSERT_EQ(kr_memory_allocate_ex(type, &outer, 12), KR_SUCCESS);
    EXPECT_EQ(kr_memory_allocate_ex(type, nullptr, 12), invalid);
    EXPECT_EQ(kr_memory_ptr_ex(type, inner, 1, nullptr), invalid);
    ASSERT_EQ(kr_memory_prepare_ex(type, inner, 8), KR_SUCCESS);
    ASSERT_EQ(kr_memory_split_ex(type, outer, 8), KR_SUCCESS);
    ASSERT_EQ(kr_memory_assign_ex(type, outer, type, inner, 8), KR_SUCCESS);
    EXPECT_EQ(kr_memory_split_ex(type, outer, 4), missing) << "a lent vector cannot be cut";
    ASSERT_EQ(kr_memory_ptr_advance_ex(type, 2, &outer), KR_SUCCESS);
    auto* const cursor = static_cast<kr_memvec_cursor*>(outer);
    const u8 bytes[7] = {1, 2, 3, 4, 5, 6, 7};
    EXPECT_EQ(kr_memvec_write(cursor, bytes, 6), KR_SUCCESS);
    EXPECT_EQ(kr_memvec_write(cursor, bytes, 7), invalid);
    kr_memvec_fill(cursor, 9, 6);
    EXPECT_EQ(kr_memcpy_ex(type, outer, type, inner, 1), missing);
    EXPECT_EQ(kr_memcpy_ex(type, inner, KR_MEMORY_TYPE_FLAT, bytes, 1), missing);
    ASSERT_EQ(kr_memory_ptr_advance_ex(type, 2, &inner), KR_SUCCESS);
    u8 found[6] = {};
    EXPECT_EQ(kr_memcpy_ex(heap, found, type, inner, 6), KR_SUCCESS);
    EXPECT_EQ(std::memcmp(found, bytes, 6), 0);
    kr_memory_deallocate_ex(type, outer);
    kr_memory_deallocate_ex(type, inner);

    kr_memvec_module()->fini();
    EXPECT_EQ(kr_memory_allocate_ex(type, &inner, 8), missing);
    kr_memvec_cursor* none = nullptr;
    EXPECT_EQ(kr_memvec_create(8, &none), invalid);
    EXPECT_EQ(kr_memvec_init(), KR_SUCCESS);
}

/// Enough vectors for both pools to grow; a failing cut changes nothing.
TEST(MemvecFailures, LeaveThingsAsTheyWere) {
    kr::test::sweep_allocations([] {
        kr_result result = kr_memvec_init();
        kr_memvec_cursor* cursors[12] = {};
        for (auto& cursor : cursors) {
            if (kr_result_failed(result) ||
                kr_result_failed(result = kr_memvec_create(30, &cursor))) {
                break;
            }
            kr_memvec_cursor* inner = nullptr;
            EXPECT_EQ(kr_memvec_seek(cursor, 10, &inner), KR_SUCCESS);
            result = kr_memvec_prepare(inner, 10);
            EXPECT_TRUE(inner->chunk->size == 10 ||
                        (kr_result_failed(result) && inner->chunk->size == 30));
        }
        for (auto* cursor : cursors) {
            kr_memvec_destroy(cursor);
        }
        if (kr::detail::memvec_chunk_pool != nullptr) {
            kr_memvec_module()->fini();
        }
        return result;
    });
}

TEST(MemvecFailures, NameThePoolThatIsMissing) {
    constexpr u32 allocations_of_a_pool = 13; // record, name, room, ten elements
    const struct {
        int line;
        u32 nth;
        const char* message;
    } rows[] = {
        {__LINE__, 1, "E 01 kr_memvec_init: memvec vector mempool creation failed. Result is "},
        {__LINE__, allocations_of_a_pool + 1,
         "E 01 kr_memvec_init: memvec chunk mempool creation failed. Result is "},
    };
    kr::test::captured_log log;
    for (const auto& r : rows) {
        SCOPED_TRACE(r.line);
        const failing_allocator allocator(r.nth);
        EXPECT_EQ(kr_memvec_init(), kr_result_make_error(KR_OUT_OF_MEMORY));
        EXPECT_THAT(log.take(), testing::ElementsAre(testing::StartsWith(r.message)));
    }
}

} // namespace
