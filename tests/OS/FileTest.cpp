// FileTest.cpp - kyOS::File on the local disk, its status record and its error table.
#include "FileTestSupport.h"

#include <Base/OS/internal/kyOSFileCalls.h>
#include <Base/OS/kyOSFile.h>
#include <Base/OS/kyOSFileOps.h>
#include <Base/OS/kyOSProtectedWrite.h>

#include <kyTestProcess.h>
#include <kyTestSupport.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iterator>
#include <string>
#include <vector>

using filetest::get;
using filetest::name;
using filetest::put;
using filetest::text;
using filetest::there;
using filetest::wide;

namespace {

TEST(FileErrors, TableHoldsTheNineteenTexts) {
    // The names, their numbers (callers and files keep the numbers) and the texts.
    struct Row {
        kyOS::FileError name;
        int code;
        const char* text;
    };
    const Row rows[] = {
        {kyOS::kFileErrNotImplemented, 1, "Not Implemented"},
        {kyOS::kFileErrExists, 2, "File Exists"},
        {kyOS::kFileErrEndOfFile, 3, "End Of File"},
        {kyOS::kFileErrIO, 4, "An I/O problem has occurred"},
        {kyOS::kFileErrNoWritePermission, 5, "No write permission"},
        {kyOS::kFileErrNoReadPermission, 6, "No read permission"},
        {kyOS::kFileErrNoOverwritePermission, 7, "No Overwrite permission"},
        {kyOS::kFileErrNotOpen, 8, "File is not open"},
        {kyOS::kFileErrIsOpen, 9, "File is open"},
        {kyOS::kFileErrNotADirectory, 10, "Resource is not a directory"},
        {kyOS::kFileErrNotAFile, 11, "Resource is not a file"},
        {kyOS::kFileErrPathTooLong, 12, "The path is too long"},
        {kyOS::kFileErrDirectoryNotEmpty, 13, "The directory is not empty"},
        {kyOS::kFileErrSyscall, 14, "ErrSyscall"},
        {kyOS::kFileErrInvalidURL, 15, "The URL is invalid"},
        {kyOS::kFileErrPermissionDenied, 16, "Permission Denied"},
        {kyOS::kFileErrAuthenticationFailed, 17, "Authentication Failed"},
        {kyOS::kFileErrDoesNotExist, 18, "File does not exist"},
        {kyOS::kFileErrParentOfRoot, 19, "Cannot become the parent of a root directory"},
    };
    ASSERT_EQ(std::size(rows), static_cast<std::size_t>(kyOS::kFileErrCount));
    for (const Row& row : rows) {
        SCOPED_TRACE(row.code);
        EXPECT_EQ(static_cast<int>(row.name), row.code);
        EXPECT_STREQ(kyOS::File::ErrMsgs[row.code - 1], row.text);
        const kyUtil::Error e = kyOS::File::getError(row.name);
        EXPECT_EQ(e.code(), row.code);
        EXPECT_EQ(text(e), row.text);
    }
    EXPECT_TRUE(kyOS::File::getError(0).ok());
    EXPECT_EQ(kyOS::File::getError(20).code(), 20);
    EXPECT_EQ(kyOS::File::getError(-1).code(), -1);
}

TEST(FileStatus, StartsEmptyAndResets) {
    kyOS::FileStatus s;
    s.setExists(true);
    s.setSize(int64_t{5} << 32); // beyond 32 bits
    s.setOwner(kyString::CString("alice"));
    const kyOS::FileStatus copy(s);
    s.reset();
    EXPECT_FALSE(s.exists() || s.isReadable() || s.isWritable() || s.isDirectory() || s.isFile() ||
                 s.isRemote() || s.isCheckedout());
    EXPECT_EQ(s.getSize() + s.getCreationDate() + s.getLastModifiedDate(), 0);
    EXPECT_TRUE(s.getOwner().isEmpty());
    EXPECT_TRUE(copy.exists() && copy.getSize() == int64_t{5} << 32); // copies share nothing
    EXPECT_STREQ(copy.getOwner().asChar(), "alice");
}

class FileTest : public kytest::TempDirTest {};

TEST_F(FileTest, WritesReadsSeeksAndTells) {
    kyOS::File f(name(path("a.bin")));
    ASSERT_TRUE(f.isValid());
    EXPECT_EQ(f.transportId(), kyString::IString(L"file"));
    ASSERT_TRUE(f.open(kyOS::kReadWrite | kyOS::kCreate).ok());
    EXPECT_TRUE(f.isOpen());
    std::size_t put = 0;
    ASSERT_TRUE(f.write("hello world", 11, &put).ok());
    EXPECT_EQ(put, 11u);
    int64_t at = -1;
    ASSERT_TRUE(f.tell(&at).ok());
    EXPECT_EQ(at, 11);
    ASSERT_TRUE(f.seek(6, kyOS::kSeekSet).ok());
    char buffer[16] = {};
    std::size_t got = 0;
    ASSERT_TRUE(f.read(buffer, sizeof buffer, &got).ok());
    EXPECT_EQ(got, 5u); // short only at the end
    EXPECT_EQ(std::string(buffer, got), "world");
    const kyUtil::Error eof = f.read(buffer, sizeof buffer, &got);
    EXPECT_EQ(eof.code(), kyOS::kFileErrEndOfFile);
    EXPECT_EQ(got, 0u);
    ASSERT_TRUE(f.seek(-5, kyOS::kSeekEnd).ok());
    ASSERT_TRUE(f.read(buffer, 2, &got).ok());
    EXPECT_EQ(std::string(buffer, got), "wo");
    ASSERT_TRUE(f.sync().ok());
    ASSERT_TRUE(f.close().ok());
    EXPECT_FALSE(f.isOpen());
    EXPECT_EQ(get(path("a.bin")), std::string("hello world"));
}

// Writing neither truncates nor appends unless asked to.
TEST_F(FileTest, OpenModes) {
    const struct {
        int mode;
        const char* write;
        const char* after;
    } cases[] = {{kyOS::kWrite, "ab", "ab23456789"},
                 {kyOS::kAppend, "XY", "0123456789XY"},
                 {kyOS::kWrite | kyOS::kTruncate, "", ""},
                 {kyOS::kReadWrite | kyOS::kCreate, "a", "a123456789"}};
    for (const auto& c : cases) {
        put(path("old"), "0123456789");
        kyOS::File f(name(path("old")));
        ASSERT_TRUE(f.open(c.mode).ok());
        ASSERT_TRUE(f.write(c.write, std::strlen(c.write), nullptr).ok());
        ASSERT_TRUE(f.close().ok());
        EXPECT_EQ(get(path("old")), std::string(c.after)) << c.mode;
    }
}

TEST_F(FileTest, OpenErrorsCarryTheTableCodes) {
    put(path("plain"), "x");
    ASSERT_TRUE(kyOS::File(name(path("dir"))).makeDirectory().ok());
    struct Case {
        std::string file;
        int mode;
        int code;
    };
    const std::vector<Case> cases = {
        {"missing", kyOS::kRead, 18},
        {"missing", kyOS::kWrite, 18},
        {"plain", kyOS::kWrite | kyOS::kCreate | kyOS::kExclusive, 2},
        {"dir", kyOS::kRead, 11},
        {"plain", 0, 1}, // neither reading nor writing
        {"nowhere/x", kyOS::kWrite | kyOS::kCreate, 18},
        {"plain/inner", kyOS::kRead, kytest::onWindows() ? 18 : 10}, // through a plain file
        // An over-long name is refused before the system is asked.
        {std::string(kyOS::Filename::maxLength() + 1, 'n'), kyOS::kRead, 12},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.file.substr(0, 20) + " mode " + std::to_string(c.mode));
        kyOS::File f(name(path(c.file)));
        const kyUtil::Error e = f.open(c.mode);
        EXPECT_EQ(e.code(), c.code) << text(e);
        EXPECT_FALSE(f.isOpen());
    }
    kyOS::File longName(name(path(std::string(kyOS::Filename::maxLength() + 1, 'n'))));
    EXPECT_EQ(longName.makeDirectory().code(), kyOS::kFileErrPathTooLong);
}

