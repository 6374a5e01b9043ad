// kyOrderedContainer.h - the typed layer shared by ky::map, multimap, set and multiset.
#ifndef KY_CONTAINERS_ORDEREDCONTAINER_H
#define KY_CONTAINERS_ORDEREDCONTAINER_H

#include <Base/Containers/kyFunctional.h>
#include <Base/Containers/kyRBTreeImpl.h>
#include <Base/Containers/kyTypeUtil.h>

#include <algorithm>
#include <cstddef>
#include <initializer_list>
#include <iterator>
#include <tuple>
#include <type_traits>
#include <utility>

namespace ky {
namespace detail {

/// The interface that the ordered containers share, over `RBTreeImpl`. `Compare` is stateless:
/// it is default-constructed wherever keys are compared. Elements are copied into the tree
/// (the engine builds them from a key and a value), so they must be copy-constructible.
template <class Traits, class Compare, bool kUnique>
class OrderedContainer : protected RBTreeImpl {
public:
    using key_type = typename Traits::key_type;
    using value_type = typename Traits::value_type;
    using key_compare = Compare;
    using size_type = std::size_t;
    using difference_type = std::ptrdiff_t;
    using reference = value_type&;
    using const_reference = const value_type&;

    static_assert(alignof(value_type) <= alignof(std::max_align_t),
                  "over-aligned element types are not supported");
    static_assert(std::is_empty_v<Compare>, "comparators of the ordered containers are stateless");

private:
    template <class V>
    class Iterator {
    public:
        using iterator_category = std::bidirectional_iterator_tag;
        using value_type = typename Traits::value_type;
        using difference_type = std::ptrdiff_t;
        using pointer = V*;
        using reference = V&;

        Iterator() = default;
        explicit Iterator(const Node* node) : node_(const_cast<Node*>(node)) {}
        template <class W, class = std::enable_if_t<std::is_const_v<V> && !std::is_const_v<W>>>
        Iterator(const Iterator<W>& other) : node_(other.node_) {}

        reference operator*() const { return *element(node_); }
        pointer operator->() const { return element(node_); }
        Iterator& operator++() {
            node_ = node_->next();
            return *this;
        }
        Iterator operator++(int) {
            Iterator old = *this;
            node_ = node_->next();
            return old;
        }
        Iterator& operator--() {
            node_ = node_->prev();
            return *this;
        }
        Iterator operator--(int) {
            Iterator old = *this;
            node_ = node_->prev();
            return old;
        }
        friend bool operator==(const Iterator& a, const Iterator& b) { return a.node_ == b.node_; }
        friend bool operator!=(const Iterator& a, const Iterator& b) { return a.node_ != b.node_; }

    private:
        static V* element(Node* node) {
            return reinterpret_cast<V*>(reinterpret_cast<char*>(node) + kElementOffset);
        }
        Node* node_ = nullptr;
        template <class>
        friend class Iterator;
        friend class OrderedContainer;
    };

public:
    // Set elements are keys: both iterator kinds give const access.
    using iterator =
        std::conditional_t<Traits::kIsMap, Iterator<value_type>, Iterator<const value_type>>;
    using const_iterator = Iterator<const value_type>;
    using reverse_iterator = std::reverse_iterator<iterator>;
    using const_reverse_iterator = std::reverse_iterator<const_iterator>;
    using insert_return = std::conditional_t<kUnique, std::pair<iterator, bool>, iterator>;

    OrderedContainer() : RBTreeImpl(&kTypeUtil) {}
    explicit OrderedContainer(const Compare&) : RBTreeImpl(&kTypeUtil) {}
    template <class It, class = typename std::iterator_traits<It>::iterator_category>
    OrderedContainer(It first, It last) : RBTreeImpl(&kTypeUtil) {
        insert(first, last);
    }
    OrderedContainer(std::initializer_list<value_type> values) : RBTreeImpl(&kTypeUtil) {
        insert(values.begin(), values.end());
    }
    OrderedContainer(const OrderedContainer& other) : RBTreeImpl(&kTypeUtil) { copy(other); }
    OrderedContainer(OrderedContainer&& other) noexcept : RBTreeImpl(&kTypeUtil) {
        RBTreeImpl::swap(other);
    }
    ~OrderedContainer() = default;

