/// Memory: the hooks, buffers, the typed operations, the owners (those of texts, string arrays and pools
/// own what the tests of these make) and the memory vector, which meets random steps beside a plain array
/// and what a model cannot see: limits, allocations, failing allocators.
#include "base/memory/memory.h"

#include <memory>
#include <random>
#include <set>

#include "base/memory/buffer.h"
#include "base/memory/memvec_record.h"
#include "base/memory/typed_memory.h"
#include "models/memvec_model.h"
#include "owners.h"
#include "support/captured_log.h"
#include "support/failing_allocator.h"
#include "support/fresh_registry.h"

namespace {

using namespace kr::test;
using testing::StartsWith;

constexpr u32 heap = KR_MEMORY_TYPE_HEAP, flat = KR_MEMORY_TYPE_FLAT, type = KR_MEMORY_TYPE_MEMVEC;

TEST(RawMemory, TakesNoBytesForOneAndTooManyForNone) {
    captured_log log;
    log.set_mask(KR_LOG_MEMORY, KR_LOG_ERROR | KR_LOG_DEBUG);
    void* block = nullptr;
    ASSERT_EQ(kr_memory_allocate_raw(&block, 0), ok);
    ASSERT_NE(block, nullptr);
    kr_memory_deallocate_raw(block);
    kr_memory_deallocate_raw(nullptr);
    block = &log;
    volatile size_t too_much = SIZE_MAX / 2;
    EXPECT_EQ(kr_memory_allocate_raw(&block, too_much), out_of_memory);
    EXPECT_EQ(block, &log);
    const std::string allocated = " 26 kr_memory_allocate_raw: ",
                      freed = "D 26 kr_memory_deallocate_raw: memory_ptr = ";
    EXPECT_THAT(log.take(),
                ElementsAre("D" + allocated + "Allocation size must be greater than zero", StartsWith(freed),
                            StartsWith(freed), "E" + allocated + "Out of memory!"));
}

/// A heap buffer with its size, as the growing operations take it.
struct buffer : kr::test::pinned {
    void* data = nullptr;
    size_t size = 3;
    kr_result result = kr_memdup("abc", &data, size);

