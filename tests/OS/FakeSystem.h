// FakeSystem.h - a fixture that replaces the platform calls of the OS layer with fakes that
// the test controls, and restores the native ones afterwards.
#ifndef KY_TESTS_OS_FAKESYSTEM_H
#define KY_TESTS_OS_FAKESYSTEM_H

#include <Base/OS/internal/kyOSSystem.h>

#include <cstring>

#include <gtest/gtest.h>

namespace kytest {

struct FakeMachine {
    static inline int processors = 8;
    static inline bool memoryWorks = true;
    static inline kyOS::detail::MemoryStatus memory = {};
    static inline const char* computerName = "fakehost"; // null: the query fails
    static inline bool uuidWorks = true;
    static inline std::int64_t counter = 0;

    static int processorCount() { return processors; }
    static bool memoryStatus(kyOS::detail::MemoryStatus* status) {
        *status = memory;
        return memoryWorks;
    }
    static bool name(char* buffer, std::size_t size) {
        if (computerName == nullptr) {
            return false;
        }
        std::strncpy(buffer, computerName, size - 1);
        return true;
    }
    static bool uuid(unsigned int words[4]) {
        if (!uuidWorks) {
            return false;
        }
        for (int i = 0; i < 4; ++i) {
            words[i] = 0x1111u * static_cast<unsigned int>(i + 1);
        }
        return true;
    }
    static std::int64_t now() { return counter; }
};

class FakeSystemTest : public ::testing::Test {
protected:
    void SetUp() override {
        saved_ = kyOS::detail::systemCalls();
        FakeMachine::processors = 8;
        FakeMachine::memoryWorks = true;
        FakeMachine::memory = {};
        FakeMachine::computerName = "fakehost";
        FakeMachine::uuidWorks = true;
        FakeMachine::counter = 0;
    }
    void TearDown() override { kyOS::detail::systemCalls() = saved_; }

    /// Replaces every platform call with the fakes; the counter runs at `frequency` per second.
    void fakeEverything(std::int64_t frequency = 1000) {
        kyOS::detail::SystemCalls& calls = kyOS::detail::systemCalls();
        calls.processorCount = &FakeMachine::processorCount;
        calls.memoryStatus = &FakeMachine::memoryStatus;
        calls.computerName = &FakeMachine::name;
        calls.generateUuid = &FakeMachine::uuid;
        calls.performanceCounter = &FakeMachine::now;
        calls.counterFrequency = frequency;
    }

private:
    kyOS::detail::SystemCalls saved_{};
};

} // namespace kytest

#endif // KY_TESTS_OS_FAKESYSTEM_H
