/// File calls and their error numbers, the same on both systems.
#include "platform/platform.h"

#include <string>

#include <gtest/gtest.h>

namespace {

using text = std::basic_string<kr_char>;

class Files : public testing::Test {
protected:
    void SetUp() override {
        kr_char folder[MAX_PATH];
        ASSERT_GT(GetTempPathW(MAX_PATH, folder), 0u);
        const DWORD id = GetCurrentThreadId();
        kr_char number[66];
        root = text(folder) + KR_TEXT("korinth-suite-") + _ui64tow(id, number, 10);
        ASSERT_TRUE(CreateDirectoryW(root.c_str(), nullptr));
        path = root + KR_TEXT("\\file.txt");
    }
    void TearDown() override {
        SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
        DeleteFileW(path.c_str());
        EXPECT_TRUE(RemoveDirectoryW(root.c_str()));
    }

    [[nodiscard]] HANDLE open(DWORD access, DWORD sharing, DWORD disposition) const {
        return CreateFileW(path.c_str(), access, sharing, nullptr, disposition, 0, nullptr);
    }
    /// Opens, closes, and gives the error number of a failure.
    [[nodiscard]] DWORD open_error(const text& name, DWORD access, DWORD disposition) const {
        HANDLE file =
            CreateFileW(name.c_str(), access, FILE_SHARE_READ, nullptr, disposition, 0, nullptr);
        return file == INVALID_HANDLE_VALUE ? GetLastError() : (CloseHandle(file), 0);
    }
    static DWORD error_of(BOOL done) { return done ? 0 : GetLastError(); }
    void write(HANDLE file, const char* bytes) const {
        const DWORD size = static_cast<DWORD>(std::strlen(bytes));
        DWORD written = 0;
        EXPECT_TRUE(WriteFile(file, bytes, size, &written, nullptr));
        EXPECT_EQ(written, size);
    }
    [[nodiscard]] std::string contents() const {
        HANDLE file = open(GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, OPEN_EXISTING);
        char bytes[64];
        DWORD count = 0;
        EXPECT_TRUE(ReadFile(file, bytes, sizeof bytes, &count, nullptr));
        CloseHandle(file);
        return {bytes, count};
    }