    ~buffer() { kr_memory_deallocate_hook(data); }
};

TEST(Buffers, GrowKeepTheirContentAndNeverShrink) {
    buffer grown;
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
    EXPECT_EQ(kr_memory_grow_reserve(&grown.data, &grown.size, SIZE_MAX, 1), out_of_memory);
    EXPECT_EQ(grown.size, 12u);
    for (const bool reserve : {false, true}) {
        sweep_allocations([reserve] {
            buffer b;
            if (kr_result_failed(b.result)) { return b.result; }
            b.result = reserve ? kr_memory_grow_reserve(&b.data, &b.size, 90, 10)
                               : kr_memory_grow(&b.data, &b.size, 100);
            EXPECT_EQ(b.size, kr_result_failed(b.result) ? 3u : 100u);
            EXPECT_EQ(std::memcmp(b.data, "abc", 3), 0);
            return b.result;
        });
    }
}

TEST(Buffers, AreZeroOnlyWhenEveryByteIs) {
    for (size_t start = 1; start < 20; ++start) {
        for (size_t size = 0; size < 150; ++size) {
            std::vector<u8> block(300, u8{1}); // the neighbours of the range do not count
            u8* const range = &block[start];
            std::fill_n(range, size, u8{0});
            ASSERT_TRUE(kr_memory_is_zero(range, size)) << start << ' ' << size;
            for (size_t at = 0; at < size; ++at) {
                range[at] = static_cast<u8>(1u << at % 8);
                ASSERT_FALSE(kr_memory_is_zero(range, size)) << start << ' ' << size << ' ' << at;
                range[at] = 0;
            }
        }
    }
}

TEST(TypedMemory, KnowsHeapAndFlatAndRefusesTheRest) {
    captured_log log;
    log.set_mask(KR_LOG_MEMORY, KR_LOG_ERROR | KR_LOG_DEBUG);
    constexpr u32 unknown = 77;
    char a[] = "abcd", b[] = "efgh";
    void *out = a, *moved = a + 2;
    EXPECT_EQ(kr_memcpy_ex(heap, a, heap, b, 2), ok);
    EXPECT_EQ(kr_memcpy_ex(heap, a, flat, b, 2), not_implemented);
    EXPECT_EQ(kr_memcpy_ex(flat, a, heap, b, 2), not_implemented);
    EXPECT_EQ(kr_memory_assign_ex(heap, a + 2, heap, b, 1), ok);
    EXPECT_EQ(kr_memory_assign_ex(flat, a, flat, b, 1), not_implemented);
    for (const u32 other : {flat, unknown}) {
        EXPECT_EQ(kr_memory_allocate_ex(other, &out, 1), not_implemented);
        EXPECT_EQ(kr_memory_ptr_ex(other, a, 1, &out), not_implemented);
        EXPECT_EQ(kr_memory_ptr_advance_ex(other, -1, &moved), not_implemented);
        EXPECT_EQ(kr_memory_prepare_ex(other, a, 9), not_implemented);
    }
    EXPECT_EQ(kr_memory_ptr_advance_ex(heap, -1, &moved), ok);
    EXPECT_EQ(kr_memory_prepare_ex(heap, a, 9), ok);
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

class Memvec : public testing::Test {
protected:
    Memvec() { EXPECT_EQ(kr_memvec_init(), ok); }
    ~Memvec() override { kr_memvec_module()->fini(); }

    static kr_memvec_cursor* create(u64 size) {
        kr_memvec_cursor* cursor = nullptr;
        EXPECT_EQ(kr_memvec_create(size, &cursor), ok);
        return cursor;
    }

    const failing_allocator allocator_; // from before the start of the module to behind its end
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

TEST_F(Memvec, AllocatesForItsBytesOnlyAndFreesExtraBlocks) {
    const u32 before = allocator_.allocations();
    for (u32 i = 0; i < 2 * KR_MEMPOOL_DEFAULT_GROW_COUNT; ++i) { kr_memvec_destroy(create(1)); }
    EXPECT_EQ(allocator_.allocations(), before) << "headers and chunks come back";
    kr_memvec_cursor *const first = create(100), *inner = nullptr;
    ASSERT_EQ(kr_memvec_prepare(first, 100), ok);
    ASSERT_EQ(kr_memvec_seek(first, 40, &inner), ok);
    ASSERT_EQ(kr_memvec_prepare(inner, 20), ok);
    EXPECT_EQ(allocator_.allocations(), before + 1) << "the parts of a cut chunk share its block";
    void* block = nullptr;
    ASSERT_EQ(kr_memory_allocate_hook(&block, sizeof(kr::detail::list_link)), ok);
    std::construct_at(static_cast<kr::detail::list_link*>(block))->insert_before(first->vector->extra_blocks);
    kr_memvec_destroy(inner);
}

/// A vector lent to another vector, all of it through the typed operations.
TEST_F(Memvec, IsAMemoryTypeWhileTheModuleRuns) {
    void *inner = nullptr, *outer = nullptr, *further = nullptr;
    ASSERT_EQ(kr_memory_allocate_ex(type, &inner, 8), ok);
    ASSERT_EQ(kr_memory_allocate_ex(type, &outer, 12), ok);
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
    EXPECT_EQ(kr_memcpy_ex(type, inner, flat, bytes, 1), not_implemented);
    ASSERT_EQ(kr_memory_ptr_advance_ex(type, 2, &inner), ok);
    u8 found[6] = {};
    EXPECT_EQ(kr_memcpy_ex(heap, found, type, inner, 6), ok);
    EXPECT_EQ(std::memcmp(found, bytes, 6), 0);
    kr_memory_deallocate_ex(type, outer);
    kr_memory_deallocate_ex(type, inner);

    kr_memvec_module()->fini();
    EXPECT_EQ(kr_memory_allocate_ex(type, &inner, 8), not_implemented);
    EXPECT_EQ(kr_memvec_create(8, kr::owned_vector().out()), invalid);
    EXPECT_EQ(kr_memvec_init(), ok);
}

/// Enough vectors for both pools to grow; a failing cut changes nothing, a failing start names its
/// pool.
TEST(MemvecFailures, LeaveThingsAsTheyWere) {
    captured_log log;
    sweep_allocations([] {
        kr_result result = kr_memvec_init();
        kr_memvec_cursor* cursors[12] = {};
        for (auto& each : cursors) {
            if (kr_result_failed(result) || kr_result_failed(result = kr_memvec_create(30, &each))) { break; }
            kr_memvec_cursor* inner = nullptr;
            EXPECT_EQ(kr_memvec_seek(each, 10, &inner), ok);
            result = kr_memvec_prepare(inner, 10);
            EXPECT_TRUE(inner->chunk->size == 10 || (kr_result_failed(result) && inner->chunk->size == 30));
        }
        for (auto* each : cursors) { kr_memvec_destroy(each); }
        if (kr::detail::memvec_chunk_pool != nullptr) { kr_memvec_module()->fini(); }
        return result;
    });
    std::set<std::string> lines;
    for (const std::string& line : log.take()) { lines.insert(line); }
    constexpr auto text =
        R"( mempool creation failed. Result is 0x82000002 (error "Out of memory" from "Unknown source"))";
    const std::string name = "E 01 kr_memvec_init: memvec ";
    EXPECT_THAT(lines, ElementsAre(name + "chunk" + text, name + "vector" + text));
}

TEST(Owners, GiveEachHandleBackOnce) {
    static std::vector<int> released;
    using number = kr::owner<int, [](int handle) { released.push_back(handle); }>;
    {
        number a(1);
        number b(std::move(a));
        EXPECT_FALSE(a); // NOLINT(*-use-after-move): a moved owner is empty
        EXPECT_EQ(b.get(), 1);
        a.reset(2);
        a = std::move(b);
        EXPECT_THAT(released, ElementsAre(2));
        *a.out() = 3;
        EXPECT_THAT(released, ElementsAre(2, 1));
        a.reset(a.get());
        b.reset(4); // NOLINT(*-use-after-move): a moved owner is empty
        EXPECT_EQ(b.release(), 4);
    }
    EXPECT_THAT(released, ElementsAre(2, 1, 3));
    static_assert(sizeof(number) == sizeof(int));
    static_assert(!std::is_copy_constructible_v<number> && !std::is_copy_assignable_v<number>);
}

TEST(Owners, LeaveNothingOfTheLibrarysHandlesBehind) {
    const fresh_registry registry;
    const failing_allocator allocator; // fails the test on what is not given back
    kr_settings_handle closed = nullptr;
    {
        kr::library library;
        ASSERT_EQ(library.start(), ok);
        kr::owned_block block;
        kr::owned_vector vector;
        kr::owned_domain domain;
        kr::owned_group group;
        kr::owned_names names;
        ASSERT_EQ(kr_memdup("abc", block.out(), 3), ok);
        ASSERT_EQ(kr_memvec_create(100, vector.out()), ok);
        kr::owned_cursor cursor;
        for (u32 i = 0; i < 2 * KR_MEMVEC_CURSOR_COUNT; ++i) {
            ASSERT_EQ(kr_memvec_seek(vector.get(), 50, cursor.out()), ok);
        }
        ASSERT_EQ(kr_settings_domain_open(KR_TEXT("krtest"), domain.out()), ok);
        ASSERT_EQ(kr_settings_group_open(domain.get(), KR_TEXT("one"), group.out()), ok);
        for (int round = 0; round < 2; ++round) {
            ASSERT_EQ(kr_settings_enum_groups(domain.get(), names.out(), names.count_out()), ok);
        }
        ASSERT_EQ(names.get().size(), 1u);
        const kr::owned_names moved = std::move(names);
        EXPECT_EQ(names.get().size(), 0u); // NOLINT(*-use-after-move): a moved owner is empty
        EXPECT_EQ(wide(moved.get()[0]), KR_TEXT("one"));
        closed = group.get();
    }
    EXPECT_EQ(kr_settings_group_close(closed), generic);
}

TEST(Owners, EndTheLibraryOnlyWhereItStarted) {
    static int running = 0;
    static kr_result start = ok;
    constexpr auto init = [] {
        running += kr_result_succeeded(start) ? 1 : 0;
        return start;
    };
    constexpr auto fini = [] { return --running, ok; };
    static constinit kr_module module = {"counted", init, fini, nullptr};
    for (const kr_result result : {ok, out_of_memory, ok}) {
        start = result;
        kr_module_register(&module);
        {
            kr::library library;
            EXPECT_EQ(library.start(), result);
            const kr::library moved = std::move(library);
            EXPECT_EQ(running, result == ok ? 1 : 0);
        }
        EXPECT_EQ(running, 0);
    }
}

} // namespace
