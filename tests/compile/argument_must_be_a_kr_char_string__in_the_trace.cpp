#include "log/trace.h"

void refused(const char* name) { kr_trace(KR_LOG_SETTINGS, __func__).enter("Enter (name = %_s)", name); }
