// FaultInjectionTest.cpp - whole-file operations and protected writes with a failure, a short
// transfer or a crash injected at every system call they make.
//
// Each operation first runs with a counting hook to learn its N calls; then, for every K in
// 1..N and every fault, it runs again from the same files and the outcome is checked:
//  - a reported success means the complete expected result (failures are never swallowed);
//  - an interruption (EINTR) once, and short transfers, are absorbed: the operation succeeds;
//  - the original data survives: the source of a copy, the old content of a protected write
//    (under the main name, or only when the main name is empty, at the backup name);
//  - after a single failure nothing is left behind (the working directories and the private
//    temporary directory hold exactly what they should) and no descriptor stays open.
// When every call from K on fails, or the process "dies" at K, cleanup cannot run: then only
// the data is checked, and any leftover must carry a name this test or the library made for
// the operation.
#include <Base/OS/kyOSFile.h>
#include <Base/OS/kyOSProtectedWrite.h>

#include "FaultInjector.h"
#include "FileTestSupport.h"
#include <kyTestSupport.h>

#include <cerrno>
#include <cstddef>
#include <filesystem>
#include <functional>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <system_error>
#include <vector>

#include <gtest/gtest.h>

namespace {

namespace fs = std::filesystem;
using filetest::pattern;
using filetest::put;
using filetest::readBytes;
using kytest::FaultInjector;
using Mode = FaultInjector::Mode;
using kyOS::detail::FileCall;

// ---------------------------------------------------------------------------------------------
// Files, seen without the library so that the checks do not pass through the hook

std::set<std::string> namesIn(const fs::path& dir) {
    std::set<std::string> names;
    std::error_code ec;
    for (fs::directory_iterator it(dir, ec), end; !ec && it != end; it.increment(ec)) {
        names.insert(it->path().filename().string());
    }
    return names;
}

bool startsWith(const std::string& s, const std::string& head) {
    return s.compare(0, head.size(), head) == 0;
}

fs::path pathOf(const kyOS::Filename& name) {
    return fs::path(name.name().str());
}

// Where the library puts temporary files when the system will not say (its fallback).
fs::path fallbackTempDirectory() {
    return fs::path(kytest::onWindows() ? "C:\\" : "/tmp");
}

// ---------------------------------------------------------------------------------------------
// Faults

struct Scenario {
    enum Kind { kFail, kShort, kCrash };
    Kind kind;
    int error;
    Mode mode;
    std::size_t limit;

    // Interruptions once and short transfers must not be visible to the caller.
    bool mustSucceed() const {
        return kind == kShort || (kind == kFail && error == EINTR && mode == Mode::kOnce);
    }
    // Nothing can be cleaned up after K: leftovers are allowed, the data is still checked.
    bool persistent() const { return kind == kCrash || mode == Mode::kFromThenOn; }

    std::string label() const {
        return (kind == kCrash   ? "crash"
                : kind == kShort ? "short "
                                 : "errno ") +
               std::to_string(kind == kShort ? limit : error) +
               (mode == Mode::kOnce ? " once" : " from then on");
    }

    void arm(FaultInjector& injector, std::size_t k) const {
        switch (kind) {
        case kFail:
            injector.failAt(k, error, mode);
            break;
        case kShort:
            injector.shortenAt(k, limit, mode);
            break;
        case kCrash:
            injector.crashAt(k);
            break;
        }
    }
};

std::vector<Scenario> allScenarios() {
    std::vector<Scenario> all;
    for (Mode mode : {Mode::kOnce, Mode::kFromThenOn}) {
        for (int error : {ENOSPC, EIO, EINTR}) {
            all.push_back({Scenario::kFail, error, mode, 0});
        }
    }
    // One byte at a time is the harshest short count; 777 keeps the persistent case quick
    // and never aligned with the callers' block sizes.
    all.push_back({Scenario::kShort, 0, Mode::kOnce, 1});
    all.push_back({Scenario::kShort, 0, Mode::kFromThenOn, 777});
    all.push_back({Scenario::kCrash, 0, Mode::kFromThenOn, 0});
    return all;
}

// What an operation reported.
struct Outcome {
    bool ok = false;
    int code = 0;
    std::string message;
};

Outcome outcomeOf(const kyUtil::Error& e) {
    return Outcome{e.ok(), e.code(), e.message()};
}

// What a check is told about the run it judges.
struct Attempt {
    const Scenario* scenario; // null for the run without faults
    std::size_t k;
    FileCall call; // the call at K in the run without faults
    Outcome outcome;

