// ProtectedWriteTest.cpp - kyOS::ProtectedWrite: both strategies and every status.
#include "FileTestSupport.h"

#include <Base/OS/internal/kyOSFileCalls.h>
#include <Base/OS/kyOSFile.h>
#include <Base/OS/kyOSProtectedWrite.h>

#include <kyTestProcess.h>
#include <kyTestSupport.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <string>

using filetest::get;
using filetest::name;
using filetest::put;
using filetest::there;

namespace {

namespace fs = std::filesystem;
using kyOS::detail::fileCalls;
using kyOS::detail::nativeFileCalls;
using PW = kyOS::ProtectedWrite;

class ProtectedWriteTest : public kytest::TempDirTest {
protected:
    void SetUp() override {
        kytest::TempDirTest::SetUp();
        fs::create_directory(path("tmp"));
        tmp_ = std::make_unique<filetest::ScopedTempDirectory>(path("tmp"));
        main_ = path("scene.ma");
    }
    void TearDown() override {
        fileCalls() = nativeFileCalls();
        tmp_.reset();
        kytest::TempDirTest::TearDown();
    }
    // Writes `content` to the temp name through the library's own file.
    static void writeTemp(const PW& pw, const std::string& content) {
        kyOS::File f(pw.getTempFilename());
        ASSERT_TRUE(f.open(kyOS::kWrite | kyOS::kCreate | kyOS::kTruncate).ok());
        ASSERT_TRUE(f.write(content.data(), content.size(), nullptr).ok());
        ASSERT_TRUE(f.close().ok());
    }
    // Nothing but the main file is left in the test directory and the temp directory.
    void expectOnlyMain() {
        std::size_t n = 0;
        for (const auto& entry : fs::directory_iterator(dir())) {
            const std::string leaf = entry.path().filename().string();
            EXPECT_TRUE(leaf == "scene.ma" || leaf == "tmp") << leaf;
            ++n;
        }
        EXPECT_TRUE(fs::is_empty(path("tmp")));
    }

