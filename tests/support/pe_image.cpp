#include "support/pe_image.h"

#include <fstream>
#include <iterator>
#include <stdexcept>

std::vector<u8> pe_image::read_file(const char* path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

u64 pe_image::number_at(u32 offset, u32 size_bytes) const {
    u64 number = 0;
    for (u32 i = size_bytes; i-- > 0;) {
        number = number << 8 | bytes_.at(std::size_t{offset} + i);
    }
    return number;
}

std::string pe_image::text_at(u32 offset) const {
    std::string text;
    for (; bytes_.at(offset) != 0; offset++) {
        text += static_cast<char>(bytes_[offset]);
    }
    return text;
}

pe_image::range pe_image::directory(u32 index) const {
    const u32 entry = header() + 24 + 112 + index * 8;
    return {u32_at(entry), u32_at(entry + 4)};
}

u32 pe_image::file_offset(u32 rva) const {
    const u32 sections = header() + 24 + u16_at(header() + 20);
    for (u32 i = 0; i < u16_at(header() + 6); i++) {
        const u32 section = sections + i * 40;
        const u32 start = u32_at(section + 12);
        if (rva >= start && rva - start < u32_at(section + 16)) {
            return u32_at(section + 20) + (rva - start);
        }
    }
    throw std::out_of_range("an RVA outside of all sections");
}

u32 pe_image::computed_checksum() const {
    const u32 field = header() + 24 + 64;
    u64 sum = 0;
    for (u32 offset = 0; offset < bytes_.size(); offset += 2) {
        if (offset == field || offset == field + 2) {
            continue;
        }
        const u32 word = bytes_.size() - offset > 1 ? u16_at(offset) : bytes_[offset];
        sum += word;
        sum = (sum & 0xFFFF) + (sum >> 16);
    }
    return static_cast<u32>(sum + bytes_.size());
}

std::vector<std::string> pe_image::imports() const {
    std::vector<std::string> found;
    for (u32 entry = file_offset(directory(1).start); u32_at(entry + 12) != 0; entry += 20) {
        const std::string library = text_at(file_offset(u32_at(entry + 12)));
        for (u32 thunk = file_offset(u32_at(entry)); u64_at(thunk) != 0; thunk += 8) {
            std::string name = library + "!";
            name += u64_at(thunk) >> 63 != 0 ? std::to_string(u16_at(thunk))
                                             : text_at(file_offset(u32_at(thunk)) + 2);
            found.push_back(std::move(name));
        }
    }
    return found;
}

u32 pe_image::resource_entry(u32 table, std::u16string_view name) const {
    const u32 root = file_offset(directory(2).start);
    for (u32 i = 0; i < u32{u16_at(table + 12)} + u16_at(table + 14); i++) {
        const u32 entry = table + 16 + i * 8;
        const u32 id = u32_at(entry);
        std::u16string text;
        if (id >> 31 != 0) {
            const u32 stored = root + (id & 0x7FFFFFFF);
            for (u32 k = 0; k < u16_at(stored); k++) {
                text += static_cast<char16_t>(u16_at(stored + 2 + k * 2));
            }
        } else {
            text = u'#';
            for (const char digit : std::to_string(id)) {
                text += static_cast<char16_t>(digit);
            }
        }
        if (text == name) {
            return root + (u32_at(entry + 4) & 0x7FFFFFFF);
        }
    }
    return 0;
}

std::vector<u8> pe_image::resource(std::u16string_view type, std::u16string_view name,
                                   u16 language) const {
    const u32 names = resource_entry(file_offset(directory(2).start), type);
    const u32 languages = names == 0 ? 0 : resource_entry(names, name);
    u32 leaf = 0;
    for (u32 i = 0; languages != 0 && i < u16_at(languages + 14); i++) {
        if (u32_at(languages + 16 + i * 8) == language) {
            leaf = file_offset(directory(2).start) + u32_at(languages + 16 + i * 8 + 4);
        }
    }
    if (leaf == 0) {
        return {};
    }
    const u32 start = file_offset(u32_at(leaf));
    return {bytes_.begin() + start, bytes_.begin() + start + u32_at(leaf + 4)};
}
