/// docs/formatting.md does not lie: every example of its tables is formatted, every refused call
/// refused, and it has a row for everything that a format may hold.
#include <fstream>
#include <set>
#include <sstream>

#include "base/convert/guid.h"
#include "printf/printf.h"
#include "support/checked_format.h"
#include "support/replaced.h"

namespace {

using namespace kr::test;
using kr::detail::format_argument;
using kr::detail::format_conversion;

using cells = std::vector<std::string>;

/// The rows of the table below the heading that begins with `first`, each as what its cells hold
/// between back quotes, or their text where there are none.
std::vector<cells> table(const std::string& first) {
    std::ifstream page(KR_FORMATTING_PAGE);
    std::vector<cells> rows;
    std::string line;
    while (std::getline(page, line) && !line.starts_with("| " + first + " |")) {}
    std::getline(page, line); // the rule
    while (std::getline(page, line) && line.starts_with("| ")) {
        cells& row = rows.emplace_back();
        std::istringstream rest(replaced(line, R"(\| (`?)([^|]*?)\1 (?=\|))", "$2\n"));
        for (std::string cell; std::getline(rest, cell) && cell != "|";) { row.push_back(cell); }
    }
    EXPECT_GE(rows.size(), 5u) << "the page has lost its table of " << first;
    return rows;
}

/// The row of the first conversion of a format.
const format_conversion& conversion_of(const std::string& format) {
    const char* cursor = format.c_str() + format.find('%') + 1;
    cursor += std::strspn(cursor, "'-+ #0123456789");
    cursor += kr::detail::format_find_size(cursor).length;
    const u8 row = kr::detail::format_take_conversion(&cursor);
    EXPECT_NE(row, kr::detail::format_no_row) << format;
    return kr::detail::format_conversions[row];
}

/// What an example's argument is made of: its slot points into here.
struct argument {
    std::string narrow;
    wide text;
    kr_result result;
    KRGUID guid;
    u64 slot = 0;

    argument(format_argument kind, const std::string& written) {
        if (written == "nullptr") { return; }
        const size_t quote = written.find('"') + 1;
        narrow = written.substr(quote, written.rfind('"') - quote);
        text = widen(narrow);
        if (kind == format_argument::narrow_string) {
            slot = slot_of(narrow.c_str());
        } else if (kind == format_argument::wide_string) {
            slot = slot_of(text.c_str());
        } else if (kind == format_argument::guid) {
            EXPECT_EQ(kr_guid_from_string_simple_ascii(written.c_str(), &guid), ok);
            slot = slot_of(&guid);
        } else {
            slot = std::stoull(written, nullptr, 0);
            result = static_cast<kr_result>(slot);
            if (kind == format_argument::result) { slot = slot_of(&result); }
        }
    }
};

std::string notation(const format_conversion& conversion) {
    return std::string(conversion.library ? "%_" : "%") + conversion.letter;
}

TEST(FormattingPage, ShowsWhatTheEngineWrites) {
    std::set<std::string> shown, known;
    for (const cells& row : table("format")) {
        ASSERT_EQ(row.size(), 3u);
        const format_conversion& conversion = conversion_of(row[0]);
        shown.insert(notation(conversion));
        const argument value(conversion.argument, row[1]);
        EXPECT_EQ(formatted(row[0].c_str(), value.slot), row[2]) << row[0] << " of " << row[1];
    }
    for (const auto& conversion : kr::detail::format_conversions) { known.insert(notation(conversion)); }
    EXPECT_EQ(shown, known);
    std::vector<std::string> listed;
    for (const cells& row : table("conversion")) { listed.push_back(row[0]); }
    EXPECT_THAT(listed, testing::UnorderedElementsAreArray(known));
    std::string flags;
    for (const cells& row : table("flag")) { flags += row[0]; }
    for (const auto& flag : kr::detail::format_flags) { EXPECT_NE(flags.find(flag.character), flags.npos); }
}

TEST(FormattingPage, ShowsWhatTheEngineRefuses) {
    size_t refused = 0;
    for (const cells& row : table("call")) {
        ASSERT_EQ(row.size(), 3u);
        if (row[2] != "refuses") { continue; }
        ++refused;
        const std::string format = row[0].substr(1, row[0].find('"', 1) - 1);
        const bool null = row[0].ends_with("nullptr");
        EXPECT_EQ(formatted(format.c_str(), u64{null ? 0u : 1u}, u64{2}), null ? "8200000C" : "82000079")
            << row[0];
    }
    EXPECT_GE(refused, 10u);
}

} // namespace
