// kyUtilParallelSort.h - index permutations and the two-thread parallel sort of them.
#ifndef KY_UTILITY_PARALLELSORT_H
#define KY_UTILITY_PARALLELSORT_H

#include <Base/BaseExport.h>
#include <Base/Utility/kyUtilThreadPool.h>
#include <Base/Utility/kyUtilThreadedAlg.h>

#include <algorithm>

namespace kyUtil {

/// A permutation of the indices 0 .. size − 1 into some array, sorted instead of the array's
/// elements. Owns its index array; copies copy it. `resize` always resets to the identity.
/// Not synchronised; never fails except by running out of memory.
class KY_BASE_API Ordering {
public:
    Ordering() = default;
    explicit Ordering(int size);
    Ordering(const Ordering& other);
    Ordering& operator=(const Ordering& other);
    ~Ordering();

    /// Makes room for `size` indices (reallocating only when the size changes) and fills them
    /// with 0, 1, …, size − 1, also when the size was already `size`. Negative counts as 0.
    void resize(int size);
    int size() const { return size_; }
    int operator[](int i) const { return indices_[i]; }
    /// The index array (null when empty).
    int* get() { return indices_; }
    const int* get() const { return indices_; }

private:
    int* indices_ = nullptr;
    int size_ = 0;
};

/// Compares two indices by the elements they name: `pred(i, j)` is `compare(base[i], base[j])`.
/// `Compare` is a function pointer (the default) or any callable with that signature; it must
/// be a strict weak order. Holds the base pointer only (not owned). Reentrant.
template <class T, class Compare = bool (*)(const T&, const T&)>
class IndexedBinaryPredicate {
public:
    IndexedBinaryPredicate(const T* base, Compare compare) : base_(base), compare_(compare) {}
    bool operator()(int i, int j) const { return compare_(base_[i], base_[j]); }
    const T* base() const { return base_; }

private:
    const T* base_;
    Compare compare_;
};

/// First step of the parallel sort: threads 0 and 1 each sort one half of [begin, end) with an
/// unstable sort; the first half holds ceil(n/2) indices. Threads 2 and up do nothing; on a
/// pool of one thread, thread 0 sorts both halves. Does not own the range.
template <class Index, class Predicate, class Order>
class SMPSortPiecewise : public ThreadedAlg {
public:
    SMPSortPiecewise(Index* begin, Index* end, const Predicate& predicate)
        : begin_(begin), end_(end), predicate_(predicate) {}
    SMPSortPiecewise(Order& order, const Predicate& predicate)
        : SMPSortPiecewise(order.get(), order.get() + order.size(), predicate) {}

    void execute(int thread, int numThreads) override {
        if (thread == 0 || thread == 1) {
            sortHalf(thread);
        }
        if (thread == 0 && numThreads == 1) {
            sortHalf(1);
        }
    }

private:
    void sortHalf(int half) {
        const int n = static_cast<int>(end_ - begin_);
        std::sort(begin_ + getBeginIndex(half, 2, n), begin_ + getEndIndex(half, 2, n), predicate_);
    }

    Index* begin_;
    Index* end_;
    Predicate predicate_;
};

/// Second step: merges the two sorted halves of [begin, end) into an owned scratch array,
/// thread 0 front to back (ties to the first half) and thread 1 back to front (ties to the
/// second half), so that both agree with a stable merge and write disjoint outputs without a
/// lock; `finalize` copies the result back. On a pool of one thread, thread 0 does both.
template <class Index, class Predicate, class Order>
class SMPSortMerge : public ThreadedAlg {
public:
    SMPSortMerge(Index* begin, Index* end, const Predicate& predicate)
        : begin_(begin), end_(end), scratch_(new Index[static_cast<std::size_t>(end - begin)]),
          predicate_(predicate) {}
    SMPSortMerge(Order& order, const Predicate& predicate)
        : SMPSortMerge(order.get(), order.get() + order.size(), predicate) {}
    SMPSortMerge(const SMPSortMerge&) = delete;
    SMPSortMerge& operator=(const SMPSortMerge&) = delete;
    ~SMPSortMerge() override { delete[] scratch_; }

    void execute(int thread, int numThreads) override {
        if (thread == 0) {
            mergeForward();
        }
        if (thread == 1 || (thread == 0 && numThreads == 1)) {
            mergeBackward();
        }
    }
    void finalize() override { std::copy(scratch_, scratch_ + (end_ - begin_), begin_); }

private:
    void mergeForward() {
        const int n = static_cast<int>(end_ - begin_);
        const int h = getEndIndex(0, 2, n);
        int i = 0;
        int j = h;
        for (int out = 0; out < h; ++out) {
            if (j < n && predicate_(begin_[j], begin_[i])) {
                scratch_[out] = begin_[j++];
            } else {
                scratch_[out] = begin_[i++];
            }
        }
    }
    void mergeBackward() {
        const int n = static_cast<int>(end_ - begin_);
        const int h = getEndIndex(0, 2, n);
        int i = h - 1;
        int j = n - 1;
        for (int out = n - 1; out >= h; --out) {
            if (i >= 0 && predicate_(begin_[j], begin_[i])) {
                scratch_[out] = begin_[i--];
            } else {
                scratch_[out] = begin_[j--];
            }
        }
    }

    Index* begin_;
    Index* end_;
    Index* scratch_;
    Predicate predicate_;
};

/// Sorts `order` so that the elements it names are in `predicate`'s order, on the installed
/// pool: with one thread an ordinary unstable sort; otherwise `SMPSortPiecewise` then
/// `SMPSortMerge` on two threads (more are not used). The result is a sorted permutation; equal
/// elements keep no particular order within each half, but first-half indices come before
/// second-half ones. Call it from one thread at a time per `order`.
///
/// @code
///   kyUtil::Ordering order(int(rects.size()));
///   kyUtil::parallelSort(order, kyUtil::IndexedBinaryPredicate<kyUtil::IntRange2d>(
///                                   rects.data(), &kyUtil::IntRange2d::tallerFirst));
/// @endcode
template <class T, class Compare>
void parallelSort(Ordering& order, const IndexedBinaryPredicate<T, Compare>& predicate) {
    using Predicate = IndexedBinaryPredicate<T, Compare>;
    ThreadPool& pool = ThreadPool::get();
    if (pool.numThreads() == 1) {
        std::sort(order.get(), order.get() + order.size(), predicate);
        return;
    }
    {
        SMPSortPiecewise<int, Predicate, Ordering> halves(order, predicate);
        pool.run(halves);
    }
    SMPSortMerge<int, Predicate, Ordering> merge(order, predicate);
    pool.run(merge);
}

} // namespace kyUtil

#endif // KY_UTILITY_PARALLELSORT_H
