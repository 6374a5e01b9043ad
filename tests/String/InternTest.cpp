#include <Base/Containers/kyHashSet.h>
#include <Base/Containers/kySet.h>
#include <Base/String/kyStringIntern.h>

#include <gtest/gtest.h>

#include <atomic>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

using namespace kyString;

namespace {

// Each test starts from empty tables and the single-threaded defaults.
class Intern : public ::testing::Test {
protected:
    void SetUp() override {
        sharedStringThreading(nullptr, nullptr, nullptr, nullptr);
        deleteStringTables();
    }
    void TearDown() override {
        deleteStringTables();
        sharedStringThreading(nullptr, nullptr, nullptr, nullptr);
    }
};

} // namespace

TEST_F(Intern, EqualTextsShareOneRecord) {
    EXPECT_EQ(numInternedCStrings(), 0u);
    ConstantCString a = intern("alpha");
    ConstantCString b = intern(CString("alpha"));
    ConstantCString c = intern("beta");
    EXPECT_EQ(a, b);
    EXPECT_NE(a, c);
    EXPECT_STREQ(a.str().asChar(), "alpha");
    EXPECT_EQ(a.length(), 5u);
    // Embedded NULs are part of the text.
    EXPECT_NE(intern(CString("a\0b", 3)), intern(CString("a\0c", 3)));
    EXPECT_EQ(intern(CString("a\0b", 3)).length(), 3u);
    EXPECT_EQ(numInternedCStrings(), 4u);
    EXPECT_EQ(numInternedIStrings(), 0u);

    ConstantIString w1 = intern(L"wide");
    ConstantIString w2 = intern(IString(L"wide"));
    EXPECT_EQ(w1, w2);
    EXPECT_EQ(w1.str().str(), L"wide");
    EXPECT_EQ(numInternedIStrings(), 1u);
}

TEST_F(Intern, NullAndEmpty) {
    ConstantCString none;
    EXPECT_TRUE(none.isNull());
    EXPECT_STREQ(none.str().asChar(), "");
    ConstantCString fromNull = intern(static_cast<const char*>(nullptr));
    ConstantCString fromEmpty = intern("");
    EXPECT_FALSE(fromNull.isNull());
    EXPECT_EQ(fromNull, fromEmpty);
    EXPECT_NE(fromNull, none);
    EXPECT_TRUE(ConstantIString().str().isEmpty());
    EXPECT_EQ(intern(static_cast<const wchar_t*>(nullptr)), intern(L""));
    EXPECT_STREQ(DynamicCString().str().asChar(), "");
}

TEST_F(Intern, DynamicRecordsGoWithTheirLastHandle) {
    {
        DynamicCString a = intern_dynamic("temp");
        EXPECT_EQ(a.record()->refCount, 1);
        DynamicCString b = a;
        EXPECT_EQ(a.record()->refCount, 2);
        DynamicCString c = intern_dynamic(CString("temp"));
        EXPECT_EQ(c, a);
        EXPECT_EQ(a.record()->refCount, 3);
        DynamicCString d;
        d = b;
        EXPECT_EQ(a.record()->refCount, 4);
        d = DynamicCString();
        EXPECT_EQ(a.record()->refCount, 3);
        DynamicCString moved(std::move(c));
        EXPECT_TRUE(c.isNull());
        EXPECT_EQ(a.record()->refCount, 3);
        EXPECT_EQ(numInternedCStrings(), 1u);
    }
    EXPECT_EQ(numInternedCStrings(), 0u);
    // A new interning makes a new record.
    DynamicCString again = intern_dynamic("temp");
    EXPECT_EQ(again.record()->refCount, 1);
    EXPECT_EQ(numInternedCStrings(), 1u);
}

TEST_F(Intern, ConstantInterningKeepsARecordForGood) {
    {
        DynamicIString d = intern_dynamic(L"kept");
        ConstantIString c = intern(L"kept");
        EXPECT_EQ(c.record(), d.record());
        EXPECT_TRUE(c.record()->permanent);
        EXPECT_EQ(d.record()->refCount, 2); // the dynamic handle and the permanent reference
        ConstantIString again = intern(IString(L"kept"));
        EXPECT_EQ(again, c);
        EXPECT_EQ(d.record()->refCount, 2); // constant interning takes its reference once
    }
    EXPECT_EQ(numInternedIStrings(), 1u); // still there after the last dynamic handle
    DynamicIString d2 = intern_dynamic(IString(L"kept"));
    EXPECT_TRUE(d2.record()->permanent);
    EXPECT_EQ(d2.record()->refCount, 2);
}

