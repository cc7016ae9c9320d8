/// The stand-in's `.reg` text: what is read, what is refused and where, what is written, and what
/// happens to the file behind the registry when something goes wrong.
#include "platform/host/fault.h"
#include "platform/host/world.h"
#include "support/system.h"

#include <csignal>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <sys/resource.h>

namespace {

using namespace kr::host;
namespace fs = std::filesystem;

const std::string header = "Windows Registry Editor Version 5.00\n";

u32 import(std::string_view text, std::string* problem = nullptr) {
    return import_reg({reinterpret_cast<const u8*>(text.data()), text.size()}, problem);
}

/// The registry's text without its byte-order mark, in UTF-8 with LF alone.
std::string exported() {
    const std::vector<u8> bytes = export_reg();
    std::u16string wide(bytes.size() / 2, u'\0');
    std::memcpy(wide.data(), bytes.data(), bytes.size());
    EXPECT_EQ(wide.front(), 0xFEFF);
    std::string text = to_utf8(wide.substr(1));
    std::erase(text, '\r');
    return text;
}

std::string utf16_bytes(std::string_view text) {
    const std::u16string wide = u"\uFEFF" + to_utf16(text);
    return {reinterpret_cast<const char*>(wide.data()), wide.size() * 2};
}

class RegText : public testing::Test {
protected:
    void SetUp() override { reset_world(); }
    void TearDown() override { reset_world(); }
};

TEST_F(RegText, ReadsWhatPeopleAndExportsWrite) {
    const struct {
        int line;
        const char *text, *written;
    } rows[] = {
        {__LINE__, R"(  @ = "" ; note)", R"(@="")"},
        {__LINE__, R"("q\"b\\s"="C:\\dir\\\"x\"")", R"("q\"b\\s"="C:\\dir\\\"x\"")"},
        {__LINE__, R"("a\nb\r"="1")", R"("a\nb\r"="1")"},
        {__LINE__, R"("a"="x\ny")", R"("a"=hex(1):78,00,0a,00,79,00,00,00)"},
        {__LINE__, R"("d"=dword:1F)", R"("d"=dword:0000001f)"},
        {__LINE__, R"("b"=HEX:0,Ff,7)", R"("b"=hex:00,ff,07)"},
        {__LINE__, R"("s"=hex(1):61,00,00,00)", R"("s"="a")"},
        {__LINE__, R"("s"=hex(1):61,00)", R"("s"=hex(1):61,00)"},
        {__LINE__, R"("s"=hex(1):61)", R"("s"=hex(1):61)"},
        {__LINE__, R"("t"=hex(12ab):)", R"("t"=hex(12ab):)"},
        {__LINE__, "\"b\"=hex:01,\\ ; note\n  02,\\\n\n  ; end", R"("b"=hex:01,02)"},
        {__LINE__, "\"a\"=\"1\"\n\"A\"=\"x;y\"", R"("a"="x;y")"},
        {__LINE__, "\"a\"=\"1\"\n\"A\"=-\n\"b\"=\"3\"", R"("b"="3")"},
        {__LINE__, "\"\xC3\xA4\xF0\x9F\x98\x80\"=\"\"", "\"\xC3\xA4\xF0\x9F\x98\x80\"=\"\""},
    };
    const std::string key = header + "\n[HKEY_CURRENT_USER\\k]\n";
    for (const auto& r : rows) {
        SCOPED_TRACE(r.line);
        const std::string text = key + r.text + "\n";
        for (const std::string& encoded : {text, "\xEF\xBB\xBF" + text, utf16_bytes(text)}) {
            reset_registry();
            std::string problem;
            EXPECT_EQ(import(encoded, &problem), 0u) << problem;
            EXPECT_EQ(exported(), key + r.written + "\n\n");
        }
    }
    reset_registry(); // the old form in its code page
    EXPECT_EQ(import("REGEDIT4\r\n[HKEY_CURRENT_USER\\k]\r\n\"\xE4\"=\"\x80\"\r\n\"x\"=hex(2):61,80,00\r\n"),
              0u);
    EXPECT_EQ(exported(), key + "\"\xC3\xA4\"=\"\xE2\x82\xAC\"\n\"x\"=hex(2):61,00,ac,20,00,00\n\n");
}

TEST_F(RegText, KeysAreMadeDeletedAndWrittenInOrder) {
    std::string problem;
    EXPECT_EQ(import(header + "[HKEY_LOCAL_MACHINE\\S\\b]\n[hkey_local_machine\\s\\A ]x]\n@=\"v\"\n"
                              "[HKEY_LOCAL_MACHINE\\S\\c\\d]\n[-HKEY_LOCAL_MACHINE\\s\\C]\n"
                              "[-HKEY_CURRENT_USER\\none]\n",
                     &problem),
              0u)
        << problem;
    EXPECT_EQ(exported(), header + "\n[HKEY_LOCAL_MACHINE\\S]\n\n[HKEY_LOCAL_MACHINE\\S\\A ]x]\n@=\"v\"\n\n"
                                   "[HKEY_LOCAL_MACHINE\\S\\b]\n\n");
}

TEST_F(RegText, BreaksLongListsLikeTheSystem) {
    const std::vector<u8> data(60, 0xAB);
    ASSERT_EQ(RegSetValueExW(HKEY_CURRENT_USER, u"name", 0, REG_BINARY, data.data(), 60), 0);
    const std::string text = exported();
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) { EXPECT_LE(line.size(), 80u) << line; }
    reset_registry();
    EXPECT_EQ(import(utf16_bytes(text)), 0u);
    EXPECT_EQ(exported(), text);
}

