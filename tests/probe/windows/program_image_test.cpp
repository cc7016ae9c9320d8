/// The program as the build made it, from its bytes: the embedded driver, the version resource, the
/// protections, the libraries that it needs.
#include <algorithm>
#include <cctype>

#include <gmock/gmock.h>

#include "support/pe_image.h"

namespace {

TEST(ProgramImage, EmbedsTheDriverWithoutALanguage) {
    const pe_image program(pe_image::read_file(KR_TEST_PROGRAM));
    const std::vector<u8> embedded = program.resource("DRIVER", "KRDUMMY", "#0");
    ASSERT_FALSE(embedded.empty());
    EXPECT_TRUE(embedded == pe_image::read_file(KR_TEST_DRIVER_IMAGE));
}

TEST(ProgramImage, IsOneSmallProtectedFile) {
    const pe_image program(pe_image::read_file(KR_TEST_PROGRAM));
    EXPECT_EQ(program.magic(), 0x20B) << "PE32+";
    EXPECT_EQ(program.subsystem(), 3) << "console";
    EXPECT_EQ(program.dll_characteristics() & 0x0160, 0x0160)
        << "address space randomised with high entropy, data not executable";
    EXPECT_LT(program.bytes().size(), 400 * 1024U);

    for (const std::string& import : program.imports()) {
        std::string library = import.substr(0, import.find('!'));
        std::transform(library.begin(), library.end(), library.begin(),
                       [](char c) { return static_cast<char>(std::tolower(c)); });
        EXPECT_THAT(library, testing::AnyOf("advapi32.dll", "kernel32.dll", "msvcrt.dll", "shell32.dll",
                                            "ws2_32.dll"));
    }
}

TEST(ProgramImage, SaysWhatItIs) {
    const pe_image program(pe_image::read_file(KR_TEST_PROGRAM));
    const std::vector<u8> version = program.resource("#16", "#1", "#1033");
    ASSERT_FALSE(version.empty());
    // Key and value with every run of NULs as one bar.
    std::string text;
    for (std::size_t i = 0; i + 1 < version.size(); i += 2) {
        const bool is_nul = version[i] == 0 && version[i + 1] == 0;
        text +=
            is_nul && text.ends_with('|') ? "" : std::string(1, is_nul ? '|' : static_cast<char>(version[i]));
    }
    for (const char* entry :
         {"CompanyName|Korinth|", "ProductName|loadprobe|", "OriginalFilename|loadprobe.exe|",
          "FileDescription|Finds out whether this system accepts our driver signatures|",
          "FileVersion|" KR_TEST_VERSION "", "ProductVersion|" KR_TEST_VERSION ""}) {
        EXPECT_THAT(text, testing::HasSubstr(entry));
    }
}

} // namespace
