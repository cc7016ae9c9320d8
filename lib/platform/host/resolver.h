/// The C library's resolver behind plain types: its header and net.h, which declare functions of
/// the same names, cannot meet in one file. Private to this directory.
#pragma once

#include "platform/types.h"

#include <string>
#include <vector>

namespace kr::host::detail {

struct resolved_host {
    /// 0, or what WSAGetLastError() is to give.
    int error = 0;
    std::string name;
    /// IPv4 addresses, in network order.
    std::vector<u32> addresses;
};

resolved_host resolve_name(const char* name);
resolved_host resolve_address(u32 address);

} // namespace kr::host::detail
