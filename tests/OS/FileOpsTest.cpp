// FileOpsTest.cpp - whole-file operations, temporary names and file systems.
#include "FileTestSupport.h"

#include <Base/OS/internal/kyOSFileCalls.h>
#include <Base/OS/kyOSFile.h>
#include <Base/OS/kyOSFilesystem.h>

#include <kyTestProcess.h>
#include <kyTestSupport.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <string>

using filetest::get;
using filetest::name;
using filetest::put;
using filetest::text;
using filetest::there;
using filetest::wide;

namespace {

// Callers test for these numbers: the names must not move them.
static_assert(kyOS::kFileOpFailed == 1 && kyOS::kCopySourceMissing == 2 &&
                  kyOS::kCopyTargetExists == 3 && kyOS::kRenameFailed == 6,
              "the whole-file operation codes are fixed");

namespace fs = std::filesystem;
using kyOS::detail::fileCalls;
using kyOS::detail::nativeFileCalls;

// Each test may replace entries of the system-call table; the native ones come back after.
class FileOpsTest : public kytest::TempDirTest {
protected:
    void TearDown() override {
        fileCalls() = nativeFileCalls();
        kytest::TempDirTest::TearDown();
    }
};

TEST_F(FileOpsTest, CopyCopiesContentsAndAttributes) {
    const std::string bytes(300000, 'c'); // more than one buffer's worth
    put(path("from"), bytes);
    const auto old = fs::file_time_type::clock::now() - std::chrono::hours(48);
    fs::last_write_time(path("from"), old);
    if (!kytest::onWindows()) {
        fs::permissions(path("from"), fs::perms::owner_read | fs::perms::group_read);
    }
    ASSERT_TRUE(kyOS::fileCopy(name(path("from")), name(path("to")), false).ok());
    EXPECT_EQ(get(path("to")), bytes);
    EXPECT_EQ(fs::last_write_time(path("to")), fs::last_write_time(path("from")));
    EXPECT_EQ(fs::status(path("to")).permissions(), fs::status(path("from")).permissions());
    EXPECT_TRUE(there(path("from")));
}

TEST_F(FileOpsTest, CopyErrorsUseTheirOwnCodes) {
    put(path("a"), "A");
    put(path("b"), "B");
    const std::string from = path("missing");
    kyUtil::Error e = kyOS::fileCopy(from.c_str(), path("x").c_str(), false);
    EXPECT_EQ(e.code(), kyOS::kCopySourceMissing);
    const std::string notFound =
        kyString::IString(fileCalls().systemErrorText(fileCalls().notFoundError).c_str())
            .asMultibyte();
    EXPECT_EQ(text(e), "Error copying " + std::string(name(from).name().asMultibyte()) + " to " +
                           std::string(name(path("x")).name().asMultibyte()) + ": " + notFound);
    EXPECT_FALSE(there(path("x")));

    e = kyOS::fileCopy(wide(path("a")).asWChar(), wide(path("b")).asWChar(), false);
    EXPECT_EQ(e.code(), kyOS::kCopyTargetExists);
    EXPECT_EQ(get(path("b")), std::string("B")); // untouched
    ASSERT_TRUE(kyOS::fileCopy(name(path("a")), name(path("b")), true).ok());
    EXPECT_EQ(get(path("b")), std::string("A"));

    // Anything else is code 1: here a target directory that does not exist.
    e = kyOS::fileCopy(name(path("a")), name(path("no/dir/x")), true);
    EXPECT_EQ(e.code(), kytest::onWindows() ? 1 : 2); // POSIX says "not found" for the dir
    // A directory as the source.
    fs::create_directory(path("d"));
    EXPECT_EQ(kyOS::fileCopy(name(path("d")), name(path("y")), true).code(), kyOS::kFileOpFailed);
}

TEST_F(FileOpsTest, DeleteReportsTheSystemMessage) {
    put(path("gone"), "");
    ASSERT_TRUE(kyOS::fileDelete(path("gone").c_str()).ok());
    EXPECT_FALSE(there(path("gone")));
    const kyUtil::Error e = kyOS::fileDelete(wide(path("gone")).asWChar());
    EXPECT_EQ(e.code(), kyOS::kFileOpFailed);
    EXPECT_EQ(text(e),
              std::string(
                  kyString::IString(fileCalls().systemErrorText(fileCalls().notFoundError).c_str())
                      .asMultibyte()));
}

TEST_F(FileOpsTest, MoveCopiesThenDeletes) {
    put(path("m"), "move me");
    ASSERT_TRUE(kyOS::fileMove(name(path("m")), name(path("n")), false).ok());
    EXPECT_FALSE(there(path("m")));
    EXPECT_EQ(get(path("n")), std::string("move me"));
    // A failed copy leaves the source where it was.
    put(path("m"), "again");
    EXPECT_EQ(kyOS::fileMove(path("m").c_str(), path("n").c_str(), false).code(),
              kyOS::kCopyTargetExists);
    EXPECT_EQ(get(path("m")), std::string("again"));
}

int refuseUnlink(const std::wstring&, int* error) {
    *error = EACCES;
    return -1;
}

TEST_F(FileOpsTest, MoveWhoseDeleteFailsStillSucceeds) {
    put(path("m"), "both");
    fileCalls().unlink = refuseUnlink;
    ASSERT_TRUE(kyOS::fileMove(name(path("m")), name(path("n")), true).ok());
    EXPECT_EQ(get(path("m")), std::string("both"));
    EXPECT_EQ(get(path("n")), std::string("both"));
}

TEST_F(FileOpsTest, RenameWithinAndAcrossDirectories) {
    put(path("r1"), "one");
    ASSERT_TRUE(kyOS::fileRename(name(path("r1")), name(path("r2"))).ok());
    EXPECT_FALSE(there(path("r1")));
    EXPECT_EQ(get(path("r2")), std::string("one"));

    fs::create_directory(path("other"));
    put(path("other/exists"), "old");
    // Across directories: a move that overwrites.
    ASSERT_TRUE(kyOS::fileRename(path("r2").c_str(), path("other/exists").c_str()).ok());
    EXPECT_FALSE(there(path("r2")));
    EXPECT_EQ(get(path("other/exists")), std::string("one"));
}

int gRenameError = 0;
int renameFails(const std::wstring&, const std::wstring&, int* error) {
    *error = gRenameError;
    return -1;
}

// A failed rename is code 6 with a text chosen by the run-time library's error number (the
// texts and typos callers know); the source stays.
TEST_F(FileOpsTest, RenameMessagesForEachErrorNumber) {
    put(path("a"), "A");
    const std::string notFound = "File or path specified by " +
                                 std::string(name(path("b")).name().asMultibyte()) +
                                 " name not found.";
    const std::pair<int, std::string> cases[] = {
        {ENOENT, notFound},
        {EACCES, "A component of either path prefix deniessearch permission"},
        {EINVAL, "source is a parent directory of target, or an attempt is made to rename the .  "
                 "or ..  directory."},
        {EBUSY, "Unkown system error."}, // any number without a text of its own
        {ENOTEMPTY, "Unkown system error."},
    };
    fileCalls().rename = renameFails;
    for (const auto& [number, message] : cases) {
        gRenameError = number;
        const kyUtil::Error e = kyOS::fileRename(name(path("a")), name(path("b")));
        EXPECT_EQ(e.code(), kyOS::kRenameFailed);
        EXPECT_EQ(text(e), message) << number;
    }
    fileCalls() = nativeFileCalls();
    EXPECT_EQ(get(path("a")), std::string("A"));
    EXPECT_EQ(text(kyOS::fileRename(name(path("missing")), name(path("b")))), notFound); // real
}

int noTempFile(const std::wstring&, const std::wstring&, std::wstring&, int* error) {
    *error = ENOSPC;
    return -1;
}

int emptyTempPath(std::wstring& out, int*) {
    out.clear();
    return 0;
}

// Names only, in the temporary directory, distinct, with the suffix and up to three
// characters of the prefix; when the system makes none, "<prefix><process id>_...".
TEST_F(FileOpsTest, TemporaryNames) {
    filetest::ScopedTempDirectory tmp(dir().string());
    const kyOS::Filename tmpDir = kyOS::getTempDirectory();
    EXPECT_EQ(tmpDir.name(), name(dir().string()).name());
    EXPECT_EQ(
        kyOS::createTmpFilename(kyString::IString(L"ma")).basename().str().compare(0, 3, L"KYT"),
        0);
    const kyOS::Filename bare = kyOS::createTmpFilename(kyString::IString(), L"scene");
    EXPECT_TRUE(bare.baseSuffix().isEmpty() || kytest::onWindows());
    const std::wstring pid = std::to_wstring(fileCalls().processId());
    for (bool fallback : {false, true}) {
        fileCalls().tempFile = fallback ? noTempFile : nativeFileCalls().tempFile;
        const kyOS::Filename a = kyOS::createTmpFilename(kyString::IString(L"ma"), L"scene");
        const kyOS::Filename b = kyOS::createTmpFilename(kyString::IString(L"ma"), L"scene");
        EXPECT_NE(a.name(), b.name());
        EXPECT_EQ(a.dirname(), tmpDir.name());
        EXPECT_EQ(a.baseSuffix(), kyString::IString(L"ma"));
        const std::wstring head = fallback ? L"scene" + pid + L"_" : L"sce";
        EXPECT_EQ(a.basename().str().compare(0, head.size(), head), 0) << fallback;
    }
    EXPECT_TRUE(fs::is_empty(dir()));
    fileCalls().tempPath = emptyTempPath;
    EXPECT_EQ(kyOS::getTempDirectory().name(),
              kyString::IString(kytest::onWindows() ? L"C:\\" : L"/tmp"));
    fileCalls() = nativeFileCalls();

    char narrow[1024];
    ASSERT_TRUE(kyOS_GetTemporaryDirectory(narrow, sizeof narrow));
    EXPECT_STREQ(narrow, tmpDir.name().asMultibyte());
    EXPECT_FALSE(kyOS_GetTemporaryDirectory(narrow, 2)); // does not fit
    wchar_t wideOut[1024];
    ASSERT_TRUE(kyOS_GetTemporaryDirectoryW(wideOut, 1024));
    EXPECT_EQ(std::wstring(wideOut), tmpDir.name().str());
    ASSERT_TRUE(kyOS_CreateTemporaryFileName("txt", nullptr, narrow, sizeof narrow));
    EXPECT_EQ(kyOS::Filename(kyString::IString(narrow)).baseSuffix(), kyString::IString(L"txt"));
    ASSERT_TRUE(kyOS_CreateTemporaryFileNameW(nullptr, L"pre", wideOut, 1024));
    EXPECT_EQ(kyOS::Filename(kyString::IString(wideOut)).basename().str().compare(0, 3, L"pre"), 0);
}

TEST_F(FileOpsTest, NewFilenameVariants) {
    put(path("shot.ma"), "");
    put(path("shot_1.ma"), "");
    EXPECT_EQ(kyOS::createNewFilenameVariant(name(path("shot.ma"))).name(),
              name(path("shot_2.ma")).name());
    EXPECT_EQ(kyOS::createNewFilenameVariant(name(path("shot.ma")), L"mb").name(),
              name(path("shot_1.mb")).name());
    EXPECT_EQ(
        kyOS::createNewFilenameVariant(name(path("shot.ma")), nullptr, kyString::IString(L"-v"))
            .name(),
        name(path("shot-v1.ma")).name());
    EXPECT_EQ(kyOS::createNewFilenameVariant(name(path("plain"))).name(),
              name(path("plain_1")).name());
}

TEST_F(FileOpsTest, CleanupRemovesOnlyOldOwnFiles) {
    const auto old = fs::file_time_type::clock::now() - std::chrono::hours(3);
    for (const char* leaf : {"KYTMPab12", "scene.maXy.0.tmp", "scene.maXy.1.tmp", "keep.tmp",
                             "KYTMPyoung", "mine.txt"}) {
        put(path(leaf), "x");
        if (std::string(leaf) != "KYTMPyoung") {
            fs::last_write_time(path(leaf), old);
        }
    }
    fs::create_directory(path("KYTMPdir"));
    std::error_code ignored; // Wine will not date a directory back; it stays either way
    fs::last_write_time(path("KYTMPdir"), old, ignored);
    EXPECT_EQ(kyOS::cleanupTempDirectory(wide(dir().string())), 3);
    EXPECT_FALSE(there(path("KYTMPab12")));
    EXPECT_FALSE(there(path("scene.maXy.0.tmp")));
    EXPECT_FALSE(there(path("scene.maXy.1.tmp")));
    for (const char* leaf : {"keep.tmp", "KYTMPyoung", "mine.txt", "KYTMPdir"}) {
        EXPECT_TRUE(there(path(leaf))) << leaf;
    }
    filetest::ScopedTempDirectory tmp(dir().string());
    EXPECT_EQ(kyOS::cleanupTempDirectory(), 0);
    EXPECT_EQ(kyOS::cleanupTempDirectory(wide(path("nowhere"))), 0);
}

int diskFreeFails(const std::wstring&, std::uint64_t*, std::uint64_t*, int* error) {
    *error = fileCalls().notFoundError;
    return -1;
}

TEST_F(FileOpsTest, FilesystemFiguresAreInKibibytes) {
    kyOS::Filesystem f(wide(dir().string()));
    ASSERT_TRUE(f.stat().ok());
    EXPECT_EQ(f.blockSize(), 1024u);
    EXPECT_GT(f.size(), 0u);
    EXPECT_LE(f.avail(), f.size());
    const fs::space_info space = fs::space(dir());
    EXPECT_EQ(f.size(), space.capacity >> 10);
    EXPECT_FALSE(f.isRemote());

    kyOS::Filesystem empty((kyString::IString()));
    const kyUtil::Error invalid = empty.stat();
    EXPECT_TRUE(invalid.failed());
    EXPECT_EQ(text(invalid), "Filesystem::stat(): invalid path \n");

    fileCalls().diskFree = diskFreeFails;
    kyOS::Filesystem g(wide(path("file.txt")));
    const kyUtil::Error e = g.stat();
    EXPECT_EQ(e.code(), kyOS::kFileOpFailed);
    const std::string dirText =
        std::string(name(dir().string()).name().asMultibyte()) + (kytest::onWindows() ? "\\" : "/");
    EXPECT_EQ(text(e),
              "Filesystem::stat(): GetDiskFreeSpaceEx(" + dirText + ") failed: " +
                  std::string(kyString::IString(
                                  fileCalls().systemErrorText(fileCalls().notFoundError).c_str())
                                  .asMultibyte()));
}

} // namespace
