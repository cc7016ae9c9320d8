/// The destination "file://". Touches the file system, the allocator and the clock.
#include <cstring>
#include <new>

#include "base/memory/owner.h"
#include "base/text/text_walk.h"
#include "base/text/wide_string.h"
#include "base/time/local_date.h"
#include "base/time/time.h"
#include "log/destinations/destinations.h"
#include "log/destinations/utf8.h"
#include "log/failure.h"
#include "log/line.h"
#include "platform/platform.h"
#include "printf/printf.h"

namespace {

/// One open log file, as the context of its destination.
struct log_file {
    /// INVALID_HANDLE_VALUE while the file is not open.
    HANDLE handle;
    /// Owned.
    kr_char* path;
    /// 0: the file is opened anew before the next line.
    u64 still_valid;
    /// A line was cut short: the next one starts on a line of its own.
    bool torn;
};

/// Tells whether the open file is still the one at the path, and says so in `still_valid`. The
/// place for platforms where a log file can be replaced under a running program: here it cannot.
bool is_still_the_file(log_file& file) {
    file.still_valid = 1;
    return true;
}

/// Appending is left to the system, so that several programs can write to one file.
bool open_file(log_file& file) {
    file.handle = CreateFileW(file.path, FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE,
                              nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    return file.handle != INVALID_HANDLE_VALUE;
}

void close_file(log_file& file) {
    if (file.handle != INVALID_HANDLE_VALUE) {
        (void)CloseHandle(file.handle);
        file.handle = INVALID_HANDLE_VALUE;
    }
    file.still_valid = 0;
}

kr_result file_close(void* context) {
    auto* const file = static_cast<log_file*>(context);
    close_file(*file);
    kr_memory_deallocate_hook(file->path);
    kr_memory_deallocate_hook(file);
    return KR_SUCCESS;
}

/// Longest piece of a line that is written at once: the longest line of the log.
constexpr size_t piece_length = kr::detail::line_capacity - 1;

void append(log_file& file, const kr_char* line) {
    // Room for the newline that ends a torn line. Lines come one at a time, under the output lock.
    static char bytes[2 + kr::detail::utf8_room(piece_length)];
    size_t left = kr::detail::text_length(line);
    while (left > 0) {
        size_t size = 0;
        if (file.torn) {
            bytes[size++] = '\r';
            bytes[size++] = '\n';
        }
        const size_t length = kr::detail::whole_piece(line, left, piece_length);
        size +=
            kr::detail::encode_utf8(line, length, kr::detail::newline_form::cr_lf, bytes + size);
        DWORD written = 0;
        const BOOL done =
            WriteFile(file.handle, bytes, static_cast<DWORD>(size), &written, nullptr);
        if (done == FALSE || written != size) {
            file.torn = file.torn || written != 0;
            file.still_valid = 0;
            return;
        }
        file.torn = false;
        line += length;
        left -= length;
    }
}

/// The stamp in the name of a file in a directory; empty when the time is not known.
void format_name_stamp(kr_char* stamp, size_t size_bytes, const char* function) {
    *stamp = 0;
    kr_time now{};
    const kr_result result = kr_time_get_current(&now);
    if (kr_result_failed(result)) {
        KR_LOG_FAILURE_AS(KR_LOG_OTHER, KR_LOG_WARNING, function, result, "Unable to get UTC time");
        return;
    }
    u32 seconds = 0;
    if (kr_result_failed(kr_time_getUTC32(&now, &seconds)) ||
        kr_result_failed(kr_time_format_local(seconds, stamp, static_cast<i32>(size_bytes),
                                              "%04d%02d%02d_%02d%02d%02d"))) {
        *stamp = 0;
    }
}

/// "<directory><domain>_<stamp>.log". The block is the caller's on success.
bool make_name(const kr_char* directory, const char* function, kr::owned_block& name) {
    // '_', 15 characters of stamp, ".log" and the terminator.
    constexpr size_t room_for_rest = 42;
    const size_t size =
        (kr_string_length(directory) + std::strlen(kr_product.name)) * sizeof(kr_char) +
        room_for_rest;
    const kr_result result = kr_memory_allocate_hook(name.out(), size);
    if (kr_result_failed(result)) {
        KR_LOG_FAILURE_AS(KR_LOG_OTHER, KR_LOG_WARNING, function, result,
                          "Unable to allocate memory for log filename");
        return false;
    }
    kr_char stamp[32];
    format_name_stamp(stamp, sizeof(stamp), function);
    return kr_result_succeeded(
        kr_printf_format2_checked(static_cast<kr_char*>(name.get()), size, nullptr, "%_s%s_%_s.log",
                                  directory, kr_product.name, static_cast<const kr_char*>(stamp)));
}

bool copy_name(const kr_char* path, const char* function, kr::owned_block& name) {
    const size_t size = (kr_string_length(path) + 1) * sizeof(kr_char);
    const kr_result result = kr_memory_allocate_hook(name.out(), size);
    if (kr_result_failed(result)) {
        KR_LOG_FAILURE_AS(KR_LOG_OTHER, KR_LOG_WARNING, function, result,
                          "Unable to duplicate log filename string");
        return false;
    }
    std::memcpy(name.get(), path, size);
    return true;
}

bool names_directory(const kr_char* path) {
    const kr_char last = path[kr_string_length(path) - 1];
    return last == '\\' || last == '/';
}

} // namespace

u32 kr_file_log_init(const kr_char* spec, u32* no_timestamps, void** context, kr_log_write* write,
                     kr_log_close* close) {
    constexpr const kr_char* prefix = KR_TEXT("file://");
    if (!kr_string_starts_with(spec, prefix)) {
        return 0;
    }
    const kr_char* const path = spec + kr_string_length(prefix);
    if (*path == 0) {
        return 0;
    }
    kr::owned_block descriptor;
    const kr_result result = kr_memory_allocate_hook(descriptor.out(), sizeof(log_file));
    if (kr_result_failed(result)) {
        KR_LOG_FAILURE(KR_LOG_OTHER, KR_LOG_WARNING, result,
                       "Unable to allocate memory for log file descriptor");
        return 0;
    }
    kr::owned_block name;
    if (!(names_directory(path) ? make_name(path, __func__, name)
                                : copy_name(path, __func__, name))) {
        return 0;
    }
    log_file file{.handle = INVALID_HANDLE_VALUE,
                  .path = static_cast<kr_char*>(name.get()),
                  .still_valid = 0,
                  .torn = false};
    if (!open_file(file)) {
        KR_LOG(KR_LOG_OTHER, KR_LOG_WARNING, "cannot open %_s",
               static_cast<const kr_char*>(file.path));
        return 0;
    }
    (void)is_still_the_file(file);
    (void)name.release();
    *no_timestamps = 0;
    *context = new (descriptor.release()) log_file(file);
    *write = file_log_do_log;
    *close = file_close;
    return 1;
}

void file_log_do_log(void* context, const kr_char* line, size_t /*size_bytes*/) {
    log_file& file = *static_cast<log_file*>(context);
    if (file.still_valid == 0 || !is_still_the_file(file)) {
        close_file(file);
        if (!open_file(file)) {
            KR_LOG(KR_LOG_OTHER, KR_LOG_WARNING, "cannot open %_s",
                   static_cast<const kr_char*>(file.path));
            return;
        }
        (void)is_still_the_file(file);
    }
    append(file, line);
}
