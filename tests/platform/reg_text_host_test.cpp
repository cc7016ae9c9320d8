/// The stand-in's `.reg` text: what is read, what is refused and where, what is written, and what
/// happens to the file behind the registry when something goes wrong.
#include <csignal>
#include <sys/resource.h>
#include <unistd.h>

#include "platform/host/reg_text.h"
#include "support/host/world.h"

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
    const std::string longest(255, 'x'), key = "HKEY_LOCAL_MACHINE\\k";
    const std::string number = "line 4: a hexadecimal number with no or too many digits";
    // A text in a key, and what is written again in its place, none: the same; or the problem.
    const std::pair<std::string, std::string> rows[] = {
        {R"(  @ = "" ; note)", R"(@="")"},
        {R"("q\"b\\s\n\r"="C:\\dir\\\"x\"")", ""},
        {"\"\xC3\xA4\xF0\x90\x80\x80\xF0\x9F\x98\x80\"=\"\"", ""},
        {R"("a"="x\ny")", R"("a"=hex(1):78,00,0a,00,79,00,00,00)"},
        {R"("d"=dword:1F)", R"("d"=dword:0000001f)"},
        {R"("b"=HEX:0,Ff,7,a8)", R"("b"=hex:00,ff,07,a8)"},
        {R"("s"=hex(1):61,00,00,00)", R"("s"="a")"},
        {"\"s\"=hex(1):61,00\n\"t\"=hex(1):00,00,61\n\"u\"=hex(12ab):\n\"d\"=hex(4):1f,00,00", ""},
        {"\"b\"=hex:01,\\\n  02,\\\n  ; end", R"("b"=hex:01,02)"},
        {"\"z\"=\"1\"\n\"a\"=\"\"\n\"Z\"=\"x;y\"", "\"z\"=\"x;y\"\n\"a\"=\"\""},
        {"\"a\"=\"1\"\n\"b\"=\"3\"\n\"A\"=-\n\"a\"=\"2\"", "\"b\"=\"3\"\n\"a\"=\"2\""},
        {"[hkey_local_machine\\K\\]x]\n@=\"v\"\n[" + key + "\\B\\b]\n[-" + key + "\\b]\n[-" + key + "o]",
         "\n[" + key + "\\]x]\n@=\"v\""},
        {"\n[" + key + "\\" + longest + "]", ""},
        {"@=\"x\" y", "line 4: text after the end of a value"},
        {"[" + key + "]x", "line 4: text after the end of a value"},
        {"[" + key, "line 4: a key without its closing bracket"},
        {"[HKEY_USERS\\k]", "line 4: a key that is not below HKEY_LOCAL_MACHINE"},
        {"[-HKEY_LOCAL_MACHINE]", "line 4: the deletion of the root key"},
        {"[" + key + "\\" + longest + "x]", "line 4: a key name that is too long, too deep or not one line"},
        {"\"a=1", "line 4: a text without its closing quote"},
        {"\"a\"=\"\\x\"", "line 4: an unknown escape in a text"},
        {"\"a\"=x", "line 4: an unknown kind of data"},
        {"\"a\"=dword:", number},
        {"\"a\"=dword:123456789", number},
        {"\"a\"=hex:01,\\02", number},
        {"\"a\"=hex:1 2", "line 4: bytes without a comma between them"},
        {"\"a\"=hex(1:00", "line 4: a type without '):'"},
        {"\"a\"=hex:01,\\\n02\n@", "line 6: a value without '='"},
        {"[-" + key + "]\n@=\"x\"", "line 5: a value outside any key"},
        {"nonsense", "line 4: neither a key nor a value"},
        {std::string(1, '\0'), "line 4: a null character"},
        {'"' + std::string(16384, 'n') + "\"=\"\"", "line 4: a value name that is too long"},
    };
    for (const auto& [given, result] : rows) {
        const std::string text = in_key + given + '\n';
        const std::string written = in_key + (result.empty() ? given : result) + "\n\n";
        for (const std::string& encoded : {text, utf16_bytes(text)}) {
            EXPECT_EQ(copied(encoded), result.starts_with("line ") ? result : written) << given;
        }
    }
    for (const std::string& text :
         {std::string(), std::string("REGEDIT4\n"), header + "\xC0\x80", header + "\xE2\x82",
          header + "\xE0\x80\x80", header + "\xED\xA0\x80", header + "\xF4\x90\x80\x80",
          header + "\xF5\x80\x80\x80", utf16_bytes(header) + "x"}) {
        EXPECT_EQ(copied(text).substr(0, 8), "line 1: ");
    }
}

