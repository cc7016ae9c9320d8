/// Conversions between text and values: everything of the three rooms below in one include.
#pragma once

#include "base/convert_number.h"
#include "base/convert_text.h"
#include "base/host_address.h"
