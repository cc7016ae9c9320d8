/// Reading `.reg` text. The whole text is checked before anything is done with it.
#include "platform/host/reg_text.h"

#include "platform/host/fold.h"
#include "platform/host/registry.h"
#include "platform/host/text.h"

#include <cstring>

namespace kr::host::detail {

namespace {

/// Windows-1252 for 0x80 to 0x9F; the rest of the code page is Latin-1.
constexpr WCHAR windows_1252[] = {0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                  0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,
                                  0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                  0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

std::u16string widen_1252(std::string_view bytes) {
    std::u16string text;
    text.reserve(bytes.size());
    for (const char each : bytes) {
        const u8 byte = static_cast<u8>(each);
        text.push_back(byte >= 0x80 && byte < 0xA0 ? windows_1252[byte - 0x80] : WCHAR{byte});
    }
    return text;
}

constexpr std::u16string_view HEADER_5 = u"Windows Registry Editor Version 5.00";
constexpr std::u16string_view HEADER_4 = u"REGEDIT4";

/// The text in UTF-16 without its byte-order mark; null with the reason when it cannot be.
std::optional<std::u16string> decode(std::span<const u8> bytes, std::string& reason) {
    std::string_view narrow(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    if (narrow.starts_with("\xFE\xFF")) {
        reason = "big-endian UTF-16 is not read";
        return std::nullopt;
    }
    if (narrow.starts_with("\xFF\xFE")) {
        narrow.remove_prefix(2);
        if (narrow.size() % sizeof(WCHAR) != 0) {
            reason = "half a UTF-16 unit at the end";
            return std::nullopt;
        }
        std::u16string text(narrow.size() / sizeof(WCHAR), u'\0');
        if (!text.empty()) {
            std::memcpy(text.data(), narrow.data(), narrow.size());
        }
        return text;
    }
    if (narrow.starts_with("\xEF\xBB\xBF")) {
        narrow.remove_prefix(3);
    }
    if (narrow.starts_with("REGEDIT4")) {
        return widen_1252(narrow);
    }
    std::u16string text;
    if (!decode_utf8(narrow, text)) {
        reason = "neither UTF-16 nor UTF-8";
        return std::nullopt;
    }
    return text;
}

/// What a step of the parser throws when the text is broken; caught in read_reg.
struct broken_text {
    const char* reason;
};

class reader {
public:
    explicit reader(std::u16string_view text) : text_(text) {}

    [[nodiscard]] u32 line_number() const { return line_number_; }

    std::vector<reg_step> read_all() {
        read_header();
        while (next_line()) {
            skip_blanks();
            if (at_end_of_statement()) {
                continue;
            }
            if (take(u'[')) {
                read_key();
            } else {
                read_value();
            }
        }
        return std::move(steps_);
    }

private:
    [[noreturn]] static void fail(const char* reason) { throw broken_text{reason}; }

    bool next_line() {
        if (text_.empty()) {
            return false;
        }
        ++line_number_;
        const std::size_t length = std::min(text_.find(u'\n'), text_.size());
        line_ = text_.substr(0, length);
        text_.remove_prefix(std::min(length + 1, text_.size()));
        if (line_.ends_with(u'\r')) {
            line_.remove_suffix(1);
        }
        if (line_.find(u'\0') != std::u16string_view::npos) {
            fail("a null character");
        }
        return true;
    }

    void skip_blanks() {
        line_.remove_prefix(std::min(line_.find_first_not_of(u" \t"), line_.size()));
    }

    [[nodiscard]] bool at_end_of_statement() const {
        return line_.empty() || line_.front() == u';';
    }

    bool take(WCHAR unit) {
        const bool there = line_.starts_with(unit);
        line_.remove_prefix(there ? 1 : 0);
        return there;
    }

    bool take_word(std::u16string_view word) {
        const bool there =
            line_.size() >= word.size() && equal_folded(line_.substr(0, word.size()), word);
        line_.remove_prefix(there ? word.size() : 0);
        return there;
    }

    void end_statement() {
        skip_blanks();
        if (!at_end_of_statement()) {
            fail("text after the end of a value");
        }
    }

    void read_header() {
        if (!next_line()) {
            fail("empty, without its first line");
        }
        while (!line_.empty() && (line_.back() == u' ' || line_.back() == u'\t')) {
            line_.remove_suffix(1);
        }
        old_form_ = line_ == HEADER_4;
        if (!old_form_ && line_ != HEADER_5) {
            fail("the first line is not that of a registry file");
        }
    }

    /// The name lasts to the last bracket of the line: names may hold brackets themselves.
    void read_key() {
        const bool deletes = take(u'-');
        const std::size_t length = line_.rfind(u']');
        if (length == std::u16string_view::npos) {
            fail("a key without its closing bracket");
        }
        std::u16string_view path = line_.substr(0, length);
        line_.remove_prefix(length + 1);
        end_statement();

        const std::u16string_view root = path.substr(0, path.find(u'\\'));
        path.remove_prefix(root.size());
        const bool in_local_machine = equal_folded(root, u"HKEY_LOCAL_MACHINE");
        if (!in_local_machine && !equal_folded(root, u"HKEY_CURRENT_USER")) {
            fail("an unknown root key");
        }
        if (!is_key_path(path)) {
            fail("a key name that is too long, too deep or not one line");
        }
        std::u16string_view rest = path;
        if (deletes && take_key_name(rest).empty()) {
            fail("the deletion of a root key");
        }
        inside_key_ = !deletes;
        steps_.push_back({deletes ? reg_step::action::delete_key : reg_step::action::open_key,
                          in_local_machine,
                          std::u16string(path),
                          {}});
    }

    void read_value() {
        std::u16string name;
        if (line_.starts_with(u'"')) {
            name = read_quoted();
        } else if (!take(u'@')) {
            fail("neither a key nor a value");
        }
        if (name.size() > MAX_VALUE_NAME_CHARS) {
            fail("a value name that is too long");
        }
        if (!inside_key_) {
            fail("a value outside any key");
        }
        skip_blanks();
        if (!take(u'=')) {
            fail("a value without '='");
        }
        skip_blanks();
        reg_step step{reg_step::action::set_value, false, {}, {std::move(name), REG_SZ, {}}};
        if (take(u'-')) {
            step.what = reg_step::action::delete_value;
        } else {
            read_data(step.value);
        }
        end_statement();
        steps_.push_back(std::move(step));
    }

    std::u16string read_quoted() {
        line_.remove_prefix(1);
        std::u16string text;
        while (!line_.empty() && line_.front() != u'"') {
            WCHAR unit = line_.front();
            line_.remove_prefix(1);
            if (unit == u'\\') {
                unit = read_escape();
            }
            text.push_back(unit);
        }
        if (!take(u'"')) {
            fail("a text without its closing quote");
        }
        return text;
    }

    WCHAR read_escape() {
        constexpr std::u16string_view escapes = u"\\\"nr";
        constexpr std::u16string_view meanings = u"\\\"\n\r";
        const std::size_t which =
            line_.empty() ? std::u16string_view::npos : escapes.find(line_.front());
        if (which == std::u16string_view::npos) {
            fail("an unknown escape in a text");
        }
        line_.remove_prefix(1);
        return meanings[which];
    }

    void read_data(registry_value& value) {
        if (line_.starts_with(u'"')) {
            const std::u16string text = read_quoted();
            value.data.resize((text.size() + 1) * sizeof(WCHAR));
            std::memcpy(value.data.data(), text.c_str(), value.data.size());
        } else if (take_word(u"dword:")) {
            skip_blanks();
            value.type = REG_DWORD;
            const u32 number = read_number(8);
            value.data.resize(sizeof number);
            std::memcpy(value.data.data(), &number, sizeof number);
        } else if (take_word(u"hex:")) {
            value.type = REG_BINARY;
            value.data = read_bytes();
        } else if (take_word(u"hex(")) {
            value.type = read_number(8);
            if (!take(u')') || !take(u':')) {
                fail("a type without '):'");
            }
            value.data = read_bytes();
            if (old_form_ && is_text(value.type)) {
                widen(value.data);
            }
        } else {
            fail("an unknown kind of data");
        }
    }

    static bool is_text(DWORD type) {
        return type == REG_SZ || type == REG_EXPAND_SZ || type == REG_MULTI_SZ;
    }

    /// The old form lists texts in the code page.
    static void widen(std::vector<u8>& data) {
        const std::u16string text =
            widen_1252({reinterpret_cast<const char*>(data.data()), data.size()});
        data.resize(text.size() * sizeof(WCHAR));
        if (!data.empty()) {
            std::memcpy(data.data(), text.data(), data.size());
        }
    }

    static int digit(WCHAR unit) {
        const WCHAR upper = fold(unit);
        if (upper >= u'0' && upper <= u'9') {
            return upper - u'0';
        }
        return upper >= u'A' && upper <= u'F' ? upper - u'A' + 10 : -1;
    }

    /// One to `most` hexadecimal digits.
    u32 read_number(int most) {
        u32 number = 0;
        int count = 0;
        for (; !line_.empty() && digit(line_.front()) >= 0; ++count) {
            number = number << 4 | static_cast<u32>(digit(line_.front()));
            line_.remove_prefix(1);
        }
        if (count == 0 || count > most) {
            fail("a hexadecimal number with no or too many digits");
        }
        return number;
    }

    /// A list of bytes between commas; a backslash at the end of a line goes on in the next.
    std::vector<u8> read_bytes() {
        std::vector<u8> bytes;
        skip_to_more_bytes();
        while (!at_end_of_statement()) {
            bytes.push_back(static_cast<u8>(read_number(2)));
            skip_to_more_bytes();
            if (at_end_of_statement()) {
                break;
            }
            if (!take(u',')) {
                fail("bytes without a comma between them");
            }
            skip_to_more_bytes();
        }
        return bytes;
    }

    void skip_to_more_bytes() {
        skip_blanks();
        while (take(u'\\')) {
            skip_blanks();
            if (!at_end_of_statement()) {
                fail("text after a line's last backslash");
            }
            if (!next_line()) {
                fail("the end of the text inside a list of bytes");
            }
            skip_blanks();
        }
    }

    std::u16string_view text_;
    std::u16string_view line_;
    u32 line_number_ = 0;
    bool old_form_ = false;
    bool inside_key_ = false;
    std::vector<reg_step> steps_;
};

} // namespace

std::optional<std::vector<reg_step>> read_reg(std::span<const u8> text, reg_problem& problem) {
    const std::optional<std::u16string> decoded = decode(text, problem.reason);
    if (!decoded) {
        problem.line = 1;
        return std::nullopt;
    }
    reader reading(*decoded);
    try {
        return reading.read_all();
    } catch (const broken_text& broken) {
        problem = {reading.line_number(), broken.reason};
        return std::nullopt;
    }
}

} // namespace kr::host::detail
