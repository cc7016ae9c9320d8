/// The whole public interface of the library, as a table of contents. A program that needs one room
/// only may include that room's header instead. Leads to no header of the system.
#pragma once

// What every other header stands on.
#include "platform/types.h"
#include "result/descriptions.h"
#include "result/result.h"

// Start and end of the library, and who the program is.
#include "base/product.h"
#include "log/startup/log_module.h"
#include "log/startup/module.h"

// The log.
#include "log/categories.h"
#include "log/core.h"
#include "log/destinations/destinations.h"
#include "log/layout.h"
#include "log/log.h"
#include "log/startup/config.h"
#include "log/thread_table.h"
#include "log/trace.h"

// Formatting.
#include "printf/library_conversions.h"
#include "printf/plain_conversions.h"
#include "printf/printf.h"

// Owners of what the library hands out.
#include "owners.h"

// Memory.
#include "base/memory/buffer.h"
#include "base/memory/memory.h"
#include "base/memory/mempool.h"
#include "base/memory/memvec.h"
#include "base/memory/typed_memory.h"

// Text and values.
#include "base/convert/convert.h"
#include "base/convert/guid.h"
#include "base/text/array_string.h"
#include "base/text/wide_string.h"
#include "base/time/local_date.h"
#include "base/time/time.h"

// Locks and threads.
#include "base/threads/sync.h"
#include "base/threads/threads.h"

// Settings.
#include "settings/multi_string.h"
#include "settings/store.h"
#include "settings/typed.h"
