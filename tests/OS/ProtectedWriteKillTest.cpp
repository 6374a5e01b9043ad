// ProtectedWriteKillTest.cpp - a protected write killed with SIGKILL at random points of
// init, the write and finalize never leaves a mix of old and new content, nor nothing.
//
// A forked child replaces a file of old content (256 KiB, pattern A) with new content
// (pattern B, another size) in a full ProtectedWrite cycle, with both strategies. Three runs
// in four stop the child just before one of the file layer's system calls (a fault hook that
// only counts raises SIGSTOP there; the call indices come in a seeded shuffled order, so each
// is used) and the parent kills it when it sees the stop; the rest kill it after a random
// delay, wherever it happens to be, inside a call included. After each kill the main name
// holds all of A or all of B, or it is missing and the backup holds all of A.
#include <Base/OS/kyOSFile.h>
#include <Base/OS/kyOSProtectedWrite.h>

#include "FaultInjector.h"
#include "FileTestSupport.h"
#include <kyTestSupport.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <random>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

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

// The cycle the child runs: init, the content through kyOS::File in 64 KiB blocks, finalize.
bool protectedWriteCycle(const fs::path& main, bool copy, const std::string& content,
                         kyOS::Filename* backup) {
    kyOS::ProtectedWrite pw(filetest::name(main));
    if (copy) {
        pw.useCopyStrategy();
    }
    bool ok = pw.init();
    *backup = pw.getBackupFilename();
    if (ok) {
        kyOS::File out(pw.getTempFilename());
        kyUtil::Error e = out.open(kyOS::kWrite | kyOS::kCreate | kyOS::kTruncate);
        const std::size_t kBlock = 64 * 1024;
        for (std::size_t at = 0; e.ok() && at < content.size(); at += kBlock) {
            e = out.write(content.data() + at, std::min(kBlock, content.size() - at), nullptr);
        }
        const kyUtil::Error closed = out.isOpen() ? out.close() : kyUtil::Error();
        if (e.failed() || closed.failed()) {
            pw.invalidate();
            ok = false;
        }
    }
    return pw.finalize() && ok;
}

void stopHere() {
    kytest::stopSelf();
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

    // How many calls a cycle makes, per strategy, and how long a child takes from fork to
    // exit (the span the delayed kills are spread over).
    std::size_t calls[2] = {0, 0};
    long long micros[2] = {0, 0};
    for (int copy = 0; copy < 2; ++copy) {
        emptyDirectory(work);
        emptyDirectory(tmp);
        EXPECT_TRUE(put(main, oldContent));
        {
            kytest::FaultInjector counter;
            counter.countOnly();
            kyOS::Filename backup;
            ASSERT_TRUE(protectedWriteCycle(main, copy == 1, newContent, &backup));
            calls[copy] = counter.calls();
        }
        emptyDirectory(work);
        emptyDirectory(tmp);
        EXPECT_TRUE(put(main, oldContent));
        const auto start = std::chrono::steady_clock::now();
        const long child = kytest::forkChild([&] {
            kyOS::Filename backup;
            return protectedWriteCycle(main, copy == 1, newContent, &backup) ? 0 : 1;
        });
        ASSERT_GE(child, 0);
        const kytest::ChildEnd end = kytest::waitChild(child, false);
        ASSERT_TRUE(end.waited);
        micros[copy] = std::chrono::duration_cast<std::chrono::microseconds>(
                           std::chrono::steady_clock::now() - start)
                           .count();
        ASSERT_TRUE(end.exited && end.exitCode == 0);
        std::string content;
        ASSERT_TRUE(readBytes(main, &content) && content == newContent);
    }

    kytest::Random random(20240611);
    const int kRuns = 240;
    int found[2][4] = {};
    int stoppedRuns = 0;
    // The stop points go through every call index in a shuffled order, again and again, so
    // that each one is hit (the single call whose kill leaves only the backup included).
    std::vector<std::size_t> order[2];
    std::size_t next[2] = {0, 0};
    for (int run = 0; run < kRuns; ++run) {
        const int copy = run % 2;
        // Three runs in four stop at a call; the others die after a random delay.
        const bool stopAtCall = random.range(0, 3) != 0;
        if (next[copy] == order[copy].size()) {
            order[copy].clear();
            for (std::size_t i = 1; i <= calls[copy]; ++i) {
                order[copy].push_back(i);
            }
            std::shuffle(order[copy].begin(), order[copy].end(), random.engine());
            next[copy] = 0;
        }
        const std::size_t k = stopAtCall ? order[copy][next[copy]++] : 0;
        const int delay = random.range(0, static_cast<int>(micros[copy] * 5 / 4));

        emptyDirectory(work);
        emptyDirectory(tmp);
        EXPECT_TRUE(put(main, oldContent));
        const long child = kytest::forkChild([&] {
            kytest::FaultInjector injector;
            if (stopAtCall) {
                injector.atCall(k, &stopHere);
            }
            kyOS::Filename backup;
            return protectedWriteCycle(main, copy == 1, newContent, &backup) ? 0 : 1;
        });
        ASSERT_GE(child, 0);
        kytest::ChildEnd end;
        bool reaped = false;
        if (stopAtCall) {
            end = kytest::waitChild(child, true);
            ASSERT_TRUE(end.waited);
            reaped = !end.stopped; // it ended without reaching call K
            stoppedRuns += reaped ? 0 : 1;
        } else {
            // The delay is the kill point, not a wait for anything.
            std::this_thread::sleep_for(std::chrono::microseconds(delay));
        }
        if (!reaped) {
            kytest::killChild(child);
            end = kytest::waitChild(child, false);
            ASSERT_TRUE(end.waited);
        }
        if (end.exited) {
            // Finished before the kill: it must have succeeded.
            EXPECT_EQ(end.exitCode, 0) << "run " << run << ": the cycle failed";
        }

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
            ADD_FAILURE() << "run " << run << " (" << (copy ? "copy" : "rename") << ", "
                          << (stopAtCall ? "stopped at call " + std::to_string(k)
                                         : "killed after " + std::to_string(delay) + " us")
                          << "): "
                          << (hasMain ? "main holds neither the old nor the new content (" +
                                            std::to_string(content.size()) + " bytes)"
                                      : "main is missing and no backup holds the old content");
        }
    }

    for (int copy = 0; copy < 2; ++copy) {
        std::printf("[ kills    ] %s: %zu calls per cycle, %lld us; old %d, new %d, backup only "
                    "%d, broken %d\n",
                    copy ? "copy" : "rename", calls[copy], micros[copy], found[copy][0],
                    found[copy][1], found[copy][2], found[copy][3]);
        // The kill points spread over the whole cycle: each outcome happened.
        EXPECT_GT(found[copy][static_cast<int>(Found::kOld)], 0);
        EXPECT_GT(found[copy][static_cast<int>(Found::kNew)], 0);
        EXPECT_GT(found[copy][static_cast<int>(Found::kBackupOnly)], 0);
    }
    EXPECT_GT(stoppedRuns, kRuns / 2);
}

} // namespace
