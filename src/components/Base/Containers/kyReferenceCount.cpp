// kyReferenceCount.cpp - the out-of-line parts of ky::ReferenceCount.
#include <Base/Containers/kyReferenceCount.h>

#include <utility>
#include <vector>

namespace ky {

namespace {
struct AfterDeletion {
    void (*action)(void*);
    void* context;
};
thread_local int gDeletionDepth = 0;
thread_local std::vector<AfterDeletion>* gAfterDeletion = nullptr;

void runPending() {
    while (gAfterDeletion != nullptr && !gAfterDeletion->empty()) {
        const AfterDeletion next = gAfterDeletion->front();
        gAfterDeletion->erase(gAfterDeletion->begin());
        next.action(next.context);
    }
    delete gAfterDeletion;
    gAfterDeletion = nullptr;
}
} // namespace

void ReferenceCount::runAfterDeletion(void (*action)(void*), void* context) {
    if (action == nullptr) {
        return;
    }
    if (gDeletionDepth == 0) {
        action(context);
        return;
    }
    if (gAfterDeletion == nullptr) {
        gAfterDeletion = new std::vector<AfterDeletion>();
    }
    gAfterDeletion->push_back(AfterDeletion{action, context});
}

ReferenceCount::~ReferenceCount() = default;

bool ReferenceCount::decrementCount() noexcept {
    if (count_ <= 0) {
        return false;
    }
    if (--count_ == 0) {
        ++gDeletionDepth;
        delete this;
        if (--gDeletionDepth == 0 && gAfterDeletion != nullptr) {
            runPending();
        }
        return true;
    }
    return false;
}

} // namespace ky
