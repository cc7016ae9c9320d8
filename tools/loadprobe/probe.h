/// The probe from its start to its exit code.
#pragma once

namespace kr {

/// Starts the library, extracts the embedded driver, tries to load it, stores the verdict and
/// deletes the extracted file. Returns the process's exit code: 0 when the verdict was stored,
/// whatever it is; 1 when the driver could not be extracted or the verdict not stored. Meant to run
/// once, on the main thread.
[[nodiscard]] int run_probe();

} // namespace kr
