// FaultTest.cpp - interrupted, refused and short socket calls through the fault hook.
#include "TCPTestSupport.h"

#include <Base/TCP/internal/kyTCPNetwork.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <string>

namespace {

using Call = kytest::SocketFaults::Call;
using Fault = kytest::SocketFaults::Fault;

struct FaultCase {
    const char* name;
    Call call;
    std::size_t k;
    Fault fault;
    bool fromThenOn;
    int expectedCode; // of the transfer through the fault
};

// The platform's numbers for the errors the tests inject.
int errorOf(int posix) {
    const kyTCP::detail::SocketCalls& c = kyTCP::detail::nativeSocketCalls();
    if (posix == EINTR) {
        return c.interruptedError;
    }
    if (posix == EAGAIN) {
        return c.wouldBlockError;
    }
    return c.interruptedError == EINTR ? posix : (posix == EPIPE ? 10058 : 10054);
}

const FaultCase kCases[] = {
    {"send interrupted", Call::kSend, 1, {Fault::kFail, EINTR, 0}, false, 0},
    {"send would block", Call::kSend, 2, {Fault::kFail, EAGAIN, 0}, false, 0},
    {"short sends", Call::kSend, 1, {Fault::kShort, 0, 1000}, true, 0},
    {"one byte then all", Call::kSend, 1, {Fault::kShort, 0, 1}, false, 0},
    {"send reset", Call::kSend, 2, {Fault::kFail, ECONNRESET, 0}, false, 1},
    {"send broken pipe", Call::kSend, 1, {Fault::kFail, EPIPE, 0}, false, 1},
    {"recv interrupted", Call::kRecv, 1, {Fault::kFail, EINTR, 0}, false, 0},
    {"recv would block", Call::kRecv, 1, {Fault::kFail, EAGAIN, 0}, false, 0},
    {"short receives", Call::kRecv, 1, {Fault::kShort, 0, 1021}, true, 0},
    {"recv reset", Call::kRecv, 3, {Fault::kFail, ECONNRESET, 0}, false, 1},
    {"poll interrupted", Call::kPoll, 1, {Fault::kFail, EINTR, 0}, false, 0},
};

TEST(Faults, TransfersAbsorbOrReportEachFault) {
    const std::string data = kytest::pattern(256 * 1024);
    for (FaultCase c : kCases) {
        SCOPED_TRACE(c.name);
        kytest::LoopbackPair p;
        ASSERT_TRUE(p.ok());
        p.client->setTimeout(kyUtil::Interval(10, 0)); // waits go through poll as well
        p.accepted->setTimeout(kyUtil::Interval(10, 0));
        c.fault.error = c.fault.kind == Fault::kFail ? errorOf(c.fault.error) : 0;
        kyUtil::Error e;
        std::string got;
        std::size_t put = 0;
        {
            kytest::SocketFaults f(c.call, c.k, c.fault, c.fromThenOn);
            if (c.call == Call::kRecv) {
                ASSERT_TRUE(p.accepted->write(data.data(), data.size(), nullptr).ok());
                e = kytest::readAll(*p.client, got, data.size());
            } else {
                // The reader keeps up, so big writes never fill the connection.
                for (std::size_t i = 0; i < data.size() && e.ok(); i += 65536) {
                    e = p.client->write(data.data() + i, 65536, &put);
                    std::string part;
                    if (e.ok()) {
                        e = kytest::readAll(*p.accepted, part, 65536);
                        got += part;
                    }
                }
            }
            EXPECT_GT(f.affected(), 0u);
        }
        EXPECT_EQ(e.code(), c.expectedCode) << e.message();
        if (c.expectedCode == 0) {
            EXPECT_TRUE(got == data);
        } else {
            const std::string text =
                kyTCP::detail::nativeSocketCalls().errorText(c.fault.error).size() > 0
                    ? (c.call == Call::kSend ? "send() failed: " : "recv() failed: ")
                    : "";
            EXPECT_EQ(std::string(e.message()).rfind(text, 0), 0u) << e.message();
        }
    }
}

TEST(Faults, ServerAndClientCallsReportTheirMessages) {
    struct {
        Call call;
        int code;
        const char* prefix;
    } const cases[] = {
        {Call::kBind, 1, "bind() failed: "},
        {Call::kSocketName, 1, "Cannot get listening socket address:"},
        {Call::kListen, 1, ""},
    };
    for (const auto& c : cases) {
        if (c.call == Call::kSocketName && (kyTCP::usableFamilies() & kyTCP::kFamilyIPv6) == 0) {
            continue; // the IPv6 socket's address is what is read back
        }
        kytest::SocketFaults f(c.call, 1, {Fault::kFail, errorOf(EPIPE), 0}, false);
        kyTCP::Server s(-1, 4);
        const kyUtil::Error e = s.listen();
        EXPECT_EQ(e.code(), c.code);
        EXPECT_EQ(std::string(e.message()).rfind(c.prefix, 0), 0u) << e.message();
    }
    kyTCP::ClientSocket client(kyTCP::Address("127.0.0.1", 9));
    kytest::SocketFaults f(Call::kSetOption, 1, {Fault::kFail, errorOf(EPIPE), 0}, true);
    testing::internal::CaptureStdout();
    const kyUtil::Error e = client.connect();
    (void)testing::internal::GetCapturedStdout();
    EXPECT_EQ(e.code(), 2);
    EXPECT_EQ(std::string(e.message()).rfind("Could not set LINGER socket option: ", 0), 0u)
        << e.message();
}

} // namespace

