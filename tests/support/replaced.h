/// Regular expressions for the tests: compiled here once, as each source that includes <regex> takes
/// seconds to compile.
#pragma once

#include <string>

namespace kr::test {

/// `text` with `with` for each match of `pattern`, as std::regex_replace has it.
std::string replaced(const std::string& text, const std::string& pattern, const std::string& with);

} // namespace kr::test
