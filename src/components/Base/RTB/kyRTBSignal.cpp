// kyRTBSignal.cpp - kyRTB signals: connection items, their deferred destruction and ties.
#include <Base/RTB/kyRTBSignal.h>

namespace kyRTB {

using Item = SignalBase::connectionItem;

Item::~connectionItem() {
    delete callback_;
}

void Item::unlock() {
    if (lockCount_ == 0) {
        return;
    }
    if (--lockCount_ == 0 && (state_ & (kDestroyed | kCalling)) == kDestroyed) {
        destroy();
    }
}

void Item::block() {
    if ((state_ & kBlockMask) < kBlockMask) {
        ++state_;
    }
}

void Item::unblock() {
    if ((state_ & kBlockMask) > 0) {
        --state_;
    }
}

void Item::destroyPartner() {
    if (partner_ != nullptr) {
        // Cut the tie from the other end first so that its destruction does not come back.
        Item* partner = partner_;
        partner->partner_ = nullptr;
        partner->destroy();
        partner_ = nullptr;
    }
}

void Item::destroy() {
    destroyPartner();
    if (isLocked()) {
        // Somebody is walking over this item (an emission, most likely its own call): it stays
        // linked so that the walk can go on, and its last unlock comes back here.
        state_ |= kDestroyed;
        return;
    }
    if (owner_ != nullptr) {
        if (prev_ != nullptr) {
            prev_->next_ = next_;
        } else {
            owner_->head_ = next_;
        }
        if (next_ != nullptr) {
            next_->prev_ = prev_;
        }
        next_ = nullptr;
        prev_ = nullptr;
        owner_ = nullptr;
    }
    delete this;
}

SignalBase::~SignalBase() {
    Item* item = head_;
    head_ = nullptr;
    while (item != nullptr) {
        Item* next = item->next_;
        item->next_ = nullptr;
        item->prev_ = nullptr;
        item->owner_ = nullptr;
        item->destroyPartner();
        if (!item->isLocked()) {
            delete item;
        } else {
            item->state_ |= Item::kDestroyed; // freed by its last unlock
        }
        item = next;
    }
}

void SignalBase::link(Item* item) {
    item->next_ = head_;
    if (head_ != nullptr) {
        head_->prev_ = item;
    }
    head_ = item;
}

Item* SignalBase::find(const Item* c) const {
    if (c == nullptr) {
        return nullptr;
    }
    for (Item* item = head_; item != nullptr; item = item->next_) {
        if (item == c) {
            return item;
        }
    }
    return nullptr;
}

Item* SignalBase::addCallback(FunctionBase* f) {
    if (f == nullptr) {
        return nullptr;
    }
    Item* item = new Item(f, this);
    link(item);
    return item;
}

Item* SignalBase::addCallback(FunctionBase* f, SignalBase* tracker) {
    if (f == nullptr) {
        return nullptr;
    }
    if (tracker == nullptr || tracker == this) {
        // Tying a connection to its own signal adds nothing: the signal's destruction removes
        // it anyway.
        return addCallback(f);
    }
    Item* partner = new Item(nullptr, tracker);
    tracker->link(partner);
    Item* item = new Item(f, this);
    link(item);
    item->partner_ = partner;
    partner->partner_ = item;
    return item;
}

void SignalBase::disconnect(Item* c) {
    if (Item* item = find(c)) {
        item->destroy();
    }
}

void SignalBase::disconnectInstance(void* p) {
    Item* item = head_;
    while (item != nullptr) {
        // Locked so that its next link can be read after a destruction.
        item->lock();
        if (item->callback_ != nullptr && item->callback_->isInstance(p)) {
            item->destroy();
        }
        Item* next = item->next_;
        item->unlock();
        item = next;
    }
}

Item* SignalBase::findGlobalCallback(void* f) const {
    for (Item* item = head_; item != nullptr; item = item->next_) {
        if (item->callback_ != nullptr && item->callback_->isGlobalFunction(f)) {
            return item;
        }
    }
    return nullptr;
}

Item* SignalBase::findInstance(void* p) const {
    for (Item* item = head_; item != nullptr; item = item->next_) {
        if (!item->isDestroyed() && item->callback_ != nullptr && item->callback_->isInstance(p)) {
            return item;
        }
    }
    return nullptr;
}

void SignalBase::block(Item* c) {
    if (Item* item = find(c)) {
        item->block();
    }
}

void SignalBase::unblock(Item* c) {
    if (Item* item = find(c)) {
        item->unblock();
    }
}

bool SignalBase::isBlocked(const Item* c) const {
    if (head_ == nullptr) {
        return true;
    }
    const Item* item = find(c);
    return item == nullptr || item->isBlocked();
}

int SignalBase::numConnections() const {
    int n = 0;
    for (const Item* item = head_; item != nullptr; item = item->next_) {
        ++n;
    }
    return n;
}

AsyncSignal::~AsyncSignal() = default;

} // namespace kyRTB
