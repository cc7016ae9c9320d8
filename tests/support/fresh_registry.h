/// A clean settings domain for one test: the key of the suite's program is wiped before and after.
/// On either system it is the real registry of that system, below HKEY_LOCAL_MACHINE.
#pragma once

#include <string>
#include <vector>

#include "base/memory.h"
#include "platform/platform.h"
#include "settings/store.h"

namespace kr::test {

using wide = std::basic_string<kr_char>;

class fresh_registry {
public:
    static constexpr const kr_char* domain = KR_TEXT("krtest");

    fresh_registry() { wipe(); }
    fresh_registry(const fresh_registry&) = delete;
    fresh_registry& operator=(const fresh_registry&) = delete;
    ~fresh_registry() { wipe(); }

private:
    static void wipe() {
        RegDeleteTreeW(HKEY_LOCAL_MACHINE, KR_TEXT("SOFTWARE\\Korinth\\tools\\krtest"));
    }
};

/// The suite's domain, or a group in it, open for the scope. Null when it could not be opened.
class open_settings {
public:
    open_settings() {
        if (kr_result_failed(kr_settings_domain_open(fresh_registry::domain, &handle_))) {
            handle_ = nullptr;
        }
    }
    open_settings(kr_settings_handle parent, const kr_char* group) {
        if (kr_result_failed(kr_settings_group_open(parent, group, &handle_))) {
            handle_ = nullptr;
        }
    }
    open_settings(const open_settings&) = delete;
    open_settings& operator=(const open_settings&) = delete;
    ~open_settings() {
        if (handle_ != nullptr) {
            kr_settings_group_close(handle_);
        }
    }

    // NOLINTNEXTLINE(google-explicit-constructor): it stands for the handle that it keeps open
    operator kr_settings_handle() const { return handle_; }

    /// Stores what another program might have left: any type, any bytes. No zeros stand behind
    /// them, where the system looks for a missing terminator.
    void plant(const kr_char* name, DWORD type, std::vector<u8> data) const {
        const std::size_t size_bytes = data.size();
        data.resize(size_bytes + sizeof(kr_char), 0x55);
        RegSetValueExW(reinterpret_cast<HKEY>(handle_), name, 0, type, data.data(),
                       static_cast<DWORD>(size_bytes));
    }

    void plant(const kr_char* name, const wide& text) const {
        const u8* const bytes = reinterpret_cast<const u8*>(text.c_str());
        plant(name, REG_SZ, {bytes, bytes + (text.size() + 1) * sizeof(kr_char)});
    }

    /// The stored text, or "<missing>" or "<failed>".
    [[nodiscard]] wide text(const kr_char* name) const {
        kr_char* stored = nullptr;
        const kr_result result = kr_settings_get_string_alloc(handle_, name, &stored);
        if (kr_result_failed(result)) {
            return kr_result_is(result, KR_NOT_FOUND) ? KR_TEXT("<missing>") : KR_TEXT("<failed>");
        }
        wide copy = stored;
        kr_memory_deallocate_hook(stored);
        return copy;
    }

private:
    kr_settings_handle handle_ = nullptr;
};

/// The names that one of the two enumerations gives; `result` receives what it returned.
inline std::vector<wide> names_of(kr_result (*enumerate)(kr_settings_handle, kr_char***, u32*),
                                  kr_settings_handle settings, kr_result* result) {
    kr_char** names = nullptr;
    u32 count = 0;
    *result = enumerate(settings, &names, &count);
    std::vector<wide> copy;
    if (kr_result_succeeded(*result)) {
        copy.assign(names, names + count);
        kr_settings_free_names(names, count);
    }
    return copy;
}

} // namespace kr::test
