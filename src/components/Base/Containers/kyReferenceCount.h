// kyReferenceCount.h - ky::ReferenceCount, the intrusive count, and ky::Reference, its handle.
#ifndef KY_CONTAINERS_REFERENCECOUNT_H
#define KY_CONTAINERS_REFERENCECOUNT_H

#include <Base/BaseExport.h>

#include <cstddef>
#include <type_traits>
#include <utility>

namespace ky {

/// Intrusive reference count for objects handed out to several holders. Holders increment the
/// count when they take a reference and decrement it when they drop one; the decrement that
/// takes the count from 1 to 0 deletes the object through its virtual destructor (which is
/// protected: such objects are not deleted directly). Counts are never copied: a copy starts at
/// 0 and assignment keeps the target's count.
///
/// The count is a plain `int`, not an atomic: an object is shared between threads only under
/// the holders' own lock. Use `ky::Reference<T>` rather than counting by hand.
class KY_BASE_API ReferenceCount {
public:
    ReferenceCount() noexcept : count_(0) {}
    ReferenceCount(const ReferenceCount&) noexcept : count_(0) {}
    ReferenceCount& operator=(const ReferenceCount&) noexcept { return *this; }

    /// Takes one reference.
    void incrementCount() noexcept { ++count_; }
    /// Drops one reference and deletes the object when it was the last. Returns true when the
    /// object was deleted. A count that is already 0 is left alone (nothing to drop).
    bool decrementCount() noexcept;
    int count() const noexcept { return count_; }

    /// Runs `action(context)` once the outermost deletion now running on this thread (a
    /// `decrementCount` that reached 0) has returned, or at once when none runs. For
    /// destructors that must not release the code they are running in (a plug-in's classes
    /// holding their library).
    static void runAfterDeletion(void (*action)(void*), void* context);

protected:
    virtual ~ReferenceCount();

private:
    int count_;
};

/// A counted handle on a `ReferenceCount`-derived object: making or copying it from a non-null
/// object takes one count, releasing or destroying it drops one, and the last drop deletes the
/// object. Moving transfers the count. As thread-safe as the count: not synchronised.
///
/// @code
///   struct Block : ky::ReferenceCount { int size = 0; };
///   ky::Reference<Block> a(new Block); // count 1
///   ky::Reference<Block> b = a;        // count 2
///   a.release();                       // count 1
///   b = nullptr;                       // count 0: the block is deleted
/// @endcode
template <class T>
class Reference {
public:
    Reference() noexcept = default;
    Reference(std::nullptr_t) noexcept {}
    /// Takes one count on `object` (null gives a null handle).
    explicit Reference(T* object) noexcept : object_(object) { take(); }
    Reference(const Reference& other) noexcept : object_(other.object_) { take(); }
    Reference(Reference&& other) noexcept : object_(other.object_) { other.object_ = nullptr; }
    /// From a handle on a derived class.
    template <class U, class = std::enable_if_t<std::is_convertible_v<U*, T*>>>
    Reference(const Reference<U>& other) noexcept : object_(other.get()) {
        take();
    }
    ~Reference() { drop(); }

    Reference& operator=(Reference other) noexcept {
        std::swap(object_, other.object_);
        return *this;
    }
    Reference& operator=(std::nullptr_t) noexcept {
        release();
        return *this;
    }

    /// Drops the count (deleting the object if it was the last) and becomes null.
    void release() noexcept {
        T* object = object_;
        object_ = nullptr;
        if (object) {
            static_cast<ReferenceCount*>(object)->decrementCount();
        }
    }
    /// Releases, then takes one count on `object`.
    void reset(T* object = nullptr) noexcept { *this = Reference(object); }
    void swap(Reference& other) noexcept { std::swap(object_, other.object_); }

    T* get() const noexcept { return object_; }
    T& operator*() const noexcept { return *object_; }
    T* operator->() const noexcept { return object_; }
    explicit operator bool() const noexcept { return object_ != nullptr; }

    friend bool operator==(const Reference& a, const Reference& b) noexcept {
        return a.object_ == b.object_;
    }
    friend bool operator!=(const Reference& a, const Reference& b) noexcept {
        return a.object_ != b.object_;
    }
    friend bool operator==(const Reference& a, std::nullptr_t) noexcept {
        return a.object_ == nullptr;
    }
    friend bool operator!=(const Reference& a, std::nullptr_t) noexcept {
        return a.object_ != nullptr;
    }

private:
    void take() noexcept {
        static_assert(std::is_base_of_v<ReferenceCount, T>,
                      "ky::Reference<T> needs T derived from ky::ReferenceCount");
        if (object_) {
            static_cast<ReferenceCount*>(object_)->incrementCount();
        }
    }
    void drop() noexcept { release(); }

    T* object_ = nullptr;
};

template <class T>
void swap(Reference<T>& a, Reference<T>& b) noexcept {
    a.swap(b);
}

} // namespace ky

#endif // KY_CONTAINERS_REFERENCECOUNT_H
