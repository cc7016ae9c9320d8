/// The stand-in's declarations: the same names, types and constants as the Windows SDK, for
/// exactly the calls that this project makes. Included through platform.h only.
#pragma once

#include "platform/types.h"
