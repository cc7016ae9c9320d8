/// The stand-in's little system at its start, for the tests that arm faults or look behind the
/// calls. Host only.
#pragma once

#include "base/time/time.h"
#include "platform/host/fault.h"
#include "platform/host/world.h"
#include "support/captured_log.h"
#include "support/system.h"

namespace kr::test {

using host::armed_fault;
using host::stop_clock;

/// The world is at its start when the scope begins and when it ends.
struct fresh_world : pinned {
    fresh_world() { host::reset_world(); }
    ~fresh_world() {
        host::reset_world();
        kr_time_local_offset = 0;
    }
};

/// A fixture that needs no more.
class World : public testing::Test {
    const fresh_world world_;
};

/// 2024-02-29T12:34:56 UTC, as host::stop_clock takes it.
inline constexpr u64 noon_ticks = (1'709'210'096 + 11'644'473'600) * 10'000'000;

} // namespace kr::test
