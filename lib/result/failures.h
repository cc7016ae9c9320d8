/// The results that many rooms fail with, by a short name. For the library's own sources.
#pragma once

#include "result/result.h"

namespace kr::detail {

/// A null or out-of-range argument.
inline kr_result invalid_argument() {
    return kr_result_make_error(KR_INVALID_ARGUMENT_TO_FUNCTION);
}

inline kr_result not_implemented() {
    return kr_result_make_error(KR_FUNCTION_NOT_IMPLEMENTED);
}

inline kr_result unexpected_behaviour() {
    return kr_result_make_error(KR_UNEXPECTED_BEHAVIOUR);
}

inline kr_result generic_failure() {
    return kr_result_make_error(KR_GENERIC);
}

} // namespace kr::detail
