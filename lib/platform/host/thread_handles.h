/// What CloseHandle needs of threads.cpp. Private to this directory.
#pragma once

#include "platform/host/win_types.h"

namespace kr::host::detail {

bool is_thread_handle(HANDLE handle);
/// false when it is not an open thread handle.
bool close_thread_handle(HANDLE handle);

} // namespace kr::host::detail
