/// Memory vectors: random steps against a plain array, and what a model cannot see: ownership,
/// limits, the typed operations, failing allocators.
#include "base/memory/memvec.h"

#include <memory>
#include <numeric>
#include <random>
#include <set>

#include "base/memory/memory.h"
#include "base/memory/memvec_record.h"
#include "base/memory/typed_memory.h"
#include "models/memvec_model.h"
#include "support/captured_log.h"
#include "support/failing_allocator.h"

namespace {

using namespace kr::test;

constexpr u32 type = KR_MEMORY_TYPE_MEMVEC;
constexpr u32 heap = KR_MEMORY_TYPE_HEAP;

class Memvec : public testing::Test {
protected:
    Memvec() { EXPECT_EQ(kr_memvec_init(), ok); }
    ~Memvec() override { kr_memvec_module()->fini(); }

    static kr_memvec_cursor* create(u64 size) {
        kr_memvec_cursor* cursor = nullptr;
        EXPECT_EQ(kr_memvec_create(size, &cursor), ok);
        return cursor;
    }
};

TEST_F(Memvec, AgreesWithAPlainArray) {
    std::mt19937 random(1); // NOLINT(*-msc51-cpp): the same steps in every run
    for (int round = 0; round < 300; ++round) {
        std::vector<u8> steps(random() % 2000);
        std::generate(steps.begin(), steps.end(), [&] { return static_cast<u8>(random()); });
        ASSERT_EQ(memvec_model::run(steps), "") << "round " << round;
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
    ASSERT_EQ(kr_memvec_seek(first, 0x7FFFFFFE, &cursor), ok);
    kr_memvec_cursor* const last = cursor;
    EXPECT_EQ(kr_memvec_seek(last, 0x7FFFFFFF, &cursor), invalid);
    ASSERT_EQ(kr_memvec_prepare(last, 1), ok);
    u8 byte = 7;
    EXPECT_EQ(kr_memvec_write(last, &byte, 1), ok);
    EXPECT_EQ(kr_memvec_write(last, &byte, ~u64{0}), invalid);
    EXPECT_EQ(kr_memvec_copy(heap, &byte, type, last, ~u64{0}), not_implemented);
    kr_memvec_release(last);
    kr_memvec_release(last);
    EXPECT_EQ(kr_memvec_split(last, 1), unexpected);
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
        if (lends) { ASSERT_EQ(kr_memvec_assign(type, first, heap, lent.data(), 100), ok); }
        ASSERT_EQ(kr_memvec_prepare(first, 100), ok);
        ASSERT_EQ(kr_memvec_write(first, bytes.data(), 100), ok);
        kr_memvec_cursor* inner = nullptr;
        ASSERT_EQ(kr_memvec_seek(first, 40, &inner), ok);
        ASSERT_EQ(kr_memvec_prepare(inner, 20), ok);
        ASSERT_EQ(kr_memvec_split(inner, 10), ok);
        std::vector<u8> found(100);
        ASSERT_EQ(kr_memvec_read(found.data(), first, 100), ok);
        EXPECT_EQ(found, bytes);
        EXPECT_EQ(lent == bytes, lends);
        EXPECT_EQ(allocator.live(), lends ? 0u : 1u);
        kr_memvec_destroy(inner);
    }
}

TEST_F(Memvec, GivesItsHeaderAndChunksBackAndFreesExtraBlocks) {
    const failing_allocator allocator;
    for (u32 i = 0; i < 2 * KR_MEMPOOL_DEFAULT_GROW_COUNT; ++i) { kr_memvec_destroy(create(1)); }
    EXPECT_EQ(allocator.allocations(), 0u);
    kr_memvec_cursor* const first = create(1);
    void* block = nullptr;
    ASSERT_EQ(kr_memory_allocate_hook(&block, sizeof(kr::detail::list_link)), ok);
    std::construct_at(static_cast<kr::detail::list_link*>(block))->insert_before(first->vector->extra_blocks);
    kr_memvec_destroy(first);
}

/// A vector lent to another vector, all of it through the typed operations.
TEST_F(Memvec, IsAMemoryTypeWhileTheModuleRuns) {
    void* inner = nullptr;
    void* outer = nullptr;
    ASSERT_EQ(kr_memory_allocate_ex(type, &inner, 8), ok);
    ASSERT_EQ(kr_memory_allocate_ex(type, &outer, 12), ok);
    void* further = nullptr;
    for (u32 i = 0; i < 2 * KR_MEMVEC_CURSOR_COUNT; ++i) {
        ASSERT_EQ(kr_memory_ptr_ex(type, inner, 1, &further), ok);
        kr_memory_ptr_release_ex(type, further);
    }
    ASSERT_EQ(kr_memory_prepare_ex(type, inner, 8), ok);
    ASSERT_EQ(kr_memory_split_ex(type, outer, 8), ok);
    ASSERT_EQ(kr_memory_assign_ex(type, outer, type, inner, 8), ok);
    EXPECT_EQ(kr_memory_split_ex(type, outer, 4), not_implemented) << "a lent vector cannot be cut";
    ASSERT_EQ(kr_memory_ptr_advance_ex(type, 2, &outer), ok);
    auto* const cursor = static_cast<kr_memvec_cursor*>(outer);
    const u8 bytes[7] = {1, 2, 3, 4, 5, 6, 7};
    EXPECT_EQ(kr_memvec_write(cursor, bytes, 6), ok);
    EXPECT_EQ(kr_memvec_write(cursor, bytes, 7), invalid);
    kr_memvec_fill(cursor, 9, 6);
    EXPECT_EQ(kr_memcpy_ex(type, outer, type, inner, 1), not_implemented);
    EXPECT_EQ(kr_memcpy_ex(type, inner, KR_MEMORY_TYPE_FLAT, bytes, 1), not_implemented);
    ASSERT_EQ(kr_memory_ptr_advance_ex(type, 2, &inner), ok);
    u8 found[6] = {};
    EXPECT_EQ(kr_memcpy_ex(heap, found, type, inner, 6), ok);
    EXPECT_EQ(std::memcmp(found, bytes, 6), 0);
    kr_memory_deallocate_ex(type, outer);
    kr_memory_deallocate_ex(type, inner);

    kr_memvec_module()->fini();
    EXPECT_EQ(kr_memory_allocate_ex(type, &inner, 8), not_implemented);
    kr_memvec_cursor* none = nullptr;
    EXPECT_EQ(kr_memvec_create(8, &none), invalid);
    EXPECT_EQ(kr_memvec_init(), ok);
}

/// Enough vectors for both pools to grow; a failing cut changes nothing, a failing start names its
/// pool.
TEST(MemvecFailures, LeaveThingsAsTheyWere) {
    captured_log log;
    sweep_allocations([] {
        kr_result result = kr_memvec_init();
        kr_memvec_cursor* cursors[12] = {};
        for (auto& cursor : cursors) {
            if (kr_result_failed(result) || kr_result_failed(result = kr_memvec_create(30, &cursor))) {
                break;
            }
            kr_memvec_cursor* inner = nullptr;
            EXPECT_EQ(kr_memvec_seek(cursor, 10, &inner), ok);
            result = kr_memvec_prepare(inner, 10);
            EXPECT_TRUE(inner->chunk->size == 10 || (kr_result_failed(result) && inner->chunk->size == 30));
        }
        for (auto* cursor : cursors) { kr_memvec_destroy(cursor); }
        if (kr::detail::memvec_chunk_pool != nullptr) { kr_memvec_module()->fini(); }
        return result;
    });
    const std::vector<std::string> lines = log.take();
    constexpr auto text = "mempool creation failed. Result is 0x82000002 (error \"Out of memory\" from "
                          "\"Unknown source\")";
    EXPECT_THAT((std::set<std::string>{lines.begin(), lines.end()}),
                ElementsAre(std::string("E 01 kr_memvec_init: memvec chunk ") + text,
                            std::string("E 01 kr_memvec_init: memvec vector ") + text));
}

} // namespace
