/// kr.h alone is enough for a program that uses a little of everything, and leads to nothing of the
/// system.
#include "kr.h"

#if defined(_WINDOWS_) || defined(CreateFile) || defined(min)
#error "a public header includes the system's"
#endif

constinit const kr_product_record kr_product = {"program", KR_TEXT("tools"), KR_TEXT("Vendor")};

kr_result read_number(const kr_char* text, u64* value) {
    kr_trace trace(KR_LOG_OTHER, __func__);
    kr_char line[64];
    if (kr_result_failed(kr_string_format_checked(line, "%_s", text))) { return KR_OUT_OF_MEMORY; }
    KR_LOG(KR_LOG_MAIN, KR_LOG_INFO, "%_s", line);
    return kr_string_to_ui64_w(text, value);
}
