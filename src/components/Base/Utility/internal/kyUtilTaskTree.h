// kyUtilTaskTree.h - the depth-first run of one task tree, shared by the task queues.
#ifndef KY_UTILITY_INTERNAL_TASKTREE_H
#define KY_UTILITY_INTERNAL_TASKTREE_H

#include <Base/Utility/kyUtilThreadPool.h>

namespace kyUtil {
namespace detail {

/// Runs `task` and its sub-tasks on thread `thread`: pre-tasks in turn (stopping at the first
/// null or at the first that did not run), the task's own work unless `noExecute` or the queue
/// is cancelled by then, post-tasks the same way; then deletes the task. A cancelled queue
/// deletes the task unrun. Returns whether the task ran. `Queue` supplies `cancelled()` and
/// `disableCancel()` (called when a `noCancel` task starts).
template <class Queue>
bool runTaskTree(Queue& queue, ThreadedTask* task, int thread) {
    if (queue.cancelled()) {
        delete task;
        return false;
    }
    if (!task->isCancellable()) {
        queue.disableCancel();
    }
    for (int i = 0;; ++i) {
        ThreadedTask* sub = task->preExecute(i);
        if (sub == nullptr || !runTaskTree(queue, sub, thread)) {
            break;
        }
    }
    if (!task->getNoExecute() && !queue.cancelled()) {
        task->execute(thread);
    }
    for (int i = 0;; ++i) {
        ThreadedTask* sub = task->postExecute(i);
        if (sub == nullptr || !runTaskTree(queue, sub, thread)) {
            break;
        }
    }
    delete task;
    return true;
}

} // namespace detail
} // namespace kyUtil

#endif // KY_UTILITY_INTERNAL_TASKTREE_H