TEST_F(FileTest, OperationsOnTheWrongStateFail) {
    kyOS::File f(name(path("s")));
    char c = 0;
    std::size_t n = 7;
    EXPECT_EQ(f.read(&c, 1, &n).code(), kyOS::kFileErrNotOpen);
    EXPECT_EQ(n, 0u);
    EXPECT_EQ(f.write("x", 1, nullptr).code(), kyOS::kFileErrNotOpen);
    EXPECT_EQ(f.close().code(), kyOS::kFileErrNotOpen);
    EXPECT_EQ(f.seek(0, kyOS::kSeekSet).code(), kyOS::kFileErrNotOpen);
    ASSERT_TRUE(f.open(kyOS::kWrite | kyOS::kCreate).ok());
    EXPECT_EQ(f.open(kyOS::kRead).code(), kyOS::kFileErrIsOpen);
    EXPECT_EQ(f.read(&c, 1, &n).code(), kyOS::kFileErrNoReadPermission); // opened for writing only
    EXPECT_EQ(f.write(nullptr, 2, &n).code(), kyOS::kFileErrIO);
    EXPECT_TRUE(f.write(nullptr, 0, &n).ok());
    EXPECT_EQ(f.deleteSelf().code(), kyOS::kFileErrIsOpen);
    ASSERT_TRUE(f.close().ok());
    ASSERT_TRUE(f.open(kyOS::kRead).ok());
    EXPECT_EQ(f.write("x", 1, nullptr).code(), kyOS::kFileErrNoWritePermission);
    // An empty read is no read at all; a null buffer is refused, not dereferenced.
    EXPECT_TRUE(f.read(&c, 0, &n).ok());
    EXPECT_EQ(f.read(nullptr, 4, &n).code(), kyOS::kFileErrIO);
    ASSERT_TRUE(f.close().ok());

    kyOS::File none(static_cast<kyOS::FileTransport*>(nullptr));
    EXPECT_FALSE(none.isValid());
    EXPECT_EQ(none.open(kyOS::kRead).code(), kyOS::kFileErrNotImplemented);
    kyOS::FileStatus status;
    EXPECT_EQ(none.query(status, false).code(), kyOS::kFileErrNotImplemented);
}

