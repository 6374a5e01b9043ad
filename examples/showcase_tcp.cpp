// showcase_tcp.cpp - the TCP section of the showcase: a loopback echo.
#include "showcase.h"

#include <Base/TCP/kyTCPServer.h>

#include <cstdio>
#include <memory>

void showcaseTCP() {
    showcaseSection("TCP: a server on both families and a loopback echo");

    kyTCP::Server server(-1, 4); // -1: the system picks the port
    server.setLoopbackOnly();
    kyUtil::Error e = server.listen();
    kyTCP::ClientSocket client(kyTCP::Address("127.0.0.1", server.getPort()));
    if (e.ok()) {
        e = client.connect();
    }
    std::unique_ptr<kyTCP::Socket> peer(e.ok() ? server.accept(kyUtil::Interval(5, 0)).first
                                               : nullptr);
    char echo[6] = {};
    std::size_t got = 0;
    if (peer != nullptr && client.write("hello", 5, nullptr).ok() &&
        peer->read(echo, 5, &got).ok() && peer->write(echo, got, nullptr).ok() &&
        client.read(echo, 5, &got).ok()) {
        std::printf("listening on port %d (IPv6 too: %s); the echo came back: \"%s\"\n",
                    server.getPort(), server.getListeningSocketImplIPv6() ? "yes" : "no", echo);
    } else {
        std::printf("loopback echo failed: %s\n", e.message());
    }
    std::printf("\"255.255.255.255\" counts as a %s (an old quirk, kept)\n",
                kyTCP::Address("255.255.255.255").isNameCached() ? "name" : "number");
}
