#include "log/log.h"

void refused() { KR_LOG(KR_LOG_MAIN, KR_LOG_WARNING, "Result is %_r (%_z)", &KR_SUCCESS); }
