// ProtectedWriteKillTest.cpp - a protected write killed with SIGKILL at random moments of
// init, the write and finalize never leaves a mix of old and new content, nor nothing.
//
// A forked child replaces a file of old content (256 KiB, pattern A) with new content
// (pattern B, another size) in a full ProtectedWrite cycle, with both strategies, and is
// killed after a random delay spread over the cycle's duration: wherever it happens to be,
// inside a system call included. (Death just before each system call, one call at a time,
// is the crash fault of FaultInjectionTest.) After each kill the main name holds all of A
// or all of B, or it is missing and a backup holds all of A.
#include <Base/OS/kyOSFile.h>
#include <Base/OS/kyOSProtectedWrite.h>

#include "FileTestSupport.h"
#include <kyTestSupport.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <string>
#include <system_error>
#include <thread>

#include <gtest/gtest.h>

namespace {

namespace fs = std::filesystem;
using filetest::pattern;
using filetest::put;
using filetest::readBytes;

class ProtectedWriteKillTest : public kytest::TempDirTest {};

void emptyDirectory(const fs::path& dir) {
    std::error_code ec;
    for (fs::directory_iterator it(dir, ec), end; !ec && it != end; it.increment(ec)) {
        std::error_code ignored;
        fs::remove_all(it->path(), ignored);
    }
}

// What a run found after the kill.
enum class Found { kOld, kNew, kBackupOnly, kBroken };

TEST_F(ProtectedWriteKillTest, KilledAnywhereLeavesOldOrNew) {
    if (!kytest::canForkAndKill()) {
        GTEST_SKIP() << "needs fork and SIGKILL/SIGSTOP, which Windows does not have";
    }
    const fs::path work = dir() / "work";
    const fs::path tmp = dir() / "tmp";
    fs::create_directories(work);
    fs::create_directories(tmp);
    kytest::ScopedEnv tmpdir("TMPDIR", tmp.string().c_str());
    kytest::ScopedEnv useCopy("VELTO_PROTECTED_WRITE_USE_COPY", nullptr);
    const fs::path main = work / "scene.ma";
    const std::string oldContent = pattern('A', 256 * 1024);
    const std::string newContent = pattern('B', 200 * 1024 + 123);

    // The first run of each strategy is not killed: it measures how long a child takes from
    // fork to exit, the span the kills of the later runs are spread over.
    long long micros[2] = {0, 0};
    kytest::Random random(20240611);
    const int kRuns = 242;
    int found[2][4] = {};
    for (int run = 0; run < kRuns; ++run) {
        const int copy = run % 2;
        const int delay = random.range(0, static_cast<int>(micros[copy] * 5 / 4));
        emptyDirectory(work);
        emptyDirectory(tmp);
        EXPECT_TRUE(put(main, oldContent));
        const auto start = std::chrono::steady_clock::now();
        const long child = kytest::forkChild([&] {
            return filetest::protectedWriteCycle(main, copy == 1, newContent, 64 * 1024) ? 0 : 1;
        });
        ASSERT_GE(child, 0);
        if (run >= 2) {
            // The delay is the kill point, not a wait for anything.
            std::this_thread::sleep_for(std::chrono::microseconds(delay));
            kytest::killChild(child);
        }
        const kytest::ChildEnd end = kytest::waitChild(child, false);
        ASSERT_TRUE(end.waited && (run >= 2 || end.exited));
        micros[copy] = run < 2 ? std::chrono::duration_cast<std::chrono::microseconds>(
                                     std::chrono::steady_clock::now() - start)
                                     .count()
                               : micros[copy];
        // Finished before the kill: it must have succeeded.
        EXPECT_TRUE(!end.exited || end.exitCode == 0) << "run " << run << ": the cycle failed";

        std::string content;
        Found what = Found::kBroken;
        const bool hasMain = readBytes(main, &content);
        if (hasMain) {
            what = content == oldContent   ? Found::kOld
                   : content == newContent ? Found::kNew
                                           : Found::kBroken;
        } else {
            // The backup is one of the library's names ending in ".1.tmp", beside main or in
            // the temporary directory; it must hold all of the old content.
            for (const fs::path& d : {work, tmp}) {
                std::error_code ec;
                for (fs::directory_iterator it(d, ec), end; !ec && it != end; it.increment(ec)) {
                    const std::string name = it->path().filename().string();
                    std::string parked;
                    if (name.size() > 6 && name.compare(name.size() - 6, 6, ".1.tmp") == 0 &&
                        readBytes(it->path(), &parked) && parked == oldContent) {
                        what = Found::kBackupOnly;
                    }
                }
            }
        }
        ++found[copy][static_cast<int>(what)];
        if (what == Found::kBroken) {
            ADD_FAILURE() << "run " << run << " (" << (copy ? "copy" : "rename")
                          << ", killed after " << delay << " us): "
                          << (hasMain ? "main holds neither the old nor the new content (" +
                                            std::to_string(content.size()) + " bytes)"
                                      : "main is missing and no backup holds the old content");
        }
    }

    for (int copy = 0; copy < 2; ++copy) {
        std::printf("[ kills    ] %s: %lld us per cycle; old %d, new %d, backup only %d, broken "
                    "%d\n",
                    copy ? "copy" : "rename", micros[copy], found[copy][0], found[copy][1],
                    found[copy][2], found[copy][3]);
        // The kills spread over the whole cycle: both ends happened.
        EXPECT_GT(found[copy][static_cast<int>(Found::kOld)], 0);
        EXPECT_GT(found[copy][static_cast<int>(Found::kNew)], 0);
    }
}

} // namespace
