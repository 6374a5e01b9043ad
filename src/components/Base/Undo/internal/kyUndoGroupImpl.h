// kyUndoGroupImpl.h - kyUndo::GroupImpl, the standard group that managers make.
#ifndef KY_UNDO_INTERNAL_GROUPIMPL_H
#define KY_UNDO_INTERNAL_GROUPIMPL_H

#include <Base/Containers/kySet.h>
#include <Base/Containers/kyVector.h>
#include <Base/RTB/kyRTBSignal.h>
#include <Base/Undo/kyUndoGroup.h>
#include <Base/Utility/kyImplBase.h>

namespace kyUndo {

/// The group of `Manager::newGroup`: commands in a vector, declared pointers in an ordered
/// set, and a signal emitted with the group at the start of its destructor, through which its
/// manager takes it out of the queue.
class GroupImpl : public Group, public ky::ImplBase {
public:
    /// Traces the creation. `name` is copied.
    GroupImpl(Manager* manager, int id, const char* name);
    /// Emits `destroyed`, traces, then deletes the commands in the order they were added.
    ~GroupImpl() override;

    bool doIt() override;
    bool undoIt() override;
    void addCommand(Command* command) override;
    Command* getCommand(int index) const override;
    int getNumCommands() const override { return static_cast<int>(commands_.size()); }
    int getNumBytesUsed() const override;
    const char* getName() const override { return name_; }
    int getID() const override { return id_; }
    int nextCommandID() override { return ++commandCounter_; }
    void setPrunable(bool prunable) override { prunable_ = prunable; }
    bool isPrunable() const override { return prunable_; }
    bool isDynamic() const override { return dynamic_; }
    void setDynamic(bool dynamic) override { dynamic_ = dynamic; }
    void declarePointer(const void* p) override;
    bool isPointerDeclared(const void* p) const override;
    void pointerDestroyed(const void* p) override;
    void beforeChange() override {}

    /// Emitted with this group at the start of its destruction.
    kyRTB::Signal<Group*>& destroyedSignal() { return destroyed_; }
    Manager* manager() const { return manager_; }

private:
    kyRTB::Signal<Group*> destroyed_;
    ky::vector<Command*> commands_; // owned, in the order added
    ky::set<const void*> declared_;
    Manager* manager_;
    int id_;
    int commandCounter_ = 0;
    char* name_;
    bool dynamic_ = false;
    bool prunable_ = true;
};

} // namespace kyUndo

#endif // KY_UNDO_INTERNAL_GROUPIMPL_H
