// ioPacketType.h - ioPacketType, the kinds of packet a file holds, and helpers to make them.
#ifndef KY_IO_PACKETTYPE_H
#define KY_IO_PACKETTYPE_H

#include <Base/BaseExport.h>

#include <string>

class ioClientReadContext;
class ioWriteContext;

/// One kind of packet, known by a unique name; a registry numbers it and owns it. `read` is
/// called for every packet of this type in a file being read. The base type reads nothing and
/// marks its packets not valid, which is what a type unknown to the reader does.
class KY_BASE_API ioPacketType {
public:
    explicit ioPacketType(const char* name);
    virtual ~ioPacketType();
    ioPacketType(const ioPacketType&) = delete;
    ioPacketType& operator=(const ioPacketType&) = delete;

    /// Reads one packet's values through `client.getContext()`.
    virtual void read(ioClientReadContext& client);
    /// An object defined by a packet of this type was never referenced.
    virtual void memoryNotReferenced(ioClientReadContext& client, void* address);
    /// A fix-up asked for by a packet of this type was never filled.
    virtual void hasUnresolvedPointer(ioClientReadContext& client, void* slot, int extra);

    int getId() const { return id_; }
    const char* getName() const { return name_.c_str(); }
    void used() { ++usages_; }
    int getNumUsages() const { return usages_; }
    bool isUnreferenced() const { return (flags_ & kUnreferenced) != 0; }
    bool isUnresolved() const { return (flags_ & kUnresolved) != 0; }
    void handleUnreferencedMemory(ioClientReadContext& client, void* address);
    void handleUnresolvedPtr(ioClientReadContext& client, void* slot, int extra);

private:
    friend class ioPacketRegistry;
    static constexpr int kUnresolved = 1;
    static constexpr int kUnreferenced = 2;

    std::string name_;
    int id_;
    int usages_;
    int flags_;
};

/// "packetFile_string": a text with a reference number. Reading copies the text into a block
/// from `malloc` (the receiver frees it with `free`) and defines the packet's number as it.
/// A packet without a usable number makes no copy.
class KY_BASE_API ioPacketString : public ioPacketType {
public:
    ioPacketString();
    void read(ioClientReadContext& client) override;
};

/// "packetFile_EOF": the empty packet that ends every file.
class KY_BASE_API ioPacketEOF : public ioPacketType {
public:
    ioPacketEOF();
    void read(ioClientReadContext& client) override;
    /// Starts its packet (no object); `ioWriteContext::endFile` closes it.
    virtual void write(ioWriteContext& context);
};

/// A type whose packets are read by a plain function.
class KY_BASE_API ioReadPacketByFunction : public ioPacketType {
public:
    ioReadPacketByFunction(const char* name, void (*function)(ioClientReadContext&));
    void read(ioClientReadContext& client) override;

private:
    void (*function_)(ioClientReadContext&);
};

/// Something to call when a packet is read.
class KY_BASE_API ioReadCallback {
public:
    virtual ~ioReadCallback();
    virtual void read() = 0;
};

/// A callback that calls a plain function.
class KY_BASE_API ioGlobalReadCallback : public ioReadCallback {
public:
    explicit ioGlobalReadCallback(void (*function)()) : function_(function) {}
    void read() override;

private:
    void (*function_)();
};

/// A type whose `read` calls a callback (not owned; it must outlive the type).
class KY_BASE_API ioSimplePacketType : public ioPacketType {
public:
    ioSimplePacketType(const char* name, ioReadCallback* callback);
    void read(ioClientReadContext& client) override;

private:
    ioReadCallback* callback_;
};

#endif // KY_IO_PACKETTYPE_H
