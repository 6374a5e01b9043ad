// CipherTest.cpp - AES-256 against the published example vectors, on both the portable code
// and the processor's instructions, and the two paths against each other.
#include <Base/IO/internal/ioCipherBlocks.h>
#include <Base/IO/ioCipher.h>

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace {

std::vector<unsigned char> hex(const char* text) {
    std::vector<unsigned char> bytes;
    for (const char* p = text; p[0] != 0 && p[1] != 0; p += 2) {
        bytes.push_back(static_cast<unsigned char>(std::stoi(std::string(p, 2), nullptr, 16)));
    }
    return bytes;
}

// Runs the test body once on each path the machine has.
class CipherPaths : public ::testing::TestWithParam<bool> {
protected:
    void SetUp() override {
        if (GetParam() && !ioDetail::cipherHardwareAvailable()) {
            GTEST_SKIP() << "this processor has no AES instructions";
        }
        ioDetail::cipherForcePortable(!GetParam());
    }
    void TearDown() override { ioDetail::cipherForcePortable(false); }
};

// FIPS-197 Appendix C.3 (and the key expansion of Appendix A.3).
TEST_P(CipherPaths, KnownAnswersOfTheStandard) {
    EXPECT_EQ(ioDetail::cipherUsesHardware(), GetParam());
    std::vector<unsigned char> key = hex("000102030405060708090a0b0c0d0e0f"
                                         "101112131415161718191a1b1c1d1e1f");
    unsigned char schedule[240];
    fdblarccos2_(key.data(), schedule);
    std::vector<unsigned char> block = hex("00112233445566778899aabbccddeeff");
    fdblhypsin2_(schedule, block.data());
    EXPECT_EQ(block, hex("8ea2b7ca516745bfeafc49904b496089"));
    fdblhypcos2_(schedule, block.data());
    EXPECT_EQ(block, hex("00112233445566778899aabbccddeeff"));

    key = hex("603deb1015ca71be2b73aef0857d77811f352c073b6108d72d9810a30914dff4");
    fdblarccos2_(key.data(), schedule);
    const std::vector<unsigned char> words(schedule, schedule + 240);
    EXPECT_EQ(std::vector<unsigned char>(words.begin() + 32, words.begin() + 36), hex("9ba35411"));
    EXPECT_EQ(std::vector<unsigned char>(words.begin() + 236, words.end()), hex("706c631e"));
}

// Block runs of every length around the eight-block stride, against single blocks on the
// portable path: the two paths agree, on the library's own key too.
TEST_P(CipherPaths, RunsOfBlocksMatchSingleBlocksAndRoundTrip) {
    std::mt19937 random(7);
    const ioDetail::CipherKey key(ioDetail::kCipherKey);
    for (std::size_t count = 0; count <= 19; ++count) {
        std::vector<unsigned char> data(16 * count);
        for (unsigned char& b : data) {
            b = static_cast<unsigned char>(random());
        }
        std::vector<unsigned char> one = data;
        ioDetail::cipherForcePortable(true);
        for (std::size_t i = 0; i < count; ++i) {
            fdblhypsin2_(key.encrypt, one.data() + 16 * i);
        }
        ioDetail::cipherForcePortable(!GetParam());
        std::vector<unsigned char> run = data;
        ioDetail::encryptBlocks(key, run.data(), count);
        EXPECT_EQ(run, one) << count;
        ioDetail::decryptBlocks(key, run.data(), count);
        EXPECT_EQ(run, data) << count;
    }
}

INSTANTIATE_TEST_SUITE_P(Cipher, CipherPaths, ::testing::Values(false, true),
                         [](const ::testing::TestParamInfo<bool>& info) {
                             return info.param ? "Hardware" : "Portable";
                         });

} // namespace
