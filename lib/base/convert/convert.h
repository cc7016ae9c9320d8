/// Conversions between text and values: everything of the three rooms below in one include.
#pragma once

#include "base/convert/convert_number.h"
#include "base/convert/convert_text.h"
#include "base/convert/host_address.h"
