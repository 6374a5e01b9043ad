// AddressTest.cpp - parsing and classifying address text, the family mask and the start-up.
#include <Base/TCP/internal/kyTCPNetwork.h>
#include <Base/TCP/kyTCPAddress.h>
#include <Base/TCP/kyTCPSocket.h>
#include <Base/Utility/kyUtilInterval.h>

#include <gtest/gtest.h>
#include <kyTestProcess.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>

namespace {

using kyTCP::Address;

constexpr int kNumeric = 1, kName = 2, kLoopback = 4, kThrowsEmpty = 8, kThrowsMalformed = 16;

struct ParseCase {
    const wchar_t* text;
    int flags;
    int port;
    const wchar_t* host; // the cached text
};

const ParseCase kParseCases[] = {
    {L"host:80", kName, 80, L"host"},
    {L"host", kName, -1, L"host"},
    {L"a:b:c", kName, -1, L"a:b:c"},
    {L"::1", kName, -1, L"::1"},
    {L"fe80::1%lo", kName, -1, L"fe80::1%lo"},
    {L"127.0.0.1:5000", kNumeric | kLoopback, 5000, L"127.0.0.1"},
    {L"127.0.0.1", kNumeric | kLoopback, -1, L"127.0.0.1"},
    {L"10.1.2.3:12x", kNumeric, 12, L"10.1.2.3"},
    {L"10.1.2.3:x", kNumeric, 0, L"10.1.2.3"},
    {L"10.1.2.3:", kNumeric, 0, L"10.1.2.3"},
    {L"10.1.2.3:99999999999", kNumeric, 2147483647, L"10.1.2.3"},
    {L"h: 42", kName, 42, L"h"},
    {L"h:-1", kName, -1, L"h"},
    {L"255.255.255.255", kName, -1, L"255.255.255.255"}, // the parser's "no address" value
    {L"255.255.255.255:7", kName, 7, L"255.255.255.255"},
    {L"255.255.255.254", kNumeric, -1, L"255.255.255.254"},
    {L"1.2.3.4.5", kName, -1, L"1.2.3.4.5"},
    {L"256.1.1.1", kName, -1, L"256.1.1.1"},
    {L"1.2.3.4 x", kName, -1, L"1.2.3.4 x"},
    {L"0x7f.1", kNumeric, -1, L"0x7f.1"},
    {L"localhost:1", kName, 1, L"localhost"},
    {L"caf\u00e9:1", kName, 1, L"caf\u00e9"},
    {L":80", kThrowsEmpty, 0, nullptr},
    {L":", kThrowsEmpty, 0, nullptr},
    {L"", kThrowsMalformed, 0, nullptr},
};

TEST(Address, ParsesAndClassifiesTheTable) {
    for (const ParseCase& c : kParseCases) {
        SCOPED_TRACE(kyString::IString(c.text).asMultibyte());
        try {
            Address a{kyString::IString(c.text)};
            ASSERT_EQ(c.flags & (kThrowsEmpty | kThrowsMalformed), 0) << "did not throw";
            EXPECT_EQ(a.isNumbersAndDotsCached(), (c.flags & kNumeric) != 0);
            EXPECT_EQ(a.isNameCached(), (c.flags & kName) != 0);
            EXPECT_EQ(a.isLocalLoopback(), (c.flags & kLoopback) != 0);
            EXPECT_EQ(a.getPort(), c.port);
            EXPECT_EQ(a.hasAssignedPort(), c.port != -1);
            const auto text = (c.flags & kNumeric) != 0 ? a.getNumbersAndDots() : a.getName();
            EXPECT_TRUE(text.second.ok());
            EXPECT_EQ(text.first.str(), c.host);
            EXPECT_TRUE(a == Address(a));
        } catch (const kyUtil::Error& e) {
            ASSERT_NE(c.flags & (kThrowsEmpty | kThrowsMalformed), 0) << e.message();
            EXPECT_EQ(e.code(), 2);
            EXPECT_STREQ(e.message(),
                         (c.flags & kThrowsEmpty) != 0
                             ? "kyTCP::Address: empty address specified"
                             : "kyTCP::Address: empty address or incorectly formed address");
        }
    }
}

TEST(Address, HostAndPortConstructorUsesTheWholeText) {
    const Address a("a:b", 9);
    EXPECT_TRUE(a.isNameCached());
    EXPECT_EQ(a.getPort(), 9);
    EXPECT_TRUE(Address("255.255.255.255", 1).isNameCached());
    EXPECT_TRUE(Address("127.0.0.1", 1).isLocalLoopback());
    EXPECT_FALSE(Address("127.0.0.1", 1) == Address("127.0.0.1", 2));
    EXPECT_FALSE(Address("127.0.0.1", 1) == Address("localhost", 1));
    try {
        Address bad("", 5);
        FAIL() << "did not throw";
    } catch (const kyUtil::Error& e) {
        EXPECT_EQ(e.code(), 2);
        EXPECT_STREQ(e.message(), "kyTCP::Address: empty address specified");
    }
}

TEST(Address, ResolvesLoopbackBothWays) {
    Address byName("localhost", 80);
    const auto numeric = byName.getNumbersAndDots();
    ASSERT_TRUE(numeric.second.ok()) << numeric.second.message();
    EXPECT_EQ(numeric.first.str(), L"127.0.0.1");
    EXPECT_TRUE(byName.isNumbersAndDotsCached() && byName.isLocalLoopback());
    Address byNumber("127.0.0.1", 80);
    EXPECT_TRUE(byNumber.resolve().ok());
    EXPECT_TRUE(byNumber.isNameCached());
    addrinfo* info = byNumber.getAddrInfo(false);
    EXPECT_NE(info, nullptr);
    kyTCP::freeAddrInfo(info);
    kyTCP::freeAddrInfo(Address().getAddrInfo(true)); // no node: the passive any-address
    EXPECT_TRUE(Address().resolve().failed());
}

TEST(Address, LocalhostNameIsCachedOnce) {
    const kyString::IString& a = Address::localhostName();
    EXPECT_FALSE(a.isEmpty());
    EXPECT_EQ(&a, &Address::localhostName());
}

TEST(Address, FamilyEnvironmentRules) {
    struct {
        int mask;
        bool v6Only, v4Only;
        int expected;
    } const cases[] = {
        {3, false, false, 3}, {3, true, false, 2}, {3, false, true, 1}, {3, true, true, 2},
        {1, true, false, 1},  {1, true, true, 1},  {2, false, true, 2}, {0, true, true, 0},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(kyTCP::detail::applyFamilyEnvironment(c.mask, c.v6Only, c.v4Only), c.expected)
            << c.mask << c.v6Only << c.v4Only;
    }
    EXPECT_NE(kyTCP::usableFamilies() & kyTCP::kFamilyIPv4, 0);
}

TEST(Interval, NormalisesAndTellsZero) {
    struct {
        long s, us, seconds, micro;
    } const cases[] = {{0, 0, 0, 0}, {1, 500, 1, 500}, {0, 2500000, 2, 500000}, {-3, -4, 0, 0}};
    for (const auto& c : cases) {
        const kyUtil::Interval i(c.s, c.us);
        EXPECT_EQ(i.seconds(), c.seconds);
        EXPECT_EQ(i.microseconds(), c.micro);
        EXPECT_EQ(i.isZero(), c.seconds == 0 && c.micro == 0);
        EXPECT_EQ(i.totalMicroseconds(), c.seconds * 1000000LL + c.micro);
    }
    EXPECT_TRUE(kyUtil::Interval().isZero());
}

// Reports, in a fresh process, what the start-up made of the environment (run by the test
// below with the variables set).
TEST(Address, DISABLED_ReportFamilies) {
    std::printf("[families=%d]", kyTCP::usableFamilies());
    kyTCP::ClientSocket c(Address("localhost", 1));
    const kyUtil::Error e = c.connect();
    std::printf("[connect=%d:%s]\n", e.code(), e.message());
}

// Runs this test program again, in a fresh process, with KY_IPV6_ONLY / KY_IPV4_ONLY set to
// "1" where given and removed otherwise; returns what it printed.
std::string reportWithEnvironment(const char* v6, const char* v4) {
    return kytest::runSelf(
        "--gtest_also_run_disabled_tests --gtest_filter=Address.DISABLED_ReportFamilies",
        {{"KY_IPV6_ONLY", v6}, {"KY_IPV4_ONLY", v4}});
}

TEST(Address, EnvironmentChoosesFamiliesInAFreshProcess) {
    if (kyTCP::usableFamilies() != 3) {
        GTEST_SKIP() << "needs IPv4 and IPv6";
    }
    const char* const noFamily =
        "[families=2][connect=2:connect() failed: No useable protocol families found.]";
    struct {
        const char* v6;
        const char* v4;
        const char* expected;
    } const cases[] = {
        {"1", nullptr, noFamily},       {"1", "1", noFamily}, // KY_IPV6_ONLY wins
        {nullptr, "1", "[families=1]"}, {nullptr, nullptr, "[families=3]"},
        {"", nullptr, noFamily}, // existing is enough, whatever the value
    };
    for (const auto& c : cases) {
        if (c.v6 != nullptr && *c.v6 == '\0' && kytest::onWindows()) {
            continue; // the Windows shell cannot set a variable to the empty text
        }
        const std::string out = reportWithEnvironment(c.v6, c.v4);
        EXPECT_NE(out.find(c.expected), std::string::npos)
            << (c.v6 ? c.v6 : "-") << (c.v4 ? c.v4 : "-") << "\n"
            << out;
    }
}

} // namespace
