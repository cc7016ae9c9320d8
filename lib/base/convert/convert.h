/// Conversions between text and values: everything of the three rooms below in one include.
#pragma once

#include "convert_number.h"
#include "convert_text.h"
#include "host_address.h"
