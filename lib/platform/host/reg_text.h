/// The registry's text form, `.reg` files. Private to this directory.
#pragma once

#include "platform/host/registry_tree.h"

#include <optional>
#include <span>

namespace kr::host::detail {

/// One line's worth of a `.reg` text, checked.
struct reg_step {
    enum class action : u8 { open_key, delete_key, set_value, delete_value };
    action what;
    /// The key below its root (key steps only).
    bool in_local_machine = false;
    std::u16string path;
    /// The value (value steps only); its name alone counts for a deletion.
    registry_value value;
};

/// A text that could not be understood.
struct reg_problem {
    u32 line = 0;
    std::string reason;
};

/// Reads a whole `.reg` text, or says where it is broken. Takes version 5.00 as UTF-16LE with
/// byte-order mark or as UTF-8, and the older REGEDIT4 in Windows-1252.
std::optional<std::vector<reg_step>> read_reg(std::span<const u8> text, reg_problem& problem);

/// Carries the steps out.
void apply_reg(const std::vector<reg_step>& steps, registry_tree& tree);

/// The whole tree as version 5.00 in UTF-16LE with byte-order mark and CR LF.
std::vector<u8> write_reg(const registry_tree& tree);

} // namespace kr::host::detail
