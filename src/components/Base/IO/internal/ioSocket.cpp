// ioSocket.cpp - the socket's byte stream. The socket layer is not part of this build yet, so
// no socket can be reached: every socket counts as missing and the buffer reports status 6.
// Once the socket header is available this becomes the plain conversion `return socket;`.
#include <Base/IO/internal/ioSocket.h>

namespace ioDetail {

kyOS::IOStream* socketStream(kyTCP::Socket*) {
    return nullptr;
}

} // namespace ioDetail
