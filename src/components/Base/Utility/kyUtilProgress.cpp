// kyUtilProgress.cpp - the base progress object: last value and a cancellation request.
#include <Base/Utility/kyUtilProgress.h>

namespace kyUtil {

Progress::~Progress() = default;

void Progress::set(double value) {
    value_ = value;
}

bool Progress::cancelled() {
    return cancelRequested_.load(std::memory_order_relaxed);
}

} // namespace kyUtil
