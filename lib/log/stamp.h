/// The stamp of log lines: local date, milliseconds, sequence number. For the log core, which
/// guards it with its output lock. Touches the clock.
#pragma once

#include "log/line.h"
#include "platform/types.h"

namespace kr::detail {

/// Lines within 10 ms share date and milliseconds and count on; the date is formatted anew when the
/// second changes.
class stamp_clock {
public:
    /// Back to the state before the first line: no date, 0 ms.
    void clear();
    /// Reads the clock and moves the stamp on when it is due. A failing clock leaves it as it was.
    void refresh();
    void count_line() { ++stamp_.sequence; }

    [[nodiscard]] const line_stamp& stamp() const { return stamp_; }
    /// The date alone, terminated; empty before the first refresh.
    [[nodiscard]] const kr_char* date() const { return date_; }

private:
    void format_date(u32 utc_seconds);
    void build_text();

    u64 last_refresh_ms_ = 0;
    u32 date_seconds_ = 0;
    i32 date_offset_ = 0;
    kr_char date_[32] = {};
    /// ".", three digits and "." behind the date.
    kr_char text_[40] = {};
    line_stamp stamp_ = {.text = text_, .length = 0, .sequence = 0};
};

} // namespace kr::detail