TEST_F(FileTest, DestructorClosesAnOpenFile) {
    {
        kyOS::File f(name(path("d")));
        ASSERT_TRUE(f.open(kyOS::kWrite | kyOS::kCreate).ok());
        ASSERT_TRUE(f.write("kept", 4, nullptr).ok());
    }
    EXPECT_EQ(get(path("d")), std::string("kept"));
    EXPECT_TRUE(kyOS::File(name(path("d"))).deleteSelf().ok()); // nothing holds it
}

TEST_F(FileTest, DirectoriesAreMadeListedAndDeleted) {
    kyOS::File deep(name(path("a/b/c")));
    EXPECT_EQ(deep.makeDirectory().code(), kyOS::kFileErrDoesNotExist); // parents missing
    ASSERT_TRUE(deep.makeDirectoryAll().ok());
    EXPECT_TRUE(deep.isDirectory());
    EXPECT_TRUE(deep.makeDirectoryAll().ok()); // already there
    EXPECT_EQ(deep.makeDirectory().code(), kyOS::kFileErrExists);
    put(path("a/f1"), "1");
    put(path("a/b/f2"), "22");

    ky::vector<kyString::IString> names;
    kyOS::File a(name(path("a")));
    ASSERT_TRUE(a.readDir(names, false).ok());
    std::vector<std::wstring> got;
    for (const kyString::IString& n : names) {
        got.push_back(n.str());
    }
    std::sort(got.begin(), got.end());
    EXPECT_EQ(got, (std::vector<std::wstring>{L"b", L"f1"}));
    ASSERT_TRUE(a.readDir(names, true).ok());
    ASSERT_EQ(names.size(), 2u);
    for (const kyString::IString& n : names) {
        EXPECT_EQ(kyOS::Filename(n).dirname(), name(path("a")).name());
    }

    kyOS::File file(name(path("a/f1")));
    EXPECT_EQ(file.readDir(names, false).code(), kyOS::kFileErrNotADirectory);
    EXPECT_EQ(kyOS::File(name(path("zz"))).readDir(names, false).code(),
              kyOS::kFileErrDoesNotExist);
    put(path("a/blocker"), "");
    EXPECT_EQ(kyOS::File(name(path("a/blocker/x"))).makeDirectoryAll().code(),
              kyOS::kFileErrNotADirectory);

    EXPECT_EQ(a.deleteSelf().code(), kyOS::kFileErrDirectoryNotEmpty);
    EXPECT_TRUE(there(path("a/b/f2")));
    ASSERT_TRUE(a.deleteSelf(kyOS::kDeleteRecursive).ok());
    EXPECT_FALSE(there(path("a")));
    EXPECT_EQ(a.deleteSelf().code(), kyOS::kFileErrDoesNotExist);
}

