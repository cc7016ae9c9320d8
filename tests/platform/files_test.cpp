/// File calls and their error numbers, the same on both systems.
#include "support/system.h"

namespace {

using namespace kr::test;

class Files : public testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(CreateDirectoryW(root.c_str(), nullptr)); }
    void TearDown() override {
        DeleteFileW(path.c_str());
        EXPECT_TRUE(RemoveDirectoryW(root.c_str()));
    }

    [[nodiscard]] HANDLE open(DWORD access, DWORD sharing, DWORD disposition, DWORD attributes = 0) const {
        return CreateFileW(path.c_str(), access, sharing, nullptr, disposition, attributes, nullptr);
    }
    /// Opens, closes, and gives the error number of a failure.
    static DWORD open_error(const wide& name, DWORD access, DWORD disposition) {
        HANDLE file = CreateFileW(name.c_str(), access, FILE_SHARE_READ, nullptr, disposition, 0, nullptr);
        return file == INVALID_HANDLE_VALUE ? GetLastError() : (CloseHandle(file), 0);
    }
    static void write(HANDLE file, const char* bytes) {
        const DWORD size = static_cast<DWORD>(std::strlen(bytes));
        DWORD written = 0;
        EXPECT_TRUE(WriteFile(file, bytes, size, &written, nullptr));
        EXPECT_EQ(written, size);
    }

    const wide root = scratch_path(KR_TEXT("files"));
    const wide path = root + KR_TEXT("\\file.txt");
};

TEST_F(Files, EveryDispositionKeepsItsPromise) {
    EXPECT_EQ(open_error(path, GENERIC_WRITE, TRUNCATE_EXISTING), 2u);
    EXPECT_EQ(open_error(path, GENERIC_WRITE, CREATE_NEW), 0u);
    EXPECT_EQ(open_error(path, GENERIC_WRITE, CREATE_NEW), 80u);
    EXPECT_EQ(open_error(path, GENERIC_WRITE, 6), 87u);
    HANDLE file = open(GENERIC_WRITE, 0, OPEN_ALWAYS);
    EXPECT_EQ(GetLastError(), 183u);
    write(file, "0123456789");
    CloseHandle(file);
    EXPECT_EQ(open_error(path, GENERIC_WRITE, OPEN_EXISTING), 0u);
    EXPECT_EQ(read_file(path), "0123456789");
    file = open(GENERIC_READ | GENERIC_WRITE, 0, CREATE_ALWAYS);
    EXPECT_EQ(GetLastError(), 183u);
    CloseHandle(file);
    EXPECT_EQ(read_file(path), "");
}

TEST_F(Files, NamesWhatIsWrongWithAPath) {
    EXPECT_EQ(open_error(path, GENERIC_READ, OPEN_EXISTING), 2u);
    EXPECT_EQ(open_error(root + KR_TEXT("\\none\\file"), GENERIC_READ, OPEN_EXISTING), 3u);
    EXPECT_EQ(open_error(root, GENERIC_READ, OPEN_EXISTING), 5u);
    EXPECT_EQ(open_error(root + KR_TEXT("\\a<b"), GENERIC_READ, OPEN_EXISTING), 123u);
    EXPECT_EQ(open_error(wide(), GENERIC_READ, OPEN_EXISTING), 3u);
    EXPECT_EQ(error_of(DeleteFileW(path.c_str())), 2u);
    EXPECT_EQ(error_of(DeleteFileW(root.c_str())), 5u);
    EXPECT_EQ(error_of(CreateDirectoryW(root.c_str(), nullptr)), 183u);
    EXPECT_EQ(error_of(CreateDirectoryW((root + KR_TEXT("\\none\\folder")).c_str(), nullptr)), 3u);
    EXPECT_EQ(error_of(RemoveDirectoryW((root + KR_TEXT("\\none")).c_str())), 2u);
}

TEST_F(Files, SharingExcludesOtherHandles) {
    constexpr DWORD all = FILE_SHARE_READ | FILE_SHARE_WRITE;
    const struct {
        int line;
        DWORD access, sharing, second_access, second_sharing, error;
    } rows[] = {
        {__LINE__, GENERIC_WRITE, 0, GENERIC_READ, all, 32},
        {__LINE__, GENERIC_READ, FILE_SHARE_READ, GENERIC_WRITE, all, 32},
        {__LINE__, FILE_APPEND_DATA, all, FILE_APPEND_DATA, all, 0},
        {__LINE__, FILE_APPEND_DATA, all, GENERIC_READ, FILE_SHARE_READ, 32},
    };
    CloseHandle(open(GENERIC_WRITE, 0, CREATE_NEW));
    for (const auto& r : rows) {
        HANDLE first = open(r.access, r.sharing, OPEN_EXISTING);
        HANDLE second = open(r.second_access, r.second_sharing, OPEN_EXISTING);
        EXPECT_EQ(second == INVALID_HANDLE_VALUE ? GetLastError() : (CloseHandle(second), 0), r.error)
            << r.line;
        EXPECT_EQ(error_of(DeleteFileW(path.c_str())), 32u) << r.line;
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
    EXPECT_EQ(read_file(path), "a\nb\nc");
}

TEST_F(Files, HandlesAndAttributesAllowWhatTheySay) {
    char byte = 0;
    DWORD count = 99;
    HANDLE file = open(GENERIC_WRITE, 0, CREATE_NEW, FILE_ATTRIBUTE_READONLY);
    write(file, "0123456789");
    EXPECT_EQ(error_of(ReadFile(file, &byte, 1, &count, nullptr)), 5u);
    EXPECT_TRUE(CloseHandle(file));
    EXPECT_EQ(error_of(CloseHandle(file)), 6u);
    EXPECT_EQ(error_of(WriteFile(file, "x", 1, &count, nullptr)), 6u);
    EXPECT_EQ(error_of(ReadFile(file, &byte, 1, &count, nullptr)), 6u);
    file = open(GENERIC_READ, 0, OPEN_EXISTING);
    EXPECT_EQ(error_of(WriteFile(file, "x", 1, &count, nullptr)), 5u);
    CloseHandle(file);
    EXPECT_EQ(read_file(path), "0123456789");
    EXPECT_NE(GetFileAttributesW(path.c_str()) & FILE_ATTRIBUTE_READONLY, 0u);
    EXPECT_EQ(error_of(DeleteFileW(path.c_str())), 5u);
    EXPECT_TRUE(SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL));
    EXPECT_TRUE(DeleteFileW(path.c_str()));
    EXPECT_EQ(error_of(SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL)), 2u);
    EXPECT_EQ(GetFileAttributesW(path.c_str()), DWORD{INVALID_FILE_ATTRIBUTES});
    EXPECT_EQ(GetFileAttributesW(root.c_str()) & FILE_ATTRIBUTE_DIRECTORY, DWORD{FILE_ATTRIBUTE_DIRECTORY});
}

TEST(SystemFolder, ExistsAndHasADriversFolder) {
    kr_char folder[MAX_PATH];
    ASSERT_EQ(SHGetFolderPathW(nullptr, CSIDL_SYSTEM, nullptr, SHGFP_TYPE_CURRENT, folder), S_OK);
    EXPECT_NE(GetFileAttributesW((folder + wide(KR_TEXT("\\drivers"))).c_str()) & FILE_ATTRIBUTE_DIRECTORY,
              0u);
    EXPECT_EQ(_wcsicmp(folder, KR_TEXT("C:\\Windows\\System32")), 0);
}

} // namespace
