// ioSocket.h - how the serialization buffers reach a socket's byte stream.
#ifndef KY_IO_INTERNAL_SOCKET_H
#define KY_IO_INTERNAL_SOCKET_H

#include <Base/OS/kyOSIOStream.h>

namespace kyTCP {
class Socket;
}

namespace ioDetail {

/// The socket as the `kyOS::IOStream` it is, or null when there is none. Kept in one file
/// because it is the only place that needs the socket's full declaration.
kyOS::IOStream* socketStream(kyTCP::Socket* socket);

} // namespace ioDetail

#endif // KY_IO_INTERNAL_SOCKET_H
