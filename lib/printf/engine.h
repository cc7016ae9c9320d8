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
#include "result/result.h"

namespace kr::detail {

struct format_settings {
    u32 flags = 0;
    u32 width = 0;
    u32 precision = 0;
    u32 size_modifier = KR_PRINTF_SIZE_NONE;
};

struct format_output {
    kr_char* cursor;  ///< where the next character goes; null: only measuring
    size_t remaining; ///< bytes of room from the cursor; an odd byte is never used
    size_t required;  ///< bytes produced so far, also when measuring

    [[nodiscard]] bool measuring() const { return cursor == nullptr; }
    [[nodiscard]] size_t room_chars() const { return remaining / sizeof(kr_char); }
    void count(size_t chars) { required += chars * sizeof(kr_char); }
    void advance(size_t chars) {
        cursor += chars;
        remaining -= chars * sizeof(kr_char);
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
inline bool format_pad(const format_scope<Traced>& scope, format_output& out, size_t count,
                       char fill) {
    const size_t fitting = std::min(count, out.room_chars());
    for (size_t i = 0; i < fitting; ++i) {
        *out.cursor = static_cast<kr_char>(fill);
        scope.debug("Padding with '%c'", fill);
        out.advance(1);
    }
    return fitting == count;
}

/// Runs a conversion on the output state as the public operations take it apart.
template <typename Conversion>
kr_result format_with_output(kr_char** cursor, size_t remaining, size_t* required,
                             const Conversion& conversion) {
    format_output out{*cursor, remaining, *required};
    const kr_result result = conversion(out);
    *cursor = out.cursor;
    *required = out.required;
    return result;
}

} // namespace kr::detail
