// kyUndoManagerImpl.h - kyUndo::ManagerImpl, the manager that newManager() makes.
#ifndef KY_UNDO_INTERNAL_MANAGERIMPL_H
#define KY_UNDO_INTERNAL_MANAGERIMPL_H

#include <Base/Containers/kyList.h>
#include <Base/RTB/kyRTBSignal.h>
#include <Base/Undo/kyUndoManager.h>
#include <Base/Utility/kyImplBase.h>

namespace kyUndo {

/// The standard manager: groups in a doubly linked list, oldest first, and the position as a
/// list iterator (the end when nothing can be redone).
///
/// Each group's destruction signal is connected to `removeGroup`, tied to `tracker_`, a signal
/// that is never emitted: it holds the other ends of those connections so that they are cut
/// when the manager goes away.
class ManagerImpl : public Manager, public ky::ImplBase {
public:
    ManagerImpl() = default;
    /// Clears all groups (traced, signalled) as `clearAllGroups()` does.
    ~ManagerImpl() override;

    bool undoIt() override;
    bool doIt() override;
    Group* newGroup(const char* name, bool dynamic) override;
    Group* getGroup(int index) const override;
    Group* getCurrentGroup() const override;
    int getNumGroups(bool countSteps) const override;
    bool canUndo() const override { return position_ != groups_.begin(); }
    bool canRedo() const override { return position_ != groups_.end(); }
    Group* findGroup(int id) const override;
    bool currentStepReaches(int id) const override;
    void deleteLastGroup() override;
    void clearAllGroups() override;
    void associateGroups(int firstId, int lastId) override;
    void pointerDestroyed(const void* p) override;
    int nextGroupID() override { return ++groupCounter_; }
    void setMaxGroups(int maxGroups) override;
    void setMaxBytes(int maxBytes) override;
    int getMaxGroups() const override { return maxGroups_; }
    int getMaxBytes() const override { return maxBytes_; }
    bool isActive() const override { return active_; }
    void removeGroup(Group* group) override;

private:
    using GroupList = ky::list<Group*>;

    long long totalBytes() const;
    int countSteps() const;
    void pruneUndoneGroups();
    void pruneTrailingInvalidGroups();
    void enforceLimits(bool reserveOne);
    // Deletes the oldest step; returns by how much the step count fell (0 or 1) and adds the
    // bytes of the deleted groups to `bytes`.
    int deleteOldestStep(long long& bytes);
    GroupList::iterator locate(const Group* group);

    kyRTB::Signal<> tracker_; // never emitted
    GroupList groups_;
    GroupList::iterator position_ = groups_.end();
    int groupCounter_ = 0;
    int maxGroups_ = 0;
    int maxBytes_ = 10000000;
    bool active_ = false;
};

} // namespace kyUndo

#endif // KY_UNDO_INTERNAL_MANAGERIMPL_H