namespace {

// Replaces entries of the socket-call table for one test and puts the native ones back.
struct ReplacedCalls {
    ReplacedCalls() = default;
    ~ReplacedCalls() { kyTCP::detail::socketCalls() = kyTCP::detail::nativeSocketCalls(); }
    kyTCP::detail::SocketCalls& operator*() { return kyTCP::detail::socketCalls(); }
};

int gStartupCode = 0;

TEST(Faults, StartUpFailuresPrintTheirReason) {
    struct {
        int code;
        const char* reason;
    } const cases[] = {{10014, "internal application error"}, {10036, "operation in progress"},
                       {10067, "internal limits exceeded"},   {10091, "system not ready"},
                       {10092, "version 2.2 not supported"},  {10093, "unknown error"}};
    ReplacedCalls calls;
    (*calls).startup = [] { return gStartupCode; };
    for (const auto& c : cases) {
        gStartupCode = c.code;
        testing::internal::CaptureStdout();
        EXPECT_EQ(kyTCP::detail::startNetwork(), 0); // no family without a socket layer
        EXPECT_EQ(testing::internal::GetCapturedStdout(),
                  std::string("Cannot initialize Windows Sockets: ") + c.reason);
    }
    gStartupCode = 0;
    EXPECT_EQ(kyTCP::detail::startNetwork(), kyTCP::usableFamilies());
}

TEST(Faults, CStreamAndPendingConnectErrors) {
    kytest::LoopbackPair p;
    ASSERT_TRUE(p.ok());
    EXPECT_TRUE(p.client->getConnectError().ok());
    ReplacedCalls calls;
    (*calls).openCStream = [](kyTCP::detail::NativeSocket, const char*, std::FILE**, int* stage,
                              int* error) {
        *stage = *error == 0 ? 1 : 2;
        *error = errorOf(EPIPE);
        return -1;
    };
    (*calls).pendingError = [](kyTCP::detail::NativeSocket, int* pending, int*) {
        *pending = kyTCP::detail::nativeSocketCalls().connectionRefusedError;
        return 0;
    };
    std::FILE* f = nullptr;
    const kyUtil::Error first = p.client->getCStream("rb", &f);
    EXPECT_EQ(std::string(first.message()).rfind("_open_osfhandle() failed for  socket: ", 0), 0u)
        << first.message();
    (*calls).openCStream = [](kyTCP::detail::NativeSocket, const char*, std::FILE**, int* stage,
                              int*) {
        *stage = 2;
        return -1;
    };
    EXPECT_STREQ(p.client->getCStream("rb", &f).message(),
                 "_fdopen() failed for socket file descriptor");
    EXPECT_EQ(f, nullptr);
    const kyUtil::Error pending = p.client->getConnectError();
    EXPECT_EQ(pending.code(), 4);
    EXPECT_EQ(std::string(pending.message()).rfind("connect() failed: ", 0), 0u);
}

} // namespace
