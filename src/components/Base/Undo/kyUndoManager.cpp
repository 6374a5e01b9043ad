// kyUndoManager.cpp - kyUndo::Manager and the standard manager, ManagerImpl.
#include <Base/Undo/internal/kyUndoManagerImpl.h>

#include <Base/Undo/internal/kyUndoGroupImpl.h>
#include <Base/Undo/internal/kyUndoTrace.h>

#include <climits>

namespace kyUndo {

using detail::trace;
using detail::traceName;

namespace {

Manager* gInstalledManager = nullptr;

int clampToInt(long long value) {
    if (value > INT_MAX) {
        return INT_MAX;
    }
    return value < INT_MIN ? INT_MIN : static_cast<int>(value);
}

} // namespace

Manager::Manager() = default;

Manager::~Manager() = default;

Manager* newManager() {
    return new ManagerImpl();
}

void installManager(Manager* manager) {
    gInstalledManager = manager;
}

Manager* getInstalledManager() {
    return gInstalledManager;
}

ManagerImpl::~ManagerImpl() {
    clearAllGroups();
}

long long ManagerImpl::totalBytes() const {
    long long sum = 0;
    for (const Group* group : groups_) {
        sum += group->getNumBytesUsed();
    }
    return sum;
}

int ManagerImpl::countSteps() const {
    int steps = 0;
    bool first = true;
    for (const Group* group : groups_) {
        if (first || !group->isDynamic()) {
            ++steps;
        }
        first = false;
    }
    return steps;
}

int ManagerImpl::getNumGroups(bool countSteps) const {
    return countSteps ? this->countSteps() : static_cast<int>(groups_.size());
}

Group* ManagerImpl::getGroup(int index) const {
    const int n = static_cast<int>(groups_.size());
    if (index >= n || index < -n) {
        return nullptr;
    }
    if (index < 0) {
        index += n;
    }
    // Walk from the nearer end.
    if (index < n / 2) {
        auto it = groups_.begin();
        for (int i = 0; i < index; ++i) {
            ++it;
        }
        return *it;
    }
    auto it = groups_.end();
    for (int i = n; i > index; --i) {
        --it;
    }
    return *it;
}

Group* ManagerImpl::getCurrentGroup() const {
    return position_ == groups_.end() ? nullptr : *GroupList::const_iterator(position_);
}

Group* ManagerImpl::findGroup(int id) const {
    for (Group* group : groups_) {
        if (group->getID() == id) {
            return group;
        }
    }
    return nullptr;
}

bool ManagerImpl::currentStepReaches(int id) const {
    GroupList::const_iterator it = position_;
    while (it != groups_.begin()) {
        --it;
        const Group* group = *it;
        if (group->getID() <= id) {
            return true;
        }
        if (!group->isDynamic()) {
            return false; // the step began here
        }
    }
    return false;
}

ManagerImpl::GroupList::iterator ManagerImpl::locate(const Group* group) {
    // From both ends at once: the manager itself removes groups from the ends only.
    auto low = groups_.begin();
    auto high = groups_.end();
    while (low != high) {
        if (*low == group) {
            return low;
        }
        ++low;
        if (low == high) {
            break;
        }
        --high;
        if (*high == group) {
            return high;
        }
    }
    return groups_.end();
}

void ManagerImpl::removeGroup(Group* group) {
    auto it = locate(group);
    if (it == groups_.end()) {
        return;
    }
    groupRemoved.emit(group);
    if (position_ == it) {
        position_ = groups_.erase(it);
    } else {
        groups_.erase(it);
    }
}

void ManagerImpl::pruneUndoneGroups() {
    trace("kyUndo::Manager: pruneUndoneGroups()\n");
    // Newest first: each group is then found at the end of the list.
    while (position_ != groups_.end()) {
        delete groups_.back(); // its destruction signal takes it out of the queue
    }
    position_ = groups_.end();
    queueChanged.emit(true);
}

void ManagerImpl::pruneTrailingInvalidGroups() {
    trace("kyUndo::Manager: pruneTrailingInvalidGroups()\n");
    while (!groups_.empty()) {
        Group* last = groups_.back();
        if (last->isValid() || !last->isPrunable()) {
            return; // kept: no queueChanged when the loop stops at a group
        }
        delete last;
        position_ = groups_.end();
    }
    queueChanged.emit(true);
}

int ManagerImpl::deleteOldestStep(long long& bytes) {
    Group* first = groups_.front();
    // Read before deleting: a dynamic oldest group goes alone.
    const bool firstDynamic = first->isDynamic();
    bytes += first->getNumBytesUsed();
    delete first;
    if (!firstDynamic) {
        while (!groups_.empty() && groups_.front()->isDynamic()) {
            Group* next = groups_.front();
            bytes += next->getNumBytesUsed();
            delete next;
        }
    }
    queueChanged.emit(true);
    // A dynamic oldest group followed by another dynamic one leaves as many steps as before:
    // the follower now starts a step of its own.
    const bool sameCount = firstDynamic && !groups_.empty() && groups_.front()->isDynamic();
    return sameCount ? 0 : 1;
}

void ManagerImpl::enforceLimits(bool reserveOne) {
    if (maxGroups_ != 0) {
        const long long limit = reserveOne ? maxGroups_ - 1LL : maxGroups_;
        // Counted once and kept up to date: recounting after every deletion would make a
        // large cut quadratic.
        long long steps = countSteps();
        long long ignored = 0;
        while (steps > limit && !groups_.empty() && groups_.front()->isPrunable()) {
            steps -= deleteOldestStep(ignored);
        }
    }
    if (maxBytes_ != 0) {
        long long bytes = totalBytes();
        while (bytes > maxBytes_ && !groups_.empty() && groups_.front()->isPrunable()) {
            long long removed = 0;
            deleteOldestStep(removed);
            bytes -= removed;
        }
    }
    position_ = groups_.end();
}

Group* ManagerImpl::newGroup(const char* name, bool dynamic) {
    if (maxGroups_ < 0) {
        return nullptr;
    }
    trace("--------------------------------------------------------\n");
    trace("kyUndo::newGroup (%s, dynamic = %d)\n", traceName(name), dynamic ? 1 : 0);
    if (position_ != groups_.end()) {
        pruneUndoneGroups();
    }
    pruneTrailingInvalidGroups();
    if (!groups_.empty()) {
        groups_.back()->beforeChange();
    }
    enforceLimits(true);

    GroupImpl* group = new GroupImpl(this, nextGroupID(), name);
    group->setDynamic(dynamic);
    group->destroyedSignal().connect(this, &ManagerImpl::removeGroup, tracker_);
    groups_.push_back(group);
    position_ = groups_.end();
    queueChanged.emit(true);
    return group;
}

bool ManagerImpl::doIt() {
    if (detail::traceEnabled()) {
        trace("+ kyUndo::Manager: doIt() - %d groups, %d bytes used\n", getNumGroups(false),
              clampToInt(totalBytes()));
    }
    bool result = true;
    if (position_ == groups_.end()) {
        trace("+ kyUndo::Manager: doIt() - at end of queue.\n");
    } else {
        active_ = true;
        activeChanged.emit(true);
        long long commands = 0;
        for (;;) {
            Group* group = *position_;
            commands += group->getNumCommands();
            if (!group->doIt()) {
                if (!groups_.empty()) {
                    trace("kyUndo::Manager: currentGroupIsInvalid()\n");
                    clearAllGroups();
                }
                result = false;
                break;
            }
            ++position_;
            if (position_ == groups_.end() || !(*position_)->isDynamic()) {
                break;
            }
        }
        activeChanged.emit(false);
        active_ = false;
        if (commands == 0) {
            trace("+ kyUndo::Manager: doIt() - empty group, doing again.\n");
            result = doIt();
        }
    }
    queueChanged.emit(true);
    return result;
}

bool ManagerImpl::undoIt() {
    if (detail::traceEnabled()) {
        trace("- kyUndo::Manager: undoIt() - %d groups, %d bytes used\n", getNumGroups(false),
              clampToInt(totalBytes()));
    }
    bool result = true;
    if (position_ == groups_.begin()) {
        trace("- kyUndo::Manager: undoIt() - at beginning of queue.\n");
    } else {
        active_ = true;
        activeChanged.emit(true);
        long long commands = 0;
        for (;;) {
            --position_;
            Group* group = *position_;
            commands += group->getNumCommands();
            if (!group->undoIt()) {
                if (!groups_.empty()) {
                    trace("kyUndo::Manager: currentGroupIsInvalid()\n");
                    clearAllGroups();
                }
                result = false;
                break;
            }
            if (position_ == groups_.begin() || !group->isDynamic()) {
                break;
            }
        }
        activeChanged.emit(false);
        active_ = false;
        if (commands == 0) {
            trace("- kyUndo::Manager: undoIt() - empty group, undoing again.\n");
            result = undoIt();
        }
    }
    queueChanged.emit(true);
    return result;
}

void ManagerImpl::deleteLastGroup() {
    if (position_ != groups_.end() || groups_.empty()) {
        return;
    }
    trace("kyUndo::Manager: deleteLastGroup()\n");
    Group* last = groups_.back();
    if (last->getNumCommands() > 0) {
        // A done group cannot be taken out alone: the groups before it may depend on it.
        clearAllGroups();
    } else {
        delete last;
    }
    queueChanged.emit(true);
}

void ManagerImpl::clearAllGroups() {
    trace("kyUndo::Manager: clearAllGroups()\n");
    while (!groups_.empty()) {
        delete groups_.front(); // its destruction signal takes it out of the queue
    }
    position_ = groups_.end();
    queueChanged.emit(true);
}

void ManagerImpl::associateGroups(int firstId, int lastId) {
    trace("kyUndo::Manager: associateGroups (%d, %d)\n", firstId, lastId);
    bool first = true;
    for (Group* group : groups_) {
        const int id = group->getID();
        if (id >= firstId && id <= lastId) {
            group->setDynamic(!first);
            first = false;
        }
    }
    queueChanged.emit(true);
}

void ManagerImpl::pointerDestroyed(const void* p) {
    for (Group* group : groups_) {
        group->pointerDestroyed(p);
    }
}

void ManagerImpl::setMaxGroups(int maxGroups) {
    maxGroups_ = maxGroups;
    if (position_ == groups_.end()) {
        enforceLimits(false);
    }
}

void ManagerImpl::setMaxBytes(int maxBytes) {
    maxBytes_ = maxBytes;
    if (position_ == groups_.end()) {
        enforceLimits(false);
    }
}

} // namespace kyUndo
