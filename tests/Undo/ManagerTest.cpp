// ManagerTest.cpp - kyUndo::Manager cases the history model does not reach: defaults, indices from
// the end, a removed group outliving its manager, the installed manager.
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

TEST(InstalledManagerTest, InstallAndGet) {
    EXPECT_EQ(kyUndo::getInstalledManager(), nullptr);
    std::unique_ptr<Manager> m(kyUndo::newManager());
    kyUndo::installManager(m.get());
    EXPECT_EQ(kyUndo::getInstalledManager(), m.get());
    kyUndo::installManager(nullptr);
    EXPECT_EQ(kyUndo::getInstalledManager(), nullptr);
}

} // namespace
