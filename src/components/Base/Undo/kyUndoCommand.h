// kyUndoCommand.h - kyUndo::Command, one reversible action supplied by the application.
#ifndef KY_UNDO_COMMAND_H
#define KY_UNDO_COMMAND_H

#include <Base/BaseExport.h>
#include <Base/Undo/kyUndoState.h>

namespace kyUndo {

class Group;

/// One reversible action. The application derives from it, implements `performDo()` and
/// `performUndo()`, and hands it to a group, which owns it from then on and deletes it with
/// itself (never delete a command that belongs to a group).
///
/// `doIt()` and `undoIt()` run the action at most once in a row: a second `doIt()` without
/// an `undoIt()` between them does nothing and succeeds. A failed action marks the command
/// invalid for good, and an invalid command neither does nor undoes anything again.
///
/// @code
///   class SetValue : public kyUndo::Command {
///   public:
///       SetValue(int* target, int value, kyUndo::Group* group)
///           : Command("set value", group), target_(target), old_(*target), new_(value) {}
///       bool performDo() override { *target_ = new_; return true; }
///       bool performUndo() override { *target_ = old_; return true; }
///   private:
///       int* target_;
///       int old_, new_;
///   };
/// @endcode
///
/// Failures are the bool results. Not synchronised: one thread uses a history.
class KY_BASE_API Command : public State {
public:
    /// Makes a command named by a copy of `name` (or unnamed). With a group, the command
    /// takes the group's next command number and adds itself to it; without one its ID is 0
    /// until `addToGroup`.
    explicit Command(const char* name = nullptr, Group* group = nullptr);
    Command(const Command&) = delete;
    Command& operator=(const Command&) = delete;
    virtual ~Command();

    /// Carries out the action; false on failure.
    virtual bool performDo() = 0;
    /// Reverses the action; false on failure.
    virtual bool performUndo() = 0;
    /// The memory the command keeps for its history, counted against the manager's byte
    /// limit. 1024 unless overridden.
    virtual int getNumBytesUsed() const;
    /// Hook for commands that finalise state; does nothing unless overridden.
    virtual void commit();

    /// Does the action unless the last operation already was a do. False when the command is
    /// invalid or `performDo()` fails (which makes it invalid).
    bool doIt();
    /// The mirror of `doIt()`.
    bool undoIt();
    /// Adds the command to `group` with the group's next command number. Ignored for a null
    /// group or when the command already belongs to a group.
    void addToGroup(Group* group);
    /// 0 while the command belongs to no group, else its number in its group (1, 2, ...).
    int getID() const { return id_; }
    /// The name given at construction, or null.
    const char* getName() const { return name_; }

private:
    int id_ = 0;
    char* name_ = nullptr;
};

} // namespace kyUndo

#endif // KY_UNDO_COMMAND_H
