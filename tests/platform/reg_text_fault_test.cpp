/// The stand-in's `.reg` text: what is read, what is refused and where, what is written, and what
/// happens to the file behind the registry when something goes wrong.
#include "platform/host/reg_text.h"
#include "support/host/world.h"
#include "support/system.h"

#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sys/resource.h>
#include <unistd.h>

namespace {

using namespace kr::host;
namespace fs = std::filesystem;

const std::string header = "Windows Registry Editor Version 5.00\n";
const std::string in_key = header + "\n[HKEY_LOCAL_MACHINE\\k]\n";

std::string utf16_bytes(std::string_view text) {
    const std::u16string wide = u"\uFEFF" + to_utf16(text);
    return {reinterpret_cast<const char*>(wide.data()), wide.size() * 2};
}

/// UTF-16LE with its mark and CR LF as UTF-8 with LF alone.
std::string plain(const std::string& bytes) {
    std::u16string wide(bytes.size() / 2, u'\0');
    bytes.copy(reinterpret_cast<char*>(wide.data()), bytes.size());
    EXPECT_EQ(wide.substr(0, 1), u"\uFEFF");
    std::string text = to_utf8(wide.substr(1));
    std::erase(text, '\r');
    return text;
}

/// What is written of a text that was read, or the problem.
std::string copied(std::string_view text) {
    const auto root = detail::make_root();
    const std::string problem = detail::read_reg(text, root);
    return problem.empty() ? plain(detail::write_reg(*root)) : problem;
}

TEST(RegText, ReadsWhatPeopleAndExportsWrite) {
    const std::string longest(255, 'x');
    const struct {
        int line;
        std::string text;   ///< in a key
        std::string result; ///< what is written again in its place, or the problem
    } rows[] = {
        {__LINE__, R"(  @ = "" ; note)", R"(@="")"},
        {__LINE__, R"("q\"b\\s"="C:\\dir\\\"x\"")", R"("q\"b\\s"="C:\\dir\\\"x\"")"},
        {__LINE__, R"("a\nb\r"="1")", R"("a\nb\r"="1")"},
        {__LINE__, R"("a"="x\ny")", R"("a"=hex(1):78,00,0a,00,79,00,00,00)"},
        {__LINE__, R"("d"=dword:1F)", R"("d"=dword:0000001f)"},
        {__LINE__, R"("d"=hex(4):1f,00,00)", R"("d"=hex(4):1f,00,00)"},
        {__LINE__, R"("b"=HEX:0,Ff,7,a8)", R"("b"=hex:00,ff,07,a8)"},
        {__LINE__, R"("s"=hex(1):61,00,00,00)", R"("s"="a")"},
        {__LINE__, R"("s"=hex(1):61,00)", R"("s"=hex(1):61,00)"},
        {__LINE__, R"("s"=hex(1):61)", R"("s"=hex(1):61)"},
        {__LINE__, R"("t"=hex(12ab):)", R"("t"=hex(12ab):)"},
        {__LINE__, "\"b\"=hex:01,\\\n  02,\\\n  ; end", R"("b"=hex:01,02)"},
        {__LINE__, "\"z\"=\"1\"\n\"a\"=\"\"\n\"Z\"=\"x;y\"", "\"z\"=\"x;y\"\n\"a\"=\"\""},
        {__LINE__, "\"a\"=\"1\"\n\"A\"=-\n\"b\"=\"3\"", R"("b"="3")"},
        {__LINE__, "\"\xC3\xA4\xF0\x9F\x98\x80\"=\"\"", "\"\xC3\xA4\xF0\x9F\x98\x80\"=\"\""},
        {__LINE__,
         "[hkey_local_machine\\K\\]x]\n@=\"v\"\n[HKEY_LOCAL_MACHINE\\k\\B\\b]\n[-HKEY_LOCAL_MACHINE\\k\\b]\n"
         "[-HKEY_LOCAL_MACHINE\\no]",
         "\n[HKEY_LOCAL_MACHINE\\k\\]x]\n@=\"v\""},
        {__LINE__, "[HKEY_LOCAL_MACHINE\\k\\" + longest + "]", "\n[HKEY_LOCAL_MACHINE\\k\\" + longest + "]"},
        {__LINE__, "@=\"x\" y", "line 4: text after the end of a value"},
        {__LINE__, "[HKEY_LOCAL_MACHINE\\k", "line 4: a key without its closing bracket"},
        {__LINE__, "[HKEY_USERS\\k]", "line 4: a key that is not below HKEY_LOCAL_MACHINE"},
        {__LINE__, "[-HKEY_LOCAL_MACHINE]", "line 4: the deletion of the root key"},
        {__LINE__, "[HKEY_LOCAL_MACHINE\\" + longest + "x]",
         "line 4: a key name that is too long, too deep or not one line"},
        {__LINE__, "\"a=1", "line 4: a text without its closing quote"},
        {__LINE__, "\"a\"=\"\\x\"", "line 4: an unknown escape in a text"},
        {__LINE__, "\"a\"", "line 4: a value without '='"},
        {__LINE__, "\"a\"=x", "line 4: an unknown kind of data"},
        {__LINE__, "\"a\"=dword:", "line 4: a hexadecimal number with no or too many digits"},
        {__LINE__, "\"a\"=dword:123456789", "line 4: a hexadecimal number with no or too many digits"},
        {__LINE__, "\"a\"=hex:1 2", "line 4: bytes without a comma between them"},
        {__LINE__, "\"a\"=hex(1:00", "line 4: a type without '):'"},
        {__LINE__, "\"a\"=hex:01,\\02", "line 4: a hexadecimal number with no or too many digits"},
        {__LINE__, "\"a\"=hex:01,\\\n02\n@", "line 6: a value without '='"},
        {__LINE__, "[-HKEY_LOCAL_MACHINE\\k]\n@=\"x\"", "line 5: a value outside any key"},
        {__LINE__, "nonsense", "line 4: neither a key nor a value"},
        {__LINE__, std::string(1, '\0'), "line 4: a null character"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        const std::string text = in_key + row.text + '\n';
        const bool reads = !row.result.starts_with("line ");
        for (const std::string& encoded : {text, utf16_bytes(text)}) {
            EXPECT_EQ(copied(encoded), reads ? in_key + row.result + "\n\n" : row.result);
        }
    }
    for (const std::string& text : {std::string(), std::string("REGEDIT4\n"), header + "\xC0\x80",
                                    header + "\xE2\x82", header + "\xE0\x80\x80", header + "\xED\xA0\x80",
                                    header + "\xF4\x90\x80\x80", utf16_bytes(header) + "x"}) {
        EXPECT_EQ(copied(text).substr(0, 8), "line 1: ");
    }
}

class RegFile : public kr::test::World {
protected:
    RegFile() {
        EXPECT_NE(mkdtemp(folder.data()), nullptr);
        file = folder + "/host.reg";
    }
    ~RegFile() override { fs::remove_all(folder); }

    void use(const std::string& text) const {
        std::ofstream(file, std::ios::binary) << text;
        reset_registry_to_file(file);
    }
    [[nodiscard]] std::string got() const { return kr::test::read_native_file(file); }
    static LSTATUS set(const WCHAR* name = u"v") {
        return RegSetValueExW(HKEY_LOCAL_MACHINE, name, 0, REG_BINARY, nullptr, 0);
    }

    std::string folder = (fs::temp_directory_path() / "kr-reg-XXXXXX").string(), file;
};

TEST_F(RegFile, ListsValuesInTheOrderOfTheirMaking) {
    const auto order = [&] {
        std::u16string names;
        WCHAR name[8];
        DWORD chars = 8;
        for (DWORD i = 0;
             RegEnumValueW(HKEY_LOCAL_MACHINE, i, name, &chars, nullptr, nullptr, nullptr, nullptr) == 0;
             ++i, chars = 8) {
            names.append(name).append(u" ");
        }
        return to_utf8(names);
    };
    for (const WCHAR* name : {u"main", u"all", u"b", u"MAIN"}) { EXPECT_EQ(set(name), 0); }
    EXPECT_EQ(order(), "main all b ") << "a value that is set again keeps its place";
    EXPECT_EQ(RegDeleteValueW(HKEY_LOCAL_MACHINE, u"all"), 0);
    EXPECT_EQ(set(u"all"), 0);
    EXPECT_EQ(order(), "main b all ");
}

TEST_F(RegFile, HoldsEveryChangeForTheNextProcess) {
    use("");
    const std::string other = folder + "/other";
    fs::create_symlink(other, file + "." + std::to_string(getpid()) + ".new");
    HKEY key = nullptr;
    const struct {
        int line;
        std::function<LSTATUS()> change;
        std::string written;
    } rows[] = {
        {__LINE__, [&] { return RegCreateKeyW(HKEY_LOCAL_MACHINE, u"k\\l", &key); },
         in_key + "\n[HKEY_LOCAL_MACHINE\\k\\l]\n"},
        {__LINE__, [&] { return set(); },
         header + "\n[HKEY_LOCAL_MACHINE]\n\"v\"=hex:\n" + in_key.substr(header.size()) +
             "\n[HKEY_LOCAL_MACHINE\\k\\l]\n"},
        {__LINE__, [&] { return RegDeleteValueW(HKEY_LOCAL_MACHINE, u"v"); },
         in_key + "\n[HKEY_LOCAL_MACHINE\\k\\l]\n"},
        {__LINE__, [&] { return RegDeleteKeyW(HKEY_LOCAL_MACHINE, u"k\\l"); }, in_key},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(row.change(), 0) << row.line;
        EXPECT_EQ(plain(got()), row.written + "\n") << row.line;
    }
    EXPECT_FALSE(fs::exists(other)) << "written through a link";
    reset_registry_to_file(file);
    EXPECT_EQ(RegCloseKey(key), 6) << "the handle is of the time before";
    EXPECT_EQ(RegDeleteKeyW(HKEY_LOCAL_MACHINE, u"K"), 0);
}

TEST_F(RegFile, IsLeftAloneWhenItIsBroken) {
    use(in_key + "@=\n");
    testing::internal::CaptureStderr();
    EXPECT_EQ(set(), 1009);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "registry file " + file + ": line 4: an unknown kind of data, error 1009\n");
    EXPECT_EQ(set(), 1009);
    EXPECT_EQ(got(), in_key + "@=\n");
    testing::internal::CaptureStderr();
    reset_registry_to_file(folder);
    EXPECT_EQ(RegDeleteValueW(HKEY_LOCAL_MACHINE, u"v"), 5) << "what cannot be read is not empty";
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "registry file " + folder + ": cannot be read, error 5\n");
}

TEST_F(RegFile, IsWholeWhenItCannotBeWritten) {
    use(in_key);
    testing::internal::CaptureStderr();
    // A full disk shows only when the text is flushed.
    const auto ignored = signal(SIGXFSZ, SIG_IGN);
    rlimit limit{};
    getrlimit(RLIMIT_FSIZE, &limit);
    const rlimit none{0, limit.rlim_max};
    setrlimit(RLIMIT_FSIZE, &none);
    EXPECT_EQ(set(), 112);
    setrlimit(RLIMIT_FSIZE, &limit);
    signal(SIGXFSZ, ignored);
    (void)testing::internal::GetCapturedStderr();
    EXPECT_EQ(set(), 112) << "out of use from here on";
    EXPECT_EQ(got(), in_key);
    EXPECT_EQ(std::distance(fs::directory_iterator(folder), {}), 1) << "no half-written file stays";
}

} // namespace
