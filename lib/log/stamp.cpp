/// The stamp of log lines. Touches the clock and the local offset.
#include "log/stamp.h"

#include <cstring>

#include "base/text/wide_string.h"
#include "base/time/local_date.h"
#include "base/time/time.h"

namespace kr::detail {

namespace {
constexpr u64 refresh_interval_ms = 10;
} // namespace

void stamp_clock::clear() {
    last_refresh_ms_ = 0;
    date_[0] = 0;
    stamp_.sequence = 0;
    build_text();
}

void stamp_clock::refresh() {
    kr_time now{};
    if (kr_result_failed(kr_time_get_current(&now))) {
        return;
    }
    // The current time comes in nanoseconds; what is asked of it at every line is done here.
    const u64 now_ms = now.count / 1'000'000;
    if (now_ms < last_refresh_ms_ + refresh_interval_ms) {
        return;
    }
    last_refresh_ms_ = now_ms;
    stamp_.sequence = 0;
    u32 utc_seconds = 0;
    if (kr_result_succeeded(kr_time_getUTC32(&now, &utc_seconds))) {
        format_date(utc_seconds);
    }
    build_text();
}

void stamp_clock::format_date(u32 utc_seconds) {
    if (date_[0] != 0 && utc_seconds == date_seconds_ && kr_time_local_offset == date_offset_) {
        return;
    }
    date_seconds_ = utc_seconds;
    date_offset_ = kr_time_local_offset;
    if (kr_result_failed(kr_time_format_local(utc_seconds, date_, sizeof(date_),
                                              "%02d%02d%02d %02d:%02d:%02d"))) {
        date_[0] = 0;
    }
}

void stamp_clock::build_text() {
    const size_t length = kr_string_length(date_);
    std::memcpy(text_, date_, length * sizeof(kr_char));
    const u32 ms = static_cast<u32>(last_refresh_ms_ % 1'000);
    const u32 digits[] = {ms / 100, ms / 10 % 10, ms % 10};
    kr_char* end = text_ + length;
    *end++ = '.';
    for (const u32 digit : digits) {
        *end++ = static_cast<kr_char>('0' + digit);
    }
    *end++ = '.';
    stamp_.length = static_cast<size_t>(end - text_);
}

} // namespace kr::detail
