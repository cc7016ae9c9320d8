/// The registry's text form, `.reg` files of version 5.00. Private to this directory.
#pragma once

#include <string>

#include "platform/host/registry_tree.h"

namespace kr::host::detail {

inline constexpr std::u16string_view reg_header = u"Windows Registry Editor Version 5.00";
/// What a backslash and the letter at the same place of `reg_escapes` stand for in a quoted text.
inline constexpr std::u16string_view reg_escaped = u"\\\"\n\r";
inline constexpr std::u16string_view reg_escapes = u"\\\"nr";

/// Reads a whole text, UTF-16LE with byte-order mark or UTF-8 without, below a `root` that is
/// empty. Returns an empty string, or what is wrong in which line, as "line 3: ..."; what is below
/// the root is then unspecified.
std::string read_reg(std::string_view text, const std::shared_ptr<registry_key>& root);

/// The whole tree in UTF-16LE with byte-order mark and CR LF.
std::string write_reg(const registry_key& root);

} // namespace kr::host::detail
