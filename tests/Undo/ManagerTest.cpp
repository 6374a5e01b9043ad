// ManagerTest.cpp - undo cases the history model does not reach: commands joining a group late,
// stray arguments, a removed group outliving its manager, the installed manager.
#include "UndoTestCommands.h"

#include <Base/Undo/kyUndoManager.h>

#include <gtest/gtest.h>

#include <deque>
#include <memory>
#include <vector>

namespace {

using kyUndo::Group;
using kyUndo::Manager;
using undotest::Record;
using undotest::TestCommand;

class ManagerTest : public ::testing::Test {
protected:
    void SetUp() override {
        manager_.reset(kyUndo::newManager());
        counts_.attach(manager_.get());
    }
    // Opens a group with one test command.
    Group* group(const char* name) {
        Group* g = manager_->newGroup(name, false);
        records_.emplace_back();
        new TestCommand(&records_.back(), nullptr, g);
        return g;
    }

    // Declared first so that they outlive the manager, whose destruction reaches them.
    std::deque<Record> records_;
    undotest::SignalCounts counts_;
    std::unique_ptr<Manager> manager_;
};

TEST_F(ManagerTest, GroupNumbersItsCommandsAndIgnoresStrays) {
    Group* g = group("g");
    EXPECT_STREQ(g->getName(), "g");
    EXPECT_FALSE(g->hasBeenDone() || g->hasBeenUndone());
    records_.emplace_back();
    auto* loose = new TestCommand(&records_.back(), "loose"); // joins later
    EXPECT_EQ(loose->getID(), 0);
    EXPECT_STREQ(loose->getName(), "loose");
    g->addCommand(loose);
    EXPECT_EQ(g->getCommand(0)->getID(), 1);
    EXPECT_EQ(loose->getID(), 2);
    EXPECT_EQ(g->getCommand(1), loose);
    // Ignored: null, a second group for a numbered command, indices outside.
    g->addCommand(nullptr);
    loose->addToGroup(manager_->newGroup("h", false));
    loose->addToGroup(nullptr);
    EXPECT_EQ(g->getNumCommands(), 2);
    EXPECT_EQ(loose->getID(), 2);
    EXPECT_EQ(g->getCommand(2), nullptr);
    EXPECT_EQ(g->getCommand(-1), nullptr);
    EXPECT_EQ(g->nextCommandID(), 3);

    int a = 0;
    int b = 0;
    g->setDynamic(true);
    EXPECT_TRUE(g->isDynamic());
    g->declarePointer(nullptr);
    EXPECT_FALSE(g->isPointerDeclared(nullptr));
    g->declarePointer(&a);
    EXPECT_TRUE(g->isPointerDeclared(&a));
    EXPECT_FALSE(g->isPointerDeclared(&b));
    g->pointerDestroyed(&b);
    g->pointerDestroyed(nullptr);
    EXPECT_TRUE(g->isValid());
    g->pointerDestroyed(&a);
    EXPECT_FALSE(g->isValid());
    manager_.reset();
    EXPECT_TRUE(records_[0].deleted && records_[1].deleted);
    Record unnumbered;
    delete new TestCommand(&unnumbered);
    EXPECT_TRUE(unnumbered.deleted);
}

TEST_F(ManagerTest, RemovedGroupOutlivesItsManager) {
    Group* a = group("a");
    group("b");
    manager_->removeGroup(a); // taken out, not deleted: the caller owns it now
    EXPECT_EQ(manager_->getGroup(0)->getID(), 2);
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
