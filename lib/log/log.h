/// The log as every caller sees it: levels, categories, masks, destination slots, the log call and
/// the checked macro that is the normal way to make it. Public. Includes nothing above the format
/// checker, so that every room of the library can log; the core that builds lines defines kr_log.
#pragma once

#include <atomic>
#include <cstddef>
#include <type_traits>

#include "../base/product.h"
#include "../base/time/time_value.h"
#include "../platform/types.h"
#include "../printf/format_check.h"
#include "../result/result.h"

/// A line's level: one of the first six values, possibly with a flag. KR_LOG_PROFILE is a mask bit
/// only.
enum : u32 {
    KR_LOG_FORCED = 0,
    KR_LOG_ERROR = 0x01,
    KR_LOG_WARNING = 0x02,
    KR_LOG_INFO = 0x04,
    KR_LOG_DEBUG = 0x08,
    KR_LOG_CALL = 0x10,
    KR_LOG_PROFILE = 0x20,
    /// The line goes to the secondary destination only.
    KR_LOG_SECONDARY = 0x4000,
    /// With KR_LOG_CALL: a return line, after which the thread's call depth goes down.
    KR_LOG_RETURN = 0x8000,
};

/// The categories that the library and the probe use. Category 0 is the raw channel: its text is
/// written as it stands and no mask is tested.
enum : u32 {
    KR_LOG_RAW = 0,
    KR_LOG_OTHER = 1,
    KR_LOG_MAIN = 2,
    KR_LOG_PRINTF = 5,
    KR_LOG_SETTINGS = 7,
    KR_LOG_MEMORY = 26,
};

/// Number of mask slots: category ids run from 1 to KR_LOG_SLOT_COUNT - 1.
inline constexpr u32 KR_LOG_SLOT_COUNT = 82;

struct kr_log_category {
    const kr_char* name;
    u32 id;
    u32 default_mask;
};

/// The constant table of categories; two names occur twice, each time with the same id and mask.
inline constexpr u32 KR_LOG_CATEGORY_COUNT = 83;
extern const kr_log_category kr_log_categories[KR_LOG_CATEGORY_COUNT];

/// The level masks, one word per category id, process-wide. All 0 until the log module starts.
/// Read and written from any thread; a change applies to the next test.
extern std::atomic<u32> kr_log_category_masks[KR_LOG_SLOT_COUNT];

/// Receives one finished line: NUL-terminated wide text, ending in a newline except on the raw
/// channel. `size_bytes` includes the terminator. Called with the log's output lock held.
using kr_log_write = void (*)(void* context, const kr_char* line, size_t size_bytes);
/// Releases a destination's context.
using kr_log_close = kr_result (*)(void* context);

/// A destination counts as set while its `write` is set.
struct kr_log_destination {
    /// 1: the log puts no stamp of its own into the line.
    u32 no_timestamps;
    /// Owned by the destination; released by `close`.
    void* context;
    kr_log_write write;
    /// May be null.
    kr_log_close close;
};

namespace kr::detail {
/// The mask of a category, 0 for one outside the table.
inline u32 log_mask(u32 category) {
    return category < KR_LOG_SLOT_COUNT
               ? kr_log_category_masks[category].load(std::memory_order_relaxed)
               : 0;
}
} // namespace kr::detail

/// Whether a line at `level` in `category` is to be made: one load and one bit test. Level 0 and
/// the raw channel need no mask bit. A category outside the table is enabled for level 0 only.
inline bool kr_log_enabled(u32 category, u32 level) {
    const u32 bits = level & ~u32{KR_LOG_SECONDARY | KR_LOG_RETURN};
    if (category == KR_LOG_RAW || bits == KR_LOG_FORCED) {
        return true;
    }
    return (kr::detail::log_mask(category) & bits) != 0;
}

/// Formats one line and hands it to the destination. `level` is a level, possibly with a flag;
/// `domain` is the program's name; `function` the calling function's own name; `format` a narrow
/// format of the formatting engine with its arguments. Tests no mask: use KR_LOG, which does and
/// which checks the format when the program is compiled. Never fails from the caller's point of
/// view; a call made from inside the log on the same thread is dropped. Any thread.
///
/// Texts go into the line as they are. A caller that logs what it does not trust takes CR, LF and
/// ESC out of it first: they would end the line, begin one that nobody logged, or drive the
/// console.
void kr_log(u32 category, u32 level, const char* domain, const char* function, const char* format,
            ...);

/// Writes a profile line for the function when the time since `start` reaches the profile
/// threshold. `start` is an uptime taken on entry with kr_log_take_uptime. Any thread.
void kr_log_profile(u32 category, const char* domain, const char* function, const kr_time* start);

/// Takes the uptime for a later kr_log_profile. Any thread.
void kr_log_take_uptime(kr_time* out);

/// kr_log with the program's domain and a format that was checked against the argument types. Out
/// of line, once for each list of types, and cold: a call takes little code, and none where it is
/// passed by.
template <typename... Args>
[[gnu::noinline, gnu::cold]] inline void
kr_log_checked(u32 category, u32 level, const char* function,
               kr_format<std::type_identity_t<Args>...> format, Args... args) {
    kr_log(category, level, kr_product.name, function, format.text, args...);
}

/// Makes a line when its mask bit is set; no argument is evaluated otherwise. The format is a
/// literal and is checked against the arguments at compile time. KR_LOG_AS takes the function's
/// name, for functions whose name in the log is not __func__.
#define KR_LOG_AS(category, level, function, ...)                                                  \
    do {                                                                                           \
        if (::kr_log_enabled((category), (level))) {                                               \
            ::kr_log_checked((category), (level), (function), __VA_ARGS__);                        \
        }                                                                                          \
    } while (false)
#define KR_LOG(category, level, ...) KR_LOG_AS(category, level, __func__, __VA_ARGS__)