TEST_F(FileTest, TempFilesAndDirectoriesLandInTheTemporaryDirectory) {
    filetest::ScopedTempDirectory tmp(dir().string());
    kyOS::File f(name(path("ignored")));
    ASSERT_TRUE(f.openTemp(kyOS::kReadWrite).ok());
    const kyOS::Filename made(f.getFullName());
    EXPECT_EQ(made.dirname(), name(dir().string()).name());
    ASSERT_TRUE(f.write("t", 1, nullptr).ok());
    ASSERT_TRUE(f.close().ok());
    EXPECT_EQ(get(made.name().asMultibyte()), std::string("t"));

    kyOS::File d(name(path("ignored2")));
    ASSERT_TRUE(d.makeTempDirectory().ok());
    EXPECT_TRUE(d.isDirectory());
    EXPECT_EQ(kyOS::Filename(d.getFullName()).dirname(), name(dir().string()).name());
}

TEST_F(FileTest, CopyToAndMoveTo) {
    put(path("src"), "payload");
    kyOS::File src(name(path("src")));
    kyOS::File copy(name(path("copy")));
    ASSERT_TRUE(src.copyTo(copy).ok());
    EXPECT_EQ(get(path("copy")), std::string("payload"));
    kyOS::File moved(name(path("moved")));
    ASSERT_TRUE(copy.moveTo(moved).ok());
    EXPECT_FALSE(there(path("copy")));
    EXPECT_EQ(get(path("moved")), std::string("payload"));
    kyOS::File missing(name(path("missing")));
    EXPECT_EQ(missing.copyTo(copy).code(), kyOS::kFileErrDoesNotExist);
    EXPECT_EQ(missing.moveTo(copy).code(), kyOS::kFileErrDoesNotExist);
}

