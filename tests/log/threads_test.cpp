/// Many threads in the log at once: no line lost, doubled, torn or mixed, whatever is changed
/// meanwhile.
#include <atomic>
#include <map>
#include <regex>
#include <thread>

#include "support/captured_log.h"

namespace {

constexpr u32 writers = 4;
constexpr u32 lines_each = 1'000;

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
    kr::test::captured_log log;
    kr::detail::log_main_slot.set_no_timestamps(0);
    std::atomic<u32> running = writers;
    std::vector<std::jthread> threads;
    for (u32 id = 0; id < writers; ++id) {
        threads.emplace_back([&, id] {
            EXPECT_EQ(kr_log_thread_register(std::string{'w', static_cast<char>('0' + id)}.c_str()),
                      KR_SUCCESS);
            for (u32 i = 0; i < lines_each; ++i) {
                kr_log(1, KR_LOG_INFO, "probe", "writer", "%u %u", id, i);
                if (i % 100 == 0) {
                    kr_log(1, KR_LOG_CALL, "probe", "writer", "call");
                    kr_log(1, KR_LOG_CALL | KR_LOG_RETURN, "probe", "writer", "return");
                }
            }
            EXPECT_EQ(kr_log_thread_unregister(), KR_SUCCESS);
            --running;
        });
    }
    threads.emplace_back([&] { change_everything(running); });
    threads.clear();
    kr_log_filter_enable(0);
    kr_log_set_profile_threshold(0);

    // Either layout, as the mode follows the masks.
    const std::regex stamped("(\\d{6} [\\d:]{8}\\.\\d{3})\\.(\\d{3,}); (.*\n)");
    const std::regex form("   probe:w(\\d)      :[0-9A-F]{8}; I\\(01\\); \\1 (\\d+); writer\\(\\)\n|"
                          "I\\(01\\); writer\\(\\); (\\d+) (\\d+); probe:w\\3      :[0-9A-F]{8}\n");
    std::map<int, int> next;
    std::string stamp;
    int sequence = 0, calls = 0;
    for (const std::string& line : log.take_lines()) {
        std::smatch date;
        std::smatch parts;
        ASSERT_TRUE(std::regex_match(line, date, stamped)) << line;
        EXPECT_LE(stamp, date[1]);
        EXPECT_EQ(std::stoi(date[2]), date[1] == stamp ? sequence + 1 : 1) << line;
        stamp = date[1];
        sequence = std::stoi(date[2]);
        const std::string text = date[3];
        if (text.starts_with("C(01); writer(); ")) {
            ++calls;
        } else if (text.find("changer") == std::string::npos) {
            ASSERT_TRUE(std::regex_match(text, parts, form)) << line;
            const u32 first = parts[1].matched ? 1 : 3;
            EXPECT_EQ(std::stoi(parts[first + 1]), next[std::stoi(parts[first])]++) << line;
        }
    }
    EXPECT_EQ(calls, static_cast<int>(writers * lines_each / 100 * 2));
    for (u32 id = 0; id < writers; ++id) {
        EXPECT_EQ(next[static_cast<int>(id)], static_cast<int>(lines_each));
    }
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
