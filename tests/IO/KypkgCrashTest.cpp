// KypkgCrashTest.cpp - SIGKILLs at random moments of kypkg add, delete and compact on a
// package of a few thousand small files. After each kill the package opens, `kypkg verify`
// passes, and its names and bytes are those before the command or those after it.
#include "IOTestSupport.h"

#include <Base/IO/ioPackageFile.h>

#include <kyTestProcess.h>
#include <kyTestSupport.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <thread>
#include <vector>

namespace {

namespace fs = std::filesystem;
using Contents = std::map<std::string, std::string>;
using Clock = std::chrono::steady_clock;

constexpr std::uint32_t kSeed = 20261124; // change it to explore other moments
constexpr int kFiles = 2500;
constexpr int kKillsPerCommand = 70;

bool contentsOf(const fs::path& file, Contents& contents) {
    return iotest::packageContents(file.string(), contents);
}

#ifdef KYPKG_PATH
const std::string kTool = KYPKG_PATH;
#else
const std::string kTool; // the tools are not part of this build
#endif

class KypkgCrash : public kytest::TempDirTest {
protected:
    void SetUp() override {
        kytest::TempDirTest::SetUp();
        if (!kytest::canForkAndKill() || kTool.empty()) {
            GTEST_SKIP() << "needs the tool, and POSIX to kill it with SIGKILL at a chosen moment";
        }
#ifdef __SANITIZE_ADDRESS__
        GTEST_SKIP() << "several minutes under the sanitizers; the default build runs it";
#endif
    }
    // Starts kypkg; its temporary files go to a folder of the test's own.
    long start(const std::vector<std::string>& arguments) {
        const std::string tmp = path("tmp");
        return kytest::startProgram(kTool, arguments, path("out.txt"), {{"TMPDIR", tmp.c_str()}});
    }
    int runToEnd(const std::vector<std::string>& arguments) {
        const kytest::ChildEnd end = kytest::waitChild(start(arguments), false);
        return end.exited ? end.exitCode : -1;
    }

    // Small files in nested folders, a third of them text that compresses.
    void writeFiles(const std::string& root, int from, int to, kytest::Random& random) {
        for (int i = from; i < to; ++i) {
            const fs::path name = dir() / root / ("d" + std::to_string(i % 23)) /
                                  ("e" + std::to_string(i % 4)) / ("f" + std::to_string(i));
            fs::create_directories(name.parent_path());
            std::string bytes(static_cast<std::size_t>(random.range(0, 1500)), '\0');
            for (std::size_t k = 0; k < bytes.size(); ++k) {
                bytes[k] = i % 3 == 0 ? "abcab\n"[k % 6] : static_cast<char>(random.range(0, 255));
            }
            std::ofstream(name, std::ios::binary) << bytes;
        }
    }
    static std::string entry(int i) {
        return "tree/d" + std::to_string(i % 23) + "/e" + std::to_string(i % 4) + "/f" +
               std::to_string(i);
    }
};

TEST_F(KypkgCrash, KilledEditsLeaveTheStateBeforeOrAfter) {
    kytest::Random random(kSeed);
    fs::create_directories(dir() / "tmp");
    writeFiles("tree", 0, kFiles, random);
    writeFiles("more", kFiles - 100, kFiles + 150, random); // 100 replace, 150 are new
    const std::string base = path("base.kpf");
    ASSERT_EQ(runToEnd({"create", base, path("tree"), "--as", "tree", "-z"}), 0);
    std::vector<std::string> holes = {"delete", base};
    std::vector<std::string> deletions = {"delete"};
    for (int i = 0; i < kFiles; i += 7) {
        (i % 2 == 0 ? holes : deletions).push_back(entry(i));
    }
    ASSERT_EQ(runToEnd(holes), 0); // free blocks for the additions to reuse
    const fs::path work = dir() / "w" / "work.kpf";
    deletions.insert(deletions.begin() + 1, work.string());
    const std::vector<std::vector<std::string>> commands = {
        {"add", work.string(), path("more"), "--as", "tree", "-z"},
        deletions,
        {"compact", work.string()},
    };
    Contents before;
    ASSERT_TRUE(contentsOf(base, before));
    ASSERT_GT(before.size(), 2000u);
    for (const std::vector<std::string>& command : commands) {
        const auto fresh = [&] { // leftovers of a killed run go too
            for (const char* folder : {"w", "tmp"}) {
                fs::remove_all(dir() / folder);
                fs::create_directories(dir() / folder);
            }
            fs::copy_file(base, work);
        };
        auto duration = Clock::duration::max(); // the shortest of three whole runs
        for (int run = 0; run < 3; ++run) {
            fresh();
            const auto began = Clock::now();
            ASSERT_EQ(runToEnd(command), 0) << command[0];
            duration = std::min(duration, Clock::now() - began);
        }
        Contents after;
        ASSERT_TRUE(contentsOf(work, after));
        EXPECT_EQ(after == before, command[0] == "compact");
        int kills = 0;
        int attempts = 0;
        for (; kills < kKillsPerCommand && attempts < 8 * kKillsPerCommand; ++attempts) {
            fresh();
            const auto delay = duration * random.range(0, 1000) / 1000;
            const auto startedAt = Clock::now();
            const long child = start(command);
            ASSERT_GT(child, 0);
            std::this_thread::sleep_until(startedAt + delay); // when to kill is the experiment
            kytest::killChild(child);
            const kytest::ChildEnd end = kytest::waitChild(child, false);
            ASSERT_TRUE(end.waited);
            kills += end.exited ? 0 : 1;
            const std::string where =
                command[0] + ", attempt " + std::to_string(attempts) + ", killed after " +
                std::to_string(std::chrono::duration<double>(delay).count()) + " s";
            Contents now;
            ASSERT_TRUE(contentsOf(work, now)) << "the package does not open: " << where;
            EXPECT_TRUE(now == before || now == after) << where;
            ASSERT_EQ(runToEnd({"verify", work.string()}), 0) << where;
        }
        EXPECT_EQ(kills, kKillsPerCommand) << command[0];
        std::printf("kypkg %s: %d kills in %d runs; a whole run takes %.3f s\n", command[0].c_str(),
                    kills, attempts, std::chrono::duration<double>(duration).count());
    }
}

} // namespace
