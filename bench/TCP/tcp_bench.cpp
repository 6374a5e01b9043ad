// tcp_bench.cpp - kyTCP sockets against the plain socket calls, on the loopback interface.
//
//   stream/1GiB    1 GiB in 64 KiB writes from a writer thread to a reader, through
//                  kyTCP::Socket write/read; against send/recv on a connection made with the
//                  plain calls. Goal: at least 0.9x.
//   connect/1000   1,000 round trips of connect + accept + close on both ends, through
//                  kyTCP::ClientSocket and kyTCP::Server; against socket/connect/accept/close.
//                  Goal: at least 0.8x.
//
// Times are wall-clock milliseconds per iteration (two threads share the work). Connections
// are made only to 127.0.0.1; the round trips are a fixed count so that the TIME_WAIT entries
// they leave never exhaust the ephemeral ports.
#include <Base/TCP/kyTCPServer.h>

#include <kyBenchSupport.h>

#include <chrono>
#include <cstring>
#include <memory>
#include <thread>
#include <vector>

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

constexpr std::size_t kTotal = std::size_t(1) << 30;
constexpr std::size_t kBlock = 64u << 10;
constexpr int kRoundTrips = 1000;

using Clock = std::chrono::steady_clock;

// A listening socket on 127.0.0.1 made with the plain calls; its port in `port`.
int rawListener(int* port) {
    const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in a;
    std::memset(&a, 0, sizeof a);
    a.sin_family = AF_INET;
    a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof a;
    if (fd < 0 || ::bind(fd, reinterpret_cast<sockaddr*>(&a), sizeof a) != 0 ||
        ::listen(fd, 128) != 0 ||
        ::getsockname(fd, reinterpret_cast<sockaddr*>(&a), &length) != 0) {
        return -1;
    }
    *port = ntohs(a.sin_port);
    return fd;
}

int rawConnect(int port) {
    const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in a;
    std::memset(&a, 0, sizeof a);
    a.sin_family = AF_INET;
    a.sin_port = htons(static_cast<std::uint16_t>(port));
    a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (fd >= 0 && ::connect(fd, reinterpret_cast<sockaddr*>(&a), sizeof a) != 0) {
        ::close(fd);
        return -1;
    }
    return fd;
}

template <class Write, class Read>
double stream(Write write, Read read) {
    const auto start = Clock::now();
    std::thread writer([&] {
        std::vector<char> block(kBlock, 'x');
        for (std::size_t done = 0; done < kTotal; done += kBlock) {
            if (!write(block.data(), kBlock)) {
                break;
            }
        }
    });
    std::vector<char> buffer(kBlock);
    std::size_t total = 0;
    while (total < kTotal) {
        const std::size_t n = read(buffer.data(), kBlock);
        if (n == 0) {
            break;
        }
        total += n;
    }
    writer.join();
    const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
    return total == kTotal ? seconds : -1;
}

void report(benchmark::State& state, double seconds) {
    if (seconds < 0) {
        state.SkipWithError("the transfer failed");
    } else {
        state.SetIterationTime(seconds);
    }
}

void BM_StreamBase(benchmark::State& state) {
    kyTCP::Server server(-1, 4);
    server.setLoopbackOnly();
    if (server.listen().failed()) {
        state.SkipWithError("listen failed");
        return;
    }
    kyTCP::ClientSocket c(kyTCP::Address("127.0.0.1", server.getPort()));
    if (c.connect().failed()) {
        state.SkipWithError("connect failed");
        return;
    }
    std::unique_ptr<kyTCP::Socket> s(server.accept(kyUtil::Interval()).first);
    for (auto _ : state) {
        report(state,
               stream([&](const char* p, std::size_t n) { return c.write(p, n, nullptr).ok(); },
                      [&](char* p, std::size_t n) {
                          std::size_t got = 0;
                          return s->read(p, n, &got).ok() ? got : 0;
                      }));
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * kTotal));
}

void BM_StreamRaw(benchmark::State& state) {
    int port = 0;
    const int listener = rawListener(&port);
    const int c = rawConnect(port);
    const int s = ::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
    for (auto _ : state) {
        report(state, stream(
                          [&](const char* p, std::size_t n) {
                              while (n > 0) {
                                  const ssize_t k = ::send(c, p, n, MSG_NOSIGNAL);
                                  if (k <= 0) {
                                      return false;
                                  }
                                  p += k;
                                  n -= static_cast<std::size_t>(k);
                              }
                              return true;
                          },
                          [&](char* p, std::size_t n) {
                              const ssize_t k = ::recv(s, p, n, 0);
                              return k > 0 ? static_cast<std::size_t>(k) : 0;
                          }));
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * kTotal));
    ::close(c);
    ::close(s);
    ::close(listener);
}

void BM_ConnectBase(benchmark::State& state) {
    kyTCP::Server server(-1, 128);
    server.setLoopbackOnly();
    if (server.listen().failed()) {
        state.SkipWithError("listen failed");
        return;
    }
    const kyTCP::Address address("127.0.0.1", server.getPort());
    for (auto _ : state) {
        const auto start = Clock::now();
        bool ok = true;
        for (int i = 0; i < kRoundTrips && ok; ++i) {
            kyTCP::ClientSocket c(address);
            ok = c.connect().ok();
            std::unique_ptr<kyTCP::Socket> s(server.accept(kyUtil::Interval()).first);
            ok = ok && s != nullptr && c.close().ok() && s->close().ok();
        }
        report(state, ok ? std::chrono::duration<double>(Clock::now() - start).count() : -1);
    }
}

void BM_ConnectRaw(benchmark::State& state) {
    int port = 0;
    const int listener = rawListener(&port);
    for (auto _ : state) {
        const auto start = Clock::now();
        bool ok = true;
        for (int i = 0; i < kRoundTrips && ok; ++i) {
            const int c = rawConnect(port);
            const int s = ::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
            ok = c >= 0 && s >= 0;
            ok = (c < 0 || ::close(c) == 0) && (s < 0 || ::close(s) == 0) && ok;
        }
        report(state, ok ? std::chrono::duration<double>(Clock::now() - start).count() : -1);
    }
    ::close(listener);
}

#define KY_TCP_BENCHMARK(fn, name)                                                                 \
    BENCHMARK(fn)->UseManualTime()->Unit(benchmark::kMillisecond)->Name(name)

KY_TCP_BENCHMARK(BM_StreamBase, "stream/1GiB/base");
KY_TCP_BENCHMARK(BM_StreamRaw, "stream/1GiB/raw");
KY_TCP_BENCHMARK(BM_ConnectBase, "connect/1000/base");
KY_TCP_BENCHMARK(BM_ConnectRaw, "connect/1000/raw");

const bool kGoals[] = {
    kybench::goal("stream/1GiB", "raw", 0.9),
    kybench::goal("connect/1000", "raw", 0.8),
};

} // namespace

// The machine is shared: few repetitions unless the command line says otherwise.
int main(int argc, char** argv) {
    return kybench::runBenchmarks(argc, argv, 3);
}
