// ioBufferStream.h - the terminal buffers over a kyOS::IOStream and over a socket.
#ifndef KY_IO_INTERNAL_BUFFERSTREAM_H
#define KY_IO_INTERNAL_BUFFERSTREAM_H

#include <Base/IO/internal/ioBuffer.h>
#include <Base/OS/kyOSIOStream.h>

/// A buffer over a `kyOS::IOStream` it does not own. A read that fails having moved nothing
/// ends the data (status 2); a failed write sets status 6. The stream's last error is kept
/// in `getError()`. One thread at a time.
class KY_BASE_API ioBufferIOStream : public ioBuffer {
public:
    static constexpr int kCapacity = 4096;

    explicit ioBufferIOStream(bool reading);
    ~ioBufferIOStream() override;

    int getBufferType() override { return ioBufferTypeIOStream; }
    /// Forgets the stream; the caller still owns it and closes it.
    void close() override;
    int readBlock(char* data, int length) override;
    void writeBlock(const char* data, int length) override;

    /// Stores the stream (not checked; a missing stream fails the first transfer).
    void setStream(kyOS::IOStream* stream) { stream_ = stream; }
    kyOS::IOStream* getStream() const { return stream_; }

protected:
    kyOS::IOStream* stream_;
};

/// A buffer over a socket, which it reaches through the socket's `kyOS::IOStream` side and
/// does not own. Unlike `ioBufferIOStream`, a missing socket or a read that fails having
/// moved nothing is an error (status 6): a connection does not end quietly. One thread at a
/// time.
class KY_BASE_API ioBufferTCP : public ioBuffer {
public:
    static constexpr int kCapacity = 4096;

    explicit ioBufferTCP(bool reading);
    ~ioBufferTCP() override;

    int getBufferType() override { return ioBufferTypeTCP; }
    /// Forgets the socket without closing it.
    void close() override;
    int readBlock(char* data, int length) override;
    void writeBlock(const char* data, int length) override;

    /// The socket as the byte stream it is; a null one sets status 6.
    void setSocketStream(kyOS::IOStream* socket);
    kyOS::IOStream* getSocketStream() const { return socket_; }

protected:
    kyOS::IOStream* socket_;
};

#endif // KY_IO_INTERNAL_BUFFERSTREAM_H
