/// The owners: what each gives back, once, and at which moment.
#include "owners.h"

#include "base/convert/convert.h"
#include "base/memory/buffer.h"
#include "base/text/wide_string.h"
#include "support/failing_allocator.h"
#include "support/fresh_registry.h"

namespace {

using namespace kr::test;

TEST(Owners, GiveEachHandleBackOnce) {
    static std::vector<int> released;
    using number = kr::owner<int, [](int handle) { released.push_back(handle); }>;
    {
        number a(1);
        number b(std::move(a));
        EXPECT_FALSE(a);
        EXPECT_EQ(b.get(), 1);
        a.reset(2);
        a = std::move(b);
        EXPECT_THAT(released, ElementsAre(2));
        *a.out() = 3;
        EXPECT_THAT(released, ElementsAre(2, 1));
        a.reset(a.get());
        b.reset(4);
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
        kr::owned_text text;
        kr::owned_narrow_text narrow;
        kr::owned_strings strings;
        kr::owned_pool pool;
        kr::owned_vector vector;
        kr::owned_domain domain;
        kr::owned_group group;
        kr::owned_names names;
        const kr_time time_out{};
        ASSERT_EQ(kr_memdup("abc", block.out(), 3), ok);
        ASSERT_EQ(kr_string_dup(text.out(), KR_TEXT("text")), ok);
        ASSERT_EQ(kr_krchar_to_ascii_strdup(text.get(), narrow.out()), ok);
        ASSERT_EQ(kr_array_string_new(strings.out()), ok);
        ASSERT_EQ(kr_array_string_add(strings.get(), text.get()), ok);
        ASSERT_EQ(kr_mempool_create(text.get(), 8, 0, 1, 0, &time_out, 0, pool.out()), ok);
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
        EXPECT_EQ(names.get().size(), 0u);
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
    constexpr auto fini = [] {
        --running;
        return ok;
    };
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
