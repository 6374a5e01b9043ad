// undo_example.cpp - the examples of the kyUndo headers, compiled and checked.
#include "example_check.h"

#include <Base/Undo/kyUndoCommand.h>
#include <Base/Undo/kyUndoGroup.h>
#include <Base/Undo/kyUndoManager.h>

#include <cstdio>

class SetValue : public kyUndo::Command {
public:
    SetValue(int* target, int value, kyUndo::Group* group)
        : Command("set value", group), target_(target), old_(*target), new_(value) {}
    bool performDo() override {
        *target_ = new_;
        return true;
    }
    bool performUndo() override {
        *target_ = old_;
        return true;
    }

private:
    int* target_;
    int old_, new_;
};

int main() {
    kyUndo::Manager* manager = kyUndo::newManager();
    int value = 1;
    kyUndo::Group* group = manager->newGroup("edit", false);
    new SetValue(&value, 2, group); // the group owns it
    group->doIt();                  // value == 2
    CHECK(value == 2);
    manager->undoIt(); // value == 1
    CHECK(value == 1);
    manager->doIt(); // value == 2 again
    CHECK(value == 2);
    delete manager;

    std::puts("undo examples: ok");
    return 0;
}
