#include <Base/Utility/kyUtilInitializer.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <memory>
#include <numeric>
#include <random>
#include <string>
#include <vector>

using kyUtil::Error;
using kyUtil::Initializer;

namespace {

// Records the order of initialize/finalize calls of the test's own initialisers (the library
// registers initialisers of its own, which these tests leave alone).
struct Journal {
    std::vector<std::string> initialized, finalized;
};

class Recorder : public Initializer {
public:
    Recorder(Journal& journal, std::string name, int code = 0)
        : Initializer("tests/Utility/InitializerTest"), journal_(journal), name_(std::move(name)),
          code_(code) {}

    Error initialize() override {
        journal_.initialized.push_back(name_);
        return code_ == 0 ? Error() : Error(code_, "%s failed", name_.c_str());
    }
    void needs(Initializer* other) { dependsOn(other); }

protected:
    void finalize() override { journal_.finalized.push_back(name_); }

private:
    Journal& journal_;
    std::string name_;
    int code_;
};

struct Plain : Initializer {
    Error initialize() override { return Error(); }
};

// Runs whatever the library or earlier tests left pending, so each test starts clean.
void drain() {
    (void)Initializer::initializeAll(); // earlier results are not this test's concern
    Initializer::finalizeAll();
}

} // namespace

// Random acyclic graphs (an initialiser only depends on initialisers registered after it), some
// initialisers failing, against a direct walk of the described first-in first-out queue: the
// visit counts, the order (most visits first, ties in registration order), the last failure
// as the result and the reverse order at finalisation, failed ones included. Every sixth graph
// has a cycle: then nothing is initialised and the registries forget everything.
TEST(Initializer, RunsMatchTheQueueWalk) {
    std::mt19937 rng(1234);
    for (int round = 0; round < 30; ++round) {
        drain();
        Journal journal;
        const int n = 1 + static_cast<int>(rng() % 8);
        std::vector<std::unique_ptr<Recorder>> inits;
        std::vector<int> codes;
        for (int i = 0; i < n; ++i) {
            codes.push_back(rng() % 5 == 0 ? 10 + i : 0);
            inits.push_back(std::make_unique<Recorder>(journal, std::to_string(i), codes.back()));
        }
        inits[0]->needs(nullptr); // ignored
        std::vector<std::pair<int, int>> pairs;
        for (int i = 0; i < n; ++i) {
            for (int j = i + 1; j < n && round % 5 != 0; ++j) {
                if (rng() % 3 == 0) {
                    pairs.push_back({i, j});
                    inits[i]->needs(inits[j].get());
                }
            }
        }
        if (round % 6 == 5 && n > 1) {
            inits[0]->needs(inits[n - 1].get());
            inits[n - 1]->needs(inits[0].get());
            const Error e = Initializer::initializeAll();
            EXPECT_EQ(e.code(), 1);
            EXPECT_NE(std::string(e.message()).find("cycle"), std::string::npos);
            Initializer::finalizeAll();
            EXPECT_EQ(Initializer::initializeAll().code(), 0);
            EXPECT_TRUE(journal.initialized.empty() && journal.finalized.empty());
            continue;
        }
        std::vector<int> visits(n, 0), order(n);
        std::iota(order.begin(), order.end(), 0);
        for (std::deque<int> queue(order.begin(), order.end()); !queue.empty(); queue.pop_front()) {
            ++visits[queue.front()];
            for (const auto& p : pairs) {
                if (p.first == queue.front()) {
                    queue.push_back(p.second);
                }
            }
        }
        std::stable_sort(order.begin(), order.end(),
                         [&](int a, int b) { return visits[a] > visits[b]; });
        std::vector<std::string> expected;
        int failed = -1;
        for (int i : order) {
            expected.push_back(std::to_string(i));
            failed = codes[i] != 0 ? i : failed;
        }
        const Error e = Initializer::initializeAll();
        EXPECT_EQ(e.code(), failed < 0 ? 0 : codes[failed]);
        EXPECT_EQ(std::string(e.message()),
                  failed < 0 ? std::string() : std::to_string(failed) + " failed");
        for (int i = 0; i < n; ++i) {
            EXPECT_EQ(inits[i]->visits(), visits[i]) << "round " << round << " initialiser " << i;
        }
        EXPECT_EQ(journal.initialized, expected) << "round " << round;
        Initializer::finalizeAll();
        EXPECT_EQ(journal.finalized, std::vector<std::string>(expected.rbegin(), expected.rend()));
    }
}

// A run initialises what registered since the last one; finalisation undoes all, newest first.
TEST(Initializer, LaterRunsFinaliseEverything) {
    drain();
    Plain p; // registered until it goes
    EXPECT_STREQ(p.source(), "src/components/Base/Utility/kyUtilInitializer");
    Journal journal;
    Recorder first(journal, "first");
    EXPECT_EQ(Initializer::initializeAll().code(), 0);
    Recorder second(journal, "second");
    EXPECT_EQ(Initializer::initializeAll().code(), 0);
    EXPECT_EQ(journal.initialized, (std::vector<std::string>{"first", "second"}));
    Initializer::finalizeAll();
    Initializer::finalizeAll(); // harmless twice
    EXPECT_EQ(journal.finalized, (std::vector<std::string>{"second", "first"}));
}
