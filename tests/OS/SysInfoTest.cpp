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

TEST_F(SysInfoTest, ProcessorCountIsOnlyLoweredByTheEnvironment) {
    struct Case {
        const char* value; // null: unset
        int expected;
    };
    const Case cases[] = {{nullptr, 8}, {"2", 2},  {"64", 8},  {"8", 8},
                          {"1", 1},     {"0", 8},  {"abc", 8}, {"-3", 8},
                          {" 3", 3},    {"5x", 5}, {"", 8},    {"99999999999999999999", 8}};
    for (const Case& c : cases) {
        ScopedEnv cpus("KY_NUM_CPUS", c.value);
        kyOS::SysInfo info;
        EXPECT_EQ(info.numCPUs(), c.expected) << (c.value ? c.value : "(unset)");
    }
}

TEST_F(SysInfoTest, PhysicalCountStartsFromTheLogicalOne) {
    {
        ScopedEnv cpus("KY_NUM_CPUS", "4");
        ScopedEnv phys("KY_NUM_PHYS_CPUS", nullptr);
        kyOS::SysInfo info;
        EXPECT_EQ(info.numPhysicalCPUs(), 4); // the platform's core count is not consulted
    }
    struct Case {
        const char* cpus;
        const char* phys;
        int expected;
    };
    const Case cases[] = {{nullptr, "2", 2}, {nullptr, "9", 8}, {"4", "9", 4},
                          {"4", "3", 3},     {nullptr, "0", 8}, {nullptr, "x", 8}};
    for (const Case& c : cases) {
        ScopedEnv cpus("KY_NUM_CPUS", c.cpus);
        ScopedEnv phys("KY_NUM_PHYS_CPUS", c.phys);
        kyOS::SysInfo info;
        EXPECT_EQ(info.numPhysicalCPUs(), c.expected) << c.phys;
    }
}

TEST_F(SysInfoTest, CountsAreCachedPerObject) {
    kyOS::SysInfo info;
    EXPECT_EQ(info.numCPUs(), 8);
    ScopedEnv cpus("KY_NUM_CPUS", "2");
    EXPECT_EQ(info.numCPUs(), 8);
    EXPECT_EQ(kyOS::SysInfo().numCPUs(), 2);
    kyOS::SysInfo copy(info);
    EXPECT_EQ(copy.numCPUs(), 8);
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

TEST_F(SysInfoTest, UserNameFromTheEnvironment) {
    {
        ScopedEnv windowsName("USERNAME", "winuser");
        ScopedEnv posixName("USER", "posixuser");
        kyOS::SysInfo info;
        EXPECT_STREQ(info.username(), "winuser");
    }
    {
        ScopedEnv windowsName("USERNAME", nullptr);
        ScopedEnv posixName("USER", "posixuser");
        EXPECT_STREQ(kyOS::SysInfo().username(), "posixuser");
    }
    ScopedEnv windowsName("USERNAME", nullptr);
    ScopedEnv posixName("USER", nullptr);
    kyOS::SysInfo info;
    EXPECT_EQ(info.username(), nullptr);
    ScopedEnv later("USER", "arrived");
    EXPECT_STREQ(info.username(), "arrived"); // a missing name is looked for again
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
