// kyList.h - ky::list, a typed doubly linked list over ky::ListImpl.
#ifndef KY_CONTAINERS_LIST_H
#define KY_CONTAINERS_LIST_H

#include <Base/Containers/kyFunctional.h>
#include <Base/Containers/kyListImpl.h>
#include <Base/Containers/kyTypeUtil.h>

#include <algorithm>
#include <cstddef>
#include <initializer_list>
#include <iterator>
#include <type_traits>
#include <utility>

namespace ky {

/// A doubly linked list with the standard library's interface, over the untyped `ListImpl`.
/// Iterators stay valid until their element is erased (`splice` keeps them valid too).
/// `size()` is constant time. Not synchronised.
///
/// @code
///   ky::list<int> l{3, 1, 2};
///   l.sort();           // 1 2 3
///   l.push_front(0);    // 0 1 2 3
/// @endcode
template <class T>
class list : protected ListImpl {
    static_assert(alignof(T) <= kElementOffset, "over-aligned element types are not supported");

    template <class V>
    class Iterator {
    public:
        using iterator_category = std::bidirectional_iterator_tag;
        using value_type = T;
        using difference_type = std::ptrdiff_t;
        using pointer = V*;
        using reference = V&;

        Iterator() = default;
        explicit Iterator(const Node* node) : node_(const_cast<Node*>(node)) {}
        template <class W, class = std::enable_if_t<std::is_const_v<V> && !std::is_const_v<W>>>
        Iterator(const Iterator<W>& other) : node_(other.node_) {}

        reference operator*() const { return *static_cast<V*>(node_->element()); }
        pointer operator->() const { return static_cast<V*>(node_->element()); }
        Iterator& operator++() {
            node_ = node_->next;
            return *this;
        }
        Iterator operator++(int) {
            Iterator old = *this;
            node_ = node_->next;
            return old;
        }
        Iterator& operator--() {
            node_ = node_->prev;
            return *this;
        }
        Iterator operator--(int) {
            Iterator old = *this;
            node_ = node_->prev;
            return old;
        }
        friend bool operator==(const Iterator& a, const Iterator& b) { return a.node_ == b.node_; }
        friend bool operator!=(const Iterator& a, const Iterator& b) { return a.node_ != b.node_; }

    private:
        Node* node_ = nullptr;
        template <class>
        friend class Iterator;
        friend class list;
    };

public:
    using value_type = T;
    using size_type = std::size_t;
    using difference_type = std::ptrdiff_t;
    using reference = T&;
    using const_reference = const T&;
    using pointer = T*;
    using const_pointer = const T*;
    using iterator = Iterator<T>;
    using const_iterator = Iterator<const T>;
    using reverse_iterator = std::reverse_iterator<iterator>;
    using const_reverse_iterator = std::reverse_iterator<const_iterator>;

    list() : ListImpl(&kTypeUtil) {}
    explicit list(size_type n) : ListImpl(&kTypeUtil) { resize(n); }
    list(size_type n, const T& value) : ListImpl(&kTypeUtil) {
        ListImpl::insert(sentinel(), static_cast<int>(n), &value);
    }
    template <class It, class = typename std::iterator_traits<It>::iterator_category>
    list(It first, It last) : ListImpl(&kTypeUtil) {
        insert(end(), first, last);
    }
    list(std::initializer_list<T> values) : ListImpl(&kTypeUtil) {
        insert(end(), values.begin(), values.end());
    }
    list(const list& other) : ListImpl(&kTypeUtil) { ListImpl::assign(other); }
    list(list&& other) noexcept : ListImpl(&kTypeUtil) { ListImpl::swap(other); }
    ~list() = default;

    list& operator=(const list& other) {
        ListImpl::assign(other);
        return *this;
    }
    list& operator=(list&& other) noexcept {
        if (this != &other) {
            ListImpl::swap(other);
            other.ListImpl::clear();
        }
        return *this;
    }
    list& operator=(std::initializer_list<T> values) {
        assign(values.begin(), values.end());
        return *this;
    }
    template <class It, class = typename std::iterator_traits<It>::iterator_category>
    void assign(It first, It last) {
        list made(first, last);
        swap(made);
    }
    void assign(size_type n, const T& value) {
        list made(n, value);
        swap(made);
    }
    void assign(std::initializer_list<T> values) { assign(values.begin(), values.end()); }

