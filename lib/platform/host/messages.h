/// The stand-in's system messages, debugger output and event log.
#pragma once

#include <cstdarg>

#include "platform/host/win_types.h"

inline constexpr DWORD FORMAT_MESSAGE_FROM_SYSTEM = 0x1000;
inline constexpr DWORD FORMAT_MESSAGE_MAX_WIDTH_MASK = 0x00FF;
/// The system's English text for an error number, on one line that ends in a blank: `flags` is
/// FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_MAX_WIDTH_MASK. Returns the length without the
/// terminator; 0 with 317 (unknown number), 87 (other flags; a text with inserts) or 122 (more than
/// `room_chars` with the terminator: the cut text is written, as far as there is room).
DWORD FormatMessageW(DWORD flags, const void* source, DWORD id, DWORD language, WCHAR* buffer,
                     DWORD room_chars, va_list* arguments);

/// Shows `text` to the debugger: to the sink that world.h sets, else on standard error when the
/// environment variable KR_HOST_DEBUG is "stderr", else nowhere. Leaves the last error alone.
void OutputDebugStringW(const WCHAR* text);

inline constexpr WORD EVENTLOG_INFORMATION_TYPE = 4;
/// `server` is null; null with 87 when `source` is null or empty.
HANDLE RegisterEventSourceW(const WCHAR* server, const WCHAR* source);
/// Appends a record to the event log in memory (read through world.h).
BOOL ReportEventW(HANDLE log, WORD type, WORD category, DWORD event_id, PSID user,
                  WORD string_count, DWORD data_bytes, const WCHAR** strings, void* data);
/// 6 for a handle that is not an open event source.
BOOL DeregisterEventSource(HANDLE log);
