/// String arrays as lists of UTF-8.
#pragma once

#include "owners.h"
#include "support/suite.h"

namespace kr::test {

inline kr::owned_strings array_of(const std::vector<std::string>& items) {
    kr::owned_strings array;
    EXPECT_EQ(kr_array_string_new(array.out()), ok);
    for (const std::string& item : items) {
        EXPECT_EQ(kr_array_string_add(array.get(), widen(item).c_str()), ok);
    }
    return array;
}

inline std::vector<std::string> items_of(const kr::owned_strings& array) {
    std::vector<std::string> items;
    for (u32 index = 0; index < kr_array_string_count(array.get()); ++index) {
        items.push_back(utf8(kr_array_string_get_item(array.get(), index)));
    }
    return items;
}

} // namespace kr::test
