/// A clean settings domain for one test: the key of the suite's program is wiped before and after.
/// On either system it is that system's own registry, below HKEY_LOCAL_MACHINE.
#pragma once

#include "owners.h"
#include "platform/platform.h"
#include "settings/store.h"
#include "support/captured_log.h"

namespace kr::test {

/// Deletes a key with all below it, where there is one. False when a key cannot be deleted.
inline bool delete_tree(HKEY parent, const kr_char* path) {
    HKEY key = nullptr;
    if (RegOpenKeyW(parent, path, &key) != ERROR_SUCCESS) { return true; }
    kr_char name[256];
    bool deleted = true;
    while (deleted && RegEnumKeyW(key, 0, name, 256) == ERROR_SUCCESS) { deleted = delete_tree(key, name); }
    RegCloseKey(key);
    return deleted && RegDeleteKeyW(parent, path) == ERROR_SUCCESS;
}

/// A key that is not there before and after.
class fresh_key : pinned {
public:
    fresh_key(HKEY parent, const kr_char* path) : parent_(parent), path_(path) {
        delete_tree(parent_, path_);
    }
    ~fresh_key() { EXPECT_TRUE(delete_tree(parent_, path_)); }

private:
    HKEY parent_;
    const kr_char* path_;
};

struct fresh_registry : fresh_key {
    fresh_registry() : fresh_key(HKEY_LOCAL_MACHINE, KR_TEXT("SOFTWARE\\Korinth\\tools\\krtest")) {}
};

/// The suite's domain, or a group, open for the scope.
class open_settings : pinned {
public:
    open_settings() : opened_(kr_settings_domain_open(KR_TEXT("krtest"), &handle_)) {}
    open_settings(kr_settings_handle parent, const std::string& group)
        : opened_(kr_settings_group_open(parent, widen(group).c_str(), &handle_)) {}
    ~open_settings() {
        EXPECT_TRUE(kr_result_succeeded(opened_));
        EXPECT_TRUE(kr_result_succeeded(kr_settings_group_close(handle_)));
    }

    // NOLINTNEXTLINE(google-explicit-constructor): it stands for the handle that it keeps open
    operator kr_settings_handle() const { return handle_; }

    /// Stores what another program might have left: any type, any bytes. No zeros stand behind
    /// them, where the system looks for a missing terminator.
    void plant(const std::string& name, DWORD type, std::vector<u8> data) const {
        const auto size_bytes = static_cast<DWORD>(data.size());
        data.resize(size_bytes + sizeof(kr_char), 0x55);
        RegSetValueExW(reinterpret_cast<HKEY>(handle_), widen(name).c_str(), 0, type, data.data(),
                       size_bytes);
    }

    /// Stores a text, or a number where `text` is null.
    void plant(const std::string& name, const char* text) const {
        if (text == nullptr) { return plant(name, REG_DWORD, {1, 0, 0, 0}); }
        EXPECT_EQ(kr_settings_set_string(handle_, widen(name).c_str(), widen(text).c_str()), ok);
    }

    /// The stored text, or "<missing>" or "<failed>".
    [[nodiscard]] std::string text(const std::string& name) const {
        kr::owned_text stored;
        const kr_result result = kr_settings_get_string_alloc(handle_, widen(name).c_str(), stored.out());
        if (kr_result_failed(result)) { return result == not_found ? "<missing>" : "<failed>"; }
        return utf8(stored.get());
    }

private:
    kr_settings_handle handle_ = nullptr;
    kr_result opened_;
};

/// The names that one of the two enumerations gives; `result` receives what it returned.
inline std::vector<std::string> names_of(kr_result (*enumerate)(kr_settings_handle, kr_char***, u32*),
                                         kr_settings_handle settings, kr_result* result) {
    kr_char** names = nullptr;
    u32 count = 0;
    *result = enumerate(settings, &names, &count);
    if (kr_result_failed(*result)) { return {}; }
    std::vector<std::string> copy(count);
    std::transform(names, names + count, copy.begin(), utf8);
    kr_settings_free_names(names, count);
    return copy;
}

/// What the log took in one category, one line each: "FUNCTION: MESSAGE", with the description of
/// results left out. Empties the log.
inline std::string said(captured_log& log, const char* category) {
    std::string lines;
    for (const std::string& line : log.take()) {
        if (line.compare(2, 2, category) == 0) {
            lines += line.substr(0, 2) + line.substr(5, line.find(" (error ") - 5) + '\n';
        }
    }
    return lines;
}

} // namespace kr::test