    bool persistent() const { return scenario != nullptr && scenario->persistent(); }
    bool faultAt(FileCall c) const { return scenario != nullptr && call == c; }
};

// What is wrong with one run, "; "-separated.
using Problems = std::string;
void require(Problems& p, bool condition, const std::string& what) {
    p += condition ? "" : (p.empty() ? "" : "; ") + what;
}

// ---------------------------------------------------------------------------------------------
// The fixture: three private directories, the temporary directory among them

class FaultInjectionTest : public kytest::TempDirTest {
protected:
    void SetUp() override {
        TempDirTest::SetUp();
        work_ = dir() / "work";
        other_ = dir() / "other";
        tmp_ = dir() / "tmp";
        for (const fs::path& d : {work_, other_, tmp_}) {
            fs::create_directories(d);
        }
        const std::string tmp = tmp_.string();
        // $TMPDIR on POSIX systems, TMP (then TEMP) on Windows.
        for (const char* var : {"TMPDIR", "TMP", "TEMP"}) {
            env_.push_back(std::make_unique<kytest::ScopedEnv>(var, tmp.c_str()));
        }
        env_.push_back(
            std::make_unique<kytest::ScopedEnv>("VELTO_PROTECTED_WRITE_USE_COPY", nullptr));
        // Every name this test makes, and so every name the library derives from them,
        // starts with this: leftovers in a shared directory are recognisable as ours.
        std::random_device entropy;
        token_ = stem() + std::to_string(entropy() % 1000000u) + "-";
        // The leftover checks mean something only if the library's temporary directory is ours.
        std::error_code ec;
        ASSERT_TRUE(fs::equivalent(pathOf(kyOS::getTempDirectory()), tmp_, ec)) << ec.message();
    }

    void TearDown() override {
        removeOurs(fallbackTempDirectory());
        env_.clear();
        TempDirTest::TearDown();
    }

    // Windows keeps only the first three characters of a prefix in its unique names, so the
    // suites that make temporary names (and may run at the same time as other test
    // processes) each start theirs with three characters of their own.
    virtual std::string stem() const { return "kyF"; }

    // Windows keeps only the first three characters of a prefix in its unique names.
    bool ours(const std::string& name) const {
        return startsWith(name, kytest::onWindows() ? token_.substr(0, 3) : token_);
    }

    fs::path work(const std::string& leaf) const { return work_ / (token_ + leaf); }
    fs::path other(const std::string& leaf) const { return other_ / (token_ + leaf); }

    // Empties the three directories and our names in the fallback directory.
    void clean() {
        for (const fs::path& d : {work_, other_, tmp_}) {
            for (const std::string& name : namesIn(d)) {
                std::error_code ec;
                fs::remove_all(d / name, ec);
            }
        }
        removeOurs(fallbackTempDirectory());
    }

    void removeOurs(const fs::path& d) {
        for (const std::string& name : namesIn(d)) {
            if (ours(name)) {
                std::error_code ec;
                fs::remove(d / name, ec);
            }
        }
    }

    // Every entry of `d` must be in `allowed`; with `persistent`, any name of ours is allowed.
    void expectOnly(Problems& p, const fs::path& d, const std::set<std::string>& allowed,
                    bool persistent) const {
        for (const std::string& name : namesIn(d)) {
            if (allowed.count(name) == 0 && !(persistent && ours(name))) {
                require(p, false, "left behind: " + (d / name).string());
            }
        }
    }

    void expectNoTemporaries(Problems& p, bool persistent) const {
        expectOnly(p, tmp_, {}, persistent);
        // Others use the fallback directory too: only our names count there.
        const fs::path fallback = fallbackTempDirectory();
        for (const std::string& name : namesIn(fallback)) {
            if (ours(name) && !persistent) {
                require(p, false, "left behind: " + (fallback / name).string());
            }
        }
    }

