/// The stand-in's clocks. No call makes a system call (the kernel's shared page is read).
#pragma once

#include "platform/host/win_types.h"

/// UTC in ticks of 100 ns since 1601-01-01.
void GetSystemTimeAsFileTime(FILETIME* time);
/// Takes a local time to UTC with the offset that holds now, whatever the date. FALSE with 87 for
/// a time outside 0..2^63-1.
BOOL LocalFileTimeToFileTime(const FILETIME* local, FILETIME* utc);
/// Ticks of the monotonic clock, 10,000,000 in a second.
BOOL QueryPerformanceCounter(LARGE_INTEGER* ticks);
BOOL QueryPerformanceFrequency(LARGE_INTEGER* frequency);