TEST_F(FileTest, QueryFillsTheStatus) {
    put(path("five"), "12345");
    ASSERT_TRUE(kyOS::File(name(path("sub"))).makeDirectory().ok());
    kyOS::FileStatus s;
    ASSERT_TRUE(kyOS::File::query(name(path("five")), s).ok());
    EXPECT_TRUE(s.exists() && s.isFile() && s.isReadable() && s.isWritable());
    EXPECT_FALSE(s.isDirectory());
    EXPECT_FALSE(s.isRemote());
    EXPECT_EQ(s.getSize(), 5);
    EXPECT_GT(s.getLastModifiedDate(), 1500000000); // after 2017
    EXPECT_GT(s.getCreationDate(), 0);
    EXPECT_TRUE(s.getOwner().isEmpty()); // names only when asked for

    ASSERT_TRUE(kyOS::File::query(wide(path("sub")), s).ok());
    EXPECT_TRUE(s.exists() && s.isDirectory());
    EXPECT_FALSE(s.isFile());

    // Missing names are an answer, not a failure; so is a plain file in the way.
    ASSERT_TRUE(kyOS::File::query(name(path("nothing")), s).ok());
    EXPECT_FALSE(s.exists());
    ASSERT_TRUE(kyOS::File::query(name(path("five") + "/x"), s).ok());
    EXPECT_FALSE(s.exists());
    ASSERT_TRUE(kyOS::File::query(kyOS::Filename(), s).ok());
    EXPECT_FALSE(s.exists());
    EXPECT_EQ(kyOS::File::query(name(path(std::string(5000, 'q'))), s).code(),
              kyOS::kFileErrPathTooLong);

    EXPECT_TRUE(kyOS::doesFileExist(name(path("five"))));
    EXPECT_FALSE(kyOS::doesFileExist(name(path("nothing"))));
    EXPECT_TRUE(kyOS::isFileWritable(name(path("five"))));
    EXPECT_FALSE(kyOS::isFileWritable(name(path("nothing"))));

    // Account names when asked for (under Wine they are the emulator's own).
    ASSERT_TRUE(kyOS::File(name(path("five"))).query(s, true).ok());
    EXPECT_TRUE(kytest::onWindows() || (!s.getOwner().isEmpty() && !s.getGroup().isEmpty()));
    EXPECT_TRUE(!kytest::canDropPrivileges() || std::string(s.getOwner().asChar()) == "root");
}

TEST_F(FileTest, SizesBeyondFourGigabytes) {
    if (kytest::onWindows()) {
        GTEST_SKIP() << "a sparse file of 5 GiB is not sparse everywhere under Wine";
    }
    kyOS::File f(name(path("big")));
    ASSERT_TRUE(f.open(kyOS::kWrite | kyOS::kCreate).ok());
    const int64_t size = (int64_t{5} << 30) + 1;
    ASSERT_TRUE(f.seek(size - 1, kyOS::kSeekSet).ok());
    ASSERT_TRUE(f.write("z", 1, nullptr).ok());
    ASSERT_TRUE(f.close().ok());
    kyOS::FileStatus s;
    ASSERT_TRUE(kyOS::File::query(name(path("big")), s).ok());
    EXPECT_EQ(s.getSize(), size);
}

