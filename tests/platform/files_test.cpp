/// File calls and their error numbers, the same on both systems.
#include "support/system.h"

namespace {

using namespace kr::test;

constexpr DWORD all = FILE_SHARE_READ | FILE_SHARE_WRITE;

class Files : public testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(create_directory(native_path(root))); }
    void TearDown() override { remove_all(native_path(root)); }

    [[nodiscard]] static HANDLE open(const wide& name, DWORD access, DWORD sharing, DWORD disposition) {
        return CreateFileW(name.c_str(), access, sharing, nullptr, disposition, 0, nullptr);
    }
    static DWORD write(HANDLE file, const char* bytes) {
        const DWORD size = static_cast<DWORD>(std::strlen(bytes));
        DWORD written = size;
        const DWORD error = error_of(WriteFile(file, bytes, size, &written, nullptr));
        EXPECT_TRUE(error != 0 || written == size);
        return error;
    }
    /// The last error of an open with some bytes written, 1000 more when it failed, and the text of the file.
    std::string opened(const wide& name, DWORD access, DWORD disposition, const char* bytes = "",
                       DWORD sharing = all) const {
        SetLastError(77);
        const HANDLE file = open(name, access, sharing, disposition);
        const DWORD error = GetLastError();
        if (file == INVALID_HANDLE_VALUE) { return std::to_string(1000 + error) + ' ' + read_file(path); }
        EXPECT_TRUE(*bytes == '\0' || write(file, bytes) == 0);
        EXPECT_TRUE(CloseHandle(file));
        return std::to_string(error) + ' ' + read_file(path);
    }
    /// The same for an open beside another.
    std::string opened_second(DWORD access, DWORD sharing, DWORD second_access, DWORD second_sharing) const {
        const HANDLE first = open(path, access, sharing, OPEN_EXISTING);
        std::string error = opened(path, second_access, OPEN_EXISTING, "", second_sharing);
        EXPECT_TRUE(CloseHandle(first));
        return error;
    }

    const wide root = scratch_path(KR_TEXT("files"));
    const wide path = root + KR_TEXT("\\file.txt");
};

TEST_F(Files, EveryDispositionKeepsItsPromiseAndNamesWhatIsWrong) {
    EXPECT_EQ(opened(path, GENERIC_READ, OPEN_EXISTING), "1002 no such file");
    EXPECT_EQ(opened(path, GENERIC_WRITE, TRUNCATE_EXISTING), "1002 no such file");
    EXPECT_EQ(opened(path, GENERIC_WRITE, 6), "1087 no such file");
    EXPECT_EQ(opened(path, FILE_APPEND_DATA, OPEN_ALWAYS), "0 ");
    EXPECT_EQ(opened(path, GENERIC_WRITE, CREATE_NEW), "1080 ");
    EXPECT_EQ(opened(path, GENERIC_WRITE, OPEN_ALWAYS, "0123456789"), "183 0123456789");
    EXPECT_EQ(opened(path + KR_TEXT(". ."), GENERIC_WRITE, OPEN_EXISTING, "x"), "0 x123456789");
    EXPECT_EQ(opened(path, GENERIC_READ | GENERIC_WRITE, CREATE_ALWAYS, "y"), "183 y");
    EXPECT_EQ(opened(path, GENERIC_WRITE, TRUNCATE_EXISTING), "0 ");
    EXPECT_EQ(opened(root + KR_TEXT("\\none\\file"), GENERIC_READ, OPEN_EXISTING), "1003 ");
    EXPECT_EQ(opened(root + KR_TEXT("\\a<b"), GENERIC_READ, OPEN_EXISTING), "1123 ");
    EXPECT_EQ(opened(root, GENERIC_READ, OPEN_EXISTING), "1005 ");
    EXPECT_EQ(opened({}, GENERIC_READ, OPEN_EXISTING), "1003 ");
}

TEST_F(Files, SharingExcludesOtherHandles) {
    EXPECT_EQ(opened(path, GENERIC_WRITE, CREATE_NEW), "0 ");
    EXPECT_EQ(opened_second(GENERIC_WRITE, 0, GENERIC_READ, all), "1032 ");
    EXPECT_EQ(opened_second(GENERIC_READ, FILE_SHARE_READ, GENERIC_WRITE, all), "1032 ");
    EXPECT_EQ(opened_second(GENERIC_READ, all, DELETE, all), "1032 ");
    EXPECT_EQ(opened_second(DELETE, all, FILE_APPEND_DATA, all), "1032 ");
    EXPECT_EQ(opened_second(DELETE, all, GENERIC_READ, all | FILE_SHARE_DELETE), "0 ");
    EXPECT_EQ(opened_second(FILE_APPEND_DATA, all, FILE_APPEND_DATA, all), "0 ");
    EXPECT_EQ(opened_second(FILE_APPEND_DATA, all, GENERIC_READ, FILE_SHARE_READ), "1032 ");
    // A handle that neither reads nor writes nor deletes is nobody's concern.
    EXPECT_EQ(opened_second(0, 0, GENERIC_WRITE, 0), "0 ");
    EXPECT_EQ(opened_second(GENERIC_WRITE, 0, 0, 0), "0 ");
}

TEST_F(Files, HandlesWriteWhatTheyMayAndAppendAtTheEnd) {
    const HANDLE one = open(path, FILE_APPEND_DATA, all, CREATE_NEW);
    const HANDLE two = open(path, FILE_APPEND_DATA, all, OPEN_EXISTING);
    const HANDLE reader = open(path, GENERIC_READ, all, OPEN_EXISTING);
    EXPECT_EQ(write(one, "a\n") + write(two, "b\n") + write(one, "c"), 0u);
    EXPECT_EQ(write(reader, "x"), 5u);
    EXPECT_EQ(error_of(DeleteFileW(path.c_str())), 32u);
    for (const HANDLE file : {one, two, reader}) { EXPECT_TRUE(CloseHandle(file)); }
    EXPECT_EQ(error_of(CloseHandle(one)), 6u);
    EXPECT_EQ(write(one, "x"), 6u);
    EXPECT_EQ(read_file(path), "a\nb\nc");
    set_read_only(path, true);
    EXPECT_EQ(error_of(DeleteFileW(path.c_str())), 5u);
    set_read_only(path, false);
    EXPECT_TRUE(DeleteFileW(path.c_str()));
    EXPECT_EQ(error_of(DeleteFileW(path.c_str())), 2u);
    EXPECT_EQ(error_of(DeleteFileW(root.c_str())), 5u);
}

} // namespace
