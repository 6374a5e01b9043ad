// kyVectorImpl.h - the untyped engine under ky::vector.
#ifndef KY_CONTAINERS_VECTORIMPL_H
#define KY_CONTAINERS_VECTORIMPL_H

#include <Base/BaseExport.h>

#include <cstddef>

namespace ky {

class HashTableImpl;

/// Contiguous storage of elements whose type the engine knows only through a `TypeUtil` table.
/// Compiled once in the library; `ky::vector<T>` is a thin typed layer on top.
///
/// Growth one element at a time adds 8 slots while the capacity is below 32 and doubles it from
/// 32 on (8, 16, 24, 32, 64, 128, ...). Storage is moved with `realloc`, so element types must
/// be relocatable by copying their bytes (no pointers into themselves).
///
/// Positions and counts given to the engine are trusted; allocation failure is not reported.
/// Not synchronised.
class KY_BASE_API VectorImpl {
public:
    /// Element operations of one element type. A null function means there is nothing to do
    /// beyond the default: zero bytes for default construction, copy bytes for copy
    /// construction, nothing for destruction.
    struct TypeUtil {
        std::size_t elementSize;
        void (*defaultConstruct)(void* first, std::size_t n);
        void (*copyConstruct)(void* dst, const void* src, std::size_t n);
        void (*destructRange)(void* first, std::size_t n);
    };

    /// Number of elements in [first, last) of some iterator type known to the caller.
    using DistanceFunction = int (*)(const void* first, const void* last);
    /// Copy-constructs the elements of [first, last) into raw memory at `dst`.
    using CopyRangeFunction = void (*)(void* dst, const void* first, const void* last);
    /// Copy-constructs one element from `src` into raw memory at `dst`.
    using CopyFunction = void (*)(void* dst, const void* src);

    /// The capacity that one more element needs, from `capacity`.
    static int grownCapacity(int capacity) { return capacity < 32 ? capacity + 8 : capacity * 2; }

protected:
    explicit VectorImpl(const TypeUtil* typeUtil) : typeUtil_(typeUtil) {}
    ~VectorImpl() { freeStorage(); }
    VectorImpl(const VectorImpl&) = delete;
    VectorImpl& operator=(const VectorImpl&) = delete;

    /// `n` elements, default-constructed when `defaultConstruct` is true (left as raw bytes
    /// otherwise: only for trivial types).
    void initialize(int n, bool defaultConstruct, const TypeUtil* typeUtil);
    /// `n` copies of `*value`.
    void initialize(int n, const void* value, const TypeUtil* typeUtil);
    /// Deep copy of `other` (its table included).
    void initialize(const VectorImpl& other);

    /// Destroys every element; keeps the storage.
    void clear();
    /// Grows (default-constructing or copying `*value`) or shrinks to `n` elements.
    void setSize(int n, bool defaultConstruct);
    void setSize(int n, const void* value);
    /// Makes room for `n` elements without changing the size.
    void reserve(int n);

    /// Appends a default-constructed element and returns it.
    void* append();
    /// Appends a copy of `*value` (which may be an element of this vector).
    void append(const void* value);
    /// Appends an element made by `copy` from `*value`.
    void append(const void* value, CopyFunction copy);
    /// Appends the pointer `ptr` to a vector of pointers.
    void appendAndAssignPtr(void* ptr);
    /// Appends one raw slot (counted in the size) for the caller to construct; returns it.
    void* appendAndReturnPtr();
    /// Appends copies of every element of `other`.
    void append(const VectorImpl& other);

    /// Inserts a copy of `*value` before `pos`; returns the new element.
    void* insert(int pos, const void* value);
    /// Inserts `n` copies of `*value` before `pos`.
    void insert(int pos, int n, const void* value);
    /// Inserts copies of the `n` contiguous elements at `src` before `pos`.
    void insert(int pos, const void* src, int n);
    /// Inserts copies of [first, last), an iterator range the engine handles through callbacks.
    void insert(int pos, const void* first, const void* last, DistanceFunction distance,
                CopyRangeFunction copyRange);
    /// Inserts the pointer `ptr` before `pos` in a vector of pointers.
    void insertAndAssignPtr(int pos, void* ptr);
    /// Opens `n` raw slots before `pos` (counted in the size) for the caller to construct.
    void* insertAndReturnPtr(int pos, int n = 1);

    /// Replaces the contents with copies of the `n` contiguous elements at `src`.
    void assign(const void* src, int n);
    /// Replaces the contents with copies of [first, last) through callbacks.
    void assign(const void* first, const void* last, DistanceFunction distance,
                CopyRangeFunction copyRange);

    /// Makes room for one more element by the growth rule.
    void growByOne();
    /// Appends `ptr` in a vector of pointers, growing by the growth rule.
    void growByOneAndAssignPtr(void* ptr);
    /// Sets the capacity to exactly `n` (at least the size, unless `n` is 0: then every element
    /// is destroyed and the storage freed).
    void setCapacity(int n);

    /// Destroys and removes the element at `pos`.
    void destruct(int pos);
    /// Destroys and removes the elements in [first, last).
    void destructRange(int first, int last);
    /// Destroys every element and frees the storage.
    void freeStorage();
    /// Exchanges contents (and tables) without touching the elements.
    void swap(VectorImpl& other) noexcept;

    char* elementAt(int i) const {
        return static_cast<char*>(data_) + static_cast<std::size_t>(i) * typeUtil_->elementSize;
    }
    void constructDefault(void* first, int n) const;
    void constructCopies(void* dst, const void* src, int n) const;
    void destroy(void* first, int n) const;
    // Index of the element that `p` points into, or -1 when `p` is not one of ours.
    int indexOfOwn(const void* p) const;
    // Ensures capacity for `needed` elements, growing by the growth rule.
    void growTo(int needed);

    void* data_ = nullptr;
    int size_ = 0;
    int capacity_ = 0;
    const TypeUtil* typeUtil_;

    friend class HashTableImpl;
};

} // namespace ky

#endif // KY_CONTAINERS_VECTORIMPL_H
