/// Text encodings of the stand-in. Private to this directory.
#pragma once

#include "platform/host/win_types.h"

#include <string>
#include <string_view>

namespace kr::host::detail {

/// What becomes of a surrogate without its other half: U+FFFD, or three bytes of its own (which
/// keeps different names different).
enum class lone_surrogate : u8 { replace, keep };

/// Appends `text` as UTF-8.
void encode_utf8(std::u16string_view text, lone_surrogate lone, std::string& out);
/// Appends UTF-8 as UTF-16; a broken sequence becomes one U+FFFD, and the answer is false then.
bool decode_utf8(std::string_view text, std::u16string& out);

} // namespace kr::host::detail
