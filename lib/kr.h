/// The whole public interface of the library, as a table of contents. A program that needs one room
/// only may include that room's header instead. Leads to no header of the system.
#pragma once

// What every other header stands on.
#include "platform/types.h"
#include "result/descriptions.h"
#include "result/result.h"

// Start and end of the library, and who the program is.
#include "base/product.h"
#include "log/log_module.h"
#include "log/module.h"

// The log.
#include "log/categories.h"
#include "log/config.h"
#include "log/core.h"
#include "log/destinations.h"
#include "log/layout.h"
#include "log/log.h"
#include "log/thread_table.h"
#include "log/trace.h"

// Formatting.
#include "printf/library_conversions.h"
#include "printf/numbers.h"
#include "printf/printf.h"

// Memory.
#include "base/buffer.h"
#include "base/memory.h"
#include "base/mempool.h"
#include "base/memvec.h"
#include "base/typed_memory.h"

// Text and values.
#include "base/array_string.h"
#include "base/convert.h"
#include "base/guid.h"
#include "base/local_date.h"
#include "base/time.h"
#include "base/wide_string.h"

// Locks and threads.
#include "base/sync.h"
#include "base/threads.h"

// Settings.
#include "settings/multi_string.h"
#include "settings/store.h"
#include "settings/typed.h"
