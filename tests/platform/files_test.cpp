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
    /// The last error of an open, which is closed again; 1000 more when it failed.
    static DWORD open_error(const wide& name, DWORD access, DWORD sharing, DWORD disposition,
                            const char* bytes = "") {
        SetLastError(77);
        const HANDLE file = open(name, access, sharing, disposition);
        const DWORD error = GetLastError();
        if (file == INVALID_HANDLE_VALUE) { return 1000 + error; }
        EXPECT_TRUE(*bytes == '\0' || write(file, bytes) == 0);
        EXPECT_TRUE(CloseHandle(file));
        return error;
    }
    static DWORD write(HANDLE file, const char* bytes) {
        const DWORD size = static_cast<DWORD>(std::strlen(bytes));
        DWORD written = size;
        const DWORD error = error_of(WriteFile(file, bytes, size, &written, nullptr));
        EXPECT_TRUE(error != 0 || written == size);
        return error;
    }

    const wide root = scratch_path(KR_TEXT("files"));
    const wide path = root + KR_TEXT("\\file.txt");
};

TEST_F(Files, EveryDispositionKeepsItsPromiseAndNamesWhatIsWrong) {
    const struct {
        int line;
        wide name;
        DWORD access, disposition, error;
        const char *bytes = "", *content = "no such file";
    } rows[] = {
        {__LINE__, path, GENERIC_READ, OPEN_EXISTING, 1002},
        {__LINE__, path, GENERIC_WRITE, TRUNCATE_EXISTING, 1002},
        {__LINE__, path, GENERIC_WRITE, 6, 1087},
        {__LINE__, path, FILE_APPEND_DATA, OPEN_ALWAYS, 0, "", ""},
        {__LINE__, path, GENERIC_WRITE, CREATE_NEW, 1080, "", ""},
        {__LINE__, path, GENERIC_WRITE, OPEN_ALWAYS, 183, "0123456789", "0123456789"},
        {__LINE__, path + KR_TEXT(". ."), GENERIC_WRITE, OPEN_EXISTING, 0, "x", "x123456789"},
        {__LINE__, path, GENERIC_READ | GENERIC_WRITE, CREATE_ALWAYS, 183, "y", "y"},
        {__LINE__, path, GENERIC_WRITE, TRUNCATE_EXISTING, 0, "", ""},
        {__LINE__, root + KR_TEXT("\\none\\file"), GENERIC_READ, OPEN_EXISTING, 1003},
        {__LINE__, root + KR_TEXT("\\a<b"), GENERIC_READ, OPEN_EXISTING, 1123},
        {__LINE__, root, GENERIC_READ, OPEN_EXISTING, 1005},
        {__LINE__, {}, GENERIC_READ, OPEN_EXISTING, 1003},
    };
    for (const auto& r : rows) {
        EXPECT_EQ(open_error(r.name, r.access, all, r.disposition, r.bytes), r.error) << r.line;
        if (r.name.starts_with(path)) { EXPECT_EQ(read_file(path), r.content) << r.line; }
    }
}

TEST_F(Files, SharingExcludesOtherHandles) {
    const struct {
        DWORD access, sharing, second_access, second_sharing, error;
    } rows[] = {
        {GENERIC_WRITE, 0, GENERIC_READ, all, 1032},
        {GENERIC_READ, FILE_SHARE_READ, GENERIC_WRITE, all, 1032},
        {GENERIC_READ, all, DELETE, all, 1032},
        {DELETE, all, FILE_APPEND_DATA, all, 1032},
        {DELETE, all, GENERIC_READ, all | FILE_SHARE_DELETE, 0},
        {FILE_APPEND_DATA, all, FILE_APPEND_DATA, all, 0},
        {FILE_APPEND_DATA, all, GENERIC_READ, FILE_SHARE_READ, 1032},
        // A handle that neither reads nor writes nor deletes is nobody's concern.
        {0, 0, GENERIC_WRITE, 0, 0},
        {GENERIC_WRITE, 0, 0, 0, 0},
    };
    EXPECT_EQ(open_error(path, GENERIC_WRITE, 0, CREATE_NEW), 0u);
    for (const auto& r : rows) {
        const HANDLE first = open(path, r.access, r.sharing, OPEN_EXISTING);
        EXPECT_EQ(open_error(path, r.second_access, r.second_sharing, OPEN_EXISTING), r.error) << &r - rows;
        EXPECT_TRUE(CloseHandle(first));
    }
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
