// containers_example.cpp - the examples of the container headers, compiled and checked.
#include "example_check.h"

#include <Base/Containers/kyHashMap.h>
#include <Base/Containers/kyHashSet.h>
#include <Base/Containers/kyList.h>
#include <Base/Containers/kyMap.h>
#include <Base/Containers/kySet.h>
#include <Base/Containers/kyVector.h>

#include <algorithm>
#include <cstdio>

int main() {
    {
        ky::vector<int> v{3, 1, 2};
        std::sort(v.begin(), v.end());
        v.push_back(4); // capacity 8
        CHECK(v.capacity() == 8 && v[0] == 1 && v[3] == 4);
    }
    {
        ky::list<int> l{3, 1, 2};
        l.sort();        // 1 2 3
        l.push_front(0); // 0 1 2 3
        CHECK(l == (ky::list<int>{0, 1, 2, 3}));
    }
    {
        ky::map<int, double> m;
        m[2] = 0.5;                 // inserts a value-initialised double, then assigns
        auto it = m.lower_bound(1); // -> {2, 0.5}
        CHECK(it->first == 2 && it->second == 0.5);
    }
    {
        ky::set<int> s{5, 1, 3};
        CHECK(!s.insert(1).second); // false: already there
        CHECK(*s.begin() == 1);
    }
    {
        ky::hash_map<int, int> h;
        h[42] = 1;
        CHECK(h.bucket_count() == 7);
        h.max_load_factor(0.5f);
        CHECK(h.max_load_factor() == 0.5f && h[42] == 1);
    }
    {
        ky::hash_set<int> s{1, 2, 3};
        CHECK(s.count(2) == 1);
    }
    std::puts("container examples: ok");
    return 0;
}
