// SocketTest.cpp - connections, servers and readiness waiting on the loopback interface.
#include "TCPTestSupport.h"

#include <Base/TCP/kyTCPWaitReadable.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace {

using kytest::LoopbackPair;
using kyUtil::Interval;

const Interval kShort(0, 50000);

bool hasIPv6() {
    return (kyTCP::usableFamilies() & kyTCP::kFamilyIPv6) != 0;
}

TEST(Socket, RoundTripOnBothLoopbacks) {
    for (const char* host : {"127.0.0.1", "::1", "localhost"}) {
        SCOPED_TRACE(host);
        if (std::string(host) == "::1" && !hasIPv6()) {
            continue; // the IPv4 loopback still ran
        }
        LoopbackPair p(host);
        ASSERT_TRUE(p.ok());
        EXPECT_GT(p.server.getPort(), 0);
        const std::string data = kytest::pattern(300000);
        std::size_t put = 0;
        ASSERT_TRUE(p.client->write(data.data(), data.size(), &put).ok());
        EXPECT_EQ(put, data.size());
        std::string got;
        ASSERT_TRUE(kytest::readAll(*p.accepted, got, data.size()).ok());
        EXPECT_TRUE(got == data);
        ASSERT_TRUE(p.accepted->write("pong", 4, nullptr).ok());
        ASSERT_TRUE(kytest::readAll(*p.client, got, 4).ok());
        EXPECT_EQ(got, "pong");
        const auto local = p.client->localAddress();
        const auto remote = p.accepted->remoteAddress();
        ASSERT_TRUE(local.second.ok() && remote.second.ok());
        EXPECT_EQ(local.first.getPort(), remote.first.getPort());
        EXPECT_EQ(p.client->remoteAddress().first.getPort(), p.server.getPort());
        EXPECT_TRUE(p.client->setNoDelay(true).ok());
        ASSERT_TRUE(p.client->write(data.data(), data.size(), nullptr).ok());
        EXPECT_TRUE(p.client->close().ok()); // what was written still arrives whole
        ASSERT_TRUE(kytest::readAll(*p.accepted, got, data.size()).ok());
        EXPECT_TRUE(got == data);
        EXPECT_EQ(p.client->close().code(), 2);
        EXPECT_EQ(kytest::readAll(*p.accepted, got, 1).code(), 3); // the peer closed
    }
}

TEST(Socket, ErrorsOfUnconnectedAndNullArguments) {
    kyTCP::ClientSocket c(kyTCP::Address("127.0.0.1", 1));
    char b[4];
    std::size_t n = 7;
    struct {
        kyUtil::Error e;
        int code;
        const char* message;
    } const cases[] = {
        {c.read(b, 4, &n), 2, "No socket has been created"},
        {c.write(b, 4, &n), 2, "No socket has been created"},
        {c.read(nullptr, 4, &n), 4, "An I/O problem has occurred"},
        {c.close(), 2, "No socket has been created"},
        {c.setNoDelay(true), 2, "No socket has been created"},
        {c.remoteAddress().second, 2, "socket is not connected"},
        {c.localAddress().second, 2, "No socket has been created"},
    };
    for (const auto& k : cases) {
        EXPECT_EQ(k.e.code(), k.code);
        EXPECT_STREQ(k.e.message(), k.message);
    }
    EXPECT_EQ(n, 0u);
    EXPECT_FALSE(c.dataAvailable());
}

TEST(Socket, TimeOutThrowModeAndAvailability) {
    LoopbackPair p;
    ASSERT_TRUE(p.ok());
    EXPECT_FALSE(p.client->dataAvailable());
    p.client->setTimeout(kShort);
    EXPECT_EQ(p.client->getTimeout(), kShort);
    char b[8];
    std::size_t n = 9;
    const kyUtil::Error e = p.client->read(b, sizeof b, &n);
    EXPECT_EQ(e.code(), 5);
    EXPECT_STREQ(e.message(), "Socket operation timed out");
    EXPECT_EQ(n, 0u);
    p.client->setThrowMode(true);
    EXPECT_TRUE(p.client->getThrowMode());
    EXPECT_THROW((void)p.client->read(b, sizeof b, &n), kyUtil::Error);
    ASSERT_TRUE(p.accepted->write("x", 1, nullptr).ok());
    ASSERT_TRUE(p.client->read(b, sizeof b, &n).ok()); // waits for it within the time-out
    EXPECT_EQ(n, 1u);
}

