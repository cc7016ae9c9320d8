/// The product record: who the program is. Declared here, defined once by every program that links
/// the library. Public; constant data only.
#pragma once

#include "../platform/types.h"

/// All three texts are NUL-terminated, constant for the life of the process and owned by the
/// program.
struct kr_product_record {
    /// The log domain and the settings domain, for instance "loadprobe". ASCII.
    const char* name;
    /// The component below the vendor in the registry, for instance "tools".
    const kr_char* component;
    /// The vendor below `HKLM\SOFTWARE`.
    const kr_char* vendor;
};

/// Defined by the program:
///     constinit const kr_product_record kr_product = {"loadprobe", KR_TEXT("tools"), ...};
extern const kr_product_record kr_product;
