/// The log core: what stands behind kr_log. Public; brings the operations on threads and on the
/// layout along. Any thread.
#pragma once

#include <cstddef>

#include "layout.h"
#include "log.h"
#include "thread_table.h"

/// Writes `length` bytes through the raw channel as "%02X " each, with a newline after every 16th
/// byte and after the last; the destination gets a row of up to 16 bytes with its newline at once.
/// Nothing for length 0.
void kr_log_hexdump(const u8* data, size_t length);

/// Profile lines are written from this many milliseconds on; 0 at start. Returns KR_SUCCESS.
kr_result kr_log_set_profile_threshold(u64 ms);

/// Forgets every registered thread name, closes the secondary destination and clears its slot.
/// KR_UNEXPECTED_BEHAVIOUR when none is set; the failure of its close operation; else KR_SUCCESS.
/// No other thread may log meanwhile.
kr_result kr_log_close_secondary_destination();
