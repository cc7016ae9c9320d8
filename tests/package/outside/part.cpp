/// The part of somebody else's program that uses the library: logs a line, keeps a setting and formats what
/// it reads back.
#include <kr.h>

#include <cstdio>

constinit const kr_product_record kr_product = {"package_program", KR_TEXT("tools"), KR_TEXT("Korinth")};

namespace {

bool keep_and_read(u32* interval) {
    kr_settings_handle settings{};
    if (kr_result_failed(kr_settings_domain_open(KR_TEXT("package_program"), &settings))) { return false; }
    const bool read = !kr_result_failed(kr_settings_set_UINT32(settings, KR_TEXT("interval"), 250)) &&
                      !kr_result_failed(kr_settings_get_UINT32(settings, KR_TEXT("interval"), interval)) &&
                      !kr_result_failed(kr_settings_delete_entry(settings, KR_TEXT("interval")));
    kr_settings_domain_close(settings);
    return read;
}

} // namespace

int run_part();

int run_part() {
    kr_log_register_module(KR_TEXT("stdout"));
    if (kr_result_failed(kr_init())) { return 1; }
    KR_LOG(KR_LOG_MAIN, KR_LOG_INFO, "%d of %u done", -1, 7U);

    u32 interval = 0;
    kr_char wide[32];
    char line[32];
    if (!keep_and_read(&interval) ||
        kr_result_failed(kr_string_format_checked(wide, "interval %u ms", interval)) ||
        kr_result_failed(kr_krchar_to_ascii(wide, line, sizeof(line)))) {
        return 1;
    }
    std::puts(line);
    kr_fini();
    return 0;
}
