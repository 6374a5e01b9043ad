// kyListImpl.cpp - circular doubly linked list engine.
#include <Base/Containers/kyListImpl.h>

#include <cstdlib>
#include <cstring>
#include <utility>

namespace ky {

void ListImpl::initialize(const TypeUtil* typeUtil) {
    head_.next = &head_;
    head_.prev = &head_;
    count_ = 0;
    typeUtil_ = typeUtil;
}

void ListImpl::clear() {
    Node* node = head_.next;
    while (node != &head_) {
        Node* next = node->next;
        if (typeUtil_->destruct != nullptr) {
            typeUtil_->destruct(node->element());
        }
        std::free(node);
        node = next;
    }
    head_.next = &head_;
    head_.prev = &head_;
    count_ = 0;
}

ListImpl::Node* ListImpl::newNode() const {
    return static_cast<Node*>(std::malloc(typeUtil_->nodeSize));
}

void ListImpl::deleteNode(Node* node) const {
    std::free(node);
}

void ListImpl::link(Node* pos, Node* node) {
    node->next = pos;
    node->prev = pos->prev;
    pos->prev->next = node;
    pos->prev = node;
    ++count_;
}

ListImpl::Node* ListImpl::insertAndReturnNode(Node* pos) {
    Node* node = newNode();
    link(pos, node);
    return node;
}

ListImpl::Node* ListImpl::insertDefault(Node* pos) {
    Node* node = newNode();
    if (typeUtil_->defaultConstruct != nullptr) {
        typeUtil_->defaultConstruct(node->element());
    } else {
        std::memset(node->element(), 0, typeUtil_->nodeSize - kElementOffset);
    }
    link(pos, node);
    return node;
}

ListImpl::Node* ListImpl::insert(Node* pos, const void* value, CopyFunction copy) {
    Node* node = newNode();
    copy(node->element(), value);
    link(pos, node);
    return node;
}

ListImpl::Node* ListImpl::insert(Node* pos, const void* value) {
    Node* node = newNode();
    if (typeUtil_->copyConstruct != nullptr) {
        typeUtil_->copyConstruct(node->element(), value);
    } else {
        std::memcpy(node->element(), value, typeUtil_->nodeSize - kElementOffset);
    }
    link(pos, node);
    return node;
}

ListImpl::Node* ListImpl::insert(Node* pos, int n, const void* value) {
    Node* first = pos;
    for (int i = 0; i < n; ++i) {
        Node* node = insert(pos, value);
        if (i == 0) {
            first = node;
        }
    }
    return first;
}

ListImpl::Node* ListImpl::append() {
    return insertDefault(&head_);
}
ListImpl::Node* ListImpl::append(const void* value) {
    return insert(&head_, value);
}
ListImpl::Node* ListImpl::append(const void* value, CopyFunction copy) {
    return insert(&head_, value, copy);
}
ListImpl::Node* ListImpl::prepend() {
    return insertDefault(head_.next);
}
ListImpl::Node* ListImpl::prepend(const void* value) {
    return insert(head_.next, value);
}
ListImpl::Node* ListImpl::prepend(const void* value, CopyFunction copy) {
    return insert(head_.next, value, copy);
}

void ListImpl::assign(const ListImpl& other) {
    if (&other == this) {
        return;
    }
    clear();
    for (const Node* node = other.head_.next; node != &other.head_; node = node->next) {
        insert(&head_, node->element());
    }
}

ListImpl::Node* ListImpl::find(const void* context, Matcher matcher) const {
    Node* node = head_.next;
    while (node != &head_ && !matcher(context, node->element())) {
        node = node->next;
    }
    return node;
}

void ListImpl::transfer(Node* pos, Node* first, Node* last) {
    if (first == last || pos == last) {
        return;
    }
    Node* lastIncluded = last->prev;
    // Cut [first, lastIncluded] out of its ring...
    first->prev->next = last;
    last->prev = first->prev;
    // ...and tie it in before pos.
    first->prev = pos->prev;
    lastIncluded->next = pos;
    pos->prev->next = first;
    pos->prev = lastIncluded;
}

void ListImpl::splice(Node* pos, ListImpl& other) {
    if (&other == this || other.count_ == 0) {
        return;
    }
    transfer(pos, other.head_.next, &other.head_);
    count_ += other.count_;
    other.count_ = 0;
}

void ListImpl::splice(Node* pos, ListImpl& other, Node* node) {
    if (pos == node || pos == node->next) {
        return;
    }
    transfer(pos, node, node->next);
    if (&other != this) {
        ++count_;
        --other.count_;
    }
}

void ListImpl::splice(Node* pos, ListImpl& other, Node* first, Node* last) {
    if (first == last) {
        return;
    }
    if (&other != this) {
        int n = 0;
        for (Node* node = first; node != last; node = node->next) {
            ++n;
        }
        count_ += n;
        other.count_ -= n;
    }
    transfer(pos, first, last);
}

ListImpl::Node* ListImpl::erase(Node* node) {
    Node* next = node->next;
    unlink(node);
    if (typeUtil_->destruct != nullptr) {
        typeUtil_->destruct(node->element());
    }
    std::free(node);
    --count_;
    return next;
}

void ListImpl::eraseFront() {
    erase(head_.next);
}
void ListImpl::eraseBack() {
    erase(head_.prev);
}

ListImpl::Node* ListImpl::erase(Node* first, Node* last) {
    while (first != last) {
        first = erase(first);
    }
    return last;
}

int ListImpl::erase(const void* context, Matcher matcher) {
    int erased = 0;
    Node* node = head_.next;
    while (node != &head_) {
        if (matcher(context, node->element())) {
            node = erase(node);
            ++erased;
        } else {
            node = node->next;
        }
    }
    return erased;
}

int ListImpl::unique(const void* context, BinaryPredicate equal) {
    int erased = 0;
    if (count_ < 2) {
        return 0;
    }
    Node* kept = head_.next;
    Node* node = kept->next;
    while (node != &head_) {
        if (equal(context, kept->element(), node->element())) {
            node = erase(node);
            ++erased;
        } else {
            kept = node;
            node = node->next;
        }
    }
    return erased;
}

void ListImpl::merge(ListImpl& other, const void* context, BinaryPredicate less) {
    if (&other == this || other.count_ == 0) {
        return;
    }
    Node* mine = head_.next;
    Node* theirs = other.head_.next;
    while (mine != &head_ && theirs != &other.head_) {
        if (less(context, theirs->element(), mine->element())) {
            Node* next = theirs->next;
            transfer(mine, theirs, next);
            theirs = next;
        } else {
            mine = mine->next;
        }
    }
    if (theirs != &other.head_) {
        transfer(&head_, theirs, &other.head_);
    }
    count_ += other.count_;
    other.count_ = 0;
}

void ListImpl::sort(const void* context, MergeFunction mergeFunction) {
    if (count_ < 2) {
        return;
    }
    // Bottom-up merge sort: bins[i] holds a sorted run of 2^i nodes (or is empty). Each node
    // taken from the front is carried up through the full bins, merging as it goes. Earlier
    // runs are always merged as `into`, so equal elements keep their order.
    constexpr int kBins = 64;
    struct Bin : ListImpl {
        Bin() : ListImpl(nullptr) {}
        ~Bin() { initialize(nullptr); } // holds nodes only while sorting; never frees them
        using ListImpl::count_;
        using ListImpl::head_;
        using ListImpl::splice;
        using ListImpl::swap;
    };
    Bin carry;
    Bin bins[kBins];
    carry.typeUtil_ = typeUtil_;
    for (Bin& bin : bins) {
        bin.typeUtil_ = typeUtil_;
    }
    int filled = 0;
    while (count_ > 0) {
        carry.splice(carry.head_.next, *this, head_.next);
        int i = 0;
        while (i < filled && bins[i].count_ > 0) {
            mergeFunction(bins[i], carry, context);
            carry.swap(bins[i]);
            ++i;
        }
        carry.swap(bins[i]);
        if (i == filled) {
            ++filled;
        }
    }
    for (int i = 1; i < filled; ++i) {
        mergeFunction(bins[i], bins[i - 1], context);
    }
    swap(bins[filled - 1]);
}

void ListImpl::reverse() {
    Node* node = &head_;
    do {
        std::swap(node->next, node->prev);
        node = node->prev; // the old next
    } while (node != &head_);
}

void ListImpl::copy(const ListImpl& other) {
    if (&other == this) {
        return;
    }
    clear();
    typeUtil_ = other.typeUtil_;
    assign(other);
}

void ListImpl::swap(ListImpl& other) noexcept {
    if (&other == this) {
        return;
    }
    std::swap(head_, other.head_);
    std::swap(count_, other.count_);
    std::swap(typeUtil_, other.typeUtil_);
    // The end nodes still point at the other sentinel: retie both rings.
    if (count_ == 0) {
        head_.next = head_.prev = &head_;
    } else {
        head_.next->prev = &head_;
        head_.prev->next = &head_;
    }
    if (other.count_ == 0) {
        other.head_.next = other.head_.prev = &other.head_;
    } else {
        other.head_.next->prev = &other.head_;
        other.head_.prev->next = &other.head_;
    }
}

} // namespace ky
