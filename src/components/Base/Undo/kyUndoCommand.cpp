// kyUndoCommand.cpp - kyUndo::Command: running an action once, tracing, invalidation.
#include <Base/Undo/internal/kyUndoTrace.h>
#include <Base/Undo/kyUndoCommand.h>
#include <Base/Undo/kyUndoGroup.h>

namespace kyUndo {

using detail::rawTraceName;
using detail::trace;
using detail::traceName;

Command::Command(const char* name, Group* group) : name_(detail::copyName(name)) {
    if (group != nullptr) {
        addToGroup(group);
    }
}

Command::~Command() {
    if (id_ != 0 && detail::traceEnabled()) {
        trace("    kyUndo::Command: delete (%s, 0x%p)\n", traceName(name_),
              static_cast<const void*>(this));
    }
    detail::freeName(name_);
}

int Command::getNumBytesUsed() const {
    return 1024;
}

void Command::commit() {}

bool Command::doIt() {
    if (!isValid()) {
        return false;
    }
    if (lastWasDoIt()) {
        stateDone(); // nothing is executed twice in a row
        return true;
    }
    if (detail::traceEnabled()) {
        trace("    + kyUndo::Command: doIt (%s, 0x%p), %d bytes\n", rawTraceName(name_),
              static_cast<const void*>(this), getNumBytesUsed());
    }
    const bool ok = performDo();
    stateDone();
    if (!ok) {
        trace("    - kyUndo::Command: 'do' of %s returned failure.  Marking invalid.\n",
              traceName(name_));
        stateInvalid();
        return false;
    }
    return true;
}

bool Command::undoIt() {
    if (!isValid()) {
        return false;
    }
    if (lastWasUndoIt()) {
        stateUndone();
        return true;
    }
    if (detail::traceEnabled()) {
        trace("    - kyUndo::Command: undoIt (%s, 0x%p), %d bytes\n", rawTraceName(name_),
              static_cast<const void*>(this), getNumBytesUsed());
    }
    const bool ok = performUndo();
    stateUndone();
    if (!ok) {
        trace("    - kyUndo::Command: undo of %s returned failure.  Marking invalid.\n",
              traceName(name_));
        stateInvalid();
        return false;
    }
    return true;
}

void Command::addToGroup(Group* group) {
    if (group == nullptr || id_ != 0) {
        return;
    }
    const int id = group->nextCommandID();
    if (id == 0) {
        return; // a group that cannot number its commands cannot take this one
    }
    id_ = id;
    group->addCommand(this);
    if (detail::traceEnabled()) {
        trace("    kyUndo::Command: new (%s, 0x%p)\n", traceName(name_),
              static_cast<const void*>(this));
    }
}

} // namespace kyUndo
