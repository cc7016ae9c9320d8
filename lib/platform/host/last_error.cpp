/// The calling thread's last error.
#include "platform/host/win_types.h"

namespace {
thread_local DWORD last_error = 0;
}

DWORD GetLastError() {
    return last_error;
}

void SetLastError(DWORD error) {
    last_error = error;
}
