/// Writing `.reg` text, laid out as the system's own export does.
#include "platform/host/reg_text.h"

#include "platform/host/registry.h"

#include <cstring>

namespace kr::host::detail {

namespace {

constexpr std::u16string_view LINE_END = u"\r\n";
/// Lists of bytes are broken before they pass this column.
constexpr std::size_t LAST_COLUMN = 77;

void append_hex(std::u16string& out, u64 number, int digits) {
    for (int shift = 4 * (digits - 1); shift >= 0; shift -= 4) {
        out.push_back(u"0123456789abcdef"[number >> shift & 0xF]);
    }
}

void append_quoted(std::u16string& out, std::u16string_view text) {
    out.push_back(u'"');
    for (const WCHAR unit : text) {
        switch (unit) {
        case u'\\':
        case u'"':
            out.push_back(u'\\');
            out.push_back(unit);
            break;
        case u'\r':
            out.append(u"\\r");
            break;
        case u'\n':
            out.append(u"\\n");
            break;
        default:
            out.push_back(unit);
        }
    }
    out.push_back(u'"');
}

/// The text of a string value whose every byte the quoted form keeps.
std::optional<std::u16string> plain_string(const registry_value& value) {
    const std::size_t bytes = value.data.size();
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

void append_bytes(std::u16string& out, std::size_t line_start, const registry_value& value) {
    out.append(u"hex");
    if (value.type != REG_BINARY) {
        out.push_back(u'(');
        int digits = 1;
        while (digits < 8 && value.type >> (4 * digits) != 0) {
            ++digits;
        }
        append_hex(out, value.type, digits);
        out.push_back(u')');
    }
    out.push_back(u':');
    for (std::size_t i = 0; i < value.data.size(); ++i) {
        if (out.size() - line_start >= LAST_COLUMN - 1) {
            out.append(u"\\").append(LINE_END);
            line_start = out.size();
            out.append(u"  ");
        }
        append_hex(out, value.data[i], 2);
        if (i + 1 < value.data.size()) {
            out.push_back(u',');
        }
    }
}

void append_value(std::u16string& out, const registry_value& value) {
    const std::size_t line_start = out.size();
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
        append_bytes(out, line_start, value);
    }
    out.append(LINE_END);
}

/// A key that has something to show, its values and all below it.
void append_tree(std::u16string& out, const registry_key& key, const std::u16string& path) {
    if (key.parent != nullptr || !key.values().empty()) {
        out.append(LINE_END).append(u"[").append(path).append(u"]").append(LINE_END);
        for (const auto& value : key.values()) {
            append_value(out, *value);
        }
    }
    for (const auto& subkey : key.subkeys()) {
        append_tree(out, *subkey, path + u'\\' + subkey->name);
    }
}

} // namespace

std::vector<u8> write_reg(const registry_tree& tree) {
    std::u16string text = u"\uFEFFWindows Registry Editor Version 5.00";
    text.append(LINE_END);
    append_tree(text, *tree.current_user, tree.current_user->name);
    append_tree(text, *tree.local_machine, tree.local_machine->name);
    text.append(LINE_END);
    std::vector<u8> bytes(text.size() * sizeof(WCHAR));
    std::memcpy(bytes.data(), text.data(), bytes.size());
    return bytes;
}

} // namespace kr::host::detail
