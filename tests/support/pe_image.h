/// Reads a PE32+ image from its bytes, for tests about what the build produces. Touches one file.
/// Every access is checked: a broken image throws std::out_of_range, which fails the test.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/types.h"

class pe_image {
public:
    /// Reads the file at `path`; no bytes when it cannot be read.
    static std::vector<u8> read_file(const char* path);

    explicit pe_image(std::vector<u8> bytes) : bytes_(std::move(bytes)) {}

    struct range {
        u32 start;
        u32 size_bytes;
    };

    [[nodiscard]] const std::vector<u8>& bytes() const { return bytes_; }
    [[nodiscard]] u16 u16_at(u32 offset) const { return static_cast<u16>(number_at(offset, 2)); }
    [[nodiscard]] u32 u32_at(u32 offset) const { return static_cast<u32>(number_at(offset, 4)); }
    [[nodiscard]] u64 u64_at(u32 offset) const { return number_at(offset, 8); }

    [[nodiscard]] u32 header() const { return u32_at(0x3C); }
    [[nodiscard]] u16 machine() const { return u16_at(header() + 4); }
    [[nodiscard]] u16 magic() const { return u16_at(header() + 24); }
    [[nodiscard]] u32 checksum() const { return u32_at(header() + 24 + 64); }
    [[nodiscard]] u16 subsystem() const { return u16_at(header() + 24 + 68); }
    [[nodiscard]] u16 dll_characteristics() const { return u16_at(header() + 24 + 70); }
    /// Data directory `index`: an RVA and a size, except the security directory (4), which gives a
    /// file offset.
    [[nodiscard]] range directory(u32 index) const;
    [[nodiscard]] u32 file_offset(u32 rva) const;

    /// What the checksum has to be.
    [[nodiscard]] u32 computed_checksum() const;
    /// Every import as "library!name".
    [[nodiscard]] std::vector<std::string> imports() const;
    /// A resource's bytes, found by type and name ("#16" stands for the number 16) and language;
    /// empty when there is none. Names are compared as they are stored, in upper case.
    [[nodiscard]] std::vector<u8> resource(std::u16string_view type, std::u16string_view name,
                                           u16 language) const;

private:
    [[nodiscard]] u64 number_at(u32 offset, u32 size_bytes) const;
    [[nodiscard]] std::string text_at(u32 offset) const;
    [[nodiscard]] u32 resource_entry(u32 table, std::u16string_view name) const;

    std::vector<u8> bytes_;
};
