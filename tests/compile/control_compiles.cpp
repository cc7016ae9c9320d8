/// What the refused calls do wrong, done right: were a refusal due to anything else, this
/// would be refused too. And kr.h alone is enough for it and leads to nothing of the system.
#include "kr.h"

#if defined(_WINDOWS_) || defined(CreateFile) || defined(min)
#error "a public header includes the system's"
#endif

enum colour { red };

kr_result accepted(kr_char* out, const kr_char* name, const KRGUID* guid, kr_result result,
                   void (*function)()) {
    KR_LOG(KR_LOG_MAIN, KR_LOG_WARNING, "Result is %_r (%_z)", &result, &result);
    kr_trace(KR_LOG_SETTINGS, __func__).enter("Enter (name = %_s, value=%_k)", name, u32{1});
    size_t size = 0;
    if (kr_result_failed(kr_printf_format2_checked(nullptr, 0, &size, "no conversion, 100%%"))) {
        return result;
    }
    kr_char line[8];
    if (kr_result_failed(kr_printf_format2_checked(line, &size, "%s", ""))) { return result; }
    return kr_string_format_checked(
        out, 64, "%05d %-i %#lx %hu %c %d %ld %08X %zu %lld %06ll_u %h_x %_b %s %_s %p %_P %_p %_g %_g", -1,
        u8{1}, 2u, 'c', kr_char{'w'}, red, i32{1}, true, sizeof(size), i64{1}, u64{1}, u16{1}, 1, nullptr,
        KR_TEXT("wide"), out, function, nullptr, guid, nullptr);
}
