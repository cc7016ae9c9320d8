/// The log interface's data: the level masks.
#include "log/log.h"

constinit std::atomic<u32> kr_log_category_masks[KR_LOG_SLOT_COUNT] = {};
