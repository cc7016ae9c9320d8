/// Writing `.reg` text as the system's own export does, but that a list of bytes stays on one line.
#include "platform/host/reg_text.h"

#include <cstdio>
#include <cstring>
#include <optional>

#include "platform/host/registry.h"

namespace kr::host::detail {

namespace {

constexpr std::u16string_view line_end = u"\r\n";

/// At least so many digits.
void append_hex(std::u16string& out, u32 number, int digits) {
    char text[16];
    const int length = std::snprintf(text, sizeof text, "%0*x", digits, number);
    out.append(text, text + length);
}

void append_quoted(std::u16string& out, std::u16string_view text) {
    out.push_back(u'"');
    for (const WCHAR unit : text) {
        const size_t which = reg_escaped.find(unit);
        if (which == std::u16string_view::npos) {
            out.push_back(unit);
        } else {
            out.append({u'\\', reg_escapes[which]});
        }
    }
    out.push_back(u'"');
}

/// The text of a string value whose every byte the quoted form keeps.
std::optional<std::u16string> plain_string(const registry_value& value) {
    const size_t bytes = value.data.size();
    if (value.type != REG_SZ || bytes % sizeof(WCHAR) != 0 || bytes == 0) {
        return std::nullopt;
    }
    std::u16string text(bytes / sizeof(WCHAR), u'\0');
    std::memcpy(text.data(), value.data.data(), bytes);
    constexpr std::u16string_view unwelcome(u"\0\r\n", 3);
    if (text.find_first_of(unwelcome) != text.size() - 1 || text.back() != 0) {
        return std::nullopt;
    }
    text.pop_back();
    return text;
}

void append_bytes(std::u16string& out, const registry_value& value) {
    out.append(u"hex");
    if (value.type != REG_BINARY) {
        out.push_back(u'(');
        append_hex(out, value.type, 1);
        out.push_back(u')');
    }
    WCHAR before = u':';
    for (const u8 byte : value.data) {
        out.push_back(before);
        append_hex(out, byte, 2);
        before = u',';
    }
    if (value.data.empty()) {
        out.push_back(before);
    }
}

void append_value(std::u16string& out, const registry_value& value) {
    if (value.name.empty()) {
        out.push_back(u'@');
    } else {
        append_quoted(out, value.name);
    }
    out.push_back(u'=');
    if (const std::optional<std::u16string> text = plain_string(value)) {
        append_quoted(out, *text);
    } else if (value.type == REG_DWORD && value.data.size() == sizeof(DWORD)) {
        DWORD number = 0;
        std::memcpy(&number, value.data.data(), sizeof number);
        out.append(u"dword:");
        append_hex(out, number, 8);
    } else {
        append_bytes(out, value);
    }
    out.append(line_end);
}

/// A key that has something to show, its values and all below it.
void append_tree(std::u16string& out, const registry_key& key, const std::u16string& path) {
    if (key.parent != nullptr || !key.values().empty()) {
        out.append(line_end).append(u"[").append(path).append(u"]").append(line_end);
        for (const auto& value : key.values()) {
            append_value(out, *value);
        }
    }
    for (const auto& [_, subkey] : key.subkeys()) {
        append_tree(out, *subkey, path + u'\\' + subkey->name);
    }
}

} // namespace

std::string write_reg(const registry_key& root) {
    std::u16string text = u"\uFEFF";
    text.append(reg_header).append(line_end);
    append_tree(text, root, root.name);
    text.append(line_end);
    return {reinterpret_cast<const char*>(text.data()), text.size() * sizeof(WCHAR)};
}

} // namespace kr::host::detail
