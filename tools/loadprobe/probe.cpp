/// The steps of the probe, and what undoes them.
#include "probe.h"

#include "driver_file.h"
#include "driver_service.h"
#include "log/startup/log_module.h"
#include "log/startup/module.h"
#include "platform/platform.h"
#include "report.h"
#include "scope_guard.h"
#include "verdict.h"

namespace kr {

int run_probe() {
    constexpr const char* function = "wmain";
    kr_log_register_module(KR_TEXT("windbg"));
    // A library that did not start leaves the log without a destination; the probe's work is the
    // same.
    (void)kr_init();

    const driver_path path = get_driver_path();
    if (!extract_embedded_driver(path.text)) {
        warn(function, "Unable to extract the embedded test driver, cannot check if this system "
                       "supports driver signatures");
        return 1;
    }
    const scope_guard delete_file(DeleteFileW, path.text);

    const bool loaded = load_driver(path.text, KR_TEXT("krdummy"));
    if (loaded) {
        notice(function, "Successfully loaded test driver, will mark system as compatible");
    } else {
        notice(function, "Unable to load the test driver, will mark system as incompatible");
    }
    if (!store_system_support_for_driver_signature(loaded)) {
        warn(function, "Unable to store system compatibility");
        return 1;
    }
    return 0;
}

} // namespace kr
