/// The formatting mode and the colours of lines, as words to read and set. Public. Any thread may
/// call anything here at any time; a change applies to the next line.
#pragma once

#include "log.h"

/// The formatting mode. Modes 0 and 1 put the thread first and the function last; mode 2 begins
/// with the function, indented by call depth; mode 3 is the letter and the message alone. Any other
/// value counts as 0. Setting it does not make it explicit.
void kr_log_set_formatting(u32 mode);
u32 kr_log_formatting();

/// While on, the mode is explicit: it is not derived from the masks. The configuration turns it on,
/// and nothing of the library turns it off again.
void kr_log_keep_formatting(u32 on);
u32 kr_log_formatting_is_explicit();

/// Derives the mode from the masks of categories 1 up, unless it is explicit: 2 if any has
/// KR_LOG_CALL, else 1 if any has KR_LOG_DEBUG, else 0. For those who change masks without
/// kr_log_level_set.
void kr_log_update_formatting();

/// Colours the level letters by ANSI sequences: E red, W yellow, D green, C blue, and a reset after
/// every letter. Off at start. The console destination sees to it that a console shows them.
void kr_log_set_colors(u32 on);
u32 kr_log_colors();
