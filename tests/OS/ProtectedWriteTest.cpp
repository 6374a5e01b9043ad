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
    std::unique_ptr<filetest::ScopedTempDirectory> tmp_;
    std::string main_;
};

// Writes `content` to the temp name through the library's own file.
void writeTemp(const PW& pw, const std::string& content) {
    kyOS::File f(pw.getTempFilename());
    ASSERT_TRUE(f.open(kyOS::kWrite | kyOS::kCreate | kyOS::kTruncate).ok());
    ASSERT_TRUE(f.write(content.data(), content.size(), nullptr).ok());
    ASSERT_TRUE(f.close().ok());
}

TEST_F(ProtectedWriteTest, NamesBesideMainOrInTheTemporaryDirectory) {
    for (bool copy : {false, true}) {
        PW pw(name(main_));
        copy ? pw.useCopyStrategy() : void();
        ASSERT_TRUE(pw.init());
        const kyString::IString where = name(copy ? path("tmp") : dir().string()).name();
        EXPECT_EQ(pw.getTempFilename().dirname(), where);
        EXPECT_EQ(pw.getBackupFilename().dirname(), where);
        EXPECT_EQ(pw.getTempFilename().basename().str().compare(0, 3, L"sce"), 0);
        EXPECT_NE(pw.getTempFilename().name(), pw.getBackupFilename().name());
        EXPECT_FALSE(kyOS::doesFileExist(pw.getTempFilename()));
        const kyString::IString temp = pw.getTempFilename().name();
        ASSERT_TRUE(pw.init());
        EXPECT_EQ(pw.getTempFilename().name(), temp) << "a second init keeps the names";
    }
}