    reference front() { return *begin(); }
    const_reference front() const { return *begin(); }
    reference back() { return *--end(); }
    const_reference back() const { return *--end(); }

    iterator begin() noexcept { return iterator(head_.next); }
    const_iterator begin() const noexcept { return const_iterator(head_.next); }
    const_iterator cbegin() const noexcept { return begin(); }
    iterator end() noexcept { return iterator(sentinel()); }
    const_iterator end() const noexcept { return const_iterator(sentinel()); }
    const_iterator cend() const noexcept { return end(); }
    reverse_iterator rbegin() noexcept { return reverse_iterator(end()); }
    const_reverse_iterator rbegin() const noexcept { return const_reverse_iterator(end()); }
    reverse_iterator rend() noexcept { return reverse_iterator(begin()); }
    const_reverse_iterator rend() const noexcept { return const_reverse_iterator(begin()); }

    bool empty() const noexcept { return count_ == 0; }
    size_type size() const noexcept { return static_cast<size_type>(count_); }
    size_type max_size() const noexcept { return 0x7FFFFFFF; }

    void clear() noexcept { ListImpl::clear(); }

    iterator insert(const_iterator pos, const T& value) {
        return iterator(ListImpl::insert(pos.node_, &value));
    }
    iterator insert(const_iterator pos, T&& value) { return emplace(pos, std::move(value)); }
    iterator insert(const_iterator pos, size_type n, const T& value) {
        return iterator(ListImpl::insert(pos.node_, static_cast<int>(n), &value));
    }
    template <class It, class = typename std::iterator_traits<It>::iterator_category>
    iterator insert(const_iterator pos, It first, It last) {
        Node* result = pos.node_;
        bool firstOne = true;
        for (; first != last; ++first) {
            Node* node = emplaceNode(pos.node_, *first);
            if (firstOne) {
                result = node;
                firstOne = false;
            }
        }
        return iterator(result);
    }
    iterator insert(const_iterator pos, std::initializer_list<T> values) {
        return insert(pos, values.begin(), values.end());
    }
    template <class... Args>
    iterator emplace(const_iterator pos, Args&&... args) {
        return iterator(emplaceNode(pos.node_, std::forward<Args>(args)...));
    }

    iterator erase(const_iterator pos) { return iterator(ListImpl::erase(pos.node_)); }
    iterator erase(const_iterator first, const_iterator last) {
        return iterator(ListImpl::erase(first.node_, last.node_));
    }

    void push_back(const T& value) { ListImpl::append(&value); }
    void push_back(T&& value) { emplaceNode(sentinel(), std::move(value)); }
    template <class... Args>
    reference emplace_back(Args&&... args) {
        return *static_cast<T*>(emplaceNode(sentinel(), std::forward<Args>(args)...)->element());
    }
    void pop_back() { eraseBack(); }
    void push_front(const T& value) { ListImpl::prepend(&value); }
    void push_front(T&& value) { emplaceNode(head_.next, std::move(value)); }
    template <class... Args>
    reference emplace_front(Args&&... args) {
        return *static_cast<T*>(emplaceNode(head_.next, std::forward<Args>(args)...)->element());
    }
    void pop_front() { eraseFront(); }

    void resize(size_type n) {
        while (size() > n) {
            eraseBack();
        }
        while (size() < n) {
            ListImpl::append();
        }
    }
    void resize(size_type n, const T& value) {
        while (size() > n) {
            eraseBack();
        }
        if (size() < n) {
            ListImpl::insert(sentinel(), static_cast<int>(n - size()), &value);
        }
    }

    void swap(list& other) noexcept { ListImpl::swap(other); }

