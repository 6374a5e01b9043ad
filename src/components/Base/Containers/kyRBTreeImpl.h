// kyRBTreeImpl.h - the untyped red-black tree under ky::map, multimap, set and multiset.
#ifndef KY_CONTAINERS_RBTREEIMPL_H
#define KY_CONTAINERS_RBTREEIMPL_H

#include <Base/BaseExport.h>
#include <Base/Containers/kyBlockAllocator.h>

#include <cstddef>
#include <utility>

namespace ky {

/// A hint that `p`'s memory is about to be read (nothing where the compiler has no hint).
inline void prefetchForRead(const void* p) {
#if defined(__GNUC__)
    __builtin_prefetch(p);
#else
    (void)p;
#endif
}

/// A red-black tree of nodes whose key and value types the engine knows only through a
/// `TypeUtil` table; the ordered typed containers are thin layers on top.
///
/// The tree keeps a header node whose links are the root, the leftmost (first) and the
/// rightmost (last) node; the header is also the end position. Nodes come from a
/// `BlockAllocator` (10 per block unless `setNumElementsInBlock` says otherwise), so erased
/// nodes are reused last-freed first. Keys are ordered by the table's `less`.
///
/// Nodes never move: pointers to elements stay valid until their node is erased. Positions
/// given to the engine are trusted; allocation failure is not reported. Not synchronised.
class KY_BASE_API RBTreeImpl {
public:
    enum Colour : int { kBlack = 0, kRed = 1 };

    struct Node {
        Node* parent;
        Node* left;
        Node* right;
        int colour;

        /// The next node in key order (the header after the last node).
        Node* next() {
            Node* x = this;
            if (x->right != nullptr) {
                x = x->right;
                while (x->left != nullptr) {
                    x = x->left;
                }
                return x;
            }
            Node* y = x->parent;
            while (x == y->right) {
                x = y;
                y = y->parent;
            }
            // Walking up from the last node ends at the header; the root's parent is the
            // header and the header's right link is the last node, which this test tells apart.
            return x->right != y ? y : x;
        }
        /// The previous node in key order (the last node before the header).
        Node* prev() {
            Node* x = this;
            if (x->colour == kRed && x->parent->parent == x) {
                return x->right; // the header: step back to the last node
            }
            if (x->left != nullptr) {
                Node* y = x->left;
                while (y->right != nullptr) {
                    y = y->right;
                }
                return y;
            }
            Node* y = x->parent;
            while (x == y->left) {
                x = y;
                y = y->parent;
            }
            return y;
        }
        const Node* next() const { return const_cast<Node*>(this)->next(); }
        const Node* prev() const { return const_cast<Node*>(this)->prev(); }
    };

    /// Key and value operations. The key and value live at fixed offsets from the node's
    /// start; where the key and value form one object (a pair), `construct` builds it whole.
    struct TypeUtil {
        std::size_t nodeSize;
        std::size_t keyOffset;   ///< also the start of the node's element
        std::size_t valueOffset; ///< the mapped value; equals keyOffset when there is none
        /// Builds the element from a key and a value; a null value means a default one.
        void (*construct)(void* element, const void* key, const void* value);
        /// Copy-constructs the element of another node.
        void (*copyConstruct)(void* dst, const void* src);
        /// Destroys the element; null when there is nothing to do.
        void (*destruct)(void* element);
        /// Strict weak order of two keys.
        bool (*less)(const void* a, const void* b);
    };

    static void* keyOf(const Node* node, const TypeUtil* t) {
        return reinterpret_cast<char*>(const_cast<Node*>(node)) + t->keyOffset;
    }
    static void* valueOf(const Node* node, const TypeUtil* t) {
        return reinterpret_cast<char*>(const_cast<Node*>(node)) + t->valueOffset;
    }

    /// Number of steps from `first` to `last` in key order.
    static std::size_t sDistanceBetween(const Node* first, const Node* last);
    /// Leftmost and rightmost nodes of the subtree at `node` (not null).
    static Node* sFindLeftMost(Node* node);
    static Node* sFindRightMost(Node* node);

protected:
    explicit RBTreeImpl(const TypeUtil* typeUtil);
    ~RBTreeImpl();
    RBTreeImpl(const RBTreeImpl&) = delete;
    RBTreeImpl& operator=(const RBTreeImpl&) = delete;

