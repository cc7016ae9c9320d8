/// Text encodings of the stand-in. Private to this directory.
#pragma once

#include <string>
#include <string_view>

#include "platform/host/win_types.h"

namespace kr::host::detail {

/// Appends UTF-8 as UTF-16; a broken sequence becomes one U+FFFD, and the answer is false then.
bool decode_utf8(std::string_view text, std::u16string& out);

} // namespace kr::host::detail
