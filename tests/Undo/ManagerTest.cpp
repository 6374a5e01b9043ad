// ManagerTest.cpp - tests of kyUndo::Manager: steps, limits, pruning, signals.
#include "UndoTestCommands.h"

#include <Base/Undo/kyUndoManager.h>

#include <gtest/gtest.h>

#include <deque>
#include <memory>
#include <string>
#include <vector>

namespace {

using kyUndo::Group;
using kyUndo::Manager;
using undotest::Record;
using undotest::SignalCounts;
using undotest::TestCommand;

class ManagerTest : public ::testing::Test {
protected:
    void SetUp() override {
        manager_.reset(kyUndo::newManager());
        counts_.attach(manager_.get());
    }
    void TearDown() override {
        if (manager_) {
            EXPECT_EQ(counts_.queueChangedFalse, 0);
            EXPECT_TRUE(counts_.activeSeenInHandler);
        }
    }

    // Opens a group with `commands` test commands.
    Group* group(const char* name, int commands, bool dynamic = false) {
        Group* g = manager_->newGroup(name, dynamic);
        if (g != nullptr) {
            for (int i = 0; i < commands; ++i) {
                records_.emplace_back();
                new TestCommand(&records_.back(), nullptr, g);
            }
        }
        return g;
    }
    std::vector<int> ids() const {
        std::vector<int> out;
        for (int i = 0; i < manager_->getNumGroups(false); ++i) {
            out.push_back(manager_->getGroup(i)->getID());
        }
        return out;
    }
    int currentId() const {
        Group* g = manager_->getCurrentGroup();
        return g == nullptr ? 0 : g->getID();
    }

