/// Reads a PE32+ image from its bytes, for tests about what the build produces. Touches one file.
/// Every access is checked: a broken image throws std::out_of_range, which fails the test.
#pragma once

#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "platform/types.h"

class pe_image {
public:
    /// Reads the file at `path`; no bytes when it cannot be read.
    static std::vector<u8> read_file(const char* path) {
        std::ifstream file(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    }

    explicit pe_image(std::vector<u8> bytes) : bytes_(std::move(bytes)) {}

    struct range {
        u32 start;
        u32 size_bytes;
    };

    [[nodiscard]] const std::vector<u8>& bytes() const { return bytes_; }
    [[nodiscard]] u16 u16_at(u32 offset) const { return static_cast<u16>(number_at(offset, 2)); }
    [[nodiscard]] u32 u32_at(u32 offset) const { return static_cast<u32>(number_at(offset, 4)); }

    [[nodiscard]] u32 header() const { return u32_at(0x3C); }
    [[nodiscard]] u16 machine() const { return u16_at(header() + 4); }
    [[nodiscard]] u16 magic() const { return u16_at(header() + 24); }
    [[nodiscard]] u32 checksum() const { return u32_at(header() + 24 + 64); }
    [[nodiscard]] u16 subsystem() const { return u16_at(header() + 24 + 68); }
    [[nodiscard]] u16 dll_characteristics() const { return u16_at(header() + 24 + 70); }
    /// Data directory `index`: an RVA and a size, except the security directory (4), which gives a
    /// file offset.
    [[nodiscard]] range directory(u32 index) const {
        const u32 entry = header() + 24 + 112 + index * 8;
        return {u32_at(entry), u32_at(entry + 4)};
    }

    /// What the checksum has to be: the sum of all 16-bit words but its own, and the size.
    [[nodiscard]] u32 computed_checksum() const {
        const u32 field = header() + 24 + 64;
        u32 sum = 0;
        for (u32 offset = 0; offset < bytes_.size(); offset += 2) {
            const u32 word = bytes_.size() - offset > 1 ? u16_at(offset) : bytes_[offset];
            sum += offset == field || offset == field + 2 ? 0 : word;
            sum = (sum & 0xFFFF) + (sum >> 16);
        }
        return sum + static_cast<u32>(bytes_.size());
    }

    /// Every import as "library!name".
    [[nodiscard]] std::vector<std::string> imports() const {
        std::vector<std::string> found;
        for (u32 entry = file_offset(directory(1).start); u32_at(entry + 12) != 0; entry += 20) {
            const std::string library = text_at(file_offset(u32_at(entry + 12))) + "!";
            for (u32 thunk = file_offset(u32_at(entry)); number_at(thunk, 8) != 0; thunk += 8) {
                found.push_back(library + (number_at(thunk, 8) >> 63 != 0
                                               ? std::to_string(u16_at(thunk))
                                               : text_at(file_offset(u32_at(thunk)) + 2)));
            }
        }
        return found;
    }

    /// A resource's bytes, found by type and name ("#16" stands for the number 16) and language ("#0");
    /// empty when there is none. Names are compared as they are stored, in upper case.
    [[nodiscard]] std::vector<u8> resource(std::string_view type, std::string_view name,
                                           std::string_view language) const {
        u32 at = file_offset(directory(2).start);
        for (const std::string_view wanted : {type, name, language}) {
            at = at == 0 ? 0 : resource_entry(at, wanted);
        }
        const u32 start = at == 0 ? 0 : file_offset(u32_at(at));
        return {bytes_.begin() + start, bytes_.begin() + start + (at == 0 ? 0 : u32_at(at + 4))};
    }

private:
    [[nodiscard]] u64 number_at(u32 offset, u32 size_bytes) const {
        u64 number = 0;
        for (u32 i = size_bytes; i-- > 0;) { number = number << 8 | bytes_.at(std::size_t{offset} + i); }
        return number;
    }

    [[nodiscard]] std::string text_at(u32 offset) const {
        std::string text;
        for (; bytes_.at(offset) != 0; offset++) { text += static_cast<char>(bytes_[offset]); }
        return text;
    }

    [[nodiscard]] u32 file_offset(u32 rva) const {
        for (u32 i = 0; i < u16_at(header() + 6); i++) {
            const u32 section = header() + 24 + u16_at(header() + 20) + i * 40;
            const u32 start = u32_at(section + 12);
            if (rva >= start && rva - start < u32_at(section + 16)) {
                return u32_at(section + 20) + (rva - start);
            }
        }
        throw std::out_of_range("an RVA outside of all sections");
    }

    /// What the entry called `name` of a directory leads to; 0 when there is none.
    [[nodiscard]] u32 resource_entry(u32 table, std::string_view name) const {
        const u32 root = file_offset(directory(2).start);
        for (u32 i = 0; i < u32{u16_at(table + 12)} + u16_at(table + 14); i++) {
            const u32 entry = table + 16 + i * 8, id = u32_at(entry);
            std::string text;
            if (id >> 31 == 0) { text.append("#").append(std::to_string(id)); }
            const u32 stored = root + (id & 0x7FFFFFFF);
            for (u32 k = 0; id >> 31 != 0 && k < u16_at(stored); k++) {
                text += static_cast<char>(u16_at(stored + 2 + k * 2));
            }
            if (text == name) { return root + (u32_at(entry + 4) & 0x7FFFFFFF); }
        }
        return 0;
    }

    std::vector<u8> bytes_;
};
