// kyContainerTestSupport.h - the fixture the container tests share: every test starts with no
// live counted element and must end with none, so a leak or a double destruction fails it.
#ifndef KY_TESTS_CONTAINER_TEST_SUPPORT_H
#define KY_TESTS_CONTAINER_TEST_SUPPORT_H

#include <kyTestSupport.h>

#include <gtest/gtest.h>

namespace kytest {

class ContainerTest : public ::testing::Test {
protected:
    void SetUp() override { Counted::live = 0; }
    void TearDown() override {
        EXPECT_EQ(Counted::live, 0) << "elements leaked or destroyed twice";
    }
};

} // namespace kytest

#endif // KY_TESTS_CONTAINER_TEST_SUPPORT_H
