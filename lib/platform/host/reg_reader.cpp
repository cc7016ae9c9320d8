/// Reading `.reg` text.
#include "platform/host/reg_text.h"

#include <cstring>

#include "platform/host/fold.h"
#include "platform/host/registry.h"
#include "platform/host/text.h"

namespace kr::host::detail {

namespace {

/// What a step of the parser throws when the text is broken; caught in read_reg.
struct broken_text {
    const char* reason;
};

void require(bool holds, const char* reason) {
    if (!holds) {
        throw broken_text{reason};
    }
}

/// The text in UTF-16 without its byte-order mark.
std::u16string decode(std::string_view narrow) {
    std::u16string text;
    if (narrow.starts_with("\xFF\xFE")) {
        narrow.remove_prefix(2);
        require(narrow.size() % sizeof(WCHAR) == 0, "half a UTF-16 unit at the end");
        text.resize(narrow.size() / sizeof(WCHAR));
        narrow.copy(reinterpret_cast<char*>(text.data()), narrow.size());
        return text;
    }
    require(decode_utf8(narrow, text), "neither UTF-16LE nor UTF-8");
    return text;
}

class reader {
public:
    explicit reader(std::shared_ptr<registry_key> root) : root_(std::move(root)) {}

    /// 0 before the first.
    [[nodiscard]] u32 line_number() const { return line_number_; }

    void read_all(std::u16string_view text) {
        text_ = text;
        read_header();
        while (next_line()) {
            skip_blanks();
            if (take(u'[')) {
                read_key();
            } else if (!at_end_of_statement()) {
                read_value();
            }
        }
    }

private:
    /// A backslash at the end of a line joins the next one to it.
    bool next_line() {
        const bool there = !text_.empty();
        joined_.clear();
        for (bool goes_on = true; goes_on && !text_.empty(); ++line_number_) {
            std::u16string_view line = text_.substr(0, text_.find(u'\n'));
            text_.remove_prefix(std::min(line.size() + 1, text_.size()));
            if (line.ends_with(u'\r')) {
                line.remove_suffix(1);
            }
            goes_on = line.ends_with(u'\\');
            joined_.append(line.substr(0, line.size() - (goes_on ? 1 : 0)));
        }
        line_ = joined_;
        require(line_.find(u'\0') == std::u16string_view::npos, "a null character");
        return there;
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
        require(at_end_of_statement(), "text after the end of a value");
    }

    void read_header() {
        next_line();
        while (line_.ends_with(u' ') || line_.ends_with(u'\t')) {
            line_.remove_suffix(1);
        }
        require(line_ == reg_header, "the first line is not that of a registry file");
    }

    /// The name lasts to the last bracket of the line: names may hold brackets themselves.
    void read_key() {
        const bool deletes = take(u'-');
        const size_t length = line_.rfind(u']');
        require(length != std::u16string_view::npos, "a key without its closing bracket");
        std::u16string_view path = line_.substr(0, length);
        line_.remove_prefix(length + 1);
        end_statement();

        const std::u16string_view root = path.substr(0, path.find(u'\\'));
        path.remove_prefix(root.size());
        require(equal_folded(root, root_->name), "a key that is not below HKEY_LOCAL_MACHINE");
        require(is_key_path(path), "a key name that is too long, too deep or not one line");
        key_ = walk_down(root_, path);
        if (!deletes) {
            key_ = make_below(key_, path);
            return;
        }
        if (path.empty()) {
            require(key_ != root_, "the deletion of the root key");
            key_->parent->remove_subkey(*key_);
        }
        key_ = nullptr;
    }

    void read_value() {
        registry_value value;
        if (line_.starts_with(u'"')) {
            value.name = read_quoted();
        } else {
            require(take(u'@'), "neither a key nor a value");
        }
        require(value.name.size() <= max_value_name_chars, "a value name that is too long");
        require(key_ != nullptr, "a value outside any key");
        skip_blanks();
        require(take(u'='), "a value without '='");
        skip_blanks();
        if (take(u'-')) {
            key_->remove_value(value.name);
        } else {
            read_data(value);
            key_->set_value(std::move(value));
        }
        end_statement();
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
        require(take(u'"'), "a text without its closing quote");
        return text;
    }

    WCHAR read_escape() {
        const size_t which =
            line_.empty() ? std::u16string_view::npos : reg_escapes.find(line_.front());
        require(which != std::u16string_view::npos, "an unknown escape in a text");
        line_.remove_prefix(1);
        return reg_escaped[which];
    }

    void read_data(registry_value& value) {
        if (line_.starts_with(u'"')) {
            const std::u16string text = read_quoted();
            value.type = REG_SZ;
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
            require(take(u')') && take(u':'), "a type without '):'");
            value.data = read_bytes();
        } else {
            require(false, "an unknown kind of data");
        }
    }

    /// One to `most` hexadecimal digits.
    u32 read_number(size_t most) {
        constexpr std::u16string_view digits = u"0123456789ABCDEF";
        u32 number = 0;
        size_t count = 0;
        for (; !line_.empty(); ++count, line_.remove_prefix(1)) {
            const size_t digit = digits.find(fold(line_.front()));
            if (digit == std::u16string_view::npos) {
                break;
            }
            number = number << 4 | static_cast<u32>(digit);
        }
        require(count != 0 && count <= most, "a hexadecimal number with no or too many digits");
        return number;
    }

    /// A list of bytes between commas, which may stand behind the last one, too.
    std::vector<u8> read_bytes() {
        std::vector<u8> bytes;
        bool goes_on = true;
        for (skip_blanks(); !at_end_of_statement(); skip_blanks()) {
            require(goes_on, "bytes without a comma between them");
            bytes.push_back(static_cast<u8>(read_number(2)));
            skip_blanks();
            goes_on = take(u',');
        }
        return bytes;
    }

    std::u16string_view text_;
    std::u16string joined_;
    /// What is left of the line.
    std::u16string_view line_;
    u32 line_number_ = 0;
    std::shared_ptr<registry_key> root_;
    /// Where values go; null before the first key and after a deletion.
    std::shared_ptr<registry_key> key_;
};

} // namespace

std::string read_reg(std::string_view text, const std::shared_ptr<registry_key>& root) {
    reader reading(root);
    try {
        reading.read_all(decode(text));
        return {};
    } catch (const broken_text& broken) {
        return "line " + std::to_string(std::max(reading.line_number(), 1U)) + ": " + broken.reason;
    }
}

} // namespace kr::host::detail
