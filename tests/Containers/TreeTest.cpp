// TreeTest.cpp - ky::map, multimap, set and multiset against the standard ones, with the
// red-black rules checked on the engine's own tree after every step.
#include <Base/Containers/kyMap.h>
#include <Base/Containers/kySet.h>

#include <kyContainerTestSupport.h>

#include <algorithm>
#include <iterator>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

using kytest::Counted;

namespace {

// Reaches into the engine through the container's protected base to check the tree's shape.
template <class Container>
struct Inspector : Container {
    using Node = ky::RBTreeImpl::Node;

    // Returns the black height of `node`'s subtree, or -1 on a broken rule.
    static int blackHeight(const Node* node, const Node* parent) {
        if (node == nullptr) {
            return 1;
        }
        if (node->parent != parent) {
            return -1;
        }
        if (node->colour == ky::RBTreeImpl::kRed &&
            ((node->left != nullptr && node->left->colour == ky::RBTreeImpl::kRed) ||
             (node->right != nullptr && node->right->colour == ky::RBTreeImpl::kRed))) {
            return -1; // a red node with a red child
        }
        const int left = blackHeight(node->left, node);
        const int right = blackHeight(node->right, node);
        if (left < 0 || right < 0 || left != right) {
            return -1;
        }
        return left + (node->colour == ky::RBTreeImpl::kBlack ? 1 : 0);
    }