    /// Merges the sorted `other` into this sorted list; of equal elements ours come first.
    void merge(list& other) { merge(other, ky::less<T>()); }
    void merge(list&& other) { merge(other, ky::less<T>()); }
    template <class Compare>
    void merge(list& other, Compare comp) {
        ListImpl::merge(other, &comp, &lessThunk<Compare>);
    }
    template <class Compare>
    void merge(list&& other, Compare comp) {
        merge(other, comp);
    }

    void splice(const_iterator pos, list& other) { ListImpl::splice(pos.node_, other); }
    void splice(const_iterator pos, list&& other) { splice(pos, other); }
    void splice(const_iterator pos, list& other, const_iterator it) {
        ListImpl::splice(pos.node_, other, it.node_);
    }
    void splice(const_iterator pos, list&& other, const_iterator it) { splice(pos, other, it); }
    void splice(const_iterator pos, list& other, const_iterator first, const_iterator last) {
        ListImpl::splice(pos.node_, other, first.node_, last.node_);
    }
    void splice(const_iterator pos, list&& other, const_iterator first, const_iterator last) {
        splice(pos, other, first, last);
    }

    /// Erases every element equal to `value`; returns how many.
    size_type remove(const T& value) {
        // Compare against a copy: `value` may be one of the elements being erased.
        const T kept(value);
        return static_cast<size_type>(ListImpl::erase(&kept, &equalsValue));
    }
    template <class Predicate>
    size_type remove_if(Predicate pred) {
        return static_cast<size_type>(ListImpl::erase(&pred, &matchThunk<Predicate>));
    }
    void reverse() noexcept { ListImpl::reverse(); }
    size_type unique() { return unique(ky::equal_to<T>()); }
    template <class BinaryPredicate>
    size_type unique(BinaryPredicate pred) {
        return static_cast<size_type>(ListImpl::unique(&pred, &predicateThunk<BinaryPredicate>));
    }
    /// Stable sort.
    void sort() { sort(ky::less<T>()); }
    template <class Compare>
    void sort(Compare comp) {
        ListImpl::sort(&comp, &mergeThunk<Compare>);
    }

private:
    template <class... Args>
    Node* emplaceNode(Node* pos, Args&&... args) {
        Node* node = newNode();
        ::new (node->element()) T(std::forward<Args>(args)...);
        link(pos, node);
        return node;
    }

    static bool equalsValue(const void* value, const void* element) {
        return *static_cast<const T*>(element) == *static_cast<const T*>(value);
    }
    template <class Predicate>
    static bool matchThunk(const void* pred, const void* element) {
        return (*static_cast<Predicate*>(const_cast<void*>(pred)))(*static_cast<const T*>(element));
    }
    template <class BinaryPredicate>
    static bool predicateThunk(const void* pred, const void* a, const void* b) {
        return (*static_cast<BinaryPredicate*>(const_cast<void*>(pred)))(*static_cast<const T*>(a),
                                                                         *static_cast<const T*>(b));
    }
    template <class Compare>
    static bool lessThunk(const void* comp, const void* a, const void* b) {
        return (*static_cast<Compare*>(const_cast<void*>(comp)))(*static_cast<const T*>(a),
                                                                 *static_cast<const T*>(b));
    }
    template <class Compare>
    static void mergeThunk(ListImpl& into, ListImpl& from, const void* comp) {
        into.merge(from, comp, &lessThunk<Compare>);
    }

    static inline const TypeUtil kTypeUtil = {
        kElementOffset + sizeof(T),
        std::is_trivial_v<T> ? nullptr : &detail::defaultConstructOne<T>,
        detail::kTrivialCopy<T> ? nullptr : &detail::copyConstructOne<T>,
        detail::kTrivialDestroy<T> ? nullptr : &detail::destructOne<T>,
    };
};

template <class T>
bool operator==(const list<T>& a, const list<T>& b) {
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin());
}
template <class T>
bool operator!=(const list<T>& a, const list<T>& b) {
    return !(a == b);
}
template <class T>
bool operator<(const list<T>& a, const list<T>& b) {
    return std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end());
}
template <class T>
void swap(list<T>& a, list<T>& b) noexcept {
    a.swap(b);
}

} // namespace ky

#endif // KY_CONTAINERS_LIST_H