    OrderedContainer& operator=(const OrderedContainer& other) {
        copy(other);
        return *this;
    }
    OrderedContainer& operator=(OrderedContainer&& other) noexcept {
        if (this != &other) {
            RBTreeImpl::swap(other);
            other.RBTreeImpl::clear();
        }
        return *this;
    }
    OrderedContainer& operator=(std::initializer_list<value_type> values) {
        RBTreeImpl::clear();
        insert(values.begin(), values.end());
        return *this;
    }

    iterator begin() noexcept { return iterator(leftmost()); }
    const_iterator begin() const noexcept { return const_iterator(leftmost()); }
    const_iterator cbegin() const noexcept { return begin(); }
    iterator end() noexcept { return iterator(header()); }
    const_iterator end() const noexcept { return const_iterator(header()); }
    const_iterator cend() const noexcept { return end(); }
    reverse_iterator rbegin() noexcept { return reverse_iterator(end()); }
    const_reverse_iterator rbegin() const noexcept { return const_reverse_iterator(end()); }
    reverse_iterator rend() noexcept { return reverse_iterator(begin()); }
    const_reverse_iterator rend() const noexcept { return const_reverse_iterator(begin()); }

    bool empty() const noexcept { return count_ == 0; }
    size_type size() const noexcept { return static_cast<size_type>(count_); }
    size_type max_size() const noexcept { return 0x7FFFFFFF; }

    void clear() noexcept { RBTreeImpl::clear(); }

    insert_return insert(const value_type& value) {
        if constexpr (kUnique) {
            const std::pair<Node*, bool> r =
                insertNodeUnique(keyPtr(value), Traits::valuePtr(value));
            return {iterator(r.first), r.second};
        } else {
            return iterator(insertNodeNonUnique(keyPtr(value), Traits::valuePtr(value)));
        }
    }
    iterator insert(const_iterator hint, const value_type& value) {
        if constexpr (kUnique) {
            return iterator(insertNodeUnique(hint.node_, keyPtr(value), Traits::valuePtr(value)));
        } else {
            return iterator(
                insertNodeNonUnique(hint.node_, keyPtr(value), Traits::valuePtr(value)));
        }
    }
    template <class It, class = typename std::iterator_traits<It>::iterator_category>
    void insert(It first, It last) {
        // Sorted input goes in at the end in constant time per element.
        for (; first != last; ++first) {
            insert(cend(), *first);
        }
    }
    void insert(std::initializer_list<value_type> values) { insert(values.begin(), values.end()); }
    template <class... Args>
    insert_return emplace(Args&&... args) {
        const value_type value(std::forward<Args>(args)...);
        return insert(value);
    }
    template <class... Args>
    iterator emplace_hint(const_iterator hint, Args&&... args) {
        const value_type value(std::forward<Args>(args)...);
        return insert(hint, value);
    }

    iterator erase(const_iterator pos) {
        Node* next = pos.node_->next();
        eraseNode(pos.node_);
        return iterator(next);
    }
    // Non-const iterators too, so that maps do not need a conversion to pick an overload.
    template <class It = iterator, class = std::enable_if_t<!std::is_same_v<It, const_iterator>>>
    iterator erase(iterator pos) {
        return erase(const_iterator(pos));
    }
    iterator erase(const_iterator first, const_iterator last) {
        eraseNodesRange(first.node_, last.node_);
        return iterator(last.node_);
    }
    size_type erase(const key_type& key) {
        if constexpr (kUnique) {
            Node* node = findKey(key);
            if (node == header()) {
                return 0;
            }
            eraseNode(node);
            return 1;
        } else {
            const std::pair<Node*, Node*> r = rangeOf(key);
            const size_type n = sDistanceBetween(r.first, r.second);
            eraseNodesRange(r.first, r.second);
            return n;
        }
    }

