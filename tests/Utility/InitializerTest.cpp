#include <Base/Utility/kyUtilInitializer.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

using kyUtil::Error;
using kyUtil::Initializer;

namespace {

// Records the order of initialize/finalize calls of the test's own initialisers (the library
// registers initialisers of its own, which these tests leave alone).
struct Journal {
    std::vector<std::string> initialized;
    std::vector<std::string> finalized;
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

class Plain : public Initializer {
public:
    Error initialize() override { return Error(); }
};

// Runs whatever the library or earlier tests left pending, so each test starts clean.
void drain() {
    (void)Initializer::initializeAll(); // earlier results are not this test's concern
    Initializer::finalizeAll();
}

} // namespace

TEST(Initializer, DefaultSourceIsTheDeclaringHeader) {
    drain();
    Plain p;
    EXPECT_STREQ(p.source(), "src/components/Base/Utility/kyUtilInitializer");
    EXPECT_EQ(p.visits(), 0);
    drain();
}

TEST(Initializer, NothingRegisteredIsSuccess) {
    drain();
    Error e = Initializer::initializeAll();
    EXPECT_EQ(e.code(), 0);
    EXPECT_STREQ(e.message(), "");
    Initializer::finalizeAll();
    Initializer::finalizeAll(); // harmless twice
}

TEST(Initializer, LastFailureWinsAndTheRunGoesOn) {
    drain();
    Journal journal;
    Recorder a(journal, "A");
    Recorder b(journal, "B", 5);
    Recorder c(journal, "C", 7);
    a.needs(nullptr); // ignored
    a.needs(&b);
    b.needs(&c);

    Error e = Initializer::initializeAll();
    EXPECT_EQ(e.code(), 5);
    EXPECT_STREQ(e.message(), "B failed");
    EXPECT_EQ(journal.initialized, (std::vector<std::string>{"C", "B", "A"}));

    // Failed initialisers are finalised too: they were all put on the initialised list.
    Initializer::finalizeAll();
    EXPECT_EQ(journal.finalized, (std::vector<std::string>{"A", "B", "C"}));
}

TEST(Initializer, RegistrationOrderWithoutDependencies) {
    drain();
    Journal journal;
    Recorder a(journal, "A");
    Recorder b(journal, "B");
    Recorder c(journal, "C");
    EXPECT_EQ(Initializer::initializeAll().code(), 0);
    EXPECT_EQ(a.visits(), 1);
    EXPECT_EQ(b.visits(), 1);
    EXPECT_EQ(c.visits(), 1);
    // Ties keep registration order in this implementation.
    EXPECT_EQ(journal.initialized, (std::vector<std::string>{"A", "B", "C"}));
    Initializer::finalizeAll();
    EXPECT_EQ(journal.finalized, (std::vector<std::string>{"C", "B", "A"}));
}

TEST(Initializer, CycleFailsWithoutInitialisingAnything) {
    drain();
    Journal journal;
    Recorder a(journal, "A");
    Recorder b(journal, "B");
    a.needs(&b);
    b.needs(&a);
    Error e = Initializer::initializeAll();
    EXPECT_EQ(e.code(), 1);
    EXPECT_NE(std::string(e.message()).find("cycle"), std::string::npos);
    EXPECT_TRUE(journal.initialized.empty());
    Initializer::finalizeAll();
    EXPECT_TRUE(journal.finalized.empty());
    // The registries were emptied: nothing refers to a or b any more.
    EXPECT_EQ(Initializer::initializeAll().code(), 0);
    EXPECT_TRUE(journal.initialized.empty());
}

// The visit counts against a direct walk of the described first-in first-out queue, on random
// acyclic graphs (an initialiser only depends on initialisers registered after it).
TEST(Initializer, VisitCountsMatchTheQueueWalk) {
    std::mt19937 rng(1234);
    for (int round = 0; round < 20; ++round) {
        drain();
        Journal journal;
        const int n = 2 + static_cast<int>(rng() % 7);
        std::vector<std::unique_ptr<Recorder>> inits;
        for (int i = 0; i < n; ++i) {
            inits.push_back(std::make_unique<Recorder>(journal, std::to_string(i)));
        }
        std::vector<std::pair<int, int>> pairs;
        for (int i = 0; i < n; ++i) {
            for (int j = i + 1; j < n; ++j) {
                if (rng() % 3 == 0) {
                    pairs.push_back({i, j});
                    inits[static_cast<size_t>(i)]->needs(inits[static_cast<size_t>(j)].get());
                }
            }
        }
        // Reference: the queue walk as described.
        std::vector<int> expected(static_cast<size_t>(n), 0);
        std::deque<int> queue;
        for (int i = 0; i < n; ++i) {
            queue.push_back(i);
        }
        while (!queue.empty()) {
            const int x = queue.front();
            queue.pop_front();
            ++expected[static_cast<size_t>(x)];
            for (const auto& p : pairs) {
                if (p.first == x) {
                    queue.push_back(p.second);
                }
            }
        }
        ASSERT_EQ(Initializer::initializeAll().code(), 0);
        std::map<std::string, int> visits;
        for (int i = 0; i < n; ++i) {
            EXPECT_EQ(inits[static_cast<size_t>(i)]->visits(), expected[static_cast<size_t>(i)])
                << "round " << round << " initialiser " << i;
            visits[std::to_string(i)] = inits[static_cast<size_t>(i)]->visits();
        }
        // Initialised highest count first; every dependency before its dependents.
        ASSERT_EQ(journal.initialized.size(), static_cast<size_t>(n));
        for (size_t k = 1; k < journal.initialized.size(); ++k) {
            EXPECT_GE(visits[journal.initialized[k - 1]], visits[journal.initialized[k]]);
        }
        for (const auto& p : pairs) {
            const auto& order = journal.initialized;
            const auto dependent = std::find(order.begin(), order.end(), std::to_string(p.first));
            const auto dependency = std::find(order.begin(), order.end(), std::to_string(p.second));
            EXPECT_LT(dependency, dependent);
        }
        Initializer::finalizeAll();
        std::vector<std::string> reversed(journal.initialized.rbegin(), journal.initialized.rend());
        EXPECT_EQ(journal.finalized, reversed);
    }
}

TEST(Initializer, LaterRunsFinaliseEverything) {
    drain();
    Journal journal;
    Recorder first(journal, "first");
    EXPECT_EQ(Initializer::initializeAll().code(), 0);
    Recorder second(journal, "second");
    EXPECT_EQ(Initializer::initializeAll().code(), 0);
    EXPECT_EQ(journal.initialized, (std::vector<std::string>{"first", "second"}));
    Initializer::finalizeAll();
    EXPECT_EQ(journal.finalized, (std::vector<std::string>{"second", "first"}));
}