// The variable is read once per process, so a fresh process of this test program answers:
// it runs the probe below with the variable set and reports where its names went.
TEST_F(ProtectedWriteTest, EnvironmentChoosesTheCopyStrategy) {
    if (kytest::onWindows()) {
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

// Renames away from main (or, with gIntoMain, onto it from the temp) are refused.
bool gIntoMain = false;
int renameRefused(const std::wstring& from, const std::wstring& to, int* error) {
    const std::wstring& end = gIntoMain ? to : from;
    if (end.size() >= 8 && end.compare(end.size() - 8, 8, L"scene.ma") == 0 &&
        (!gIntoMain || from.find(L".0.tmp") != std::wstring::npos)) {
        *error = gIntoMain ? EIO : EACCES;
        return -1;
    }
    return nativeFileCalls().rename(from, to, error);
}

// Installs a case's fake system calls; the loop puts the native ones back.
std::string gCaseDir;
void staleTempCannotGo() {
    put(gCaseDir + "/stale.0.tmp", "stale");
    gFixedTemp = name(gCaseDir + "/tmp/stale.tmp").name().str();
    fileCalls().tempFile = fixedTempFile;
    fileCalls().unlink = unlinkRefusesStale;
}
void mainCannotMoveAside() {
    gIntoMain = false;
    fileCalls().rename = renameRefused;
}
void newCannotTakeMainsPlace() {
    gIntoMain = true;
    fileCalls().rename = renameRefused;
}

// One whole cycle per case, each in its own directory: init, the new content (or none),
// finalize; then the status, main's content, and nothing else left beside main or in the
// temporary directory.
TEST_F(ProtectedWriteTest, EveryOutcomeOfACycle) {
    const struct {
        const char* what;
        bool old, copy;
        const char* tempDir; // under the case's directory
        void (*fake)();      // installed after init when the content is written, else before
        bool write, invalidate, init;
        PW::Status status;
    } cases[] = {
        {"rename strategy", true, false, "tmp", nullptr, true, false, true, PW::kOk},
        {"copy strategy", true, true, "tmp", nullptr, true, false, true, PW::kOk},
        {"a new file", false, false, "tmp", nullptr, true, false, true, PW::kOk},
        {"nothing written", true, false, "tmp", nullptr, false, false, true, PW::kNothingWritten},
        {"invalidated", true, false, "tmp", nullptr, true, true, true, PW::kInvalidated},
        // Deliberately inverted, kept: a directory just made refuses, one that cannot be made
        // lets the write go on.
        {"temp dir made", true, true, "made-now", nullptr, false, false, false,
         PW::kTempDirCreated},
        {"temp dir not made", true, true, "no/such", nullptr, false, false, true,
         PW::kNothingWritten},
        {"temp dir is a file", true, true, "file", nullptr, false, false, false,
         PW::kTempDirNotDir},
        {"stale temp", true, false, "tmp", staleTempCannotGo, false, false, false,
         PW::kStaleNotDeleted},
        {"main not moved aside", true, false, "tmp", mainCannotMoveAside, true, false, true,
         PW::kMainNotMoved},
        {"new not put in place", true, false, "tmp", newCannotTakeMainsPlace, true, false, true,
         PW::kNotWritable},
    };
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        const auto& c = cases[i];
        SCOPED_TRACE(c.what);
        gCaseDir = path(std::to_string(i));
        const std::string main = gCaseDir + "/scene.ma";
        fs::create_directories(gCaseDir + "/tmp");
        put(gCaseDir + "/file", "");
        EXPECT_TRUE(!c.old || put(main, "old"));
        filetest::ScopedTempDirectory tmp(gCaseDir + "/" + c.tempDir);
        PW pw(name(main));
        c.copy ? pw.useCopyStrategy() : void();
        (c.fake && !c.write) ? c.fake() : void();
        EXPECT_EQ(pw.init(), c.init);
        if (c.write) {
            writeTemp(pw, "new");
            EXPECT_EQ(get(main), c.old ? std::optional<std::string>("old") : std::nullopt)
                << "nothing happens before finalize";
        }
        c.invalidate ? pw.invalidate() : void();
        (c.fake && c.write) ? c.fake() : void();
        EXPECT_EQ(pw.finalize(), c.status == PW::kOk);
        EXPECT_EQ(pw.getStatus(), c.status);
        EXPECT_EQ(pw.init(), c.status == PW::kOk) << "the status stays";
        EXPECT_EQ(get(main), std::string(c.status == PW::kOk ? "new" : "old"));
        fileCalls() = nativeFileCalls();
        for (const auto& entry : fs::directory_iterator(gCaseDir)) {
            const std::string leaf = entry.path().filename().string();
            EXPECT_TRUE(leaf == "scene.ma" || leaf == "file" || leaf == "tmp" ||
                        leaf == "made-now" || c.fake == staleTempCannotGo)
                << leaf;
        }
        EXPECT_TRUE(fs::is_empty(gCaseDir + "/tmp") || c.fake == staleTempCannotGo);
    }
    EXPECT_TRUE(fs::is_directory(path("5/made-now")));
    EXPECT_FALSE(fs::exists(path("6/no")));
}

// Finalize without init touches nothing; copies carry every field, "initialised" included;
// the destructor deletes a temp that was never finalized.
TEST_F(ProtectedWriteTest, CopiesAndTheObjectsLife) {
    put(main_, "kept");
    PW idle(name(main_));
    EXPECT_TRUE(idle.finalize() && idle.getStatus() == PW::kOk);
    EXPECT_EQ(get(main_), std::string("kept"));
    std::string temp;
    {
        PW pw(name(main_));
        ASSERT_TRUE(pw.init());
        PW copy(pw), assigned(name(path("other")));
        assigned = pw;
        EXPECT_EQ(assigned.getMainFilename().name(), name(main_).name());
        EXPECT_EQ(assigned.getBackupFilename().name(), pw.getBackupFilename().name());
        writeTemp(pw, "via copy");
        ASSERT_TRUE(copy.finalize());
        EXPECT_EQ(get(main_), std::string("via copy"));
        PW abandoned(name(main_));
        ASSERT_TRUE(abandoned.init());
        writeTemp(abandoned, "abandoned");
        temp = abandoned.getTempFilename().name().asMultibyte();
        EXPECT_TRUE(there(temp));
    }
    EXPECT_FALSE(there(temp));
    EXPECT_EQ(get(main_), std::string("via copy"));
}

} // namespace