TEST_F(Intern, RecordAtZeroIsReplacedNotRevived) {
    // A record whose count fell to 0 belongs to the thread freeing it; interning the same text
    // before it is freed must not hand it out. Simulated: take the count to 0 by hand.
    DynamicCString a = intern_dynamic("dying");
    auto* record = const_cast<InternalString<CString>*>(a.record());
    record->refCount = 0;
    DynamicCString b = intern_dynamic("dying");
    EXPECT_NE(b.record(), record);
    EXPECT_EQ(b.record()->refCount, 1);
    EXPECT_EQ(numInternedCStrings(), 1u); // the table holds the new record only
    // Complete the simulated release of the old record.
    record->refCount = 1;
    decreaseStringRef(record);
    new (&a) DynamicCString(); // the handle's reference was the one released
    EXPECT_EQ(numInternedCStrings(), 1u);
    EXPECT_STREQ(b.str().asChar(), "dying");
}

TEST_F(Intern, SortFunctorsOrderHandlesForSortedContainers) {
    std::set<ConstantCString, ConstantCStringSort> cs;
    for (const char* t : {"b", "a", "c", "a", "b"}) {
        cs.insert(intern(t));
    }
    EXPECT_EQ(cs.size(), 3u);
    ky::set<ConstantIString, ConstantIStringSort> is{intern(L"x"), intern(L"y"), intern(L"x")};
    std::set<DynamicCString, DynamicCStringSort> dc{intern_dynamic("p"), intern_dynamic("q"),
                                                    intern_dynamic("p")};
    std::set<DynamicIString, DynamicIStringSort> di{intern_dynamic(L"p"), intern_dynamic(L"p")};
    EXPECT_TRUE(is.size() == 2u && dc.size() == 2u && di.size() == 1u);
    // Irreflexive and consistent with equality.
    ConstantCStringSort less;
    const ConstantCString a = intern("a");
    const ConstantCString b = intern("b");
    EXPECT_FALSE(less(a, a));
    EXPECT_NE(less(a, b), less(b, a));
    ky::hash_set<ConstantCString> hashed{a, b, intern("a")};
    EXPECT_EQ(hashed.size(), 2u);
    dc.clear();
    di.clear();
}

TEST_F(Intern, InstalledFunctionsAreCalled) {
    static int locks = 0;
    static int unlocks = 0;
    static int increments = 0;
    static int decrements = 0;
    locks = unlocks = increments = decrements = 0;
    sharedStringThreading([] { ++locks; }, [] { ++unlocks; },
                          [](int& n) {
                              ++increments;
                              return ++n;
                          },
                          [](int& n) {
                              ++decrements;
                              return --n;
                          });
    {
        DynamicCString a = intern_dynamic("counted");
        DynamicCString b = a;
    }
    EXPECT_GE(locks, 2); // the interning, and the removal after the last drop
    EXPECT_EQ(locks, unlocks);
    EXPECT_EQ(increments, 2);
    EXPECT_EQ(decrements, 2);
    EXPECT_EQ(numInternedCStrings(), 0u);
}

TEST_F(Intern, ConcurrentInterningWithInstalledGuards) {
    static std::mutex mutex;
    sharedStringThreading([] { mutex.lock(); }, [] { mutex.unlock(); },
                          [](int& n) { return __atomic_add_fetch(&n, 1, __ATOMIC_SEQ_CST); },
                          [](int& n) { return __atomic_sub_fetch(&n, 1, __ATOMIC_SEQ_CST); });
    constexpr int kThreads = 4;
    constexpr int kRounds = 2000;
    std::vector<std::thread> threads;
    std::atomic<int> mismatches{0};
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([t, &mismatches] {
            for (int i = 0; i < kRounds; ++i) {
                const std::string text = "k" + std::to_string(i % 37);
                DynamicCString d = intern_dynamic(text.c_str());
                DynamicCString copy = d;
                if (std::string(copy.str().asChar()) != text) {
                    ++mismatches;
                }
                if ((i + t) % 5 == 0) {
                    ConstantCString c = intern(text.c_str());
                    if (c.record() != d.record()) {
                        ++mismatches;
                    }
                }
            }
        });
    }
    for (auto& th : threads) {
        th.join();
    }
    EXPECT_EQ(mismatches.load(), 0);
    // Every text was interned as a constant at some point, so all 37 remain.
    EXPECT_EQ(numInternedCStrings(), 37u);
}

TEST_F(Intern, DeleteStringTablesEmptiesBoth) {
    intern("x"); // constant records stay without a handle
    intern(L"y");
    EXPECT_EQ(numInternedCStrings(), 1u);
    EXPECT_EQ(numInternedIStrings(), 1u);
    deleteStringTables();
    EXPECT_EQ(numInternedCStrings(), 0u);
    EXPECT_EQ(numInternedIStrings(), 0u);
    deleteStringTables(); // harmless twice
    EXPECT_STREQ(intern("x").str().asChar(), "x");
}
