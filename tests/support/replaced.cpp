/// See the header.
#include "support/replaced.h"

#include <map>
#include <regex>

std::string kr::test::replaced(const std::string& text, const std::string& pattern, const std::string& with) {
    static std::map<std::string, std::regex> known;
    return std::regex_replace(text, known.try_emplace(pattern, pattern).first->second, with);
}
