// UndoTestCommands.h - commands and signal counters shared by the undo tests.
#ifndef KY_TESTS_UNDO_TESTCOMMANDS_H
#define KY_TESTS_UNDO_TESTCOMMANDS_H

#include <Base/Undo/kyUndoCommand.h>
#include <Base/Undo/kyUndoGroup.h>
#include <Base/Undo/kyUndoManager.h>

#include <vector>

namespace undotest {

/// What a test command does and what happened to it; outlives the command.
struct Record {
    bool failDo = false, failUndo = false, deleted = false;
    int bytes = 1024, doCalls = 0, undoCalls = 0;
};

/// A command that counts its calls in a `Record` and fails on demand.
struct TestCommand : kyUndo::Command {
    TestCommand(Record* r, const char* name = nullptr, kyUndo::Group* group = nullptr)
        : Command(name, group), record(r) {}
    ~TestCommand() override { record->deleted = true; }
    bool performDo() override {
        ++record->doCalls;
        return !record->failDo;
    }
    bool performUndo() override {
        ++record->undoCalls;
        return !record->failUndo;
    }
    int getNumBytesUsed() const override { return record->bytes; }
    Record* record;
};

/// Counts the emissions of a manager's three signals.
struct SignalCounts {
    int queueChanged = 0, queueChangedFalse = 0, activeTrue = 0, activeFalse = 0, groupRemoved = 0;
    std::vector<int> removedIds;
    bool activeSeenInHandler = true;
    kyUndo::Manager* manager = nullptr;

    void onQueue(bool value) { ++(value ? queueChanged : queueChangedFalse); }
    void onActive(bool value) {
        ++(value ? activeTrue : activeFalse);
        if (manager != nullptr && !manager->isActive()) {
            activeSeenInHandler = false;
        }
    }
    void onRemoved(kyUndo::Group* group) {
        ++groupRemoved;
        removedIds.push_back(group->getID());
    }
    void attach(kyUndo::Manager* m) {
        manager = m;
        m->queueChanged.connect(this, &SignalCounts::onQueue);
        m->activeChanged.connect(this, &SignalCounts::onActive);
        m->groupRemoved.connect(this, &SignalCounts::onRemoved);
    }
};

} // namespace undotest

#endif // KY_TESTS_UNDO_TESTCOMMANDS_H
