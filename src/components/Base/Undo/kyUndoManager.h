// kyUndoManager.h - kyUndo::Manager, the queue of undo steps with its position and limits.
#ifndef KY_UNDO_MANAGER_H
#define KY_UNDO_MANAGER_H

#include <Base/BaseExport.h>
#include <Base/RTB/kyRTBSignal.h>

namespace kyUndo {

class Group;

/// The history of an application's undoable actions: a queue of groups, oldest first, with a
/// position in it. The groups before the position are done; the group at it is the next to
/// redo. A step is a group that is not dynamic together with the dynamic groups that directly
/// follow it (the first group always starts a step); `undoIt()` and `doIt()` move by steps.
///
/// Opening a group (`newGroup`) discards everything that was undone, drops trailing invalid
/// groups, and drops the oldest steps while a count limit (`setMaxGroups`, 0 = none) or a
/// memory limit (`setMaxBytes`, default 10,000,000 bytes, 0 = none) is exceeded; a negative
/// count limit turns recording off. A group that fails while being done or undone discards
/// the whole history.
///
/// @code
///   kyUndo::Manager* manager = kyUndo::newManager();
///   int value = 1;
///   kyUndo::Group* group = manager->newGroup("edit", false);
///   new SetValue(&value, 2, group); // a Command; the group owns it
///   group->doIt();                  // value == 2
///   manager->undoIt();              // value == 1
///   manager->doIt();                // value == 2 again (redo)
///   delete manager;
/// @endcode
///
/// Ownership: the manager owns its groups and deletes them; `newManager()`'s caller owns the
/// manager. Signals: `activeChanged(true)` when a doIt/undoIt run starts and `(false)` when it
/// ends, `groupRemoved(group)` as a group leaves the queue, `queueChanged(true)` whenever the
/// queue or the position changed. Failures are the bool results and null groups. Not
/// synchronised: one thread uses a manager. Construction allocates nothing.
class KY_BASE_API Manager {
public:
    Manager();
    Manager(const Manager&) = delete;
    Manager& operator=(const Manager&) = delete;
    virtual ~Manager();

    /// Undoes the step before the position. A step whose groups hold no command is stepped
    /// over (the one before it is undone too). True at the beginning of the queue.
    virtual bool undoIt() = 0;
    /// Redoes the step at the position; the mirror of `undoIt()`. True at the end.
    virtual bool doIt() = 0;
    /// Opens a new group at the end of the queue (see the class comment); null while
    /// recording is off.
    virtual Group* newGroup(const char* name, bool dynamic) = 0;
    /// 0 is the oldest group, n counts forward from it, -1 is the newest and -n counts back;
    /// null when out of range.
    virtual Group* getGroup(int index) const = 0;
    /// The group at the position (the next to redo), or null at the end.
    virtual Group* getCurrentGroup() const = 0;
    /// The number of steps when `countSteps`, else of groups.
    virtual int getNumGroups(bool countSteps) const = 0;
    virtual bool canUndo() const = 0;
    virtual bool canRedo() const = 0;
    /// The group with ID `id`, or null.
    virtual Group* findGroup(int id) const = 0;
    /// Whether the step just before the position reaches back to a group with ID <= `id`:
    /// walking back group by group, true at the first such group, false at the first group of
    /// the queue or past a group that is not dynamic.
    virtual bool currentStepReaches(int id) const = 0;
    /// Drops the newest group when the position is at the end: alone if it holds no command,
    /// else with the whole history (a done group cannot be taken out alone).
    virtual void deleteLastGroup() = 0;
    /// Deletes every group.
    virtual void clearAllGroups() = 0;
    /// Makes the groups with IDs in [firstId, lastId] one step: the first is made not dynamic,
    /// the others dynamic.
    virtual void associateGroups(int firstId, int lastId) = 0;
    /// Tells every group that the object `p` is gone: groups that declared it become invalid.
    virtual void pointerDestroyed(const void* p) = 0;
    /// Counts and returns the next group number (1, 2, 3 ...).
    virtual int nextGroupID() = 0;
    /// Sets the count limit in steps (0 = none, negative = recording off) and, if the
    /// position is at the end, enforces the limits at once.
    virtual void setMaxGroups(int maxGroups) = 0;
    /// Sets the memory limit in bytes (0 = none) and, if the position is at the end,
    /// enforces the limits at once.
    virtual void setMaxBytes(int maxBytes) = 0;
    virtual int getMaxGroups() const = 0;
    virtual int getMaxBytes() const = 0;
    /// True during a doIt/undoIt run.
    virtual bool isActive() const = 0;
    /// Emits `groupRemoved` and takes `group` out of the queue without deleting it. Deleting
    /// a group calls this; a group not in the queue is ignored.
    virtual void removeGroup(Group* group) = 0;

    /// Emitted with true when a doIt/undoIt run starts and with false when it ends.
    kyRTB::Signal<bool> activeChanged;
    /// Emitted with each group that leaves the queue, before it is taken out.
    kyRTB::Signal<Group*> groupRemoved;
    /// Emitted with true whenever the queue or the position changed.
    kyRTB::Signal<bool> queueChanged;
};

/// Makes a new, empty manager; the caller owns it.
KY_BASE_API Manager* newManager();
/// Stores `manager` as the process-wide manager (not owned; null to clear). Not synchronised.
KY_BASE_API void installManager(Manager* manager);
/// The manager stored by `installManager`, or null.
KY_BASE_API Manager* getInstalledManager();

} // namespace kyUndo

#endif // KY_UNDO_MANAGER_H