    void swap(OrderedContainer& other) noexcept { RBTreeImpl::swap(other); }

    size_type count(const key_type& key) const {
        if constexpr (kUnique) {
            return findKey(key) == header() ? 0 : 1;
        } else {
            const std::pair<Node*, Node*> r = rangeOf(key);
            return sDistanceBetween(r.first, r.second);
        }
    }
    bool contains(const key_type& key) const { return findKey(key) != header(); }
    iterator find(const key_type& key) { return iterator(findKey(key)); }
    const_iterator find(const key_type& key) const { return const_iterator(findKey(key)); }
    iterator lower_bound(const key_type& key) { return iterator(lowerKey(key)); }
    const_iterator lower_bound(const key_type& key) const { return const_iterator(lowerKey(key)); }
    iterator upper_bound(const key_type& key) { return iterator(upperKey(key)); }
    const_iterator upper_bound(const key_type& key) const { return const_iterator(upperKey(key)); }
    std::pair<iterator, iterator> equal_range(const key_type& key) {
        const std::pair<Node*, Node*> r = rangeOf(key);
        return {iterator(r.first), iterator(r.second)};
    }
    std::pair<const_iterator, const_iterator> equal_range(const key_type& key) const {
        const std::pair<Node*, Node*> r = rangeOf(key);
        return {const_iterator(r.first), const_iterator(r.second)};
    }
    key_compare key_comp() const { return Compare(); }

    /// Nodes per block of the node pool (10 by default); see `BlockAllocator`.
    void setNumElementsInBlock(int n) { RBTreeImpl::setNumElementsInBlock(n); }

    friend bool operator==(const OrderedContainer& a, const OrderedContainer& b) {
        return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin());
    }
    friend bool operator!=(const OrderedContainer& a, const OrderedContainer& b) {
        return !(a == b);
    }
    friend bool operator<(const OrderedContainer& a, const OrderedContainer& b) {
        return std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end());
    }

protected:
    using mapped_type = typename Traits::mapped_type;

    // The element sits right after the node's links, aligned for its type.
    static constexpr std::size_t kElementOffset = alignUp(sizeof(Node), alignof(value_type));

    static const void* keyPtr(const value_type& value) { return &Traits::keyOf(value); }
    mapped_type& valueAt(const key_type& key) {
        return *static_cast<mapped_type*>(getValuePtr(&key));
    }

private:
    static const key_type& keyAt(const Node* node) {
        return Traits::keyOf(elementAt<Traits>(node, kElementOffset));
    }
    // The engine's tree walks, with the comparator inline.
    Node* lowerKey(const key_type& key) const {
        return lowerBoundWith([&key](const Node* x) { return Compare()(keyAt(x), key); });
    }
    Node* upperKey(const key_type& key) const {
        return upperBoundWith([&key](const Node* x) { return Compare()(key, keyAt(x)); });
    }
    Node* findKey(const key_type& key) const {
        Node* j = lowerKey(key);
        return j == header() || Compare()(key, keyAt(j)) ? header() : j;
    }
    std::pair<Node*, Node*> rangeOf(const key_type& key) const {
        return {lowerKey(key), upperKey(key)};
    }

    static bool lessKeys(const void* a, const void* b) {
        return Compare()(*static_cast<const key_type*>(a), *static_cast<const key_type*>(b));
    }
    static inline const TypeUtil kTypeUtil = {
        kElementOffset + sizeof(value_type),
        kElementOffset,
        kElementOffset + Traits::kValueOffset,
        &Traits::construct,
        &copyConstructOne<value_type>,
        kTrivialDestroy<value_type> ? nullptr : &destructOne<value_type>,
        &lessKeys,
    };
};

} // namespace detail
} // namespace ky

#endif // KY_CONTAINERS_ORDEREDCONTAINER_H