// One child without root's rights (root passes every permission test) meets root's files
// and root's directory: the status query, opening, whole-file operations, protected writes.
TEST_F(FileTest, PermissionsSeenByAnUnprivilegedUser) {
    if (!kytest::canDropPrivileges()) {
        GTEST_SKIP() << "needs a POSIX system and root, to check as another user";
    }
    const std::string file = path("rootonly"), src = path("src"), mine = path("mine");
    put(file, "secret");
    put(src, "S");
    put(mine, "M");
    std::filesystem::permissions(file, std::filesystem::perms::owner_read |
                                           std::filesystem::perms::owner_write);
    std::filesystem::permissions(src, std::filesystem::perms::all);
    const auto seen = kytest::runInChild(
        [&] {
            kyOS::FileStatus s;
            const kyUtil::Error q = kyOS::File::query(name(file), s);
            kyOS::File r(name(file)), w(name(file)), created(name(file + ".new"));
            const kyUtil::Error copy = kyOS::fileCopy(name(src), name(path("dst")), false);
            const kyUtil::Error rename = kyOS::fileRename(name(mine), name(path("yours")));
            kyOS::ProtectedWrite pw(name(file));
            const bool init = pw.init();
            return std::to_string(q.code()) + " " + std::to_string(s.exists()) +
                   std::to_string(s.isReadable()) + std::to_string(s.isWritable()) + " " +
                   std::to_string(r.open(kyOS::kRead).code()) + " " +
                   std::to_string(w.open(kyOS::kWrite).code()) + " " +
                   std::to_string(created.open(kyOS::kWrite | kyOS::kCreate).code()) + "\n" +
                   std::to_string(copy.code()) + "|" + text(copy) + "\n" +
                   std::to_string(rename.code()) + "|" + text(rename) + "\n" +
                   std::to_string(init) + " " + std::to_string(pw.getStatus()) + " " +
                   std::to_string(pw.finalize());
        },
        true);
    ASSERT_TRUE(seen.has_value());
    const std::string denied =
        kyString::IString(kyOS::detail::fileCalls().runtimeErrorText(EACCES).c_str()).asMultibyte();
    // Exists, neither readable nor writable; reading refused (6), writing refused (5), and the
    // directory refuses a new file (5). The copy's and the rename's own codes and texts. The
    // protected write stops at init with status 1.
    EXPECT_EQ(*seen, "0 100 6 5 5\n1|Error copying " + src + " to " + path("dst") + ": " + denied +
                         "\n6|A component of either path prefix deniessearch permission\n0 1 0");
    EXPECT_TRUE(there(mine) && !there(path("dst")));
    EXPECT_EQ(get(file), std::string("secret"));
}

TEST_F(FileTest, CEntryPoints) {
    put(path("c.txt"), "HEADERbody");
    ASSERT_TRUE(kyOS::File(name(path("cdir"))).makeDirectory().ok());
    EXPECT_TRUE(kyOS_DoesFileExist(path("c.txt").c_str()));
    EXPECT_TRUE(kyOS_DoesFileExistW(wide(path("c.txt")).asWChar()));
    EXPECT_FALSE(kyOS_DoesFileExist(path("none").c_str()));
    EXPECT_FALSE(kyOS_DoesFileExist(nullptr));
    EXPECT_TRUE(kyOS_DoesDirectoryExist(path("cdir").c_str()));
    EXPECT_TRUE(kyOS_DoesDirectoryExist(path("c.txt").c_str())); // kept: a file answers true
    EXPECT_FALSE(kyOS_DoesDirectoryExist(path("none").c_str()));
    EXPECT_TRUE(kyOS_IsFileWriteable(path("c.txt").c_str()));
    EXPECT_TRUE(kyOS_IsFileWriteableW(wide(path("c.txt")).asWChar()));
    EXPECT_FALSE(kyOS_IsFileWriteable(path("none").c_str()));

    char header[6] = {};
    EXPECT_EQ(kyOS_ReadHeaderFromFile(path("c.txt").c_str(), header, sizeof header), 6);
    EXPECT_EQ(std::string(header, 6), "HEADER");
    char all[64] = {};
    EXPECT_EQ(kyOS_ReadHeaderFromFileW(wide(path("c.txt")).asWChar(), all, sizeof all), 10);
    EXPECT_EQ(kyOS_ReadHeaderFromFile(path("none").c_str(), all, sizeof all), -1);
    EXPECT_EQ(kyOS_ReadHeaderFromFile(path("cdir").c_str(), all, sizeof all), -1);
    put(path("empty"), "");
    EXPECT_EQ(kyOS_ReadHeaderFromFile(path("empty").c_str(), all, sizeof all), 0);

    EXPECT_TRUE(kyOS_CopyFileTo(path("c.txt").c_str(), path("c2.txt").c_str(), false));
    EXPECT_FALSE(kyOS_CopyFileTo(path("c.txt").c_str(), path("c2.txt").c_str(), false));
    EXPECT_TRUE(
        kyOS_CopyFileToW(wide(path("c.txt")).asWChar(), wide(path("c2.txt")).asWChar(), true));
    EXPECT_EQ(get(path("c2.txt")), std::string("HEADERbody"));
}

} // namespace
