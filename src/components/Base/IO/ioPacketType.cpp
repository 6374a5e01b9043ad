// ioPacketType.cpp - packet types and the helpers that make them.
#include <Base/IO/ioPacketType.h>

#include <Base/IO/ioContext.h>

#include <cstdlib>
#include <cstring>

ioPacketType::ioPacketType(const char* name)
    : name_(name == nullptr ? "" : name), id_(-1), usages_(0), flags_(0) {}

ioPacketType::~ioPacketType() = default;

void ioPacketType::read(ioClientReadContext& client) {
    // Nothing to read: the packet is passed over and its reference need not be defined.
    client.getContext().invalidPacket();
}

void ioPacketType::memoryNotReferenced(ioClientReadContext&, void*) {}

void ioPacketType::hasUnresolvedPointer(ioClientReadContext&, void*, int) {}

void ioPacketType::handleUnreferencedMemory(ioClientReadContext& client, void* address) {
    flags_ |= kUnreferenced;
    memoryNotReferenced(client, address);
}

void ioPacketType::handleUnresolvedPtr(ioClientReadContext& client, void* slot, int extra) {
    flags_ |= kUnresolved;
    hasUnresolvedPointer(client, slot, extra);
}

ioPacketString::ioPacketString() : ioPacketType("packetFile_string") {}

void ioPacketString::read(ioClientReadContext& client) {
    ioReadContext& context = client.getContext();
    const char* text = context.readCString();
    if (context.getPacketReference() <= 0 || !context.good()) {
        return; // a broken packet, or no number to hand the copy over with
    }
    const std::size_t length = std::strlen(text);
    char* copy = static_cast<char*>(std::malloc(length + 1));
    if (copy == nullptr) {
        return;
    }
    std::memcpy(copy, text, length + 1);
    context.definePacketReference(copy);
}

ioPacketEOF::ioPacketEOF() : ioPacketType("packetFile_EOF") {}

void ioPacketEOF::read(ioClientReadContext&) {}

void ioPacketEOF::write(ioWriteContext& context) {
    context.startPacket(this, nullptr);
}

ioReadPacketByFunction::ioReadPacketByFunction(const char* name,
                                               void (*function)(ioClientReadContext&))
    : ioPacketType(name), function_(function) {}

void ioReadPacketByFunction::read(ioClientReadContext& client) {
    if (function_ != nullptr) {
        function_(client);
    } else {
        ioPacketType::read(client);
    }
}

ioReadCallback::~ioReadCallback() = default;

void ioGlobalReadCallback::read() {
    if (function_ != nullptr) {
        function_();
    }
}

ioSimplePacketType::ioSimplePacketType(const char* name, ioReadCallback* callback)
    : ioPacketType(name), callback_(callback) {}

void ioSimplePacketType::read(ioClientReadContext& client) {
    if (callback_ != nullptr) {
        callback_->read();
    } else {
        ioPacketType::read(client);
    }
}
