/// Log destinations: which text selects which destination. Public. A destination string is "windbg"
/// (debugger output), "stdout" (console), "file://" with a file or a directory that ends in a
/// separator, "eventlog:" with a source name, or anything else for no output; letter case counts.
///
/// Selection is done at start-up and during configuration, by one thread at a time; it takes no
/// lock. The write operations run under the log's output lock, one at a time. A destination's slot
/// is cleared before its close operation runs, as closing releases what a further line would need:
/// what the main one reports while it closes is lost, and what the secondary one reports goes to
/// the main one.
#pragma once

#include "../log.h"

/// Selects the main destination and closes the one before it. `spec` null or empty means "stdout".
/// A '!' splits it: when the text before the first '!' is "quiet" or any leading part of it (none
/// included), every level mask and every category's default mask becomes 0, so that only level-0
/// lines are left; the destination is what follows the '!'. What cannot be set up selects the
/// destination that writes nothing; the warning about it reaches the destination before only where
/// that has no close operation. Returns KR_SUCCESS. No other thread may log meanwhile: it could be
/// writing to the destination that is closed.
kr_result kr_log_set_destination(const kr_char* spec);

/// Selects the destination of lines flagged KR_LOG_SECONDARY: `spec` as above, not null, without
/// '!' and without a default. A secondary destination set before is not closed; other threads may
/// log meanwhile. KR_INVALID_ARGUMENT_TO_FUNCTION for null; KR_UNEXPECTED_BEHAVIOUR while no main
/// destination is set; else KR_SUCCESS.
kr_result kr_log_set_secondary_destination(const kr_char* spec);

/// While on, the main destination and every one selected after it take no stamp. Turning it off
/// leaves the destination in force as it is.
void kr_log_set_no_timestamps(u32 on);
/// 1 while it is on, else 0.
u32 kr_log_no_timestamps();

/// What every destination offers: returns nonzero and fills the four outputs when it accepts
/// `spec`, else 0 and leaves them alone. `spec` must not be null. The context belongs to the
/// destination until `close`.
using kr_log_init = u32 (*)(const kr_char* spec, u32* no_timestamps, void** context,
                            kr_log_write* write, kr_log_close* close);

/// "file://" with a file's path, or with a directory that ends in '\\' or '/': then the file is
/// named from the program's domain and the local time. Lines are appended as UTF-8 with CR LF; each
/// is handed to the system whole before the call returns, so that it outlives a crash of the
/// program. Text that is not valid UTF-16 is stored as U+FFFD. A file that cannot be written is
/// opened anew for the next line; until that works, lines are dropped.
u32 kr_file_log_init(const kr_char* spec, u32* no_timestamps, void** context, kr_log_write* write,
                     kr_log_close* close);
void file_log_do_log(void* context, const kr_char* line, size_t size_bytes);

/// "windbg": the debugger's output.
u32 kr_debugger_log_init(const kr_char* spec, u32* no_timestamps, void** context,
                         kr_log_write* write, kr_log_close* close);

/// "eventlog:" with a source name, passed to the system as it is. Every line becomes an information
/// event with the id 0x40001230, without a stamp of the log's own.
u32 kr_event_log_init(const kr_char* spec, u32* no_timestamps, void** context, kr_log_write* write,
                      kr_log_close* close);
void event_log_do_log(void* context, const kr_char* line, size_t size_bytes);
kr_result event_log_uninit(void* context);

/// "stdout": standard output. Where it is a console, the first line while colours are on turns the
/// console's processing of escape sequences on; the first line after colours went off, another main
/// destination, the log's end and the program's end restore its mode. On a console that does not
/// know it (before Windows 10) coloured lines go without any escape sequence. To a file or a pipe
/// they go as they are.
u32 kr_console_log_init(const kr_char* spec, u32* no_timestamps, void** context,
                        kr_log_write* write, kr_log_close* close);

/// Accepts everything, writes nothing.
u32 kr_null_log_init(const kr_char* spec, u32* no_timestamps, void** context, kr_log_write* write,
                     kr_log_close* close);
