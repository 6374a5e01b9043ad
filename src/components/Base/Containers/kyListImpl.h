// kyListImpl.h - the untyped engine under ky::list.
#ifndef KY_CONTAINERS_LISTIMPL_H
#define KY_CONTAINERS_LISTIMPL_H

#include <Base/BaseExport.h>

#include <cstddef>

namespace ky {

template <class T>
class list;

/// A circular doubly linked list whose element type the engine knows only through a
/// `TypeUtil` table; `ky::list<T>` is the typed layer on top. The list object is its own
/// sentinel: its first two fields are the `next` and `prev` links of the ring, so an empty
/// list points at itself. Nodes are `malloc`'ed one by one (`next`, `prev`, then the element).
///
/// Nodes never move, so pointers to elements stay valid until their node is erased. Positions
/// given to the engine are trusted; allocation failure is not reported. Not synchronised.
class KY_BASE_API ListImpl {
public:
    struct Node {
        Node* next;
        Node* prev;
        /// The element, right after the two links.
        void* element() { return reinterpret_cast<char*>(this) + kElementOffset; }
        const void* element() const { return reinterpret_cast<const char*>(this) + kElementOffset; }
    };
    /// Where the element starts in a node (aligned for any fundamental type).
    static constexpr std::size_t kElementOffset = 16;
    static_assert(sizeof(Node) <= kElementOffset, "node links must fit before the element");

    /// Element operations; null means nothing to do (zero bytes / copy bytes / no destructor).
    struct TypeUtil {
        std::size_t nodeSize; ///< kElementOffset + the element's size
        void (*defaultConstruct)(void* element);
        void (*copyConstruct)(void* dst, const void* src);
        void (*destruct)(void* element);
    };

    /// Copy-constructs one element from `src` into raw memory at `dst`.
    using CopyFunction = void (*)(void* dst, const void* src);
    /// Tests one element against the caller's criterion (`context` is the caller's own).
    using Matcher = bool (*)(const void* context, const void* element);
    /// Compares two elements (equality for `unique`, strict order for `merge`).
    using BinaryPredicate = bool (*)(const void* context, const void* a, const void* b);
    /// Merges the sorted list `from` into the sorted list `into`, as `merge` does; `sort`
    /// calls it with the caller's `context`.
    using MergeFunction = void (*)(ListImpl& into, ListImpl& from, const void* context);

protected:
    explicit ListImpl(const TypeUtil* typeUtil) { initialize(typeUtil); }
    ~ListImpl() { clear(); }
    ListImpl(const ListImpl&) = delete;
    ListImpl& operator=(const ListImpl&) = delete;

    /// An empty list for the element table `typeUtil` (no elements are freed).
    void initialize(const TypeUtil* typeUtil);
    /// Destroys and frees every node.
    void clear();

    Node* sentinel() { return &head_; }
    const Node* sentinel() const { return &head_; }

    /// A node, not linked, with room for an element that the caller constructs.
    Node* newNode() const;
    /// Frees an unlinked node without destroying its element.
    void deleteNode(Node* node) const;
    /// Links `node` (unlinked) before `pos`.
    void link(Node* pos, Node* node);

    Node* append();
    Node* append(const void* value);
    Node* append(const void* value, CopyFunction copy);
    Node* prepend();
    Node* prepend(const void* value);
    Node* prepend(const void* value, CopyFunction copy);
    /// Inserts a copy of `*value` before `pos`; returns the new node.
    Node* insert(Node* pos, const void* value);
    Node* insert(Node* pos, const void* value, CopyFunction copy);
    /// Inserts `n` copies of `*value` before `pos`; returns the first new node (or `pos`).
    Node* insert(Node* pos, int n, const void* value);
    /// Inserts a default-constructed element before `pos`.
    Node* insertDefault(Node* pos);
    /// Inserts a node whose element the caller constructs (raw memory) before `pos`.
    Node* insertAndReturnNode(Node* pos);
    /// Replaces the contents with copies of the elements of `other`.
    void assign(const ListImpl& other);

    /// First node whose element matches, or the sentinel.
    Node* find(const void* context, Matcher matcher) const;

    /// Moves every node of `other` before `pos`.
    void splice(Node* pos, ListImpl& other);
    /// Moves `node` of `other` before `pos`.
    void splice(Node* pos, ListImpl& other, Node* node);
    /// Moves [first, last) of `other` before `pos`.
    void splice(Node* pos, ListImpl& other, Node* first, Node* last);

    void eraseFront();
    void eraseBack();
    /// Destroys and frees `node`; returns the node after it.
    Node* erase(Node* node);
    /// Erases [first, last); returns `last`.
    Node* erase(Node* first, Node* last);
    /// Erases every element that matches; returns how many.
    int erase(const void* context, Matcher matcher);

    /// Erases every element equal to its predecessor; returns how many.
    int unique(const void* context, BinaryPredicate equal);
    /// Stable sort: a bottom-up merge sort through `merge`.
    void sort(const void* context, MergeFunction merge);
    /// Merges the sorted `other` into this sorted list (stable: of equal elements, ours come
    /// first); `other` ends empty.
    void merge(ListImpl& other, const void* context, BinaryPredicate less);
    void reverse();
    /// Deep copy of `other` (its table included).
    void copy(const ListImpl& other);
    /// Exchanges contents and tables.
    void swap(ListImpl& other) noexcept;

    static void unlink(Node* node) {
        node->prev->next = node->next;
        node->next->prev = node->prev;
    }
    // Moves [first, last) (of any list) before `pos`; counts are the caller's business.
    static void transfer(Node* pos, Node* first, Node* last);

    Node head_;     // next, prev: the ring through the list object itself
    int count_ = 0; // number of elements
    const TypeUtil* typeUtil_;

    template <class T>
    friend class list;
};

} // namespace ky

#endif // KY_CONTAINERS_LISTIMPL_H