    static void validate(const Container& c) {
        const Inspector& self = static_cast<const Inspector&>(c);
        const Node* header = self.header();
        EXPECT_EQ(header->colour, ky::RBTreeImpl::kRed);
        const Node* root = self.root();
        if (root == nullptr) {
            EXPECT_EQ(self.leftmost(), header);
            EXPECT_EQ(self.rightmost(), header);
            EXPECT_EQ(self.count_, 0);
            return;
        }
        EXPECT_EQ(root->colour, ky::RBTreeImpl::kBlack);
        EXPECT_GT(blackHeight(root, header), 0) << "red-black rules broken";
        EXPECT_EQ(self.leftmost(), ky::RBTreeImpl::sFindLeftMost(const_cast<Node*>(root)));
        EXPECT_EQ(self.rightmost(), ky::RBTreeImpl::sFindRightMost(const_cast<Node*>(root)));
        EXPECT_EQ(ky::RBTreeImpl::sDistanceBetween(self.leftmost(), header),
                  static_cast<std::size_t>(self.count_));
    }
};

template <class Mine, class Reference>
void expectSameMap(const Mine& mine, const Reference& reference) {
    ASSERT_EQ(mine.size(), reference.size());
    auto it = mine.begin();
    for (const auto& entry : reference) {
        ASSERT_EQ(it->first, entry.first);
        ASSERT_EQ(it->second.value(), entry.second.value());
        ++it;
    }
    ASSERT_EQ(it, mine.end());
    // Backwards too: prev() from the header must find the last node.
    auto back = mine.end();
    for (auto rit = reference.rbegin(); rit != reference.rend(); ++rit) {
        --back;
        ASSERT_EQ(back->first, rit->first);
    }
    Inspector<Mine>::validate(mine);
}

using TreeTest = kytest::ContainerTest;

template <class Mine, class Reference>
void runMapDifferential(std::uint32_t seed, int steps, int keyRange) {
    kytest::Random rnd(seed);
    Mine m;
    Reference r;
    for (int step = 0; step < steps; ++step) {
        const int key = rnd.range(0, keyRange);
        const int value = rnd.range(0, 1000);
        switch (rnd.range(0, 11)) {
        case 0:
        case 1:
        case 2: {
            auto mine = m.insert({key, Counted(value)});
            auto ref = r.insert({key, Counted(value)});
            if constexpr (std::is_same_v<Mine, ky::map<int, Counted>>) {
                ASSERT_EQ(mine.second, ref.second);
                ASSERT_EQ(mine.first->second.value(), ref.first->second.value());
            } else {
                ASSERT_EQ(mine->first, ref->first);
            }
            break;
        }
        case 3: {
            // Hinted insertion, with good and bad hints.
            const int hintKey = rnd.range(0, keyRange + 1);
            m.insert(m.lower_bound(hintKey), {key, Counted(value)});
            r.insert(r.lower_bound(hintKey), {key, Counted(value)});
            break;
        }
        case 4:
            ASSERT_EQ(m.erase(key), r.erase(key));
            break;
        case 5:
            if (!r.empty()) {
                auto itMine = m.lower_bound(key);
                auto itRef = r.lower_bound(key);
                if (itRef != r.end()) {
                    m.erase(itMine);
                    r.erase(itRef);
                }
            }
            break;
        case 6: {
            const int hi = key + rnd.range(0, 10);
            m.erase(m.lower_bound(key), m.upper_bound(hi));
            r.erase(r.lower_bound(key), r.upper_bound(hi));
            break;
        }
        case 7: {
            ASSERT_EQ(m.count(key), r.count(key));
            auto mine = m.equal_range(key);
            auto ref = r.equal_range(key);
            ASSERT_EQ(std::distance(mine.first, mine.second), std::distance(ref.first, ref.second));
            ASSERT_EQ(m.find(key) == m.end(), r.find(key) == r.end());
            ASSERT_EQ(m.upper_bound(key) == m.end(), r.upper_bound(key) == r.end());
            break;
        }
        case 8: {
            Mine copy(m);
            Inspector<Mine>::validate(copy);
            ASSERT_TRUE(copy == m);
            m.clear();
            m = copy;
            break;
        }
        case 9: {
            Mine other;
            other.insert({-1, Counted(-1)});
            other.swap(m);
            m.swap(other);
            Mine moved(std::move(m));
            m = std::move(moved);
            break;
        }
        case 10:
            if (step % 97 == 0) {
                m.clear();
                r.clear();
            }
            break;
        default:
            if constexpr (std::is_same_v<Mine, ky::map<int, Counted>>) {
                m[key] = Counted(value);
                r[key] = Counted(value);
            }
            break;
        }
        expectSameMap(m, r);
        ASSERT_EQ(Counted::live, static_cast<int>(2 * r.size()));
    }
}

TEST_F(TreeTest, MapDifferentialAgainstStdMap) {
    for (std::uint32_t seed = 1; seed <= 12; ++seed) {
        runMapDifferential<ky::map<int, Counted>, std::map<int, Counted>>(seed, 700, 120);
    }
}

TEST_F(TreeTest, MultimapDifferentialAgainstStdMultimap) {
    // Equal keys stay in insertion order, as in std::multimap.
    for (std::uint32_t seed = 1; seed <= 12; ++seed) {
        runMapDifferential<ky::multimap<int, Counted>, std::multimap<int, Counted>>(seed, 700, 40);
    }
}

TEST_F(TreeTest, SetsAgainstStdSets) {
    kytest::Random rnd(99);
    ky::set<int> s;
    ky::multiset<int> ms;
    std::set<int> rs;
    std::multiset<int> rms;
    for (int step = 0; step < 3000; ++step) {
        const int key = rnd.range(0, 200);
        if (rnd.chance(60)) {
            ASSERT_EQ(s.insert(key).second, rs.insert(key).second);
            ms.insert(key);
            rms.insert(key);
        } else {
            ASSERT_EQ(s.erase(key), rs.erase(key));
            ASSERT_EQ(ms.erase(key), rms.erase(key));
        }
        ASSERT_TRUE(std::equal(s.begin(), s.end(), rs.begin(), rs.end()));
        ASSERT_TRUE(std::equal(ms.begin(), ms.end(), rms.begin(), rms.end()));
    }
    Inspector<ky::set<int>>::validate(s);
    Inspector<ky::multiset<int>>::validate(ms);
}

TEST_F(TreeTest, SequentialInsertionsStayBalanced) {
    // Ascending and descending runs are the classic worst case of an unbalanced tree.
    ky::set<int> up;
    ky::set<int> down;
    for (int i = 0; i < 5000; ++i) {
        up.insert(i);
        down.insert(-i);
    }
    Inspector<ky::set<int>>::validate(up);
    Inspector<ky::set<int>>::validate(down);
    for (int i = 0; i < 5000; i += 2) {
        up.erase(i);
    }
    Inspector<ky::set<int>>::validate(up);
    EXPECT_EQ(up.size(), 2500u);
}

TEST_F(TreeTest, ErasedNodesAreReusedLastFreedFirst) {
    ky::map<int, int> m;
    for (int i = 0; i < 5; ++i) {
        m[i] = i;
    }
    const void* nodeOf1 = &*m.find(1);
    const void* nodeOf3 = &*m.find(3);
    m.erase(1);
    m.erase(3);
    m[10] = 10; // takes the node freed last (3's)
    m[11] = 11; // then 1's
    EXPECT_EQ(static_cast<const void*>(&*m.find(10)), nodeOf3);
    EXPECT_EQ(static_cast<const void*>(&*m.find(11)), nodeOf1);
}

TEST_F(TreeTest, MapIndexAndStringKeys) {
    ky::map<std::string, int> m;
    m["pear"] += 2;
    m["apple"] += 1;
    m["pear"] += 3;
    EXPECT_EQ(m.size(), 2u);
    EXPECT_EQ(m["pear"], 5);
    EXPECT_EQ(m.begin()->first, "apple");
    ky::map<std::string, int> copy = m;
    EXPECT_EQ(copy["zebra"], 0);
    EXPECT_TRUE(m < copy);
}

TEST_F(TreeTest, CustomComparator) {
    struct Greater {
        bool operator()(int a, int b) const { return a > b; }
    };
    ky::set<int, Greater> s{1, 5, 3};
    EXPECT_EQ(std::vector<int>(s.begin(), s.end()), (std::vector<int>{5, 3, 1}));
    EXPECT_EQ(*s.lower_bound(4), 3);
}

} // namespace
