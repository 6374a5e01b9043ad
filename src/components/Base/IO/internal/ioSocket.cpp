// ioSocket.cpp - the socket's byte stream: the one place that needs the socket's full
// declaration, so that the buffer headers stay free of the socket layer.
#include <Base/IO/internal/ioSocket.h>
#include <Base/TCP/kyTCPSocket.h>

namespace ioDetail {

kyOS::IOStream* socketStream(kyTCP::Socket* socket) {
    return socket;
}

} // namespace ioDetail
