/// A log that collects its lines, for every test that asserts on what was logged.
#pragma once

#include <mutex>
#include <utility>

#include "log/core.h"
#include "log/core_start.h"
#include "log/destinations/slots.h"
#include "log/log.h"
#include "support/suite.h"

namespace kr::test {

/// Starts the log core (unless the log module runs) with a main destination that keeps every line,
/// and sets every category's mask; ends with masks, layout and destination as they were. One at a
/// time. Lines that a test leaves behind are not an error.
class captured_log : pinned {
public:
    explicit captured_log(u32 mask = KR_LOG_ERROR | KR_LOG_WARNING | KR_LOG_INFO)
        : formatting_(kr_log_formatting()), colors_(kr_log_colors()),
          core_started_(!detail::log_main_slot.is_set()) {
        if (core_started_) { EXPECT_TRUE(kr_result_succeeded(detail::log_core_start())); }
        previous_ = detail::log_main_slot.get();
        detail::log_main_slot.set({.no_timestamps = 1, .context = this, .write = write, .close = nullptr});
        for (u32 id = 0; id < KR_LOG_SLOT_COUNT; ++id) {
            masks_[id] = kr_log_category_masks[id].exchange(mask);
        }
        kr_log_set_formatting(0);
        kr_log_set_colors(0);
    }
    ~captured_log() {
        for (u32 id = 0; id < KR_LOG_SLOT_COUNT; ++id) { kr_log_category_masks[id].store(masks_[id]); }
        kr_log_set_formatting(formatting_);
        kr_log_set_colors(colors_);
        detail::log_main_slot.clear();
        if (core_started_) {
            EXPECT_TRUE(kr_result_succeeded(detail::log_core_stop()));
        } else {
            detail::log_main_slot.set(previous_);
        }
    }

    static void set_mask(u32 category, u32 mask) { kr_log_category_masks[category].store(mask); }

    /// Takes the lines so far, each as "LEVEL CATEGORY FUNCTION: MESSAGE", for instance
    /// "W 07 kr_settings_open: cannot open". Call lines show their level as "C" and keep the dots
    /// of their depth before the function; profile lines read "P FUNCTION". Text is UTF-8.
    std::vector<std::string> take() {
        std::vector<std::string> lines = take_lines();
        for (std::string& line : lines) { line = shorten(line); }
        return lines;
    }

    /// Takes the lines so far as the destination received them, in UTF-8.
    std::vector<std::string> take_lines() {
        const std::lock_guard guard(lock_);
        return std::exchange(lines_, {});
    }

private:
    /// "domain:thread:id; L(cc); message; function()\n", the call layout "C(cc); function(); message;
    /// domain:thread:id\n", or a profile line; anything else stays as it is.
    static std::string shorten(const std::string& line) {
        const auto part = [&](size_t begin, size_t end) { return line.substr(begin, end - begin); };
        const size_t profile = line.find("] msec - ");
        if (line.starts_with("[") && profile != std::string::npos) {
            return "P " + part(profile + 9, line.rfind("(); "));
        }
        const size_t second = line.find("; ") + 2, third = line.find("; ", second) + 2;
        const size_t last = line.rfind("; ") + 2;
        if (line.starts_with("C(")) {
            const size_t message = line.find("(); ", second);
            return "C " + part(2, line.find(')')) + ' ' + part(second, message) + ": " +
                   part(message + 4, last - 2);
        }
        if (!line.ends_with("()\n") || third <= second || last <= third) { return line; }
        return part(second, second + 1) + ' ' + part(second + 2, line.find(')', second)) + ' ' +
               part(last, line.size() - 3) + ": " + part(third, last - 2);
    }

    static void write(void* context, const kr_char* line, size_t size_bytes) {
        EXPECT_EQ(size_bytes, (std::char_traits<kr_char>::length(line) + 1) * sizeof(kr_char));
        auto& self = *static_cast<captured_log*>(context);
        const std::lock_guard guard(self.lock_);
        self.lines_.push_back(utf8(line));
    }

    std::mutex lock_;
    std::vector<std::string> lines_;
    u32 masks_[KR_LOG_SLOT_COUNT], formatting_, colors_;
    bool core_started_;
    kr_log_destination previous_{};
};

} // namespace kr::test
