// kyUndoGroup.h - kyUndo::Group, an ordered, named set of commands done and undone as a whole.
#ifndef KY_UNDO_GROUP_H
#define KY_UNDO_GROUP_H

#include <Base/BaseExport.h>
#include <Base/Undo/kyUndoState.h>

namespace kyUndo {

class Command;
class Manager;

/// An ordered, named set of commands that forms one entry of a manager's history; made by
/// `Manager::newGroup`, which keeps it in its queue and owns it. The group owns its commands
/// and deletes them with itself. Deleting a group from anywhere takes it out of its manager's
/// queue.
///
/// `doIt()` does the commands first to last, `undoIt()` undoes them last to first; the first
/// failure stops the run and marks the group invalid (commands already run are not reversed).
/// A dynamic group is associated with the group before it and forms one undo step with it.
/// A group that declared a pointer (`declarePointer`) becomes invalid when the manager hears
/// that the object is gone (`Manager::pointerDestroyed`).
///
/// Failures are the bool results. Not synchronised: one thread uses a history.
class KY_BASE_API Group : public State {
public:
    explicit Group(Manager* manager);
    Group(const Group&) = delete;
    Group& operator=(const Group&) = delete;
    virtual ~Group();

    /// Does every command, first to last, unless the last operation already was a do. False
    /// when the group is invalid or a command fails.
    virtual bool doIt() = 0;
    /// Undoes every command, last to first; the mirror of `doIt()`.
    virtual bool undoIt() = 0;
    /// Appends `command`, which the group then owns. Null is ignored; a command that belongs
    /// to no group yet first takes the group's next command number.
    virtual void addCommand(Command* command) = 0;
    /// The command at `index` in the order added, or null when out of range.
    virtual Command* getCommand(int index) const = 0;
    virtual int getNumCommands() const = 0;
    /// The sum of the commands' `getNumBytesUsed()`.
    virtual int getNumBytesUsed() const = 0;
    /// The group's name, or null.
    virtual const char* getName() const = 0;
    /// The number the manager gave the group (1, 2, 3 ... per manager).
    virtual int getID() const = 0;
    /// Counts and returns the next command number (1, 2, 3 ...).
    virtual int nextCommandID() = 0;
    /// A group that is not prunable stops the pruning of old and of trailing invalid groups.
    virtual void setPrunable(bool prunable) = 0;
    virtual bool isPrunable() const = 0;
    virtual bool isDynamic() const = 0;
    virtual void setDynamic(bool dynamic) = 0;
    /// Records that the commands refer to the object `p` (null is ignored; once is enough).
    virtual void declarePointer(const void* p) = 0;
    virtual bool isPointerDeclared(const void* p) const = 0;
    /// Marks the group invalid if it declared `p`.
    virtual void pointerDestroyed(const void* p) = 0;
    /// Hook called on the newest group before a newer one is opened and on a group before each
    /// command is appended to it; the standard group does nothing.
    virtual void beforeChange() = 0;
};

} // namespace kyUndo

#endif // KY_UNDO_GROUP_H
