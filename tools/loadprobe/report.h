/// How the probe reports: lines of the category `main` with the function's name in namespace kr.
#pragma once

#include "log/log.h"

namespace kr {

/// Warns, where the category shows warnings. The format is checked when the program is compiled.
/// The arguments are taken either way: no caller has one that costs more than a read.
template <typename... Args>
void warn(const char* function, kr_format<std::type_identity_t<Args>...> format, Args... args) {
    KR_LOG_AS(KR_LOG_MAIN, KR_LOG_WARNING, function, format, args...);
}

/// Says what is always said.
template <typename... Args>
void notice(const char* function, kr_format<std::type_identity_t<Args>...> format, Args... args) {
    KR_LOG_AS(KR_LOG_MAIN, KR_LOG_FORCED, function, format, args...);
}

} // namespace kr
