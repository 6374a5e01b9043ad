#include <Base/Utility/kyUtilBuildInfo.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <ctime>
#include <string>

TEST(BuildInfo, ChangeSetDirectoryAndCutIdentifier) {
    ASSERT_EQ(std::strlen(gBuildChangeSet), 9u);
    for (const char* p = gBuildChangeSet; *p; ++p) {
        EXPECT_TRUE((*p >= '0' && *p <= '9') || (*p >= 'a' && *p <= 'f')) << gBuildChangeSet;
    }
    EXPECT_GT(std::strlen(gBuildDirectory), 1u);
    EXPECT_EQ(gBuildDirectory[0], '/'); // configured on the build host, also for Windows
    EXPECT_EQ(gCutIdentifier, 0.0);
}

TEST(BuildInfo, DateAndTimeAreTheSameMoment) {
    // gBuildTime is after 2020-01-01 and not in the future; the date is the same moment.
    EXPECT_GT(gBuildTime, 1577836800LL);
    EXPECT_LE(gBuildTime, static_cast<long long>(std::time(nullptr)) + 60);
    const std::time_t t = static_cast<std::time_t>(gBuildTime);
    const std::tm* utc = std::gmtime(&t);
    ASSERT_NE(utc, nullptr);
    char expected[80];
    std::snprintf(expected, sizeof expected, "%04d %02d %02d %02d %02d", utc->tm_year + 1900,
                  utc->tm_mon + 1, utc->tm_mday, utc->tm_hour, utc->tm_min);
    EXPECT_STREQ(gBuildDate, expected);
}