    // Runs `op` without faults and then under every scenario at every call index. `setup`
    // makes the starting files; `check` judges a run.
    void sweep(const std::string& what, const std::function<void()>& setup,
               const std::function<Outcome()>& op,
               const std::function<void(const Attempt&, Problems&)>& check) {
        FaultInjector injector;
        clean();
        setup();
        injector.countOnly();
        const int descriptors = kytest::countOpenDescriptors();
        Attempt plain{nullptr, 0, FileCall::kCount, op()};
        const std::vector<FileCall> calls = injector.log();
        const std::string callList = injector.describe();
        ASSERT_TRUE(plain.outcome.ok) << what << " fails without faults: " << plain.outcome.message;
        {
            Problems p;
            check(plain, p);
            ASSERT_TRUE(p.empty()) << what << " without faults: " << p;
        }
        ASSERT_EQ(kytest::countOpenDescriptors(), descriptors);
        ASSERT_GT(calls.size(), 0u);

        int runs = 0;
        int reportedFailures = 0;
        for (const Scenario& s : allScenarios()) {
            for (std::size_t k = 1; k <= calls.size(); ++k) {
                if (s.kind == Scenario::kShort && !FaultInjector::isTransfer(calls[k - 1])) {
                    continue; // a short count changes nothing else: the plain run again
                }
                clean();
                setup();
                const int before = kytest::countOpenDescriptors();
                s.arm(injector, k);
                Attempt run{&s, k, calls[k - 1], op()};
                injector.countOnly();
                ++runs;
                reportedFailures += run.outcome.ok ? 0 : 1;
                Problems p;
                if (s.mustSucceed()) {
                    require(p, run.outcome.ok, "not absorbed: " + run.outcome.message);
                }
                check(run, p);
                require(p, kytest::countOpenDescriptors() == before, "a descriptor was left open");
                if (!p.empty()) {
                    ADD_FAILURE() << what << ", " << s.label() << " at call " << k << " ("
                                  << FaultInjector::name(calls[k - 1]) << "): " << p
                                  << "\n  reported: " << (run.outcome.ok ? "success" : "failure ")
                                  << run.outcome.message << "\n  calls: " << callList;
                    break; // the first failing K of a fault says enough
                }
            }
        }
        // The faults did reach the operation: some runs must have failed visibly.
        EXPECT_GT(reportedFailures, 0) << what;
        std::printf("[ faults   ] %s: %zu calls, %d faulted runs, %d reported a failure\n",
                    what.c_str(), calls.size(), runs, reportedFailures);
    }

