// kyUtilThreadedAlg.cpp - progress forwarding, cancellation and the split arithmetic.
#include <Base/Utility/kyUtilThreadedAlg.h>

#include <Base/Utility/kyUtilProgress.h>

#include <algorithm>

namespace kyUtil {

ThreadedAlgBase::ThreadedAlgBase(const ThreadedAlgBase& other)
    : progress_(other.progress_),
      cancelledFlag_(other.cancelledFlag_.load(std::memory_order_relaxed)) {}

ThreadedAlgBase& ThreadedAlgBase::operator=(const ThreadedAlgBase& other) {
    progress_ = other.progress_;
    cancelledFlag_.store(other.cancelledFlag_.load(std::memory_order_relaxed),
                         std::memory_order_relaxed);
    return *this;
}

ThreadedAlgBase::~ThreadedAlgBase() = default;

void ThreadedAlgBase::updateProgress(int thread, double value) {
    if (thread == 0 && progress_ != nullptr) {
        progress_->set(value);
    }
}

bool ThreadedAlgBase::cancelled(int thread) {
    if (thread == 0 && progress_ != nullptr && progress_->cancelled()) {
        cancelledFlag_.store(true, std::memory_order_relaxed);
    }
    // Relaxed is enough: the flag only ever goes from false to true, and a late read merely
    // delays a thread's reaction.
    return cancelledFlag_.load(std::memory_order_relaxed);
}

int ThreadedAlgBase::getBeginIndex(int part, int numParts, int total) {
    const int q = total / numParts;
    const int r = total % numParts;
    return q * part + std::min(part, r);
}

int ThreadedAlgBase::getEndIndex(int part, int numParts, int total) {
    return getBeginIndex(part + 1, numParts, total);
}

ThreadedAlg::~ThreadedAlg() = default;
void ThreadedAlg::initialize(int) {}
void ThreadedAlg::finalize() {}

ThreadedChunkAlg::~ThreadedChunkAlg() = default;
void ThreadedChunkAlg::initialize(int) {}
void ThreadedChunkAlg::finalize() {}

} // namespace kyUtil
