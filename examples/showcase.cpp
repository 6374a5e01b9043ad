// showcase.cpp - a tour of what the Base library does, one section per area.
#include "showcase.h"

#include <Base/Base.h>

#include <cstdio>
#include <string>

void showcaseSection(const char* title) {
    std::printf("\n== %s ==\n", title);
}

namespace {

void containers() {
    showcaseSection("Containers: typed templates over engines compiled once");

    ky::vector<int> v;
    std::printf("vector capacities while appending 33 ints:");
    std::size_t last = 0;
    for (int i = 0; i < 33; ++i) {
        v.push_back(i);
        if (v.capacity() != last) {
            last = v.capacity();
            std::printf(" %zu", last);
        }
    }
    std::printf("\n");

    ky::hash_map<int, int> h;
    std::printf("hash_map bucket counts while inserting 30 keys:");
    last = 0;
    for (int i = 0; i < 30; ++i) {
        h[i] = i * i;
        if (h.bucket_count() != last) {
            last = h.bucket_count();
            std::printf(" %zu", last);
        }
    }
    std::printf("\nhash_map[7] = %d, load factor %.2f\n", h[7], h.load_factor());

    ky::map<std::string, int> words;
    for (const char* w : {"pear", "apple", "fig", "apple", "kiwi", "fig", "apple"}) {
        ++words[w];
    }
    std::printf("word counts in key order:");
    for (const auto& entry : words) {
        std::printf(" %s=%d", entry.first.c_str(), entry.second);
    }
    std::printf("\n");

    ky::list<int> l{5, 3, 9, 1, 3};
    l.sort();
    l.unique();
    l.reverse();
    std::printf("list sorted, unique, reversed:");
    for (int x : l) {
        std::printf(" %d", x);
    }
    std::printf("\n");

    ky::BlockAllocator pool(4, 10);
    void* a = pool.alloc();
    void* b = pool.alloc();
    pool.free(a);
    pool.free(b);
    std::printf("block allocator: 4-byte objects get %zu-byte slots; freed b then a, "
                "next alloc returns %s\n",
                pool.elementSize(), pool.alloc() == b ? "b (last freed, first reused)" : "a");
}

} // namespace

int main() {
    std::printf("Base showcase\n");
    showcaseStrings();
    containers();
    showcasePaths();
    showcaseFiles();
    showcaseGetOpt();
    showcaseOS();
    showcaseMemory();
    showcaseTCP();
    showcaseIO();
    showcasePackets();
    showcasePackages();
    showcasePackageEditing();
    showcaseSignals();
    showcaseUndo();
    showcaseLinear();
    showcaseThreads();
    showcasePlugins();
    return 0;
}
