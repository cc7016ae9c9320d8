/// What the parts of the engine share: the settings of one conversion, the state of the output, and
/// the scope through which they log. For the engine's own sources.
///
/// Everything here is compiled twice. With Traced the engine writes its entry, return and debug
/// lines where their mask bits are set; without, it only warns. The driver reads the mask once for
/// each call and chooses, so that the usual call tests nothing more.
#pragma once

#include <algorithm>
#include <cstdarg>

#include "log/trace.h"
#include "platform/types.h"
#include "printf/conversion_table.h"
#include "result/failures.h"
#include "result/result.h"

namespace kr::detail {

struct format_settings {
    u32 flags = 0;
    u32 width = 0;
    u32 precision = 0;
    u32 size_modifier = KR_PRINTF_SIZE_NONE;
};

/// Room for characters.
struct format_room {
    kr_char* at;
    size_t chars;

    void advance(size_t count) {
        at += count;
        chars -= count;
    }
};

/// The output of one walk. What was counted is what was written, so that one number says both where
/// the next character goes and how much room is left.
struct format_output {
    kr_char* base; ///< null: only measuring
    size_t size;   ///< bytes of room at `base`; an odd byte is never used
    size_t chars = 0;
    size_t bytes_before = 0; ///< produced before `base`, for the trace
    kr_char* stopped = base; ///< after a failure: behind what was written

    [[nodiscard]] bool measuring() const { return base == nullptr; }
    void count(size_t more) { chars += more; }
    [[nodiscard]] size_t bytes() const { return chars * sizeof(kr_char); }
    [[nodiscard]] size_t total_bytes() const { return bytes_before + bytes(); }
    [[nodiscard]] size_t remaining_bytes() const { return measuring() ? size : size - bytes(); }

    /// When writing: the room that the last `counted` characters and all behind them have. It may
    /// be less than was counted.
    [[nodiscard]] format_room room_of(size_t counted) const {
        const size_t used = chars - counted;
        return {base + used, size / sizeof(kr_char) - used};
    }

    /// Writing ends for lack of room, with `room` left.
    void stop(const format_room& room) { stopped = room.at; }

    /// The output behind the next `more` characters, as a piece of its own. They must fit.
    [[nodiscard]] format_output behind(size_t more) const {
        if (measuring()) {
            return {nullptr, size, 0, total_bytes()};
        }
        return {base + chars + more, size - (chars + more) * sizeof(kr_char), 0, total_bytes()};
    }
};

/// Whether the mask asks for more than warnings.
inline bool format_is_traced() {
    const u32 mask = kr_log_category_masks[KR_LOG_PRINTF].load(std::memory_order_relaxed);
    return (mask & (KR_LOG_DEBUG | KR_LOG_CALL | KR_LOG_PROFILE)) != 0;
}

/// Logs "Buffer too small." for the function and returns the failure.
[[gnu::cold, gnu::noinline]] kr_result format_no_room(const char* function);

/// One call of one of the engine's functions, as the log sees it.
template <bool Traced>
class format_scope;

template <>
class format_scope<true> {
public:
    explicit format_scope(const char* function)
        : function_(function), trace_(KR_LOG_PRINTF, function) {}

    void enter() const { trace_.enter(); }

    template <typename... Args>
    void enter(kr_format<std::type_identity_t<Args>...> format, Args... args) const {
        trace_.enter(format, args...);
    }

    template <typename... Args>
    void debug(kr_format<std::type_identity_t<Args>...> format, Args... args) const {
        KR_LOG_AS(KR_LOG_PRINTF, KR_LOG_DEBUG, function_, format, args...);
    }

    template <typename... Args>
    void warn(kr_format<std::type_identity_t<Args>...> format, Args... args) const {
        KR_LOG_AS(KR_LOG_PRINTF, KR_LOG_WARNING, function_, format, args...);
    }

    [[nodiscard]] kr_result leave(kr_result result) const { return trace_.leave(result); }
    [[nodiscard]] kr_result leave_without_room() const { return leave(format_no_room(function_)); }

private:
    const char* function_;
    kr_trace trace_;
};

template <>
class format_scope<false> {
public:
    explicit format_scope(const char* function) : function_(function) {}

    template <typename... Args>
    void enter(Args...) const {}
    template <typename... Args>
    void debug(Args...) const {}

    template <typename... Args>
    [[gnu::cold, gnu::noinline]] void warn(kr_format<std::type_identity_t<Args>...> format,
                                           Args... args) const {
        KR_LOG_AS(KR_LOG_PRINTF, KR_LOG_WARNING, function_, format, args...);
    }

    [[nodiscard]] static kr_result leave(kr_result result) { return result; }
    [[nodiscard]] kr_result leave_without_room() const { return format_no_room(function_); }

private:
    const char* function_;
};

/// Writes `count` fill characters, or as many as there is room for; whether that was all.
template <bool Traced>
inline bool format_pad(const format_scope<Traced>& scope, format_room& room, size_t count,
                       char fill) {
    if (count == 0) {
        return true;
    }
    const size_t fitting = std::min(count, room.chars);
    for (size_t i = 0; i < fitting; ++i) {
        room.at[i] = static_cast<kr_char>(fill);
        scope.debug("Padding with '%c'", fill);
    }
    room.advance(fitting);
    return fitting == count;
}

/// Runs a conversion on the output state as the public operations take it apart.
template <typename Conversion>
kr_result format_with_output(kr_char** cursor, size_t remaining, size_t* required,
                             const Conversion& conversion) {
    if (cursor == nullptr || required == nullptr) {
        return invalid_argument();
    }
    format_output out = {*cursor, remaining, 0, *required};
    const kr_result result = conversion(out);
    *required = out.total_bytes();
    if (!out.measuring()) {
        *cursor = kr_result_succeeded(result) ? out.base + out.chars : out.stopped;
    }
    return result;
}

/// The same for a conversion that takes an argument.
template <typename Conversion>
kr_result format_argument_with_output(kr_char** cursor, size_t remaining, va_list* args,
                                      size_t* required, const Conversion& conversion) {
    if (args == nullptr) {
        return invalid_argument();
    }
    return format_with_output(cursor, remaining, required,
                              [&](format_output& out) { return conversion(out, args); });
}

} // namespace kr::detail