    fs::path work_;
    fs::path other_;
    fs::path tmp_;
    std::string token_;
    std::vector<std::unique_ptr<kytest::ScopedEnv>> env_;
};

const std::string kOld = pattern('A', 5000);
const std::string kNew = pattern('B', 7001);

// ---------------------------------------------------------------------------------------------
// Copy, move, rename

// Each operation from a source of old content to a target, which may hold other content
// first. The source's data is never damaged; on success the target holds all of it; a
// failure leaves the target as it was or gone, never half-replaced (a move keeps its source
// then); a move keeps its source after success only when deleting it failed.
TEST_F(FaultInjectionTest, CopyMoveAndRenameAtEveryCall) {
    using Op = kyUtil::Error (*)(const kyOS::Filename&, const kyOS::Filename&);
    const struct {
        const char* what;
        Op op;
        bool toOther;       // the target is in the other directory
        bool occupied;      // the target holds kNew first
        bool movesSource;   // the source's name goes on success
        bool single;        // one rename: the data is under exactly one name, nothing else
        int codeLo, codeHi; // the codes of a reported failure
    } ops[] = {
        {"fileCopy", [](auto& f, auto& t) { return kyOS::fileCopy(f, t, false); }, true, false,
         false, false, 1, 3},
        {"fileCopy (overwrite)", [](auto& f, auto& t) { return kyOS::fileCopy(f, t, true); }, false,
         true, false, false, 1, 3},
        {"fileMove", [](auto& f, auto& t) { return kyOS::fileMove(f, t, false); }, true, false,
         true, false, 1, 3},
        {"fileRename (same directory)", [](auto& f, auto& t) { return kyOS::fileRename(f, t); },
         false, false, true, true, kyOS::kRenameFailed, kyOS::kRenameFailed},
        {"fileRename (across directories)", [](auto& f, auto& t) { return kyOS::fileRename(f, t); },
         true, true, true, false, 1, 3}, // a move with overwrite underneath
    };
    for (const auto& o : ops) {
        const fs::path from = work("source.bin");
        const fs::path to = o.toOther ? other("target.bin") : work("target.bin");
        sweep(
            o.what,
            [&] {
                EXPECT_TRUE(put(from, kOld));
                EXPECT_TRUE(!o.occupied || put(to, kNew));
            },
            [&] { return outcomeOf(o.op(filetest::name(from), filetest::name(to))); },
            [&](const Attempt& run, Problems& p) {
                std::string source, target;
                const bool hasSource = readBytes(from, &source);
                const bool hasTarget = readBytes(to, &target);
                const bool persistent = run.persistent() && !o.single;
                require(p, !hasSource || source == kOld, "the source changed");
                require(p, hasSource || o.movesSource, "a copy lost its source");
                require(p, !o.single || hasSource != hasTarget,
                        "the data under both names or none");
                if (run.outcome.ok) {
                    require(p, hasTarget && target == kOld, "success without the complete data");
                    require(p,
                            !hasSource || !o.movesSource || persistent ||
                                run.faultAt(FileCall::kUnlink),
                            "the source survived a move whose delete did not fail");
                } else {
                    require(p, run.outcome.code >= o.codeLo && run.outcome.code <= o.codeHi,
                            "unexpected code " + std::to_string(run.outcome.code));
                    require(p, o.codeLo != 1 || startsWith(run.outcome.message, "Error copying "),
                            "unexpected message");
                    require(p, hasSource, "a failed operation lost its source");
                    require(p, persistent || !hasTarget || (o.occupied && target == kNew),
                            "a failed operation left a partial or new target");
                }
                for (const fs::path& d : {work_, other_}) {
                    std::set<std::string> allowed;
                    for (const fs::path& f : {from, to}) {
                        if (f.parent_path() == d) {
                            allowed.insert(f.filename().string());
                        }
                    }
                    expectOnly(p, d, allowed, persistent);
                }
                expectNoTemporaries(p, persistent);
            });
    }
}

// ---------------------------------------------------------------------------------------------
// Protected writes

class ProtectedWriteFaults : public FaultInjectionTest, public ::testing::WithParamInterface<bool> {
protected:
    // The two strategies may run at once in two processes; their names must not mix.
    std::string stem() const override { return GetParam() ? "kyC" : "kyR"; }
};

TEST_P(ProtectedWriteFaults, OldOrNewContentAtEveryCall) {
    const bool copy = GetParam();
    const fs::path main = work("scene.ma");
    fs::path backup;
    sweep(
        copy ? "ProtectedWrite (copy)" : "ProtectedWrite (rename)",
        [&] { EXPECT_TRUE(put(main, kOld)); },
        [&] {
            Outcome o;
            o.ok = filetest::protectedWriteCycle(main, copy, kNew, 4096, &o.message, &backup);
            return o;
        },
        [&](const Attempt& run, Problems& p) {
            std::string content;
            const bool hasMain = readBytes(main, &content);
            if (run.outcome.ok) {
                require(p, hasMain && content == kNew, "success without the new content");
            }
            if (hasMain) {
                require(p, content == kOld || content == kNew, "main holds neither old nor new");
            } else {
                // Only when nothing could be cleaned up may the old content wait at the
                // backup name; it must be complete there.
                std::string parked;
                require(p, run.persistent(), "main is missing after a single failure");
                require(p, !backup.empty() && readBytes(backup, &parked) && parked == kOld,
                        "main is missing and the backup does not hold the old content");
            }
            if (run.scenario != nullptr && run.scenario->kind == Scenario::kCrash) {
                return; // a crash may leave temporaries: that is what cleanup is for
            }
            expectOnly(p, work_,
                       hasMain ? std::set<std::string>{main.filename().string()}
                               : std::set<std::string>{},
                       run.persistent());
            expectOnly(p, other_, {}, run.persistent());
            expectNoTemporaries(p, run.persistent());
        });
}

INSTANTIATE_TEST_SUITE_P(Strategies, ProtectedWriteFaults, ::testing::Bool(),
                         [](const ::testing::TestParamInfo<bool>& info) {
                             return std::string(info.param ? "Copy" : "Rename");
                         });

// A status query that fails counts as "missing"; a read absorbs short transfers.
TEST_F(FaultInjectionTest, FailedQueriesAndShortReads) {
    const fs::path from = work("a.bin");
    EXPECT_TRUE(put(from, kOld));
    FaultInjector injector;
    injector.failAt(1, EIO, Mode::kOnce);
    EXPECT_FALSE(kyOS::doesFileExist(filetest::name(from)));
    EXPECT_TRUE(kyOS::doesFileExist(filetest::name(from))); // once: the next call goes through
    injector.shortenAt(1, 10, Mode::kFromThenOn);
    kyOS::File in(filetest::name(from));
    ASSERT_TRUE(in.open(kyOS::kRead).ok());
    std::string buffer(kOld.size(), '\0');
    std::size_t got = 0;
    ASSERT_TRUE(in.read(&buffer[0], buffer.size(), &got).ok());
    EXPECT_TRUE(got == kOld.size() && buffer == kOld);
    EXPECT_TRUE(in.close().ok());
    // 5000 bytes ten at a time; the full buffer needs no read that finds the end.
    EXPECT_EQ(injector.affected(), kOld.size() / 10);
}

} // namespace
