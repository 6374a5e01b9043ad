// HashFunctionTest.cpp - the hashfunction overloads agree with each other and spread well.
#include <Base/Containers/kyHashFunction.h>

#include <algorithm>
#include <cstring>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

TEST(HashFunctionTest, OverloadsOverTheSameBytesAgree) {
    const char* text = "the quick brown fox";
    const std::size_t n = std::strlen(text);
    EXPECT_EQ(ky::hashfunction(text), ky::hashfunction(static_cast<const void*>(text), n));
    EXPECT_EQ(ky::hashfunction(text, text + n), ky::hashfunction(text));
    EXPECT_EQ(ky::hashfunction(std::string(text)), ky::hashfunction(text));
    const unsigned int words[] = {1u, 2u, 3u};
    EXPECT_EQ(ky::hashfunction(words, 3), ky::hashfunction(static_cast<const void*>(words), 12));
    const wchar_t* wide = L"wide text";
    EXPECT_EQ(ky::hashfunction(wide, 9),
              ky::hashfunction(static_cast<const void*>(wide), 9 * sizeof(wchar_t)));
    EXPECT_EQ(ky::hashfunction(std::wstring(wide)), ky::hashfunction(wide, 9));
}

TEST(HashFunctionTest, EveryLengthAndEveryByteMatters) {
    // Lengths around the 8-byte word boundary, and a single flipped bit at every position.
    std::set<ky::HashValue> seen;
    std::string text;
    for (int length = 0; length <= 40; ++length) {
        EXPECT_TRUE(seen.insert(ky::hashfunction(text.data(), text.size())).second) << length;
        text.push_back('\0'); // zero bytes must still change the hash through the length
    }
    const std::string base(37, 'x');
    const ky::HashValue original = ky::hashfunction(base.data(), base.size());
    for (std::size_t i = 0; i < base.size(); ++i) {
        for (int bit = 0; bit < 8; ++bit) {
            std::string flipped = base;
            flipped[i] = static_cast<char>(flipped[i] ^ (1 << bit));
            EXPECT_NE(ky::hashfunction(flipped.data(), flipped.size()), original)
                << i << ":" << bit;
        }
    }
}

TEST(HashFunctionTest, SpreadsSimilarKeysOverPrimeBuckets) {
    // 20,000 keys that differ in a few characters, over 1543 buckets (a table size the hash
    // containers use): no bucket far above the mean of ~13.
    const std::size_t buckets = 1543;
    std::vector<int> load(buckets, 0);
    for (int i = 0; i < 20000; ++i) {
        const std::string key = "node_" + std::to_string(i) + "_shape";
        ++load[ky::hashfunction(key) % buckets];
    }
    EXPECT_LE(*std::max_element(load.begin(), load.end()), 35);
    EXPECT_GE(*std::min_element(load.begin(), load.end()), 1);
}

TEST(HashFunctionTest, IntegersHashToThemselves) {
    EXPECT_EQ(ky::hashfunction(42), 42u);
    EXPECT_EQ(ky::hashfunction(42u), 42u);
    EXPECT_EQ(ky::hashfunction(static_cast<long long>(1) << 40), static_cast<ky::HashValue>(1)
                                                                     << 40);
    EXPECT_EQ(ky::hash<int>()(-1), static_cast<ky::HashValue>(-1));
    int x = 0;
    EXPECT_EQ(ky::hashfunction(&x),
              static_cast<ky::HashValue>(reinterpret_cast<std::uintptr_t>(&x)));
}

} // namespace
