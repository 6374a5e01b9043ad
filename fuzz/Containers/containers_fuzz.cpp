// containers_fuzz.cpp - drives the typed containers with operation sequences taken from the
// input and checks them against the standard containers after every operation.
#include <Base/Containers/kyHashMap.h>
#include <Base/Containers/kyList.h>
#include <Base/Containers/kyMap.h>
#include <Base/Containers/kyVector.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <list>
#include <map>
#include <unordered_map>
#include <vector>

namespace {

void require(bool condition, const char* what) {
    if (!condition) {
        std::fprintf(stderr, "container mismatch: %s\n", what);
        std::abort();
    }
}

// Reads the input a byte at a time; past the end it yields zeros.
class Reader {
public:
    Reader(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}
    bool more() const { return pos_ < size_; }
    int next() { return pos_ < size_ ? data_[pos_++] : 0; }

private:
    const std::uint8_t* data_;
    std::size_t size_;
    std::size_t pos_ = 0;
};

template <class L>
typename L::iterator nth(L& l, int n) {
    auto it = l.begin();
    std::advance(it, n);
    return it;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Reader in(data, size);
    ky::vector<int> v;
    std::vector<int> rv;
    ky::list<int> l;
    std::list<int> rl;
    ky::multimap<int, int> m;
    std::multimap<int, int> rm;
    ky::hash_multimap<int, int> h;
    std::unordered_multimap<int, int> rh;

    while (in.more()) {
        const int op = in.next();
        const int a = in.next();
        const int b = in.next();
        switch (op % 16) {
        case 0:
            v.push_back(a);
            rv.push_back(a);
            break;
        case 1: {
            const int pos = rv.empty() ? 0 : a % static_cast<int>(rv.size() + 1);
            v.insert(v.begin() + pos, static_cast<std::size_t>(b % 9), a);
            rv.insert(rv.begin() + pos, static_cast<std::size_t>(b % 9), a);
            break;
        }
        case 2:
            if (!rv.empty()) {
                const int first = a % static_cast<int>(rv.size());
                const int last = first + b % static_cast<int>(rv.size() - first + 1);
                v.erase(v.begin() + first, v.begin() + last);
                rv.erase(rv.begin() + first, rv.begin() + last);
            }
            break;
        case 3:
            v.resize(static_cast<std::size_t>(a), b);
            rv.resize(static_cast<std::size_t>(a), b);
            break;
        case 4: {
            const int pos = a % static_cast<int>(rl.size() + 1);
            l.insert(nth(l, pos), b);
            rl.insert(nth(rl, pos), b);
            break;
        }
        case 5:
            if (!rl.empty()) {
                const int pos = a % static_cast<int>(rl.size());
                l.erase(nth(l, pos));
                rl.erase(nth(rl, pos));
            }
            break;
        case 6:
            l.sort();
            rl.sort();
            l.unique();
            rl.unique();
            break;
        case 7:
            l.reverse();
            rl.reverse();
            break;
        case 8:
            if (!rl.empty()) {
                const int from = a % static_cast<int>(rl.size());
                const int to = b % static_cast<int>(rl.size() + 1);
                l.splice(nth(l, to), l, nth(l, from));
                rl.splice(nth(rl, to), rl, nth(rl, from));
            }
            break;
        case 9:
        case 10:
            m.insert({a % 32, b});
            rm.insert({a % 32, b});
            break;
        case 11:
            require(m.erase(a % 32) == rm.erase(a % 32), "multimap erase count");
            break;
        case 12:
            m.insert(m.lower_bound(b % 32), {a % 32, b});
            rm.insert(rm.lower_bound(b % 32), {a % 32, b});
            break;
        case 13:
        case 14:
            h.insert({a, b});
            rh.insert({a, b});
            break;
        default:
            require(h.erase(a) == rh.erase(a), "hash_multimap erase count");
            if (b % 5 == 0) {
                h.max_load_factor(0.25f + static_cast<float>(b % 7));
            }
            break;
        }
        require(std::equal(v.begin(), v.end(), rv.begin(), rv.end()), "vector contents");
        require(l.size() == rl.size() && std::equal(l.begin(), l.end(), rl.begin()),
                "list contents");
        require(m.size() == rm.size() && std::equal(m.begin(), m.end(), rm.begin()),
                "multimap contents");
        require(h.size() == rh.size(), "hash_multimap size");
    }
    std::vector<std::pair<int, int>> mine(h.begin(), h.end());
    std::vector<std::pair<int, int>> ref(rh.begin(), rh.end());
    std::sort(mine.begin(), mine.end());
    std::sort(ref.begin(), ref.end());
    require(mine == ref, "hash_multimap contents");
    return 0;
}
