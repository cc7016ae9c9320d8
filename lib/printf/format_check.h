/// Formats that are checked when the program is compiled. Public; types only.
#pragma once

#include "platform/types.h"

/// A literal format whose conversions were checked against Args.
template <typename... Args>
struct kr_format {
    const char* text;
    // NOLINTNEXTLINE(google-explicit-constructor): a literal converts in place, as callers write it
    consteval kr_format(const char* format) : text(format) {}
};
