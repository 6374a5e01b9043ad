// UuidTest.cpp - identifiers: text form, byte order, set rules, generation.
#include <Base/OS/kyOSUuid.h>

#include "FakeSystem.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <vector>

#include <gtest/gtest.h>

namespace {

using kytest::FakeMachine;

// Text, words and bytes are three spellings of one value: words are big-endian in the bytes.
TEST(UuidTest, TextWordsAndBytes) {
    const unsigned int words[4] = {0xDEADBEEFu, 0x0000000Bu, 0x89ABCDEFu, 0x0D0E0F10u};
    const unsigned char bytes[16] = {0xDE, 0xAD, 0xBE, 0xEF, 0,  0,  0,  0x0B,
                                     0x89, 0xAB, 0xCD, 0xEF, 13, 14, 15, 16};
    const char* text = "deadbeef-0000000b-89abcdef-0d0e0f10";
    for (const kyOS::Uuid& id :
         {kyOS::Uuid(words), kyOS::Uuid(bytes), kyOS::Uuid(kyString::CString(text))}) {
        unsigned int gotWords[4];
        unsigned char gotBytes[16];
        id.get(gotWords);
        id.get(gotBytes);
        EXPECT_EQ(std::memcmp(gotWords, words, sizeof words), 0);
        EXPECT_EQ(std::memcmp(gotBytes, bytes, sizeof bytes), 0);
        EXPECT_STREQ(id.asString().asChar(), text);
    }
}

// Exactly 35 characters: hexadecimal digits in either case with "-" at 8, 17 and 26, not all
// zero. Every single character replaced by one that does not belong there is refused.
TEST(UuidTest, ParserAcceptsExactlyTheTextForm) {
    const auto valid = [](const std::string& text) {
        return kyOS::Uuid(kyString::CString(text.c_str())).valid();
    };
    const std::string good = "0000000a-0000000b-0000000c-0000000d";
    EXPECT_TRUE(valid(good) && valid("0000000A-0000000B-0000000C-0000000D") &&
                valid("DeadBeef-01234567-89abcdef-FFFFFFFF"));
    for (std::size_t i = 0; i < good.size(); ++i) {
        for (char bad : {'g', 'x', '+', ' ', '_', good[i] == '-' ? '0' : '-'}) {
            std::string text = good;
            text[i] = bad;
            EXPECT_FALSE(valid(text)) << text;
        }
    }
    for (const char* text :
         {"0000000a-0000000b-0000000c-0000000d0", "0000000a-0000000b-0000000c-0000000", "",
          "00000000-00000000-00000000-00000000"}) {
        EXPECT_FALSE(valid(text)) << text; // 36, 34 and no characters; all zero
    }
}

TEST(UuidTest, OnlyAnInvalidIdentifierCanBeSet) {
    const unsigned int first[4] = {1, 2, 3, 4};
    const unsigned int second[4] = {5, 6, 7, 8};
    kyOS::Uuid id;
    EXPECT_FALSE(id.valid());
    EXPECT_TRUE(id.set(first));
    EXPECT_FALSE(id.set(second));
    EXPECT_EQ(id, kyOS::Uuid(first));
}

TEST(UuidTest, ComparesMemoryBytes) {
    const unsigned int one[4] = {1, 0, 0, 0};
    const unsigned int twoFiftySix[4] = {256, 0, 0, 0};
    const unsigned int probe = 1;
    if (*reinterpret_cast<const unsigned char*>(&probe) != 1) {
        GTEST_SKIP() << "the expectation below is for little-endian machines";
    }
    // In memory 01 00 .. against 00 01 ..: the numerically smaller word sorts after.
    EXPECT_GT(kyOS::Uuid(one).compare(kyOS::Uuid(twoFiftySix)), 0);
    EXPECT_TRUE(kyOS::Uuid(twoFiftySix) < kyOS::Uuid(one));
    EXPECT_LT(kyOS::Uuid(one).asString().compare(kyOS::Uuid(twoFiftySix).asString()), 0);
    EXPECT_EQ(kyOS::Uuid(one).compare(kyOS::Uuid(one)), 0);
}

TEST(UuidTest, GeneratedIdentifiersAreVersionFourAndDistinct) {
    constexpr int kCount = 1000000;
    std::vector<std::array<unsigned int, 4>> all(kCount);
    for (auto& words : all) {
        kyOS::Uuid id;
        ASSERT_TRUE(id.generate());
        id.get(words.data());
        const kyString::CString text = id.asString();
        ASSERT_EQ(text.asChar()[9], '4') << text.asChar(); // version 4
        ASSERT_EQ(words[2] & 0xC0u, 0x80u);                // variant 10
    }
    std::sort(all.begin(), all.end());
    EXPECT_EQ(std::adjacent_find(all.begin(), all.end()), all.end()) << "duplicate identifier";
}

class UuidFakeTest : public kytest::FakeSystemTest {};

TEST_F(UuidFakeTest, FailedGenerationLeavesItInvalid) {
    fakeEverything();
    FakeMachine::uuidWorks = false;
    const unsigned int words[4] = {9, 9, 9, 9};
    kyOS::Uuid id(words);
    EXPECT_FALSE(id.generate());
    EXPECT_FALSE(id.valid());
    FakeMachine::uuidWorks = true;
    EXPECT_TRUE(id.generate());
    EXPECT_STREQ(id.asString().asChar(), "00001111-00002222-00003333-00004444");
}

} // namespace
