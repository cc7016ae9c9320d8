/// The stand-in's little system at its start, for the tests that arm faults or look behind the
/// calls. Host only.
#pragma once

#include "platform/host/fault.h"
#include "platform/host/world.h"
#include "support/suite.h"

namespace kr::test {

/// The world is at its start when the scope begins and when it ends.
struct fresh_world : pinned {
    fresh_world() { host::reset_world(); }
    ~fresh_world() { host::reset_world(); }
};

/// A fixture that needs no more.
class World : public testing::Test {
    const fresh_world world_;
};

} // namespace kr::test