    /// An empty tree for `typeUtil` (elements already present are not destroyed).
    void initialize(const TypeUtil* typeUtil);
    /// Destroys every element and returns every node's memory to the system.
    void clear();
    /// Exchanges the trees, their tables and their node pools.
    void swap(RBTreeImpl& other) noexcept;

    /// Inserts `key` (with `value`, or a default value when null) unless an equal key is
    /// present; returns the node with the key and whether it was inserted.
    std::pair<Node*, bool> insertNodeUnique(const void* key, const void* value = nullptr);
    /// The same, trying just before `hint` first (constant time when the hint is right).
    Node* insertNodeUnique(Node* hint, const void* key, const void* value = nullptr);
    /// Inserts after every equal key.
    Node* insertNodeNonUnique(const void* key, const void* value = nullptr);
    /// Inserts as close as the order allows to just before `hint`.
    Node* insertNodeNonUnique(Node* hint, const void* key, const void* value = nullptr);

    /// Destroys and frees `node`.
    void eraseNode(Node* node);
    /// Erases [first, last).
    void eraseNodesRange(Node* first, Node* last);
    /// Erases every node with a key equal to `key`; returns how many.
    std::size_t eraseNodesMatching(const void* key);

    /// The node with `key`, or the header.
    Node* findNode(const void* key) const;
    /// First node whose key is not less than `key`, or the header.
    Node* lowerBound(const void* key) const;
    /// First node whose key is greater than `key`, or the header.
    Node* upperBound(const void* key) const;
    std::pair<Node*, Node*> equalRange(const void* key) const;
    std::size_t count(const void* key) const;
    /// The value of the node with `key`, inserted with a default value if absent.
    void* getValuePtr(const void* key);

    /// Deep copy of `other`'s elements and shape (its table included).
    void copy(const RBTreeImpl& other);
    /// Destroys every element without freeing the nodes (the pool still owns them).
    void destructAllNodes();
    void setNumElementsInBlock(int n) { allocator_.setNumElementsInBlock(n); }

    /// Asks for both children's memory while the node's key is compared: in a tree larger
    /// than the caches the next node's load is then under way, whichever side the walk takes.
    static void prefetchChildren(const Node* x) {
        prefetchForRead(x->left);
        prefetchForRead(x->right);
    }
    /// The walk of `lowerBound` with the order supplied by the caller (`nodeBelowKey(node)`:
    /// the node's key orders before the key sought); typed front ends pass their comparator
    /// inline instead of through the table's function pointer.
    template <class NodeBelowKey>
    Node* lowerBoundWith(NodeBelowKey nodeBelowKey) const {
        Node* y = header();
        Node* x = root();
        while (x != nullptr) {
            prefetchChildren(x);
            if (!nodeBelowKey(x)) {
                y = x;
                x = x->left;
            } else {
                x = x->right;
            }
        }
        return y;
    }
    /// The walk of `upperBound` (`keyBelowNode(node)`: the key sought orders before the node's).
    template <class KeyBelowNode>
    Node* upperBoundWith(KeyBelowNode keyBelowNode) const {
        Node* y = header();
        Node* x = root();
        while (x != nullptr) {
            prefetchChildren(x);
            if (keyBelowNode(x)) {
                y = x;
                x = x->left;
            } else {
                x = x->right;
            }
        }
        return y;
    }

    Node* header() const { return const_cast<Node*>(&header_); }
    Node* root() const { return header_.parent; }
    Node* leftmost() const { return header_.left; }
    Node* rightmost() const { return header_.right; }
    const void* key(const Node* node) const { return keyOf(node, typeUtil_); }

    Node header_; // parent = root, left = leftmost, right = rightmost, colour = kRed
    int count_ = 0;
    const TypeUtil* typeUtil_;
    BlockAllocator allocator_;

private:
    // Links a new node as the left or right child of `parent` and rebalances.
    Node* insertAt(bool insertLeft, Node* parent, const void* key, const void* value);
    // Links a new node under the leaf `parent`, on the side the order says.
    Node* insertBelow(Node* parent, const void* key, const void* value);
    // Inserts before every equal key.
    Node* insertNodeNonUniqueFirst(const void* key, const void* value);
    Node* cloneNode(const Node* source);
    Node* copySubtree(const Node* source, Node* parent);
    void destructSubtree(Node* node);
    void resetHeader();
};

} // namespace ky

#endif // KY_CONTAINERS_RBTREEIMPL_H
