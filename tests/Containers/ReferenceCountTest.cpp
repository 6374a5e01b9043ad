#include <Base/Containers/kyReferenceCount.h>

#include <kyTestSupport.h>

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

// A copy of a counted object starts at 0, and assignment keeps the target's count.
TEST(ReferenceCount, CountsAreNeverCopied) {
    int destroyed = 0;
    ky::Reference<Tracked> a(new Tracked(destroyed));
    a->incrementCount();
    Tracked* copy = new Tracked(*a);
    EXPECT_EQ(copy->count(), 0);
    copy->incrementCount();
    *copy = *a;
    EXPECT_EQ(copy->count(), 1);
    EXPECT_TRUE(copy->decrementCount()); // 1 -> 0 deletes
    EXPECT_EQ(destroyed, 1);
    EXPECT_FALSE(a->decrementCount());
    EXPECT_EQ(a->count(), 1);
}

TEST(Reference, RandomHandleOperationsAgainstAModel) {
    constexpr int kHandles = 6, kObjects = 300;
    int destroyed[kObjects] = {};
    int made = 0;
    auto fresh = [&] {
        auto* d = new Derived(destroyed[made]);
        d->value = made++;
        return d;
    };
    ky::Reference<Tracked> handles[kHandles];
    int owner[kHandles] = {-1, -1, -1, -1, -1, -1}; // the object each handle holds
    kytest::Random rnd(7);
    for (int step = 0; step < 3000 && made < kObjects - 1; ++step) {
        const int h = rnd.range(0, kHandles - 1), o = rnd.range(0, kHandles - 1);
        const int op = rnd.range(0, 5);
        if (op == 0) {
            handles[h] = ky::Reference<Tracked>(ky::Reference<Derived>(fresh()));
            owner[h] = made - 1;
        } else if (op == 1) {
            handles[h] = handles[o]; // self-assignment when h == o
            owner[h] = owner[o];
        } else if (op == 2) {
            ky::Reference<Tracked> moved(std::move(handles[o]));
            const int id = std::exchange(owner[o], -1);
            handles[h] = std::move(moved);
            owner[h] = id;
        } else if (op == 3) {
            handles[h].reset(rnd.chance(80) ? fresh() : nullptr);
            owner[h] = handles[h] ? made - 1 : -1;
        } else if (op == 4) {
            rnd.chance(50) ? handles[h].release() : void(handles[h] = nullptr);
            owner[h] = -1;
        } else {
            swap(handles[h], handles[o]);
            std::swap(owner[h], owner[o]);
        }
        int count[kObjects] = {};
        for (int k = 0; k < kHandles; ++k) {
            count[owner[k] < 0 ? kObjects - 1 : owner[k]] += 1;
        }
        for (int k = 0; k < kHandles; ++k) {
            ASSERT_EQ(handles[k] != nullptr, owner[k] >= 0);
            ASSERT_EQ(handles[k] == handles[h], owner[k] == owner[h]);
            ASSERT_NE(handles[k] != handles[h], owner[k] == owner[h]);
            ASSERT_TRUE(owner[k] < 0 || ((*handles[k]).value == owner[k] &&
                                         handles[k]->count() == count[owner[k]]));
        }
        for (int id = 0; id < made; ++id) {
            ASSERT_EQ(destroyed[id], count[id] == 0 ? 1 : 0) << id;
        }
    }
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
