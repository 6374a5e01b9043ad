// kyRBTreeImpl.cpp - red-black tree engine.
#include <Base/Containers/kyRBTreeImpl.h>

#include <utility>

namespace ky {
namespace {

using Node = RBTreeImpl::Node;

void rotateLeft(Node* x, Node*& root) {
    Node* y = x->right;
    x->right = y->left;
    if (y->left != nullptr) {
        y->left->parent = x;
    }
    y->parent = x->parent;
    if (x == root) {
        root = y;
    } else if (x == x->parent->left) {
        x->parent->left = y;
    } else {
        x->parent->right = y;
    }
    y->left = x;
    x->parent = y;
}

void rotateRight(Node* x, Node*& root) {
    Node* y = x->left;
    x->left = y->right;
    if (y->right != nullptr) {
        y->right->parent = x;
    }
    y->parent = x->parent;
    if (x == root) {
        root = y;
    } else if (x == x->parent->right) {
        x->parent->right = y;
    } else {
        x->parent->left = y;
    }
    y->right = x;
    x->parent = y;
}

bool isBlack(const Node* node) {
    return node == nullptr || node->colour == RBTreeImpl::kBlack;
}

// Restores the red-black rules after `x` was linked in as a red leaf.
void rebalanceAfterInsert(Node* x, Node*& root) {
    x->colour = RBTreeImpl::kRed;
    while (x != root && x->parent->colour == RBTreeImpl::kRed) {
        Node* parent = x->parent;
        Node* grandparent = parent->parent;
        if (parent == grandparent->left) {
            Node* uncle = grandparent->right;
            if (uncle != nullptr && uncle->colour == RBTreeImpl::kRed) {
                parent->colour = RBTreeImpl::kBlack;
                uncle->colour = RBTreeImpl::kBlack;
                grandparent->colour = RBTreeImpl::kRed;
                x = grandparent;
            } else {
                if (x == parent->right) {
                    x = parent;
                    rotateLeft(x, root);
                }
                x->parent->colour = RBTreeImpl::kBlack;
                x->parent->parent->colour = RBTreeImpl::kRed;
                rotateRight(x->parent->parent, root);
            }
        } else {
            Node* uncle = grandparent->left;
            if (uncle != nullptr && uncle->colour == RBTreeImpl::kRed) {
                parent->colour = RBTreeImpl::kBlack;
                uncle->colour = RBTreeImpl::kBlack;
                grandparent->colour = RBTreeImpl::kRed;
                x = grandparent;
            } else {
                if (x == parent->left) {
                    x = parent;
                    rotateRight(x, root);
                }
                x->parent->colour = RBTreeImpl::kBlack;
                x->parent->parent->colour = RBTreeImpl::kRed;
                rotateLeft(x->parent->parent, root);
            }
        }
    }
    root->colour = RBTreeImpl::kBlack;
}

// Unlinks `z` from the tree and restores the red-black rules; returns the node to free (z).
Node* rebalanceForErase(Node* z, Node*& root, Node*& leftmost, Node*& rightmost) {
    Node* y = z;
    Node* x = nullptr;
    Node* xParent = nullptr;
    if (y->left == nullptr) {
        x = y->right;
    } else if (y->right == nullptr) {
        x = y->left;
    } else {
        y = RBTreeImpl::sFindLeftMost(y->right); // z's successor takes its place
        x = y->right;
    }
    if (y != z) {
        z->left->parent = y;
        y->left = z->left;
        if (y != z->right) {
            xParent = y->parent;
            if (x != nullptr) {
                x->parent = y->parent;
            }
            y->parent->left = x;
            y->right = z->right;
            z->right->parent = y;
        } else {
            xParent = y;
        }
        if (root == z) {
            root = y;
        } else if (z->parent->left == z) {
            z->parent->left = y;
        } else {
            z->parent->right = y;
        }
        y->parent = z->parent;
        std::swap(y->colour, z->colour);
        y = z; // the node actually removed from the tree's shape
    } else {
        xParent = y->parent;
        if (x != nullptr) {
            x->parent = y->parent;
        }
        if (root == z) {
            root = x;
        } else if (z->parent->left == z) {
            z->parent->left = x;
        } else {
            z->parent->right = x;
        }
        if (leftmost == z) {
            leftmost = z->right == nullptr ? z->parent : RBTreeImpl::sFindLeftMost(x);
        }
        if (rightmost == z) {
            rightmost = z->left == nullptr ? z->parent : RBTreeImpl::sFindRightMost(x);
        }
    }
    if (y->colour != RBTreeImpl::kRed) {
        while (x != root && isBlack(x)) {
            if (x == xParent->left) {
                Node* w = xParent->right;
                if (w->colour == RBTreeImpl::kRed) {
                    w->colour = RBTreeImpl::kBlack;
                    xParent->colour = RBTreeImpl::kRed;
                    rotateLeft(xParent, root);
                    w = xParent->right;
                }
                if (isBlack(w->left) && isBlack(w->right)) {
                    w->colour = RBTreeImpl::kRed;
                    x = xParent;
                    xParent = xParent->parent;
                } else {
                    if (isBlack(w->right)) {
                        w->left->colour = RBTreeImpl::kBlack;
                        w->colour = RBTreeImpl::kRed;
                        rotateRight(w, root);
                        w = xParent->right;
                    }
                    w->colour = xParent->colour;
                    xParent->colour = RBTreeImpl::kBlack;
                    if (w->right != nullptr) {
                        w->right->colour = RBTreeImpl::kBlack;
                    }
                    rotateLeft(xParent, root);
                    break;
                }
            } else {
                Node* w = xParent->left;
                if (w->colour == RBTreeImpl::kRed) {
                    w->colour = RBTreeImpl::kBlack;
                    xParent->colour = RBTreeImpl::kRed;
                    rotateRight(xParent, root);
                    w = xParent->left;
                }
                if (isBlack(w->right) && isBlack(w->left)) {
                    w->colour = RBTreeImpl::kRed;
                    x = xParent;
                    xParent = xParent->parent;
                } else {
                    if (isBlack(w->left)) {
                        w->right->colour = RBTreeImpl::kBlack;
                        w->colour = RBTreeImpl::kRed;
                        rotateLeft(w, root);
                        w = xParent->left;
                    }
                    w->colour = xParent->colour;
                    xParent->colour = RBTreeImpl::kBlack;
                    if (w->left != nullptr) {
                        w->left->colour = RBTreeImpl::kBlack;
                    }
                    rotateRight(xParent, root);
                    break;
                }
            }
        }
        if (x != nullptr) {
            x->colour = RBTreeImpl::kBlack;
        }
    }
    return y;
}

} // namespace

std::size_t RBTreeImpl::sDistanceBetween(const Node* first, const Node* last) {
    std::size_t n = 0;
    for (; first != last; first = first->next()) {
        ++n;
    }
    return n;
}

RBTreeImpl::Node* RBTreeImpl::sFindLeftMost(Node* node) {
    while (node->left != nullptr) {
        node = node->left;
    }
    return node;
}

RBTreeImpl::Node* RBTreeImpl::sFindRightMost(Node* node) {
    while (node->right != nullptr) {
        node = node->right;
    }
    return node;
}

RBTreeImpl::RBTreeImpl(const TypeUtil* typeUtil)
    : typeUtil_(typeUtil), allocator_(typeUtil->nodeSize, 10) {
    resetHeader();
}

RBTreeImpl::~RBTreeImpl() {
    destructAllNodes();
}

void RBTreeImpl::resetHeader() {
    header_.colour = kRed;
    header_.parent = nullptr;
    header_.left = &header_;
    header_.right = &header_;
    count_ = 0;
}

void RBTreeImpl::initialize(const TypeUtil* typeUtil) {
    typeUtil_ = typeUtil;
    resetHeader();
}

void RBTreeImpl::destructSubtree(Node* node) {
    // Recurse to the right, loop to the left: the depth stays within the tree's height.
    while (node != nullptr) {
        destructSubtree(node->right);
        Node* left = node->left;
        typeUtil_->destruct(keyOf(node, typeUtil_));
        node = left;
    }
}

void RBTreeImpl::destructAllNodes() {
    if (typeUtil_->destruct != nullptr) {
        destructSubtree(root());
    }
}

void RBTreeImpl::clear() {
    destructAllNodes();
    allocator_.freeEverything();
    resetHeader();
}

void RBTreeImpl::swap(RBTreeImpl& other) noexcept {
    std::swap(header_, other.header_);
    std::swap(count_, other.count_);
    std::swap(typeUtil_, other.typeUtil_);
    allocator_.swap(other.allocator_);
    // The roots still point at the other header, and an empty tree's header points at itself.
    for (RBTreeImpl* tree : {this, &other}) {
        if (tree->header_.parent == nullptr) {
            tree->header_.left = &tree->header_;
            tree->header_.right = &tree->header_;
        } else {
            tree->header_.parent->parent = &tree->header_;
        }
    }
}

RBTreeImpl::Node* RBTreeImpl::insertAt(bool insertLeft, Node* parent, const void* key,
                                       const void* value) {
    Node* z = static_cast<Node*>(allocator_.alloc());
    typeUtil_->construct(keyOf(z, typeUtil_), key, value);
    if (insertLeft) {
        parent->left = z; // the header's left is the leftmost: an empty tree sets it here
        if (parent == &header_) {
            header_.parent = z;
            header_.right = z;
        } else if (parent == header_.left) {
            header_.left = z;
        }
    } else {
        parent->right = z;
        if (parent == header_.right) {
            header_.right = z;
        }
    }
    z->parent = parent;
    z->left = nullptr;
    z->right = nullptr;
    rebalanceAfterInsert(z, header_.parent);
    ++count_;
    return z;
}

RBTreeImpl::Node* RBTreeImpl::insertBelow(Node* parent, const void* key, const void* value) {
    const bool left = parent == &header_ || typeUtil_->less(key, keyOf(parent, typeUtil_));
    return insertAt(left, parent, key, value);
}

std::pair<RBTreeImpl::Node*, bool> RBTreeImpl::insertNodeUnique(const void* key,
                                                                const void* value) {
    Node* y = &header_;
    Node* x = root();
    bool goLeft = true;
    while (x != nullptr) {
        y = x;
        goLeft = typeUtil_->less(key, keyOf(x, typeUtil_));
        x = goLeft ? x->left : x->right;
    }
    Node* j = y;
    if (goLeft) {
        if (j == leftmost()) {
            return {insertAt(true, y, key, value), true};
        }
        j = j->prev();
    }
    if (typeUtil_->less(keyOf(j, typeUtil_), key)) {
        return {insertAt(goLeft, y, key, value), true};
    }
    return {j, false};
}

RBTreeImpl::Node* RBTreeImpl::insertNodeUnique(Node* hint, const void* key, const void* value) {
    const auto less = typeUtil_->less;
    if (hint == &header_) {
        if (count_ > 0 && less(keyOf(rightmost(), typeUtil_), key)) {
            return insertAt(false, rightmost(), key, value);
        }
        return insertNodeUnique(key, value).first;
    }
    if (less(key, keyOf(hint, typeUtil_))) {
        // Belongs before the hint: right after its predecessor?
        if (hint == leftmost()) {
            return insertAt(true, hint, key, value);
        }
        Node* before = hint->prev();
        if (less(keyOf(before, typeUtil_), key)) {
            return before->right == nullptr ? insertAt(false, before, key, value)
                                            : insertAt(true, hint, key, value);
        }
        return insertNodeUnique(key, value).first;
    }
    if (less(keyOf(hint, typeUtil_), key)) {
        // Belongs after the hint: right before its successor?
        if (hint == rightmost()) {
            return insertAt(false, hint, key, value);
        }
        Node* after = hint->next();
        if (less(key, keyOf(after, typeUtil_))) {
            return hint->right == nullptr ? insertAt(false, hint, key, value)
                                          : insertAt(true, after, key, value);
        }
        return insertNodeUnique(key, value).first;
    }
    return hint; // an equal key is already there
}

RBTreeImpl::Node* RBTreeImpl::insertNodeNonUnique(const void* key, const void* value) {
    Node* y = &header_;
    Node* x = root();
    while (x != nullptr) {
        y = x;
        x = typeUtil_->less(key, keyOf(x, typeUtil_)) ? x->left : x->right;
    }
    return insertBelow(y, key, value);
}

RBTreeImpl::Node* RBTreeImpl::insertNodeNonUniqueFirst(const void* key, const void* value) {
    // Before every equal key.
    Node* y = &header_;
    Node* x = root();
    while (x != nullptr) {
        y = x;
        x = !typeUtil_->less(keyOf(x, typeUtil_), key) ? x->left : x->right;
    }
    const bool left = y == &header_ || !typeUtil_->less(keyOf(y, typeUtil_), key);
    return insertAt(left, y, key, value);
}

RBTreeImpl::Node* RBTreeImpl::insertNodeNonUnique(Node* hint, const void* key, const void* value) {
    // As close as possible to just before the hint.
    const auto less = typeUtil_->less;
    if (hint == &header_) {
        if (count_ > 0 && !less(key, keyOf(rightmost(), typeUtil_))) {
            return insertAt(false, rightmost(), key, value);
        }
        return insertNodeNonUnique(key, value);
    }
    if (!less(keyOf(hint, typeUtil_), key)) {
        // Not after the hint: try just before it, else after the equal keys.
        if (hint == leftmost()) {
            return insertAt(true, hint, key, value);
        }
        Node* before = hint->prev();
        if (!less(key, keyOf(before, typeUtil_))) {
            return before->right == nullptr ? insertAt(false, before, key, value)
                                            : insertAt(true, hint, key, value);
        }
        return insertNodeNonUnique(key, value);
    }
    // After the hint: try just after it, else before the equal keys (closest to the hint).
    if (hint == rightmost()) {
        return insertAt(false, hint, key, value);
    }
    Node* after = hint->next();
    if (!less(keyOf(after, typeUtil_), key)) {
        return hint->right == nullptr ? insertAt(false, hint, key, value)
                                      : insertAt(true, after, key, value);
    }
    return insertNodeNonUniqueFirst(key, value);
}

void RBTreeImpl::eraseNode(Node* node) {
    Node* removed = rebalanceForErase(node, header_.parent, header_.left, header_.right);
    if (typeUtil_->destruct != nullptr) {
        typeUtil_->destruct(keyOf(removed, typeUtil_));
    }
    allocator_.free(removed);
    --count_;
}

void RBTreeImpl::eraseNodesRange(Node* first, Node* last) {
    if (first == leftmost() && last == &header_) {
        clear();
        return;
    }
    while (first != last) {
        Node* next = first->next();
        eraseNode(first);
        first = next;
    }
}

std::size_t RBTreeImpl::eraseNodesMatching(const void* key) {
    const std::pair<Node*, Node*> range = equalRange(key);
    const std::size_t n = sDistanceBetween(range.first, range.second);
    eraseNodesRange(range.first, range.second);
    return n;
}

RBTreeImpl::Node* RBTreeImpl::lowerBound(const void* key) const {
    const TypeUtil* t = typeUtil_;
    return lowerBoundWith([t, key](const Node* x) { return t->less(keyOf(x, t), key); });
}

RBTreeImpl::Node* RBTreeImpl::upperBound(const void* key) const {
    const TypeUtil* t = typeUtil_;
    return upperBoundWith([t, key](const Node* x) { return t->less(key, keyOf(x, t)); });
}

RBTreeImpl::Node* RBTreeImpl::findNode(const void* key) const {
    Node* j = lowerBound(key);
    if (j == header() || typeUtil_->less(key, keyOf(j, typeUtil_))) {
        return header();
    }
    return j;
}

std::pair<RBTreeImpl::Node*, RBTreeImpl::Node*> RBTreeImpl::equalRange(const void* key) const {
    return {lowerBound(key), upperBound(key)};
}

std::size_t RBTreeImpl::count(const void* key) const {
    const std::pair<Node*, Node*> range = equalRange(key);
    return sDistanceBetween(range.first, range.second);
}

void* RBTreeImpl::getValuePtr(const void* key) {
    Node* j = lowerBound(key);
    if (j == &header_ || typeUtil_->less(key, keyOf(j, typeUtil_))) {
        j = insertNodeUnique(j, key, nullptr);
    }
    return valueOf(j, typeUtil_);
}

RBTreeImpl::Node* RBTreeImpl::cloneNode(const Node* source) {
    Node* node = static_cast<Node*>(allocator_.alloc());
    typeUtil_->copyConstruct(keyOf(node, typeUtil_), keyOf(source, typeUtil_));
    node->colour = source->colour;
    node->left = nullptr;
    node->right = nullptr;
    return node;
}

RBTreeImpl::Node* RBTreeImpl::copySubtree(const Node* source, Node* parent) {
    // Recurse to the right, loop down the left spine.
    Node* top = cloneNode(source);
    top->parent = parent;
    if (source->right != nullptr) {
        top->right = copySubtree(source->right, top);
    }
    parent = top;
    source = source->left;
    while (source != nullptr) {
        Node* node = cloneNode(source);
        parent->left = node;
        node->parent = parent;
        if (source->right != nullptr) {
            node->right = copySubtree(source->right, node);
        }
        parent = node;
        source = source->left;
    }
    return top;
}

void RBTreeImpl::copy(const RBTreeImpl& other) {
    if (&other == this) {
        return;
    }
    clear();
    typeUtil_ = other.typeUtil_;
    if (other.root() == nullptr) {
        return;
    }
    header_.parent = copySubtree(other.root(), &header_);
    header_.left = sFindLeftMost(header_.parent);
    header_.right = sFindRightMost(header_.parent);
    count_ = other.count_;
}

} // namespace ky
