// showcase_undo.cpp - the undo section of the showcase.
#include "showcase.h"

#include <Base/Undo/kyUndoCommand.h>
#include <Base/Undo/kyUndoGroup.h>
#include <Base/Undo/kyUndoManager.h>

#include <cstdio>

namespace {

class AddTo : public kyUndo::Command {
public:
    AddTo(int* target, int amount, kyUndo::Group* group)
        : Command("add", group), target_(target), amount_(amount) {}
    bool performDo() override {
        *target_ += amount_;
        return true;
    }
    bool performUndo() override {
        *target_ -= amount_;
        return true;
    }

private:
    int* target_;
    int amount_;
};

struct QueueWatcher {
    int changes = 0;
    int removed = 0;
    void onQueue(bool) { ++changes; }
    void onRemoved(kyUndo::Group*) { ++removed; }
};

} // namespace

void showcaseUndo() {
    showcaseSection("Undo: groups of commands, steps, limits");

    kyUndo::Manager* manager = kyUndo::newManager();
    QueueWatcher watcher;
    manager->queueChanged.connect(&watcher, &QueueWatcher::onQueue);
    manager->groupRemoved.connect(&watcher, &QueueWatcher::onRemoved);

    int value = 0;
    const char* names[] = {"add 1", "add 10", "add 100 (dynamic: same step)"};
    const int amounts[] = {1, 10, 100};
    for (int i = 0; i < 3; ++i) {
        kyUndo::Group* group = manager->newGroup(names[i], i == 2);
        new AddTo(&value, amounts[i], group);
        group->doIt();
    }
    std::printf("value %d after 3 groups in %d steps\n", value, manager->getNumGroups(true));
    manager->undoIt();
    std::printf("undo: value %d (the dynamic group went with its step)\n", value);
    manager->undoIt();
    std::printf("undo: value %d, can undo: %s\n", value, manager->canUndo() ? "yes" : "no");
    manager->doIt();
    std::printf("redo: value %d\n", value);
    manager->newGroup("after an undo", false);
    std::printf("a new group discards what was undone: %d groups left\n",
                manager->getNumGroups(false));

    manager->setMaxGroups(2);
    for (int i = 0; i < 3; ++i) {
        manager->newGroup("limited", false);
    }
    std::printf("with at most 2 steps: %d groups kept, ids", manager->getNumGroups(false));
    for (int i = 0; i < manager->getNumGroups(false); ++i) {
        std::printf(" %d", manager->getGroup(i)->getID());
    }
    std::printf("\nsignals seen: %d queue changes, %d groups removed\n", watcher.changes,
                watcher.removed);
    delete manager;
}
