/// Everything at its start.
#include "platform/host/world.h"

namespace kr::host {

void reset_world() {
    reset_registry();
    reset_services();
    clear_event_log();
    set_debug_sink({});
    run_clock();
    use_system_offset();
    reset_host_names();
}

} // namespace kr::host
