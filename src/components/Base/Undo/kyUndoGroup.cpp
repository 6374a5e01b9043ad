// kyUndoGroup.cpp - kyUndo::Group and the standard group, GroupImpl.
#include <Base/Undo/internal/kyUndoGroupImpl.h>

#include <Base/Undo/internal/kyUndoTrace.h>
#include <Base/Undo/kyUndoCommand.h>

#include <climits>

namespace kyUndo {

using detail::trace;
using detail::traceName;

Group::Group(Manager* /*manager*/) {}

Group::~Group() = default;

GroupImpl::GroupImpl(Manager* manager, int id, const char* name)
    : Group(manager), manager_(manager), id_(id), name_(detail::copyName(name)) {
    trace("  kyUndo::Group: new group (%s)\n", traceName(name_));
}

GroupImpl::~GroupImpl() {
    destroyed_.emit(this);
    if (detail::traceEnabled()) {
        trace("  kyUndo::Group: delete group (%s) - %d bytes\n", traceName(name_),
              getNumBytesUsed());
    }
    // By index: a command's destructor may still look at the group.
    for (std::size_t i = 0; i < commands_.size(); ++i) {
        delete commands_[i];
    }
    commands_.clear();
    detail::freeName(name_);
}

bool GroupImpl::doIt() {
    if (detail::traceEnabled()) {
        trace("  + kyUndo::Group: doIt() - (%s) %d commands %d bytes.\n", traceName(name_),
              getNumCommands(), getNumBytesUsed());
    }
    if (!isValid()) {
        trace("  ! kyUndo::Group: doIt() - (%s) invalid group.\n", traceName(name_));
        return false;
    }
    if (lastWasDoIt()) {
        return true;
    }
    // By index: a command may append to its group while it runs.
    for (std::size_t i = 0; i < commands_.size(); ++i) {
        Command* command = commands_[i];
        if (!command->doIt()) {
            // "returnedfailure" without a blank is the message as it has always read.
            trace("  ! kyUndo::Group: 'do' of command %d (%s) returnedfailure status\n",
                  static_cast<int>(i), traceName(command->getName()));
            trace("  ! kyUndo::Group: marking group (%s) invalid.\n", traceName(name_));
            stateInvalid();
            return false;
        }
    }
    stateDone();
    return true;
}

bool GroupImpl::undoIt() {
    if (detail::traceEnabled()) {
        trace("  - kyUndo::Group: undoIt() - (%s) %d commands %d bytes.\n", traceName(name_),
              getNumCommands(), getNumBytesUsed());
    }
    if (!isValid()) {
        trace("  ! kyUndo::Group: undoIt() - (%s) invalid group.\n", traceName(name_));
        return false;
    }
    if (lastWasUndoIt()) {
        return true;
    }
    for (std::size_t i = commands_.size(); i-- > 0;) {
        Command* command = commands_[i];
        if (!command->undoIt()) {
            trace("  ! kyUndo::Group: 'undo' of command %d (%s) returnedfailure status\n",
                  static_cast<int>(i), traceName(command->getName()));
            trace("  ! kyUndo::Group: marking group (%s) invalid.\n", traceName(name_));
            stateInvalid();
            return false;
        }
    }
    stateUndone();
    return true;
}

void GroupImpl::addCommand(Command* command) {
    if (command == nullptr) {
        return;
    }
    if (command->getID() == 0) {
        command->addToGroup(this); // numbers the command and comes back here
        return;
    }
    beforeChange();
    commands_.push_back(command);
}

Command* GroupImpl::getCommand(int index) const {
    if (index < 0 || index >= getNumCommands()) {
        return nullptr;
    }
    return commands_[static_cast<std::size_t>(index)];
}

int GroupImpl::getNumBytesUsed() const {
    long long sum = 0;
    for (const Command* command : commands_) {
        sum += command->getNumBytesUsed();
    }
    if (sum > INT_MAX) {
        return INT_MAX;
    }
    return sum < INT_MIN ? INT_MIN : static_cast<int>(sum);
}

void GroupImpl::declarePointer(const void* p) {
    if (p != nullptr) {
        declared_.insert(p);
    }
}

bool GroupImpl::isPointerDeclared(const void* p) const {
    return p != nullptr && declared_.count(p) != 0;
}

void GroupImpl::pointerDestroyed(const void* p) {
    if (!isPointerDeclared(p)) {
        return;
    }
    trace("!   kyUndo::Group: pointer 0x%p declared by group has been destroyed\n", p);
    trace("!   kyUndo::Group: marking group (%s) invalid.\n", traceName(name_));
    stateInvalid();
}

} // namespace kyUndo