TEST_F(RegText, SaysWhereATextIsBrokenAndChangesNothing) {
    const struct {
        int line;
        const char *text, *problem;
    } rows[] = {
        {__LINE__, "@=\"x\" y", "3: text after the end of a value"},
        {__LINE__, "[HKEY_CURRENT_USER\\k", "3: a key without its closing bracket"},
        {__LINE__, "[HKEY_USERS\\k]", "3: an unknown root key"},
        {__LINE__, "[-HKEY_CURRENT_USER]", "3: the deletion of a root key"},
        {__LINE__, "\"a=1", "3: a text without its closing quote"},
        {__LINE__, "\"a\"=\"\\x\"", "3: an unknown escape in a text"},
        {__LINE__, "\"a\"", "3: a value without '='"},
        {__LINE__, "\"a\"=x", "3: an unknown kind of data"},
        {__LINE__, "\"a\"=dword:", "3: a hexadecimal number with no or too many digits"},
        {__LINE__, "\"a\"=dword:123456789", "3: a hexadecimal number with no or too many digits"},
        {__LINE__, "\"a\"=hex:1 2", "3: bytes without a comma between them"},
        {__LINE__, "\"a\"=hex(1:00", "3: a type without '):'"},
        {__LINE__, "\"a\"=hex:01,\\", "3: the end of the text inside a list of bytes"},
        {__LINE__, "\"a\"=hex:01,\\02", "3: text after a line's last backslash"},
        {__LINE__, "[-HKEY_CURRENT_USER\\n]\n@=\"x\"", "4: a value outside any key"},
        {__LINE__, "nonsense", "3: neither a key nor a value"},
    };
    const std::string before = header + "\n[HKEY_CURRENT_USER\\k]\n@=\"kept\"\n\n";
    ASSERT_EQ(import(before), 0u);
    for (const auto& r : rows) {
        SCOPED_TRACE(r.line);
        std::string problem;
        // The good line before the broken one is not carried out either.
        EXPECT_EQ(import(header + "[HKEY_CURRENT_USER\\n]\n" + r.text + "\n", &problem), 1009u);
        EXPECT_EQ(problem, std::string("line ") + r.problem);
        EXPECT_EQ(exported(), before);
    }
    const std::string deep = "[HKEY_CURRENT_USER\\" + std::string(256, 'x') + "]\n";
    for (const std::string& text :
         {std::string(), std::string("REGEDIT5\n"), header + "@=\"x\"", header + deep, header + '\0' + '\n',
          header + "\xC0\x80", header + "\xE2\x82", header + "\xE0\x80\x80", header + "\xED\xA0\x80",
          header + "\xF4\x90\x80\x80", "\xFE\xFF" + header, utf16_bytes(header) + "x"}) {
        EXPECT_EQ(import(text), 1009u) << text;
        EXPECT_EQ(exported(), before);
    }
}