    text root;
    text path;
};

TEST_F(Files, EveryDispositionKeepsItsPromise) {
    EXPECT_EQ(open_error(path, GENERIC_WRITE, OPEN_EXISTING), 2u);
    EXPECT_EQ(open_error(path, GENERIC_WRITE, TRUNCATE_EXISTING), 2u);
    EXPECT_EQ(open_error(path, GENERIC_WRITE, CREATE_NEW), 0u);
    EXPECT_EQ(open_error(path, GENERIC_WRITE, CREATE_NEW), 80u);
    EXPECT_EQ(open_error(path, GENERIC_WRITE, 6), 87u);
    HANDLE file = open(GENERIC_WRITE, 0, OPEN_ALWAYS);
    EXPECT_EQ(GetLastError(), 183u);
    write(file, "0123456789");
    CloseHandle(file);
    EXPECT_EQ(open_error(path, GENERIC_WRITE, OPEN_EXISTING), 0u);
    EXPECT_EQ(contents(), "0123456789");
    file = open(GENERIC_READ | GENERIC_WRITE, 0, CREATE_ALWAYS);
    EXPECT_EQ(GetLastError(), 183u);
    CloseHandle(file);
    EXPECT_EQ(contents(), "");
}

TEST_F(Files, NamesWhatIsWrongWithAPath) {
    EXPECT_EQ(open_error(root + KR_TEXT("\\none\\file"), GENERIC_READ, OPEN_EXISTING), 3u);
    EXPECT_EQ(open_error(root, GENERIC_READ, OPEN_EXISTING), 5u);
    EXPECT_EQ(open_error(root + KR_TEXT("\\a<b"), GENERIC_READ, OPEN_EXISTING), 123u);
    EXPECT_EQ(open_error(text(), GENERIC_READ, OPEN_EXISTING), 3u);
    EXPECT_EQ(error_of(DeleteFileW(path.c_str())), 2u);
    EXPECT_EQ(error_of(DeleteFileW(root.c_str())), 5u);
    EXPECT_EQ(error_of(CreateDirectoryW(root.c_str(), nullptr)), 183u);
    EXPECT_EQ(error_of(RemoveDirectoryW((root + KR_TEXT("\\none")).c_str())), 2u);
}

TEST_F(Files, SharingExcludesOtherHandles) {
    constexpr DWORD READ_WRITE = FILE_SHARE_READ | FILE_SHARE_WRITE;
    const struct {
        int line;
        DWORD access;
        DWORD sharing;
        DWORD second_access;
        DWORD second_sharing;
        bool opens;
    } rows[] = {
        {__LINE__, GENERIC_WRITE, 0, GENERIC_READ, READ_WRITE, false},
        {__LINE__, GENERIC_READ, FILE_SHARE_READ, GENERIC_READ, FILE_SHARE_READ, true},
        {__LINE__, GENERIC_READ, FILE_SHARE_READ, GENERIC_WRITE, READ_WRITE, false},
        {__LINE__, FILE_APPEND_DATA, READ_WRITE, FILE_APPEND_DATA, READ_WRITE, true},
        {__LINE__, FILE_APPEND_DATA, READ_WRITE, GENERIC_READ, FILE_SHARE_READ, false},
    };
    CloseHandle(open(GENERIC_WRITE, 0, CREATE_NEW));
    for (const auto& r : rows) {
        SCOPED_TRACE(r.line);
        HANDLE first = open(r.access, r.sharing, OPEN_EXISTING);
        HANDLE second = open(r.second_access, r.second_sharing, OPEN_EXISTING);
        EXPECT_EQ(second != INVALID_HANDLE_VALUE, r.opens);
        if (r.opens) {
            CloseHandle(second);
        } else {
            EXPECT_EQ(GetLastError(), 32u);
        }
        EXPECT_EQ(error_of(DeleteFileW(path.c_str())), 32u);
        CloseHandle(first);
    }
}

TEST_F(Files, AppendingWritesAtTheEndWhateverHappensBetween) {
    HANDLE one = open(FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE, OPEN_ALWAYS);
    EXPECT_EQ(GetLastError(), 0u);
    HANDLE two = open(FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE, OPEN_EXISTING);
    write(one, "a\n");
    write(two, "b\n");
    write(one, "c");
    CloseHandle(one);
    CloseHandle(two);
    EXPECT_EQ(contents(), "a\nb\nc");
}

TEST_F(Files, HandlesAllowWhatTheyWereOpenedFor) {
    HANDLE file = open(GENERIC_WRITE, 0, CREATE_NEW);
    write(file, "0123456789");
    char byte = 0;
    DWORD count = 99;
    EXPECT_EQ(error_of(ReadFile(file, &byte, 1, &count, nullptr)), 5u);
    EXPECT_TRUE(CloseHandle(file));
    EXPECT_EQ(error_of(CloseHandle(file)), 6u);
    EXPECT_EQ(error_of(WriteFile(file, "x", 1, &count, nullptr)), 6u);

    file = open(GENERIC_READ, 0, OPEN_EXISTING);
    EXPECT_EQ(error_of(WriteFile(file, "x", 1, &count, nullptr)), 5u);
    CloseHandle(file);
    EXPECT_EQ(contents(), "0123456789");
}

TEST_F(Files, ReadOnlyFilesAreNotDeleted) {
    CloseHandle(CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                            FILE_ATTRIBUTE_READONLY, nullptr));
    EXPECT_NE(GetFileAttributesW(path.c_str()) & FILE_ATTRIBUTE_READONLY, 0u);
    EXPECT_EQ(open_error(path, GENERIC_READ, OPEN_EXISTING), 0u);
    EXPECT_EQ(error_of(DeleteFileW(path.c_str())), 5u);
    EXPECT_TRUE(SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL));
    EXPECT_TRUE(DeleteFileW(path.c_str()));
    EXPECT_EQ(GetFileAttributesW(path.c_str()), DWORD{INVALID_FILE_ATTRIBUTES});
    EXPECT_EQ(GetLastError(), 2u);
    EXPECT_EQ(GetFileAttributesW(root.c_str()) & FILE_ATTRIBUTE_DIRECTORY,
              DWORD{FILE_ATTRIBUTE_DIRECTORY});
}

TEST_F(Files, NamesOutsideAsciiAreTheirOwn) {
    path = root + KR_TEXT("\\\u00E4\u20AC\U0001F600.txt");
    HANDLE file = open(GENERIC_WRITE, 0, CREATE_NEW);
    ASSERT_NE(file, INVALID_HANDLE_VALUE);
    write(file, "x");
    CloseHandle(file);
    EXPECT_EQ(contents(), "x");
    EXPECT_EQ(open_error(root + KR_TEXT("\\\u00E4.txt"), GENERIC_READ, OPEN_EXISTING), 2u);
}

TEST(SystemFolder, ExistsAndHasADriversFolder) {
    kr_char folder[MAX_PATH];
    ASSERT_EQ(SHGetFolderPathW(nullptr, CSIDL_SYSTEM, nullptr, SHGFP_TYPE_CURRENT, folder), S_OK);
    const text drivers = text(folder) + KR_TEXT("\\drivers");
    EXPECT_NE(GetFileAttributesW(drivers.c_str()) & FILE_ATTRIBUTE_DIRECTORY, 0u);
    EXPECT_EQ(_wcsicmp(folder, KR_TEXT("C:\\Windows\\System32")), 0);
}

} // namespace