    std::unique_ptr<filetest::ScopedTempDirectory> tmp_;
    std::string main_;
};

TEST_F(ProtectedWriteTest, RenameStrategyReplacesTheFile) {
    put(main_, "old content");
    PW pw(name(main_));
    EXPECT_EQ(pw.getMainFilename().name(), name(main_).name());
    EXPECT_TRUE(pw.getTempFilename().name().isEmpty());
    ASSERT_TRUE(pw.init());
    // Both names lie beside main, made from its basename.
    EXPECT_EQ(pw.getTempFilename().dirname(), name(dir().string()).name());
    EXPECT_EQ(pw.getBackupFilename().dirname(), name(dir().string()).name());
    EXPECT_EQ(pw.getTempFilename().basename().str().compare(0, 3, L"sce"), 0);
    EXPECT_NE(pw.getTempFilename().name(), pw.getBackupFilename().name());
    EXPECT_FALSE(kyOS::doesFileExist(pw.getTempFilename()));
    writeTemp(pw, "new content");
    EXPECT_EQ(get(main_), std::string("old content")); // nothing happens before finalize
    ASSERT_TRUE(pw.finalize());
    EXPECT_EQ(pw.getStatus(), PW::kOk);
    EXPECT_EQ(get(main_), std::string("new content"));
    expectOnlyMain();
}

TEST_F(ProtectedWriteTest, CopyStrategyGoesThroughTheTemporaryDirectory) {
    put(main_, "old");
    PW pw(name(main_));
    pw.useCopyStrategy();
    ASSERT_TRUE(pw.init());
    EXPECT_EQ(pw.getTempFilename().dirname(), name(path("tmp")).name());
    EXPECT_EQ(pw.getBackupFilename().dirname(), name(path("tmp")).name());
    writeTemp(pw, "new");
    ASSERT_TRUE(pw.finalize());
    EXPECT_EQ(get(main_), std::string("new"));
    expectOnlyMain();
}

// The variable is read once per process, so a fresh process of this test program answers:
// it runs the probe below with the variable set and reports where its names went.
TEST_F(ProtectedWriteTest, EnvironmentChoosesTheCopyStrategy) {
    if (filetest::onWindows()) {
        GTEST_SKIP() << "starts this program again through /proc/self/exe";
    }
    const std::string command =
        "VELTO_PROTECTED_WRITE_USE_COPY= KYTEST_PW_PROBE='" + dir().string() + "' '" +
        fs::read_symlink("/proc/self/exe").string() + "' --gtest_filter=ProtectedWriteProbe.* > " +
        path("probe.log") + " 2>&1";
    ASSERT_EQ(std::system(command.c_str()), 0) << get(path("probe.log")).value_or("");
    EXPECT_EQ(get(path("result")), std::string("ok tmp"));
}

TEST(ProtectedWriteProbe, ReportsItsStrategy) {
    const char* out = std::getenv("KYTEST_PW_PROBE");
    if (out == nullptr) {
        GTEST_SKIP() << "runs only as the child of EnvironmentChoosesTheCopyStrategy";
    }
    PW pw(name(std::string(out) + "/scene.ma"));
    const bool ok = pw.init();
    const bool inTmp = pw.getTempFilename().dirname() == name(std::string(out) + "/tmp").name();
    put(std::string(out) + "/result",
        std::string(ok ? "ok" : "failed") + (inTmp ? " tmp" : " beside"));
}

TEST_F(ProtectedWriteTest, NewFileWithoutAnOldOne) {
    PW pw(name(main_));
    ASSERT_TRUE(pw.init());
    writeTemp(pw, "first");
    ASSERT_TRUE(pw.finalize());
    EXPECT_EQ(get(main_), std::string("first"));
    expectOnlyMain();
}

TEST_F(ProtectedWriteTest, FinalizeWithoutInitTouchesNothing) {
    put(main_, "kept");
    PW pw(name(main_));
    EXPECT_TRUE(pw.finalize());
    EXPECT_EQ(pw.getStatus(), PW::kOk);
    EXPECT_EQ(get(main_), std::string("kept"));
}

TEST_F(ProtectedWriteTest, InitTwiceKeepsTheNames) {
    PW pw(name(main_));
    ASSERT_TRUE(pw.init());
    const kyString::IString temp = pw.getTempFilename().name();
    ASSERT_TRUE(pw.init());
    EXPECT_EQ(pw.getTempFilename().name(), temp);
}

TEST_F(ProtectedWriteTest, InvalidatedWriteLeavesMainAlone) { // status 7
    put(main_, "old");
    PW pw(name(main_));
    ASSERT_TRUE(pw.init());
    writeTemp(pw, "half");
    pw.invalidate();
    EXPECT_FALSE(pw.finalize());
    EXPECT_EQ(pw.getStatus(), PW::kInvalidated);
    EXPECT_EQ(get(main_), std::string("old"));
    expectOnlyMain();
    EXPECT_FALSE(pw.init()); // the status stays
}

TEST_F(ProtectedWriteTest, NothingWritten) { // status 5
    put(main_, "old");
    PW pw(name(main_));
    ASSERT_TRUE(pw.init());
    EXPECT_FALSE(pw.finalize());
    EXPECT_EQ(pw.getStatus(), PW::kNothingWritten);
    EXPECT_EQ(get(main_), std::string("old"));
    expectOnlyMain();
}

TEST_F(ProtectedWriteTest, MainNotWritable) { // status 1 from init
    if (!kytest::canDropPrivileges()) {
        GTEST_SKIP() << "needs a POSIX system and root, to check as another user";
    }
    put(main_, "root's");
    fs::permissions(path("tmp"), fs::perms::all); // the child may use the temp directory
    const std::string mainName = main_;
    const auto seen = kytest::runInChild(
        [&] {
            PW pw(name(mainName));
            const bool ok = pw.init();
            return std::to_string(ok) + " " + std::to_string(pw.getStatus()) + " " +
                   std::to_string(pw.finalize());
        },
        true);
    ASSERT_TRUE(seen.has_value());
    EXPECT_EQ(*seen, "0 1 0");
    EXPECT_EQ(get(main_), std::string("root's"));
}

TEST_F(ProtectedWriteTest, MissingTemporaryDirectoryIsMadeAndRefuses) { // status 2
    put(main_, "old");
    filetest::ScopedTempDirectory missing(path("made-now"));
    PW pw(name(main_));
    pw.useCopyStrategy();
    EXPECT_FALSE(pw.init());
    EXPECT_EQ(pw.getStatus(), PW::kTempDirCreated); // kept: made, and still refused
    EXPECT_TRUE(fs::is_directory(path("made-now")));
    EXPECT_FALSE(pw.finalize());
    EXPECT_EQ(get(main_), std::string("old"));
}

TEST_F(ProtectedWriteTest, TemporaryDirectoryThatCannotBeMadeLetsTheWriteGoOn) {
    put(main_, "old");
    filetest::ScopedTempDirectory missing(path("no/such/dir"));
    PW pw(name(main_));
    pw.useCopyStrategy();
    // The inverted test, kept: the failed creation records nothing, and init goes on.
    EXPECT_TRUE(pw.init());
    EXPECT_EQ(pw.getStatus(), PW::kOk);
    EXPECT_FALSE(fs::exists(path("no")));
}

TEST_F(ProtectedWriteTest, TemporaryDirectoryIsAFile) { // status 3
    put(main_, "old");
    put(path("notadir"), "");
    filetest::ScopedTempDirectory file(path("notadir"));
    PW pw(name(main_));
    pw.useCopyStrategy();
    EXPECT_FALSE(pw.init());
    EXPECT_EQ(pw.getStatus(), PW::kTempDirNotDir);
}

// A temp-file maker that always hands out the same name, so a stale file can wait there.
std::wstring gFixedTemp;
int fixedTempFile(const std::wstring&, const std::wstring&, std::wstring& out, int* error) {
    out = gFixedTemp;
    const int fd = nativeFileCalls().open(out, kyOS::kWrite | kyOS::kCreate, error);
    if (fd < 0) {
        return -1;
    }
    return nativeFileCalls().close(fd, error);
}
int unlinkRefusesStale(const std::wstring& name, int* error) {
    if (name.find(L"stale.0.tmp") != std::wstring::npos) {
        *error = EACCES;
        return -1;
    }
    return nativeFileCalls().unlink(name, error);
}

TEST_F(ProtectedWriteTest, StaleTempThatCannotBeDeleted) { // status 4
    put(main_, "old");
    put(path("stale.0.tmp"), "stale");
    gFixedTemp = name(path("tmp/stale.tmp")).name().str();
    fileCalls().tempFile = fixedTempFile;
    fileCalls().unlink = unlinkRefusesStale;
    PW pw(name(main_));
    EXPECT_FALSE(pw.init());
    EXPECT_EQ(pw.getStatus(), PW::kStaleNotDeleted);
    EXPECT_EQ(get(main_), std::string("old"));
}

int renameRefusesMain(const std::wstring& from, const std::wstring& to, int* error) {
    if (from.size() >= 8 && from.compare(from.size() - 8, 8, L"scene.ma") == 0) {
        *error = EACCES;
        return -1;
    }
    return nativeFileCalls().rename(from, to, error);
}

TEST_F(ProtectedWriteTest, MainCannotBeMovedAside) { // status 6
    put(main_, "old");
    PW pw(name(main_));
    ASSERT_TRUE(pw.init());
    writeTemp(pw, "new");
    fileCalls().rename = renameRefusesMain;
    EXPECT_FALSE(pw.finalize());
    EXPECT_EQ(pw.getStatus(), PW::kMainNotMoved);
    EXPECT_EQ(get(main_), std::string("old"));
    expectOnlyMain();
}

int renameRefusesToMain(const std::wstring& from, const std::wstring& to, int* error) {
    if (to.size() >= 8 && to.compare(to.size() - 8, 8, L"scene.ma") == 0 &&
        from.find(L".0.tmp") != std::wstring::npos) {
        *error = EIO;
        return -1;
    }
    return nativeFileCalls().rename(from, to, error);
}

TEST_F(ProtectedWriteTest, NewContentThatCannotBePutInPlaceRestoresTheOld) { // status 1
    put(main_, "old");
    PW pw(name(main_));
    ASSERT_TRUE(pw.init());
    writeTemp(pw, "new");
    fileCalls().rename = renameRefusesToMain;
    EXPECT_FALSE(pw.finalize());
    EXPECT_EQ(pw.getStatus(), PW::kNotWritable);
    EXPECT_EQ(get(main_), std::string("old"));
    expectOnlyMain();
}

TEST_F(ProtectedWriteTest, CopiesCopyEveryField) {
    PW pw(name(main_));
    ASSERT_TRUE(pw.init());
    PW copy(pw);
    EXPECT_EQ(copy.getTempFilename().name(), pw.getTempFilename().name());
    EXPECT_EQ(copy.getBackupFilename().name(), pw.getBackupFilename().name());
    writeTemp(pw, "via copy");
    ASSERT_TRUE(copy.finalize()); // initialised travels with the copy
    EXPECT_EQ(get(main_), std::string("via copy"));
    PW assigned(name(path("other")));
    assigned = pw;
    EXPECT_EQ(assigned.getMainFilename().name(), name(main_).name());
}

TEST_F(ProtectedWriteTest, DestructorDeletesAnAbandonedTemp) {
    std::string temp;
    {
        PW pw(name(main_));
        ASSERT_TRUE(pw.init());
        writeTemp(pw, "abandoned");
        temp = pw.getTempFilename().name().asMultibyte();
        EXPECT_TRUE(there(temp));
    }
    EXPECT_FALSE(there(temp));
    EXPECT_FALSE(there(main_));
}

} // namespace
