/// The log interface's data: the level masks and the destination slots.
#include "log/log.h"

#include "log/destinations/slots.h"

constinit std::atomic<u32> kr_log_category_masks[KR_LOG_SLOT_COUNT] = {};

namespace kr::detail {
constinit log_slot log_main_slot;
constinit log_slot log_secondary_slot;
} // namespace kr::detail
