/// Conversions between text and values: everything of the rooms below in one include.
#pragma once

#include "convert_text.h"
#include "net_address.h"
#include "number_from_digits.h"
#include "number_from_text.h"
#include "number_to_text.h"
