// SysInfoTest.cpp - processor counts under the environment, memory figures, names.
#include <Base/OS/kyOSSysInfo.h>

#include "FakeSystem.h"
#include <kyTestSupport.h>

#include <cstring>
#include <string>

#include <gtest/gtest.h>

namespace {

using kytest::FakeMachine;
using kytest::ScopedEnv;

class SysInfoTest : public kytest::FakeSystemTest {
protected:
    void SetUp() override {
        FakeSystemTest::SetUp();
        fakeEverything();
    }
};

// The machine has 8 processors; the variables only lower the counts, and only when they
// start with a number from 1 on.
TEST_F(SysInfoTest, ProcessorCountsAreOnlyLoweredByTheEnvironment) {
    const struct {
        const char* cpus; // null: unset
        const char* phys;
        int logical, physical;
    } cases[] = {
        {nullptr, nullptr, 8, 8}, {"2", nullptr, 2, 2},  {"64", nullptr, 8, 8},
        {"8", nullptr, 8, 8},     {"1", nullptr, 1, 1},  {"0", nullptr, 8, 8},
        {"abc", nullptr, 8, 8},   {"-3", nullptr, 8, 8}, {" 3", nullptr, 3, 3},
        {"5x", nullptr, 5, 5},    {"", nullptr, 8, 8},   {"99999999999999999999", nullptr, 8, 8},
        {nullptr, "2", 8, 2},     {nullptr, "9", 8, 8},  {"4", "9", 4, 4},
        {"4", "3", 4, 3},         {nullptr, "0", 8, 8},  {nullptr, "x", 8, 8}};
    for (const auto& c : cases) {
        ScopedEnv cpus("KY_NUM_CPUS", c.cpus);
        ScopedEnv phys("KY_NUM_PHYS_CPUS", c.phys);
        kyOS::SysInfo info;
        EXPECT_EQ(info.numCPUs(), c.logical) << (c.cpus ? c.cpus : "(unset)");
        EXPECT_EQ(info.numPhysicalCPUs(), c.physical) << (c.phys ? c.phys : "(unset)");
        // Cached per object: the environment is read once.
        ScopedEnv later("KY_NUM_CPUS", "1");
        EXPECT_EQ(info.numCPUs(), c.logical);
        EXPECT_EQ(kyOS::SysInfo(info).numCPUs(), c.logical) << "copies copy the cache";
    }
}

TEST_F(SysInfoTest, MemoryIsInKiBTruncated) {
    FakeMachine::memory = {1025, 3071, 1ull << 47, 2047};
    kyOS::SysInfo info;
    EXPECT_EQ(info.totalPhysicalMemory(), 1u);
    EXPECT_EQ(info.availPhysicalMemory(), 2u);
    EXPECT_EQ(info.totalVirtualMemory(), 1ull << 37);
    EXPECT_EQ(info.availVirtualMemory(), 1u);
    // Total physical memory is cached; the others are asked again.
    FakeMachine::memory = {1u << 20, 1u << 20, 1u << 20, 1u << 20};
    EXPECT_EQ(info.totalPhysicalMemory(), 1u);
    EXPECT_EQ(info.availPhysicalMemory(), 1024u);
    FakeMachine::memoryWorks = false;
    EXPECT_EQ(info.availVirtualMemory(), 0u);
    EXPECT_EQ(kyOS::SysInfo().totalPhysicalMemory(), 0u);
}

TEST_F(SysInfoTest, FailedComputerNameGivesUnknown) {
    FakeMachine::computerName = nullptr;
    kyOS::SysInfo info;
    EXPECT_STREQ(info.hostname(), "unknown");
    FakeMachine::computerName = "later";
    EXPECT_STREQ(info.hostname(), "unknown"); // kept from the first call
    EXPECT_STREQ(kyOS::SysInfo().hostname(), "later");
}

// USERNAME first, then USER; a missing name is looked for again.
TEST_F(SysInfoTest, UserNameFromTheEnvironment) {
    const char* const cases[][3] = {{"winuser", "posixuser", "winuser"},
                                    {nullptr, "posixuser", "posixuser"}};
    for (const auto& c : cases) {
        ScopedEnv windowsName("USERNAME", c[0]);
        ScopedEnv posixName("USER", c[1]);
        EXPECT_STREQ(kyOS::SysInfo().username(), c[2]);
    }
    ScopedEnv windowsName("USERNAME", nullptr);
    ScopedEnv posixName("USER", nullptr);
    kyOS::SysInfo info;
    EXPECT_EQ(info.username(), nullptr);
    ScopedEnv later("USER", "arrived");
    EXPECT_STREQ(info.username(), "arrived");
}

TEST(SysInfoNativeTest, TheRealMachineAnswers) {
    kyOS::SysInfo info;
    EXPECT_GE(info.numCPUs(), 1);
    EXPECT_GE(info.numPhysicalCPUs(), 1);
    EXPECT_LE(info.numPhysicalCPUs(), info.numCPUs());
    EXPECT_GT(info.totalPhysicalMemory(), 1024u);
    EXPECT_LE(info.availPhysicalMemory(), info.totalPhysicalMemory());
    EXPECT_GE(info.totalVirtualMemory(), info.availVirtualMemory());
    EXPECT_GT(info.pageSize(), 0u);
    EXPECT_EQ(info.pageSize(), kyOS::SysInfo::getPageSize());
    EXPECT_GT(info.getProcessID(), 0);
    EXPECT_GT(std::strlen(info.hostname()), 0u);
    EXPECT_STRNE(info.hostname(), "unknown");
}

} // namespace
