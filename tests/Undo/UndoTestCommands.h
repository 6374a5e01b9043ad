// UndoTestCommands.h - the command shared by the undo tests.
#ifndef KY_TESTS_UNDO_TESTCOMMANDS_H
#define KY_TESTS_UNDO_TESTCOMMANDS_H

#include <Base/Undo/kyUndoCommand.h>
#include <Base/Undo/kyUndoGroup.h>

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

} // namespace undotest

#endif // KY_TESTS_UNDO_TESTCOMMANDS_H
