/// The state of the stand-in's little system, for tests and programs on the host: look at it, set
/// it, put it back to its start. Safe from any thread, but a reset while other threads use what is
/// reset makes their handles stale.
#pragma once

#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/host/win_types.h"

namespace kr::host {

/// An empty registry in memory; open handles become stale, KR_HOST_REGISTRY is forgotten.
void reset_registry();
/// An empty registry bound to the file at `path` (a path of the host system), as if
/// KR_HOST_REGISTRY named it. It is read at the next use.
void reset_registry_to_file(const std::string& path);

/// No services, the default driver policy (or what KR_HOST_DRIVER_POLICY says).
void reset_services();
/// true: every start is refused with 577, as on a system that does not accept the signature. At the
/// start true when the environment variable KR_HOST_DRIVER_POLICY is "refuse".
void refuse_drivers(bool refuse);
/// The names of the services, in the order of their creation.
std::vector<std::u16string> service_names();

/// Where the debugger output goes.
enum class debug_source : u8 { program, kernel };
using debug_sink = std::function<void(debug_source, std::u16string_view)>;
/// Sets the sink and returns the one before; an empty one means the default. The calls come from
/// the threads that write, one at a time.
debug_sink set_debug_sink(debug_sink sink);
/// A line of the kernel: the service manager tells of loaded and unloaded drivers here.
void debug_print_kernel(std::u16string_view text);

struct event_record {
    std::u16string source;
    WORD type;
    WORD category;
    DWORD id;
    std::vector<std::u16string> strings;
};
std::vector<event_record> event_log();
void clear_event_log();

/// Stops the clocks: UTC at `utc_ticks` of 100 ns since 1601, the counter at `counter_ticks`, until
/// run_clock(). Set again to move on.
void stop_clock(u64 utc_ticks, u64 counter_ticks);
void run_clock();
/// Local time stands this many seconds ahead of UTC, until use_system_offset().
void fix_local_offset(i32 seconds);
void use_system_offset();

/// Lets name resolution know a host, its addresses as numbers (0x7F000001 is 127.0.0.1); the one
/// added first answers for a name or an address that several have.
void add_host_name(std::string_view name, const std::vector<u32>& addresses);
/// "localhost" alone, as at the start.
void reset_host_names();

/// The host system's path for a path given to the file calls.
std::string native_path(const WCHAR* path);

/// UTF-16 and UTF-8 text; what is broken becomes U+FFFD.
std::string to_utf8(std::u16string_view text);
std::u16string to_utf16(std::string_view text);

/// All of the above at their start: an empty registry in memory, no services, the default policy,
/// sink, clocks and host names, no events. Files and resources stay.
void reset_world();

} // namespace kr::host
