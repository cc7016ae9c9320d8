/// Many threads in the log at once: no line lost, doubled, torn or mixed, whatever is changed
/// meanwhile.
#include <atomic>
#include <cstdlib>
#include <thread>

#include "base/threads/threads.h"
#include "support/captured_log.h"

namespace {

using namespace kr::test;

constexpr u32 writers = 8;
/// Hundreds; more than a thousand where the variable says so.
const char* const lines_asked = std::getenv("KR_TEST_LINES");
const u32 lines_each = lines_asked != nullptr ? static_cast<u32>(std::atoi(lines_asked)) : 1'000;

void change_everything(const std::atomic<u32>& running) {
    for (u32 i = 0; running.load() != 0; ++i) {
        kr_log_level_set(3, i % 2 * KR_LOG_CALL);
        kr_log_filter_enable(i % 2);
        kr_log_filter_add_name(KR_TEXT("nobody"));
        kr_log_filter_mute_thread();
        (void)kr_log_thread_register("changer");
        kr_log_set_colors(0);
        kr_log_set_profile_threshold(i);
        kr_log(3, KR_LOG_INFO, "p", "changer", "dropped or not");
        (void)kr_log_thread_unregister();
        kr_log_filter_unmute_thread();
        std::this_thread::yield();
    }
}

TEST(LogThreads, EveryLineIsWholeAndInOrder) {
    captured_log log;
    kr::detail::log_main_slot.set_no_timestamps(0);
    std::atomic<u32> running = writers;
    std::string who[writers];
    std::vector<std::jthread> threads;
    for (u32 id = 0; id < writers; ++id) {
        threads.emplace_back([&, id] {
            EXPECT_EQ(kr_log_thread_register(('w' + std::to_string(id)).c_str()), ok);
            char own[32];
            std::snprintf(own, sizeof(own), "probe:w%u      :%08X", id, kr_thread_current_id());
            who[id] = own;
            for (u32 i = 0; i < lines_each; ++i) {
                kr_log(1, KR_LOG_INFO, "probe", "writer", "line %u %u", id, i);
                if (i % 100 == 0) {
                    kr_log(1, KR_LOG_CALL, "probe", "writer", "call");
                    kr_log(1, KR_LOG_CALL | KR_LOG_RETURN, "probe", "writer", "return");
                }
            }
            EXPECT_EQ(kr_log_thread_unregister(), ok);
            --running;
        });
    }
    threads.emplace_back([&] { change_everything(running); });
    threads.clear();
    kr_log_filter_enable(0);
    kr_log_set_profile_threshold(0);

    u32 next[writers] = {}, calls = 0, sequence = 0;
    std::string stamp;
    for (const std::string& line : log.take_lines()) {
        sequence = line.starts_with(stamp) ? sequence + 1 : 1;
        EXPECT_LE(stamp, line.substr(0, 19));
        stamp = line.substr(0, 19);
        char start[32], whole[2][128];
        std::snprintf(start, sizeof(start), "%s.%03u; ", stamp.c_str(), sequence);
        ASSERT_TRUE(line.starts_with(start)) << line;
        calls += line.compare(std::strlen(start), 17, "C(01); writer(); ") == 0 ? 1 : 0;
        const size_t at = line.find("line ");
        if (at == std::string::npos) { continue; }
        u32 id = 0, count = 0;
        ASSERT_TRUE(std::sscanf(line.c_str() + at, "line %u %u;", &id, &count) == 2 && id < writers) << line;
        EXPECT_EQ(count, next[id]++) << line;
        // Either layout, as the mode follows the masks.
        std::snprintf(whole[0], sizeof(whole[0]), "%s   %s; I(01); line %u %u; writer()\n", start,
                      who[id].c_str(), id, count);
        std::snprintf(whole[1], sizeof(whole[1]), "%sI(01); writer(); line %u %u; %s\n", start, id, count,
                      who[id].c_str());
        EXPECT_TRUE(line == whole[0] || line == whole[1]) << line;
    }
    EXPECT_EQ(calls, writers * (lines_each / 100) * 2);
    EXPECT_THAT(next, testing::Each(lines_each));
}

TEST(LogSlot, ReadersGetOneDestinationOrNone) {
    static constexpr kr_log_write writes[] = {
        [](void*, const kr_char*, size_t) {},
        [](void* self, const kr_char*, size_t) { *static_cast<u32*>(self) = 1; },
    };
    u32 contexts[2] = {};
    kr::detail::log_slot slot;
    std::atomic<bool> changing = true;
    const std::jthread changer([&] {
        for (u32 i = 0; i < 300'000; ++i) {
            i % 3 == 2 ? slot.clear() : slot.set({i % 3, contexts + i % 3, writes[i % 3], nullptr});
        }
        changing = false;
    });
    u32 mixed = 0;
    while (changing.load()) {
        const kr_log_destination seen = slot.get();
        const u32 which = seen.write == writes[1] ? 1 : 0;
        const u32* const context = seen.write == nullptr ? nullptr : contexts + which;
        mixed += seen.context != context || seen.no_timestamps != which ? 1 : 0;
    }
    EXPECT_EQ(mixed, 0u);
}

} // namespace
