// threads_example.cpp - the examples of the thread-pool, threaded-algorithm and parallel-sort
// headers, compiled and checked.
#include "example_check.h"

#include <Base/OS/kyOSSysInfo.h>
#include <Base/Utility/kyUtilIntRange2d.h>
#include <Base/Utility/kyUtilParallelSort.h>
#include <Base/Utility/kyUtilStdThreadPool.h>
#include <Base/Utility/kyUtilThreadedAlg.h>

#include <vector>

namespace {

struct Scale : kyUtil::ThreadedChunkAlg {
    float* data;
    int n;
    void executeChunk(int c, int, int) override {
        for (int i = getBeginIndex(c, getNumChunks(), n); i < getEndIndex(c, getNumChunks(), n);
             ++i)
            data[i] *= 2.0f;
    }
};

} // namespace

int main() {
    kyOS::SysInfo info;
    static kyUtil::StdThreadPool pool(info.numCPUs());
    kyUtil::ThreadPool::install(&pool); // at start-up, before any work

    std::vector<float> values(1001, 1.5f);
    Scale alg;
    alg.data = values.data();
    alg.n = static_cast<int>(values.size());
    kyUtil::ThreadPool::get().run(alg);
    for (float v : values) {
        CHECK(v == 3.0f);
    }

    std::vector<kyUtil::IntRange2d> rects{{0, 0, 2, 5}, {0, 0, 3, 9}, {0, 0, 1, 1}, {0, 0, 4, 5}};
    kyUtil::Ordering order(int(rects.size()));
    kyUtil::parallelSort(order, kyUtil::IndexedBinaryPredicate<kyUtil::IntRange2d>(
                                    rects.data(), &kyUtil::IntRange2d::tallerFirst));
    CHECK(order[0] == 1 && order[1] == 3 && order[2] == 0 && order[3] == 2);

    kyUtil::ThreadPool::install(nullptr); // before the pool is destroyed
    return 0;
}