    // Declared first so that they outlive the manager, whose destruction reaches them.
    std::deque<Record> records_;
    SignalCounts counts_;
    std::unique_ptr<Manager> manager_;
};

TEST_F(ManagerTest, Defaults) {
    EXPECT_EQ(manager_->getMaxGroups(), 0);
    EXPECT_EQ(manager_->getMaxBytes(), 10000000);
    EXPECT_FALSE(manager_->isActive());
    EXPECT_FALSE(manager_->canUndo());
    EXPECT_FALSE(manager_->canRedo());
    EXPECT_EQ(manager_->getNumGroups(false), 0);
    EXPECT_EQ(manager_->getNumGroups(true), 0);
    EXPECT_EQ(manager_->getCurrentGroup(), nullptr);
    EXPECT_EQ(manager_->getGroup(0), nullptr);
    EXPECT_EQ(manager_->getGroup(-1), nullptr);
    EXPECT_EQ(manager_->findGroup(1), nullptr);
    EXPECT_FALSE(manager_->currentStepReaches(100));
}

TEST_F(ManagerTest, RecordUndoRedo) {
    int value = 1;
    Group* g = manager_->newGroup("edit", false);
    new undotest::SetValue(&value, 2, g);
    EXPECT_TRUE(g->doIt());
    EXPECT_EQ(value, 2);
    EXPECT_TRUE(manager_->canUndo());
    EXPECT_FALSE(manager_->canRedo());
    EXPECT_TRUE(manager_->undoIt());
    EXPECT_EQ(value, 1);
    EXPECT_FALSE(manager_->canUndo());
    EXPECT_TRUE(manager_->canRedo());
    EXPECT_EQ(manager_->getCurrentGroup(), g);
    EXPECT_TRUE(manager_->doIt());
    EXPECT_EQ(value, 2);
    EXPECT_EQ(manager_->getCurrentGroup(), nullptr);
    // At either end nothing happens, and the result is true.
    EXPECT_TRUE(manager_->doIt());
    EXPECT_EQ(value, 2);
}

TEST_F(ManagerTest, GroupIdsComeFromTheCounter) {
    EXPECT_EQ(group("a", 1)->getID(), 1);
    EXPECT_EQ(manager_->nextGroupID(), 2);
    EXPECT_EQ(group("b", 1)->getID(), 3);
    EXPECT_EQ(manager_->findGroup(3), manager_->getGroup(1));
    EXPECT_EQ(manager_->findGroup(2), nullptr);
}

TEST_F(ManagerTest, GetGroupIndices) {
    group("a", 1);
    group("b", 1);
    group("c", 1);
    const int n = 3;
    EXPECT_EQ(manager_->getGroup(0)->getID(), 1);
    EXPECT_EQ(manager_->getGroup(2)->getID(), 3);
    EXPECT_EQ(manager_->getGroup(-1)->getID(), 3);
    EXPECT_EQ(manager_->getGroup(-n)->getID(), 1);
    EXPECT_EQ(manager_->getGroup(-2)->getID(), 2);
    EXPECT_EQ(manager_->getGroup(n), nullptr);
    EXPECT_EQ(manager_->getGroup(n + 1), nullptr);
    EXPECT_EQ(manager_->getGroup(-(n + 1)), nullptr);
}

TEST_F(ManagerTest, MaxGroupsLeavesRoomForTheNewGroup) {
    group("a", 1);
    group("b", 1);
    group("c", 1);
    manager_->setMaxGroups(3);
    EXPECT_EQ(ids(), (std::vector<int>{1, 2, 3}));
    group("d", 1); // at most 2 steps stay before the new group is added
    EXPECT_EQ(ids(), (std::vector<int>{2, 3, 4}));
    EXPECT_EQ(counts_.removedIds, (std::vector<int>{1}));

    // Lowering the limit at the end applies at once, without reserving room.
    manager_->setMaxGroups(1);
    EXPECT_EQ(ids(), (std::vector<int>{4}));
}

TEST_F(ManagerTest, MaxGroupsCountsSteps) {
    group("a", 1);
    group("a+", 1, true);
    group("b", 1);
    group("b+", 1, true);
    group("b++", 1, true);
    EXPECT_EQ(manager_->getNumGroups(true), 2);
    EXPECT_EQ(manager_->getNumGroups(false), 5);
    manager_->setMaxGroups(2);
    EXPECT_EQ(manager_->getNumGroups(false), 5);
    group("c", 1); // the oldest step goes whole
    EXPECT_EQ(ids(), (std::vector<int>{3, 4, 5, 6}));
}

TEST_F(ManagerTest, DynamicOldestGroupIsDeletedAlone) {
    group("a", 1, true); // the first group starts a step even when dynamic
    group("a+", 1, true);
    group("b", 1);
    EXPECT_EQ(manager_->getNumGroups(true), 2);
    manager_->setMaxGroups(1);
    // The dynamic oldest group goes alone; its follower then starts a step and goes next.
    EXPECT_EQ(ids(), (std::vector<int>{3}));
    EXPECT_EQ(counts_.removedIds, (std::vector<int>{1, 2}));
}

TEST_F(ManagerTest, LimitsAreEnforcedOnlyWhenAGroupOpensOrALimitIsSet) {
    manager_->setMaxBytes(3000);
    group("big", 5); // 5 x 1024 bytes: over the limit while it is being filled
    EXPECT_EQ(manager_->getNumGroups(false), 1);
    group("next", 1);
    EXPECT_EQ(ids(), (std::vector<int>{2}));

    group("more", 1); // 2048 bytes: within the limit
    EXPECT_EQ(ids(), (std::vector<int>{2, 3}));
    manager_->setMaxBytes(1500);
    EXPECT_EQ(ids(), (std::vector<int>{3}));

    // Not at the end: the limit is stored but not enforced.
    group("x", 1);
    EXPECT_TRUE(manager_->undoIt());
    manager_->setMaxBytes(100);
    EXPECT_EQ(manager_->getMaxBytes(), 100);
    EXPECT_EQ(ids(), (std::vector<int>{3, 4}));
}

TEST_F(ManagerTest, NonPrunableOldestGroupStopsTheLimits) {
    group("keep", 1)->setPrunable(false);
    group("b", 1);
    group("c", 1);
    manager_->setMaxGroups(1);
    EXPECT_EQ(ids(), (std::vector<int>{1, 2, 3}));
    manager_->setMaxBytes(1);
    EXPECT_EQ(ids(), (std::vector<int>{1, 2, 3}));
}

TEST_F(ManagerTest, NegativeMaxGroupsStopsRecording) {
    group("a", 1);
    group("b", 1);
    manager_->setMaxGroups(-1); // at the end: every prunable step goes
    EXPECT_EQ(manager_->getNumGroups(false), 0);
    EXPECT_EQ(manager_->newGroup("c", false), nullptr);
    manager_->setMaxGroups(0);
    EXPECT_NE(manager_->newGroup("c", false), nullptr);
}

TEST_F(ManagerTest, RedoOfEmptyStepGoesOnToTheNextStep) {
    std::vector<std::string> log;
    Group* a = group("a", 0);
    records_.emplace_back();
    records_.back().label = "a";
    records_.back().log = &log;
    new TestCommand(&records_.back(), nullptr, a);
    group("empty", 0);
    Group* b = group("b", 0);
    records_.emplace_back();
    records_.back().label = "b";
    records_.back().log = &log;
    new TestCommand(&records_.back(), nullptr, b);

    EXPECT_TRUE(manager_->undoIt()); // b
    EXPECT_TRUE(manager_->undoIt()); // the empty step, then a
    EXPECT_FALSE(manager_->canUndo());
    EXPECT_TRUE(manager_->doIt()); // a
    EXPECT_EQ(currentId(), 2);
    EXPECT_TRUE(manager_->doIt()); // the empty step, then b
    EXPECT_FALSE(manager_->canRedo());
    EXPECT_EQ(log, (std::vector<std::string>{"undo b", "undo a", "do a", "do b"}));
}

TEST_F(ManagerTest, StepOfOnlyEmptyGroupsAtTheEnd) {
    group("a", 1);
    group("e1", 0);
    group("e2", 0, true);
    EXPECT_TRUE(manager_->undoIt()); // the empty step, then a
    EXPECT_FALSE(manager_->canUndo());
    EXPECT_TRUE(manager_->doIt()); // a
    EXPECT_TRUE(manager_->doIt()); // the empty step, then "at end"
    EXPECT_FALSE(manager_->canRedo());
}

TEST_F(ManagerTest, DynamicGroupsFormOneStep) {
    std::vector<std::string> log;
    const char* names[] = {"a", "b", "c"};
    for (int i = 0; i < 3; ++i) {
        Group* g = manager_->newGroup(names[i], i > 0);
        records_.emplace_back();
        records_.back().label = names[i];
        records_.back().log = &log;
        new TestCommand(&records_.back(), nullptr, g);
    }
    EXPECT_EQ(manager_->getNumGroups(true), 1);
    const int queueBefore = counts_.queueChanged;
    EXPECT_TRUE(manager_->undoIt());
    EXPECT_FALSE(manager_->canUndo());
    EXPECT_EQ(counts_.activeTrue, 1);
    EXPECT_EQ(counts_.activeFalse, 1);
    EXPECT_EQ(counts_.queueChanged, queueBefore + 1);
    EXPECT_TRUE(manager_->doIt());
    EXPECT_EQ(log,
              (std::vector<std::string>{"undo c", "undo b", "undo a", "do a", "do b", "do c"}));
}

TEST_F(ManagerTest, NewGroupAfterUndoDiscardsUndoneGroups) {
    group("a", 1);
    group("b", 1);
    group("c", 1);
    manager_->undoIt();
    manager_->undoIt();
    EXPECT_EQ(currentId(), 2);
    group("d", 1);
    EXPECT_EQ(ids(), (std::vector<int>{1, 4}));
    EXPECT_EQ(counts_.removedIds, (std::vector<int>{3, 2})); // newest first
    EXPECT_TRUE(records_[1].deleted && records_[2].deleted);
    EXPECT_FALSE(records_[0].deleted);
    EXPECT_FALSE(manager_->canRedo());
}

TEST_F(ManagerTest, TrailingInvalidGroupsArePrunedWhenAGroupOpens) {
    group("a", 1);
    Group* b = group("b", 1);
    Group* c = group("c", 1);
    b->stateInvalid();
    c->stateInvalid();
    group("d", 1);
    EXPECT_EQ(ids(), (std::vector<int>{1, 4}));

    // A non-prunable invalid group stops the pruning.
    Group* e = group("e", 1);
    Group* f = group("f", 1);
    e->stateInvalid();
    e->setPrunable(false);
    f->stateInvalid();
    group("g", 1);
    EXPECT_EQ(ids(), (std::vector<int>{1, 4, 5, 7}));
}

TEST_F(ManagerTest, QueueChangedCounts) {
    // Opening on an empty queue: the trailing-invalid pruning ends on an empty queue and
    // signals (kept), then the new group signals.
    group("a", 1);
    EXPECT_EQ(counts_.queueChanged, 2);
    // Opening behind a valid group: the pruning stops at it without signalling.
    group("b", 1);
    EXPECT_EQ(counts_.queueChanged, 3);
    manager_->undoIt();
    EXPECT_EQ(counts_.queueChanged, 4);
    // Discarding the undone group signals once more.
    group("c", 1);
    EXPECT_EQ(counts_.queueChanged, 6);
    manager_->associateGroups(1, 3);
    EXPECT_EQ(counts_.queueChanged, 7);
    manager_->clearAllGroups();
    EXPECT_EQ(counts_.queueChanged, 8);
    EXPECT_EQ(counts_.groupRemoved, 3);
}

TEST_F(ManagerTest, DeleteLastGroup) {
    group("a", 1);
    group("empty", 0);
    manager_->deleteLastGroup(); // empty: only it goes
    EXPECT_EQ(ids(), (std::vector<int>{1}));

    group("b", 1);
    manager_->undoIt();
    const int before = counts_.queueChanged;
    manager_->deleteLastGroup(); // not at the end: nothing
    EXPECT_EQ(ids(), (std::vector<int>{1, 3}));
    EXPECT_EQ(counts_.queueChanged, before);
    manager_->doIt();

    manager_->deleteLastGroup(); // holds a command: the whole history goes
    EXPECT_EQ(manager_->getNumGroups(false), 0);
    EXPECT_TRUE(records_[0].deleted && records_[1].deleted);
    manager_->deleteLastGroup(); // empty queue: nothing
}

TEST_F(ManagerTest, AssociateGroups) {
    for (int i = 0; i < 5; ++i) {
        group("g", 1);
    }
    EXPECT_EQ(manager_->getNumGroups(true), 5);
    manager_->associateGroups(2, 4);
    EXPECT_EQ(manager_->getNumGroups(true), 3);
    EXPECT_FALSE(manager_->getGroup(1)->isDynamic());
    EXPECT_TRUE(manager_->getGroup(2)->isDynamic());
    EXPECT_TRUE(manager_->getGroup(3)->isDynamic());
    EXPECT_FALSE(manager_->getGroup(4)->isDynamic());
    manager_->undoIt(); // group 5
    manager_->undoIt(); // groups 4, 3, 2 together
    EXPECT_EQ(currentId(), 2);
    // Reversed bounds select nothing.
    manager_->associateGroups(4, 2);
    EXPECT_EQ(manager_->getNumGroups(true), 3);
}

TEST_F(ManagerTest, CurrentStepReaches) {
    group("a", 1);         // 1
    group("b", 1);         // 2
    group("b+", 1, true);  // 3
    group("b++", 1, true); // 4
    EXPECT_TRUE(manager_->currentStepReaches(4));
    EXPECT_TRUE(manager_->currentStepReaches(2));
    EXPECT_FALSE(manager_->currentStepReaches(1)); // group 2 starts the step
    manager_->undoIt();
    EXPECT_EQ(currentId(), 2);
    EXPECT_TRUE(manager_->currentStepReaches(1));
    EXPECT_FALSE(manager_->currentStepReaches(0));
    manager_->undoIt();
    EXPECT_FALSE(manager_->currentStepReaches(100)); // at the first group
}

TEST_F(ManagerTest, FailedRedoDiscardsTheHistory) {
    group("a", 1);
    group("b", 1);
    manager_->undoIt();
    records_[1].failDo = true;
    EXPECT_FALSE(manager_->doIt());
    EXPECT_EQ(manager_->getNumGroups(false), 0);
    EXPECT_EQ(counts_.groupRemoved, 2);
    EXPECT_EQ(counts_.activeTrue, 2);
    EXPECT_EQ(counts_.activeFalse, 2);
    EXPECT_FALSE(manager_->isActive());
}

TEST_F(ManagerTest, FailedUndoOfAnEmptyInvalidGroupUndoesAgain) {
    group("a", 1);
    Group* e = group("e", 0);
    e->stateInvalid();
    // The invalid empty group fails: the history goes; the step held no command, so the
    // manager undoes again and finds the beginning of the queue (true).
    EXPECT_TRUE(manager_->undoIt());
    EXPECT_EQ(manager_->getNumGroups(false), 0);
}

TEST_F(ManagerTest, PointerDestroyedInvalidatesDeclaringGroups) {
    int object = 0;
    int other = 0;
    Group* a = group("a", 1);
    Group* b = group("b", 1);
    b->declarePointer(&object);
    manager_->pointerDestroyed(&other);
    EXPECT_TRUE(b->isValid());
    manager_->pointerDestroyed(&object);
    EXPECT_TRUE(a->isValid());
    EXPECT_FALSE(b->isValid());
    EXPECT_FALSE(manager_->undoIt()); // the invalid group fails: history discarded
    EXPECT_EQ(manager_->getNumGroups(false), 0);
}

TEST_F(ManagerTest, DeletingAGroupFromAnywhereRemovesItFromTheQueue) {
    group("a", 1);
    group("b", 1);
    group("c", 1);
    manager_->undoIt();
    manager_->undoIt();
    EXPECT_EQ(currentId(), 2);
    delete manager_->getGroup(1); // the group at the position
    EXPECT_EQ(ids(), (std::vector<int>{1, 3}));
    EXPECT_EQ(currentId(), 3); // the position moved on to the next group
    EXPECT_EQ(counts_.removedIds, (std::vector<int>{2}));
    delete manager_->getGroup(0); // before the position
    EXPECT_EQ(ids(), (std::vector<int>{3}));
    EXPECT_EQ(currentId(), 3);
    EXPECT_FALSE(manager_->canUndo());
}

TEST_F(ManagerTest, RemovedGroupOutlivesItsManager) {
    Group* a = group("a", 1);
    group("b", 1);
    manager_->removeGroup(a); // taken out, not deleted: the caller owns it now
    EXPECT_EQ(ids(), (std::vector<int>{2}));
    EXPECT_EQ(counts_.removedIds, (std::vector<int>{1}));
    manager_->removeGroup(a); // no longer in the queue: ignored
    EXPECT_EQ(counts_.groupRemoved, 1);
    manager_.reset();
    // The manager's tracker cut the group's connection to it.
    delete a;
    EXPECT_TRUE(records_[0].deleted);
}

TEST_F(ManagerTest, ActiveDuringRuns) {
    bool activeInside = false;
    struct Probe : kyUndo::Command {
        Manager* m;
        bool* seen;
        Probe(Manager* manager, bool* s, Group* g) : Command("probe", g), m(manager), seen(s) {}
        bool performDo() override {
            *seen = m->isActive();
            return true;
        }
        bool performUndo() override {
            *seen = m->isActive();
            return true;
        }
    };
    Group* g = manager_->newGroup("g", false);
    new Probe(manager_.get(), &activeInside, g);
    EXPECT_TRUE(manager_->undoIt());
    EXPECT_TRUE(activeInside);
    EXPECT_FALSE(manager_->isActive());
}

TEST_F(ManagerTest, DestructionClearsAndSignals) {
    group("a", 1);
    group("b", 1);
    manager_.reset();
    EXPECT_EQ(counts_.groupRemoved, 2);
    EXPECT_TRUE(records_[0].deleted && records_[1].deleted);
}

TEST(InstalledManagerTest, InstallAndGet) {
    EXPECT_EQ(kyUndo::getInstalledManager(), nullptr);
    std::unique_ptr<Manager> m(kyUndo::newManager());
    kyUndo::installManager(m.get());
    EXPECT_EQ(kyUndo::getInstalledManager(), m.get());
    kyUndo::installManager(nullptr);
    EXPECT_EQ(kyUndo::getInstalledManager(), nullptr);
}

} // namespace