class RegFile : public RegText {
protected:
    void SetUp() override {
        RegText::SetUp();
        folder = (fs::temp_directory_path() / "kr-reg-XXXXXX").string();
        ASSERT_NE(mkdtemp(folder.data()), nullptr);
        file = folder + "/host.reg";
    }
    void TearDown() override {
        RegText::TearDown();
        fs::remove_all(folder);
    }
    void use(const std::string& text) const {
        std::ofstream(file, std::ios::binary) << text;
        reset_registry_to_file(file);
    }
    [[nodiscard]] std::string got() const {
        std::ifstream in(file, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }

    std::string folder, file;
};

TEST_F(RegFile, HoldsEveryChangeForTheNextProcess) {
    reset_registry_to_file(file);
    HKEY key = nullptr;
    ASSERT_EQ(RegCreateKeyW(HKEY_LOCAL_MACHINE, u"SOFTWARE\\Korinth", &key), 0);
    const BYTE one[4] = {1};
    ASSERT_EQ(RegSetValueExW(key, u"v", 0, REG_DWORD, one, 4), 0);
    const std::string text = exported();
    reset_registry_to_file(file);
    EXPECT_EQ(exported(), text);
    EXPECT_EQ(RegDeleteValueW(key, u"v"), 6) << "the handle is of the time before";
}

TEST_F(RegFile, ABrokenFileIsReportedAndLeftAlone) {
    use(header + "[HKEY_CURRENT_USER\\k]\n@=\n");
    const std::string before = got();
    testing::internal::CaptureStderr();
    HKEY key = nullptr;
    EXPECT_EQ(RegCreateKeyW(HKEY_CURRENT_USER, u"k", &key), 1009);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "registry file " + file + ", line 3: an unknown kind of data\n");
    EXPECT_EQ(RegDeleteTreeW(HKEY_CURRENT_USER, nullptr), 1009);
    EXPECT_EQ(import(header), 1009u);
    EXPECT_EQ(got(), before);
}

TEST_F(RegFile, AChangeThatCannotBeSavedIsTakenBack) {
    use(header +
        "[HKEY_CURRENT_USER\\k\\leaf]\n[HKEY_CURRENT_USER\\k]\n\"a\"=\"1\"\n\"b\"=\"2\"\n\"c\"=\"3\"\n");
    HKEY key = nullptr, leaf = nullptr;
    ASSERT_EQ(RegOpenKeyW(HKEY_CURRENT_USER, u"k", &key), 0);
    ASSERT_EQ(RegOpenKeyW(HKEY_CURRENT_USER, u"k\\leaf", &leaf), 0);
    const std::string before = exported();
    fs::remove_all(folder);

    HKEY fresh = nullptr;
    const BYTE data[4] = {};
    EXPECT_EQ(RegSetValueExW(key, u"a", 0, REG_DWORD, data, 4), 2);
    EXPECT_EQ(RegSetValueExW(key, u"new", 0, REG_DWORD, data, 4), 2);
    EXPECT_EQ(RegDeleteValueW(key, u"b"), 2);
    EXPECT_EQ(RegCreateKeyW(key, u"x\\y\\z", &fresh), 2);
    EXPECT_EQ(RegDeleteKeyW(key, u"leaf"), 2);
    EXPECT_EQ(RegDeleteTreeW(HKEY_CURRENT_USER, u"k"), 2);
    EXPECT_EQ(RegDeleteTreeW(HKEY_CURRENT_USER, nullptr), 2);
    EXPECT_EQ(exported(), before);

    fs::create_directory(folder);
    EXPECT_EQ(RegSetValueExW(leaf, u"v", 0, REG_DWORD, data, 4), 0);
    EXPECT_NE(exported(), before);
    const std::string whole = got();
    EXPECT_FALSE(whole.empty());
    EXPECT_EQ(RegDeleteTreeW(HKEY_CURRENT_USER, u"k"), 0);
    EXPECT_EQ(exported(), header + "\n");

    // A full disk shows only when the text is flushed.
    use(whole);
    const auto ignored = signal(SIGXFSZ, SIG_IGN);
    rlimit limit{};
    getrlimit(RLIMIT_FSIZE, &limit);
    const rlimit none{0, limit.rlim_max};
    setrlimit(RLIMIT_FSIZE, &none);
    EXPECT_EQ(RegDeleteTreeW(HKEY_CURRENT_USER, u"k"), 112);
    setrlimit(RLIMIT_FSIZE, &limit);
    signal(SIGXFSZ, ignored);
    EXPECT_EQ(got(), whole);
    EXPECT_EQ(std::distance(fs::directory_iterator(folder), {}), 1) << "no half-written file stays";
}

} // namespace
