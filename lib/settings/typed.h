/// Typed settings: one getter and one setter per type over the string entries of the store. Public.
/// No state, no lock: as thread-safe as the store.
///
/// Common to all getters: the output is written on success only. KR_SUCCESS; the failure of the
/// conversion, with a warning; the allocation's failure; KR_GENERIC when the entry is not a string
/// or cannot be read, with a warning; KR_INVALID_ARGUMENT_TO_FUNCTION for a null pointer. A missing
/// entry is KR_NOT_FOUND without a line, so that callers keep their default; the getters of
/// addresses, subnets and GUIDs answer it with KR_GENERIC and a warning.
///
/// Common to all setters: KR_SUCCESS; KR_GENERIC when the registry refuses, with a warning, the old
/// value staying in place; KR_INVALID_ARGUMENT_TO_FUNCTION for a null pointer. Nothing is stored
/// when the value is refused.
#pragma once

#include "typed_number.h"
#include "typed_text.h"
