/// What the console destination changes at the console and who puts it back. For the log's own
/// sources: the console destination has no close operation, so that it hears what the selection of
/// its successor logs.
#pragma once

namespace kr::detail {

/// Puts the console's mode back as it was before the first coloured line. Called when a destination
/// went; the next coloured line of another one changes the mode anew.
void restore_console_mode();

} // namespace kr::detail
