/// A log that collects its lines, for every test that asserts on what was logged.
#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "log/log.h"

namespace kr::test {

/// Starts the log core (unless the log module runs) with a main destination that keeps every line,
/// and sets every category's mask; ends with masks, layout and destination as they were. One at a
/// time. Lines that a test leaves behind are not an error.
class captured_log {
public:
    static constexpr u32 usual_mask = KR_LOG_ERROR | KR_LOG_WARNING | KR_LOG_INFO;

    explicit captured_log(u32 mask = usual_mask);
    captured_log(const captured_log&) = delete;
    captured_log& operator=(const captured_log&) = delete;
    ~captured_log();

    /// Sets one category's mask.
    void set_mask(u32 category, u32 mask);

    /// Takes the lines so far, each as "LEVEL CATEGORY FUNCTION: MESSAGE", for instance
    /// "W 07 kr_settings_open: cannot open". Call lines show their level as "C" and keep the dots
    /// of their depth before the function; profile lines read "P FUNCTION". Text is UTF-8.
    std::vector<std::string> take();

    /// Takes the lines so far as the destination received them, in UTF-8.
    std::vector<std::string> take_lines();

private:
    static void write(void* context, const kr_char* line, std::size_t size_bytes);

    std::mutex lock_;
    std::vector<std::string> lines_;
    u32 masks_[KR_LOG_SLOT_COUNT];
    u32 formatting_;
    u32 colors_;
    bool core_started_;
    kr_log_destination previous_{};
};

/// UTF-16 as UTF-8; what is broken becomes U+FFFD.
std::string utf8(const kr_char* text);

} // namespace kr::test
