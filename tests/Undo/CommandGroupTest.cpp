// CommandGroupTest.cpp - tests of kyUndo::State, Command and the standard group.
#include "UndoTestCommands.h"

#include <Base/Undo/kyUndoManager.h>
#include <Base/Undo/kyUndoState.h>

#include <gtest/gtest.h>

#include <deque>
#include <memory>
#include <string>
#include <vector>

namespace {

using kyUndo::Command;
using kyUndo::Group;
using kyUndo::State;
using undotest::Record;
using undotest::TestCommand;

// Exposes the protected transitions.
struct OpenState : State {
    using State::stateDone;
    using State::stateUndone;
};

TEST(StateTest, Transitions) {
    OpenState s;
    EXPECT_EQ(s.stateBits(), 16);
    EXPECT_TRUE(s.isValid());
    EXPECT_FALSE(s.hasBeenDone() || s.hasBeenUndone() || s.lastWasDoIt() || s.lastWasUndoIt());

    struct Row {
        char op; // 'd' done, 'u' undone, 'i' invalid
        int bits;
    };
    const Row rows[] = {
        {'d', 16 | 1 | 4},     {'d', 16 | 1 | 4}, {'u', 16 | 1 | 2 | 8}, {'u', 16 | 1 | 2 | 8},
        {'d', 16 | 1 | 2 | 4}, {'i', 1 | 2 | 4},  {'u', 1 | 2 | 8},      {'d', 1 | 2 | 4},
    };
    for (const Row& row : rows) {
        if (row.op == 'd') {
            s.stateDone();
        } else if (row.op == 'u') {
            s.stateUndone();
        } else {
            s.stateInvalid();
        }
        EXPECT_EQ(s.stateBits(), row.bits) << row.op;
    }
    EXPECT_FALSE(s.isValid()); // never restored
    EXPECT_TRUE(s.lastWasDoIt());
    EXPECT_FALSE(s.lastWasUndoIt());
}

TEST(CommandTest, RunsOnceInARow) {
    Record r;
    TestCommand c(&r, "c");
    EXPECT_EQ(c.getID(), 0);
    EXPECT_STREQ(c.getName(), "c");
    EXPECT_EQ(c.getNumBytesUsed(), 1024);

    EXPECT_TRUE(c.doIt());
    EXPECT_TRUE(c.doIt()); // the last operation was a do: nothing runs
    EXPECT_EQ(r.doCalls, 1);
    EXPECT_TRUE(c.hasBeenDone());
    EXPECT_TRUE(c.undoIt());
    EXPECT_TRUE(c.undoIt());
    EXPECT_EQ(r.undoCalls, 1);
    EXPECT_TRUE(c.doIt());
    EXPECT_EQ(r.doCalls, 2);
    EXPECT_EQ(c.stateBits(), 16 | 1 | 2 | 4);
}

TEST(CommandTest, UndoFirstThenDo) {
    Record r;
    TestCommand c(&r);
    EXPECT_EQ(c.getName(), nullptr);
    EXPECT_TRUE(c.undoIt());
    EXPECT_EQ(r.undoCalls, 1);
    EXPECT_EQ(c.stateBits(), 16 | 2 | 8);
    EXPECT_TRUE(c.doIt());
    EXPECT_EQ(r.doCalls, 1);
}

TEST(CommandTest, FailureInvalidatesForGood) {
    Record r;
    r.failDo = true;
    TestCommand c(&r, "bad");
    EXPECT_FALSE(c.doIt());
    EXPECT_FALSE(c.isValid());
    EXPECT_TRUE(c.hasBeenDone()); // marked done whatever the action returned
    r.failDo = false;
    EXPECT_FALSE(c.doIt());
    EXPECT_FALSE(c.undoIt());
    EXPECT_EQ(r.doCalls, 1);
    EXPECT_EQ(r.undoCalls, 0);

    Record u;
    u.failUndo = true;
    TestCommand d(&u);
    EXPECT_TRUE(d.doIt());
    EXPECT_FALSE(d.undoIt());
    EXPECT_FALSE(d.isValid());
    EXPECT_FALSE(d.doIt());
    EXPECT_EQ(u.doCalls, 1);
}

class GroupTest : public ::testing::Test {
protected:
    void SetUp() override { manager_.reset(kyUndo::newManager()); }
    // Records outlive the commands, which the manager deletes last.
    Record& record() {
        records_.emplace_back();
        return records_.back();
    }
    std::deque<Record> records_;
    std::unique_ptr<kyUndo::Manager> manager_;
};

TEST_F(GroupTest, CommandsAreNumberedAndOwned) {
    Group* g = manager_->newGroup("g", false);
    ASSERT_NE(g, nullptr);
    EXPECT_STREQ(g->getName(), "g");
    EXPECT_EQ(g->getID(), 1);
    Record& r1 = record();
    Record& r2 = record();
    Record& r3 = record();
    auto* c1 = new TestCommand(&r1, "one", g);
    auto* c2 = new TestCommand(&r2, "two", g);
    EXPECT_EQ(c1->getID(), 1);
    EXPECT_EQ(c2->getID(), 2);

    // A command made without a group joins later.
    auto* c3 = new TestCommand(&r3, "three");
    EXPECT_EQ(c3->getID(), 0);
    g->addCommand(c3); // goes through addToGroup, which numbers it
    EXPECT_EQ(c3->getID(), 3);
    EXPECT_EQ(g->getNumCommands(), 3);
    EXPECT_EQ(g->getCommand(0), c1);
    EXPECT_EQ(g->getCommand(2), c3);
    EXPECT_EQ(g->getCommand(3), nullptr);
    EXPECT_EQ(g->getCommand(-1), nullptr);

    // Ignored: null, a second group for a numbered command.
    g->addCommand(nullptr);
    c3->addToGroup(g);
    c3->addToGroup(nullptr);
    EXPECT_EQ(g->getNumCommands(), 3);
    EXPECT_EQ(c3->getID(), 3);

    EXPECT_EQ(g->nextCommandID(), 4);
    EXPECT_EQ(g->nextCommandID(), 5);

    r2.bytes = 10;
    EXPECT_EQ(g->getNumBytesUsed(), 1024 + 10 + 1024);

    manager_.reset();
    EXPECT_TRUE(r1.deleted && r2.deleted && r3.deleted);
}

TEST_F(GroupTest, DoAndUndoOrder) {
    Group* g = manager_->newGroup("g", false);
    std::vector<std::string> log;
    Record* r[3] = {&record(), &record(), &record()};
    for (int i = 0; i < 3; ++i) {
        r[i]->label = std::to_string(i);
        r[i]->log = &log;
        new TestCommand(r[i], nullptr, g);
    }
    EXPECT_TRUE(g->doIt());
    EXPECT_TRUE(g->doIt()); // the last operation was a do
    EXPECT_TRUE(g->undoIt());
    EXPECT_TRUE(g->undoIt());
    EXPECT_EQ(log,
              (std::vector<std::string>{"do 0", "do 1", "do 2", "undo 2", "undo 1", "undo 0"}));
    EXPECT_EQ(g->stateBits(), 16 | 1 | 2 | 8);
}

TEST_F(GroupTest, FirstFailureStopsTheRunAndInvalidates) {
    Group* g = manager_->newGroup("g", false);
    std::vector<std::string> log;
    Record* r[3] = {&record(), &record(), &record()};
    for (int i = 0; i < 3; ++i) {
        r[i]->label = std::to_string(i);
        r[i]->log = &log;
        new TestCommand(r[i], nullptr, g);
    }
    r[1]->failDo = true;
    EXPECT_FALSE(g->doIt());
    EXPECT_FALSE(g->isValid());
    EXPECT_FALSE(g->hasBeenDone());
    // Command 0 stays done; command 2 never ran.
    EXPECT_EQ(log, (std::vector<std::string>{"do 0", "do 1"}));
    EXPECT_FALSE(g->undoIt());
    EXPECT_FALSE(g->doIt());
    EXPECT_EQ(log.size(), 2u);

    Group* h = manager_->newGroup("h", false);
    Record* s[3] = {&record(), &record(), &record()};
    log.clear();
    for (int i = 0; i < 3; ++i) {
        s[i]->label = std::to_string(i);
        s[i]->log = &log;
        new TestCommand(s[i], nullptr, h);
    }
    s[1]->failUndo = true;
    EXPECT_TRUE(h->doIt());
    EXPECT_FALSE(h->undoIt());
    EXPECT_EQ(log, (std::vector<std::string>{"do 0", "do 1", "do 2", "undo 2", "undo 1"}));
    EXPECT_FALSE(h->isValid());
}

TEST_F(GroupTest, FlagsAndPointers) {
    Group* g = manager_->newGroup(nullptr, true);
    EXPECT_EQ(g->getName(), nullptr);
    EXPECT_TRUE(g->isDynamic());
    EXPECT_TRUE(g->isPrunable());
    g->setDynamic(false);
    g->setPrunable(false);
    EXPECT_FALSE(g->isDynamic());
    EXPECT_FALSE(g->isPrunable());

    int a = 0, b = 0;
    g->declarePointer(nullptr);
    EXPECT_FALSE(g->isPointerDeclared(nullptr));
    g->declarePointer(&a);
    g->declarePointer(&a);
    EXPECT_TRUE(g->isPointerDeclared(&a));
    EXPECT_FALSE(g->isPointerDeclared(&b));
    g->pointerDestroyed(&b);
    EXPECT_TRUE(g->isValid());
    g->pointerDestroyed(nullptr);
    EXPECT_TRUE(g->isValid());
    g->pointerDestroyed(&a);
    EXPECT_FALSE(g->isValid());
}

} // namespace