TEST(Socket, CStreamWritesThroughADuplicate) {
    LoopbackPair p;
    ASSERT_TRUE(p.ok());
    std::FILE* f = nullptr;
    const kyUtil::Error e = p.client->getCStream("wb", &f);
    ASSERT_TRUE(e.ok()) << e.message();
    std::fputs("hello", f);
    std::fclose(f);
    std::string got;
    ASSERT_TRUE(kytest::readAll(*p.accepted, got, 5).ok());
    EXPECT_EQ(got, "hello");
    EXPECT_TRUE(p.client->write("!", 1, nullptr).ok()); // the socket itself stays open
}

TEST(Socket, HalfCloseGivesEndOfDataAfterEverything) {
    LoopbackPair p;
    ASSERT_TRUE(p.ok());
    const std::string data = kytest::pattern(100000);
    ASSERT_TRUE(p.accepted->write(data.data(), data.size(), nullptr).ok());
    int error = 0;
    ASSERT_EQ(kyTCP::detail::socketCalls().shutdownSend(p.accepted->getImpl()->handle, &error), 0);
    std::string got;
    ASSERT_TRUE(kytest::readAll(*p.client, got, data.size()).ok());
    EXPECT_TRUE(got == data);
    EXPECT_TRUE(p.client->dataAvailable());
    const kyUtil::Error eof = kytest::readAll(*p.client, got, 1);
    EXPECT_EQ(eof.code(), 3);
    EXPECT_STREQ(eof.message(), "End Of File");
    ASSERT_TRUE(p.client->write("back", 4, nullptr).ok()); // the other direction still works
    ASSERT_TRUE(kytest::readAll(*p.accepted, got, 4).ok());
    EXPECT_EQ(got, "back");
}

TEST(Socket, PeerResetAndWritesToAClosedPeerFailWithoutSignal) {
    LoopbackPair p;
    ASSERT_TRUE(p.ok());
    ASSERT_TRUE(p.accepted->write("abc", 3, nullptr).ok());
    // Linger on with zero seconds: closing resets the connection.
    int error = 0;
    ASSERT_EQ(kyTCP::detail::socketCalls().setOption(p.accepted->getImpl()->handle,
                                                     kyTCP::detail::Option::kLinger, 0, &error),
              0);
    EXPECT_TRUE(p.accepted->close().ok());
    const std::string block = kytest::pattern(65536);
    kyUtil::Error e;
    for (int i = 0; i < 64 && e.ok(); ++i) { // the process would die here on SIGPIPE
        e = p.client->write(block.data(), block.size(), nullptr);
    }
    EXPECT_EQ(e.code(), 1);
    EXPECT_NE(std::string(e.message()).find("send() failed: "), std::string::npos) << e.message();
    std::string got;
    e = kytest::readAll(*p.client, got, 1000);
    EXPECT_TRUE(e.code() == 1 || e.code() == 3) << e.message();
}

TEST(Client, RefusedConnectionIsCodeFourAndPrinted) {
    int port = 0;
    {
        kyTCP::Server s(-1, 1);
        s.setLoopbackOnly();
        ASSERT_TRUE(s.listen().ok());
        port = s.getPort();
    }
    kyTCP::ClientSocket c(kyTCP::Address("127.0.0.1", port));
    testing::internal::CaptureStdout();
    const kyUtil::Error e = c.connect();
    const std::string out = testing::internal::GetCapturedStdout();
    EXPECT_EQ(e.code(), 4);
    EXPECT_EQ(std::string(e.message()).rfind("connect() failed: ", 0), 0u) << e.message();
    const std::string line = std::string("Connection failed: ") + e.message() + "\n";
    EXPECT_EQ(out.find(line), 0u) << out;
    EXPECT_EQ(out.size(), line.size() * (hasIPv6() ? 2 : 1)); // 127.0.0.1, then ::1
    EXPECT_FALSE(c.isConnected());
}

TEST(Client, LookUpFailureOfTheLastCandidate) {
    kytest::SocketFaults f(kytest::SocketFaults::Call::kGetAddrInfo, 1,
                           {kytest::SocketFaults::Fault::kFail, 11, 0}, true);
    kyTCP::ClientSocket c(kyTCP::Address("127.0.0.1", 1));
    const kyUtil::Error e = c.connect();
    EXPECT_EQ(e.code(), 2);
    EXPECT_EQ(std::string(e.message()).rfind("getaddrinfo failed: ", 0), 0u) << e.message();
}

TEST(Server, PortInUseIsCodeThree) {
    kyTCP::Server a(-1, 4);
    ASSERT_TRUE(a.listen().ok());
    kyTCP::Server b(a.getPort(), 4);
    const kyUtil::Error e = b.listen();
    EXPECT_EQ(e.code(), 3);
    EXPECT_EQ(std::string(e.message()).rfind("bind() failed: ", 0), 0u) << e.message();
}