class RegFile : public kr::test::World {
protected:
    ~RegFile() override { fs::remove_all(folder); }

    void use(const std::string& text) const {
        std::ofstream(file, std::ios::binary) << text;
        reset_registry_to_file(file);
    }
    [[nodiscard]] std::string got() const { return kr::test::read_native_file(file); }
    /// The status of setting a value, and what is said about it.
    static std::string set() {
        testing::internal::CaptureStderr();
        const LSTATUS status = RegSetValueExW(HKEY_LOCAL_MACHINE, u"v", 0, REG_BINARY, nullptr, 0);
        return std::to_string(status) + ' ' + testing::internal::GetCapturedStderr();
    }

    std::string folder = (fs::temp_directory_path() / "kr-reg-XXXXXX").string();
    const std::string file = std::string(mkdtemp(folder.data())) + "/host.reg";
};

TEST_F(RegFile, HoldsEveryChangeForTheNextProcess) {
    use("");
    const std::string other = folder + "/other", below = "\n[HKEY_LOCAL_MACHINE\\k\\l]\n";
    fs::create_symlink(other, file + "." + std::to_string(getpid()) + ".new");
    const auto text_after = [this](LSTATUS status) { return status == 0 ? plain(got()) : "failed"; };
    HKEY key = nullptr;
    EXPECT_EQ(text_after(RegCreateKeyW(HKEY_LOCAL_MACHINE, u"k\\l", &key)), in_key + below + "\n");
    EXPECT_EQ(set(), "0 ");
    EXPECT_EQ(plain(got()),
              header + "\n[HKEY_LOCAL_MACHINE]\n\"v\"=hex:\n" + in_key.substr(header.size()) + below + "\n");
    EXPECT_EQ(text_after(RegDeleteValueW(HKEY_LOCAL_MACHINE, u"v")), in_key + below + "\n");
    EXPECT_EQ(text_after(RegDeleteKeyW(HKEY_LOCAL_MACHINE, u"k\\l")), in_key + "\n");
    EXPECT_FALSE(fs::exists(other)) << "written through a link";
    reset_registry_to_file(file);
    EXPECT_EQ(RegCloseKey(key), 6) << "the handle is of the time before";
    EXPECT_EQ(RegDeleteKeyW(HKEY_LOCAL_MACHINE, u"K"), 0);
}

TEST_F(RegFile, IsLeftAloneWhenItIsBroken) {
    use(in_key + "@=\n");
    EXPECT_EQ(set(), "1009 registry file " + file + ": line 4: an unknown kind of data, error 1009\n");
    EXPECT_EQ(set(), "1009 ");
    EXPECT_EQ(got(), in_key + "@=\n");
    reset_registry_to_file(folder);
    EXPECT_EQ(set(), "5 registry file " + folder + ": cannot be read, error 5\n") << "which is not empty";
}

TEST_F(RegFile, IsWholeWhenItCannotBeWritten) {
    use(in_key);
    // A full disk shows only when the text is flushed; it has no room for what is said either.
    const auto ignored = signal(SIGXFSZ, SIG_IGN);
    rlimit limit{};
    getrlimit(RLIMIT_FSIZE, &limit);
    const rlimit none{0, limit.rlim_max};
    setrlimit(RLIMIT_FSIZE, &none);
    EXPECT_EQ(set(), "112 ");
    setrlimit(RLIMIT_FSIZE, &limit);
    signal(SIGXFSZ, ignored);
    EXPECT_EQ(set(), "112 ") << "out of use from here on";
    EXPECT_EQ(got(), in_key);
    EXPECT_EQ(std::distance(fs::directory_iterator(folder), {}), 1) << "no half-written file stays";
}

} // namespace
