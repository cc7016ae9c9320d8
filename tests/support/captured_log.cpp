/// The collecting log.
#include "support/captured_log.h"

#include <utility>

#include <gtest/gtest.h>

#include "log/core.h"
#include "log/slots.h"
#include "log/utf8.h"

namespace kr::test {

namespace {

/// "domain:thread:id; L(cc); message; function()\n", or the call layout
/// "C(cc); function(); message; domain:thread:id\n", or a profile line; anything else stays as it
/// is.
std::string shorten(const std::string& line) {
    const auto between = [&](std::size_t begin, std::size_t end) {
        return line.substr(begin, end - begin);
    };
    if (line.starts_with("C(")) {
        const std::size_t function = line.find("; ") + 2;
        const std::size_t message = line.find("(); ", function);
        const std::size_t domain = line.rfind("; ");
        return "C " + between(2, line.find(')')) + ' ' + between(function, message) + ": " +
               between(message + 4, domain);
    }
    if (const std::size_t profile = line.find("] msec - ");
        line.starts_with("[") && profile != std::string::npos) {
        return "P " + between(profile + 9, line.rfind("(); "));
    }
    const std::size_t level = line.find("; ") + 2;
    const std::size_t message = line.find("; ", level) + 2;
    const std::size_t function = line.rfind("; ") + 2;
    if (!line.ends_with("()\n") || message <= level || function <= message) {
        return line;
    }
    return line.substr(level, 1) + ' ' + between(level + 2, line.find(')', level)) + ' ' +
           between(function, line.size() - 3) + ": " + between(message, function - 2);
}

} // namespace

captured_log::captured_log(u32 mask)
    : formatting_(kr_log_formatting()), colors_(kr_log_colors()),
      core_started_(!detail::log_main_slot.is_set()) {
    if (core_started_) {
        EXPECT_TRUE(kr_result_succeeded(detail::log_core_start()));
    }
    previous_ = detail::log_main_slot.get();
    detail::log_main_slot.set(
        {.no_timestamps = 1, .context = this, .write = write, .close = nullptr});
    for (u32 id = 0; id < KR_LOG_SLOT_COUNT; ++id) {
        masks_[id] = kr_log_category_masks[id].exchange(mask);
    }
    kr_log_set_formatting(0);
    kr_log_set_colors(0);
}

captured_log::~captured_log() {
    for (u32 id = 0; id < KR_LOG_SLOT_COUNT; ++id) {
        kr_log_category_masks[id].store(masks_[id]);
    }
    kr_log_set_formatting(formatting_);
    kr_log_set_colors(colors_);
    detail::log_main_slot.clear();
    if (core_started_) {
        EXPECT_TRUE(kr_result_succeeded(detail::log_core_stop()));
    } else {
        detail::log_main_slot.set(previous_);
    }
}

void captured_log::set_mask(u32 category, u32 mask) {
    kr_log_category_masks[category].store(mask);
}

std::vector<std::string> captured_log::take() {
    std::vector<std::string> lines = take_lines();
    for (std::string& line : lines) {
        line = shorten(line);
    }
    return lines;
}

std::vector<std::string> captured_log::take_lines() {
    const std::lock_guard guard(lock_);
    return std::exchange(lines_, {});
}

void captured_log::write(void* context, const kr_char* line, std::size_t size_bytes) {
    const std::size_t length = std::char_traits<kr_char>::length(line);
    EXPECT_EQ(size_bytes, (length + 1) * sizeof(kr_char));
    auto& self = *static_cast<captured_log*>(context);
    const std::lock_guard guard(self.lock_);
    self.lines_.push_back(utf8(line));
}

std::string utf8(const kr_char* text) {
    const std::size_t length = std::char_traits<kr_char>::length(text);
    std::string bytes(detail::utf8_room(length), '\0');
    bytes.resize(detail::encode_utf8(text, length, detail::newline_form::lf, bytes.data()));
    return bytes;
}

} // namespace kr::test