TEST(Server, AcceptTimesOutAndShutdownIsAsymmetric) {
    kyTCP::Server s(-1, 4);
    s.setLoopbackOnly();
    EXPECT_EQ(s.getPort(), -1);
    EXPECT_EQ(s.getListeningSocketImplIPv4(), nullptr);
    kyTCP::Socket* out = reinterpret_cast<kyTCP::Socket*>(&s); // must be overwritten
    const kyUtil::Error e = s.accept(&out, kShort);            // listens first
    EXPECT_TRUE(e.ok()) << e.message();
    EXPECT_EQ(out, nullptr);
    EXPECT_GT(s.getPort(), 0);
    EXPECT_FALSE(s.connectionPending());
    ASSERT_NE(s.getListeningSocketImplIPv4(), nullptr);
    EXPECT_EQ(s.getListeningSocketImplIPv6() != nullptr, hasIPv6());
    s.shutdown();
    EXPECT_EQ(s.getListeningSocketImplIPv4(), nullptr);
    EXPECT_EQ(s.getListeningSocketImplIPv6() != nullptr, hasIPv6());
}

TEST(WaitReadable, ReportsReadyAsCodeOneAndKeepsSixtyFour) {
    kyTCP::Server server(-1, 128);
    server.setLoopbackOnly();
    ASSERT_TRUE(server.listen().ok());
    std::vector<std::unique_ptr<kyTCP::ClientSocket>> clients;
    std::vector<std::unique_ptr<kyTCP::Socket>> accepted;
    kyTCP::WaitReadable w;
    for (int i = 0; i < 66; ++i) {
        clients.emplace_back(
            new kyTCP::ClientSocket(kyTCP::Address("127.0.0.1", server.getPort())));
        ASSERT_TRUE(clients.back()->connect().ok());
        accepted.emplace_back(server.accept(Interval(10, 0)).first);
        ASSERT_NE(accepted.back(), nullptr);
        w.add(*clients.back());
        if (i == 0) {
            w.add(*clients.back()); // held once
        }
    }
    w.add(server); // the set is full
    ASSERT_TRUE(accepted[63]->write("x", 1, nullptr).ok());
    EXPECT_EQ(w.wait(Interval(5, 0)).code(), 1); // ready is reported as code 1
    EXPECT_TRUE(w.isReadable(*clients[63]));     // the duplicate took no place
    EXPECT_FALSE(w.isReadable(*clients[0]) || w.isReadable(server));
    char b;
    ASSERT_TRUE(clients[63]->read(&b, 1, nullptr).ok());
    w.reset();
    w.add(*clients[0]);
    EXPECT_TRUE(w.wait(kShort).ok()); // nothing ready: a time-out is success
    EXPECT_FALSE(w.isReadable(*clients[0]));
    for (int i : {0, 64, 65}) {
        w.reset();
        for (auto& c : clients) {
            w.add(*c);
        }
        ASSERT_TRUE(accepted[i]->write("x", 1, nullptr).ok());
        const kyUtil::Error e = w.wait(i < 64 ? Interval(5, 0) : kShort);
        EXPECT_EQ(w.isReadable(*clients[i]), i < 64) << i;
        EXPECT_EQ(e.code(), i < 64 ? 1 : 0) << i;
        ASSERT_TRUE(clients[i]->read(&b, 1, nullptr).ok());
    }
    std::vector<kyTCP::Socket*> all, readable;
    for (auto& c : clients) {
        all.push_back(c.get());
    }
    ASSERT_TRUE(accepted[5]->write("y", 1, nullptr).ok());
    ASSERT_TRUE(accepted[2]->write("y", 1, nullptr).ok());
    EXPECT_TRUE(kyTCP::waitReadable(all, readable, Interval(5, 0)).ok());
    ASSERT_FALSE(readable.empty());
    EXPECT_EQ(readable[0], clients[2].get()); // input order
    readable.clear();
    all.assign(1, clients[10].get());
    EXPECT_TRUE(kyTCP::waitReadable(all, readable, kShort).ok());
    EXPECT_TRUE(readable.empty());
    all.clear(); // nothing to wait for is a failure, never an endless wait
    EXPECT_STREQ(kyTCP::waitReadable(all, readable, Interval()).message(), "select() failed");
    // A pending connection makes the server readable.
    w.reset();
    w.add(server);
    kyTCP::ClientSocket late(kyTCP::Address("127.0.0.1", server.getPort()));
    ASSERT_TRUE(late.connect().ok());
    EXPECT_EQ(w.wait(Interval(5, 0)).code(), 1);
    EXPECT_TRUE(w.isReadable(server));
}

} // namespace
