#include <Base/Containers/kyReferenceCount.h>

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace {

struct Tracked : ky::ReferenceCount {
    explicit Tracked(int& destroyed) : destroyed_(&destroyed) {}
    Tracked(const Tracked& other) = default;
    Tracked& operator=(const Tracked& other) = default;
    ~Tracked() override { ++*destroyed_; }
    int* destroyed_;
    int value = 0;
};

struct Derived : Tracked {
    using Tracked::Tracked;
};

} // namespace

TEST(ReferenceCount, CountsAreNeverCopied) {
    int destroyed = 0;
    ky::Reference<Tracked> a(new Tracked(destroyed));
    ky::Reference<Tracked> b = a;
    EXPECT_EQ(a->count(), 2);

    ky::Reference<Tracked> copy(new Tracked(*a)); // the copy starts at 0, then the handle
    EXPECT_EQ(copy->count(), 1);
    EXPECT_EQ(a->count(), 2);

    *copy = *a; // assignment keeps the target's count
    EXPECT_EQ(copy->count(), 1);
    EXPECT_EQ(a->count(), 2);
    copy.release();
    EXPECT_EQ(destroyed, 1);
}

TEST(ReferenceCount, CopyOfAPlainObjectStartsAtZero) {
    int destroyed = 0;
    ky::Reference<Tracked> a(new Tracked(destroyed));
    a->incrementCount();
    EXPECT_EQ(a->count(), 2);
    Tracked* copy = new Tracked(*a);
    EXPECT_EQ(copy->count(), 0);
    copy->incrementCount();
    EXPECT_TRUE(copy->decrementCount()); // 1 -> 0 deletes
    EXPECT_EQ(destroyed, 1);
    EXPECT_FALSE(a->decrementCount());
    EXPECT_EQ(a->count(), 1);
}

TEST(ReferenceCount, DecrementAtZeroDoesNothing) {
    int destroyed = 0;
    ky::Reference<Tracked> a(new Tracked(destroyed));
    Tracked* raw = a.get();
    EXPECT_TRUE(raw->decrementCount()); // the handle's count: deleted
    EXPECT_EQ(destroyed, 1);
    // The handle still points at the freed object; forget it without dropping.
    new (&a) ky::Reference<Tracked>();
}

TEST(Reference, LastReleaseDeletes) {
    int destroyed = 0;
    ky::Reference<Tracked> a(new Tracked(destroyed));
    EXPECT_EQ(a->count(), 1);
    {
        ky::Reference<Tracked> b(a);
        ky::Reference<Tracked> c;
        c = b;
        EXPECT_EQ(a->count(), 3);
    }
    EXPECT_EQ(a->count(), 1);
    EXPECT_EQ(destroyed, 0);
    a.release();
    EXPECT_EQ(destroyed, 1);
    EXPECT_FALSE(a);
    a.release(); // null: nothing happens
    EXPECT_EQ(destroyed, 1);
}

TEST(Reference, MoveTransfersTheCount) {
    int destroyed = 0;
    ky::Reference<Tracked> a(new Tracked(destroyed));
    ky::Reference<Tracked> b(std::move(a));
    EXPECT_EQ(a.get(), nullptr);
    EXPECT_EQ(b->count(), 1);
    ky::Reference<Tracked> c;
    c = std::move(b);
    EXPECT_EQ(c->count(), 1);
    c = nullptr;
    EXPECT_EQ(destroyed, 1);
}

TEST(Reference, SelfAssignmentAndReset) {
    int destroyed = 0;
    ky::Reference<Tracked> a(new Tracked(destroyed));
    ky::Reference<Tracked>& alias = a;
    a = alias;
    EXPECT_EQ(a->count(), 1);
    EXPECT_EQ(destroyed, 0);
    int destroyed2 = 0;
    a.reset(new Tracked(destroyed2));
    EXPECT_EQ(destroyed, 1);
    EXPECT_EQ(a->count(), 1);
    a.reset();
    EXPECT_EQ(destroyed2, 1);
}

TEST(Reference, FromDerivedAndComparisons) {
    int destroyed = 0;
    ky::Reference<Derived> d(new Derived(destroyed));
    ky::Reference<Tracked> t(d);
    EXPECT_EQ(d->count(), 2);
    EXPECT_TRUE(t == ky::Reference<Tracked>(d));
    EXPECT_TRUE(t != nullptr);
    ky::Reference<Tracked> none;
    EXPECT_TRUE(none == nullptr);
    EXPECT_TRUE(none != t);
    (*t).value = 5;
    EXPECT_EQ(d->value, 5);
    swap(none, t);
    EXPECT_EQ(t.get(), nullptr);
    EXPECT_EQ(none->count(), 2);
    d.release();
    none.release();
    EXPECT_EQ(destroyed, 1);
}

TEST(Reference, NullObjectGivesNullHandle) {
    ky::Reference<Tracked> a(static_cast<Tracked*>(nullptr));
    EXPECT_FALSE(a);
    ky::Reference<Tracked> b(a);
    EXPECT_FALSE(b);
}

namespace {
// Records, when its deferred action runs, whether the object that scheduled it is gone.
struct Deferring : ky::ReferenceCount {
    Deferring(std::vector<std::string>& log, ky::ReferenceCount* inner)
        : log_(&log), inner_(inner) {}
    ~Deferring() override {
        ky::ReferenceCount::runAfterDeletion(
            [](void* log) { static_cast<std::vector<std::string>*>(log)->push_back("after"); },
            log_);
        ky::Reference<ky::ReferenceCount> dropped(inner_); // a nested deletion in between
        dropped.release();
        log_->push_back("destructor");
    }
    std::vector<std::string>* log_;
    ky::ReferenceCount* inner_;
};
} // namespace

TEST(ReferenceCount, ActionsAfterDeletionWaitForTheOutermostDeletion) {
    std::vector<std::string> log;
    ky::ReferenceCount::runAfterDeletion(
        [](void* l) { static_cast<std::vector<std::string>*>(l)->push_back("at once"); }, &log);
    EXPECT_EQ(log, std::vector<std::string>{"at once"});
    log.clear();
    ky::Reference<Deferring> outer(new Deferring(log, new Deferring(log, nullptr)));
    outer.release();
    // Both destructors ran before either action, although the inner deletion ended first.
    EXPECT_EQ(log, (std::vector<std::string>{"destructor", "destructor", "after", "after"}));
}
