// ioContext.cpp - the contexts shared by every encoding, messages and the fatal stop.
#include <Base/IO/ioContext.h>

#include <Base/IO/internal/ioPacketFileBuffer.h>
#include <Base/IO/ioAsciiContext.h>
#include <Base/IO/ioBinaryContext.h>
#include <Base/IO/ioBufferedStream.h>
#include <Base/IO/ioPacketRegistry.h>
#include <Base/IO/ioPacketType.h>
#include <Base/IO/ioReferenceMap.h>
#include <Base/String/kyStringFormat.h>
#include <Base/Utility/shared/kyUtilCompiler.h>

#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace ioDetail {

void (*gErrorSink)(char*) = nullptr;
void (*gAbortHook)() = nullptr;

// Messages are formatted into an area of this size.
constexpr int kMessageArea = 1024;
// The state stack starts with this many slots and doubles.
constexpr int kInitialStates = 10;

const char* const kStringTypeName = "packetFile_string";
const char* const kEofTypeName = "packetFile_EOF";

} // namespace ioDetail

void ioPacketFileError(const char* format, ...) {
    char text[ioDetail::kMessageArea];
    va_list args;
    va_start(args, format);
    TN_vsnprintf(text, sizeof text, format, args);
    va_end(args);
    text[sizeof text - 1] = '\0';
    if (ioDetail::gErrorSink != nullptr) {
        ioDetail::gErrorSink(text);
    } else {
        std::fprintf(stderr, "%s", text);
    }
}

void ioPacketFileErrorInit(void (*sink)(char*)) {
    ioDetail::gErrorSink = sink;
}

void ioPacketFileAbortInit(void (*hook)()) {
    ioDetail::gAbortHook = hook;
}

// ---------------------------------------------------------------------------------------------
// ioContext

ioContext::ioContext()
    : registry_(nullptr), current_(nullptr), referenceMap_(ioPacketFileNewReferenceMap()),
      states_(new ioPacketFileBuffer*[ioDetail::kInitialStates]()),
      capacity_(ioDetail::kInitialStates), depth_(-1), status_(ioGood) {
    referenceMap_->incrementCount();
}

ioContext::~ioContext() {
    for (int i = 0; i < capacity_; ++i) {
        delete states_[i];
    }
    delete[] states_;
    if (referenceMap_ != nullptr) {
        referenceMap_->decrementCount();
    }
}

void ioContext::associateReferenceMap(ioReferenceMap* map) {
    if (map != nullptr) {
        map->incrementCount();
    }
    if (referenceMap_ != nullptr) {
        referenceMap_->decrementCount();
    }
    referenceMap_ = map != nullptr ? map : ioPacketFileNewReferenceMap();
    if (map == nullptr) {
        referenceMap_->incrementCount(); // a context always has a map
    }
}

ioPacketType* ioContext::lookupType(int id) const {
    return registry_ == nullptr ? nullptr : registry_->lookup(id);
}

bool ioContext::isReferenceDefined(const void* object) const {
    const int number = referenceMap_->lookup(object);
    return number > 0 && referenceMap_->isDefined(number);
}

bool ioContext::isReferenceDefined(int number) const {
    return referenceMap_->isDefined(number);
}

int ioContext::getReference(const void* object) const {
    return referenceMap_->lookup(object);
}

void* ioContext::getReferenceDefinition(int number) const {
    return referenceMap_->definition(number);
}

void ioContext::undefineReference(int number) {
    referenceMap_->undefine(number);
}

void ioContext::undefineReference(void* object) {
    referenceMap_->undefine(object);
}

void ioContext::invalidPacket() {
    if (current_ != nullptr) {
        current_->valid = false;
    }
}

void ioContext::fatalError() {
    ioPacketFileError("ioPacketFile: Fatal error.  Aborting.\n");
    for (int i = 0; i < depth_; ++i) {
        const ioPacketFileBuffer* state = states_[i];
        const char* name =
            state != nullptr && state->type != nullptr ? state->type->getName() : nullptr;
        // The name's address, as a number: enough to tell the open packets apart in a dump.
        ioPacketFileError("  %d: %d\n", i,
                          static_cast<int>(reinterpret_cast<std::uintptr_t>(name)));
    }
    if (ioDetail::gAbortHook != nullptr) {
        ioDetail::gAbortHook();
    }
    std::abort();
}

void ioContext::reportUnresolvedPtrs(ioPacketType* type, void (*function)(void*, int)) {
    referenceMap_->reportUnresolved(type, function);
}

void ioContext::pushPacket() {
    ++depth_;
    if (depth_ >= capacity_) {
        const int grown = capacity_ * 2;
        auto** states = new ioPacketFileBuffer*[grown]();
        for (int i = 0; i < capacity_; ++i) {
            states[i] = states_[i];
        }
        delete[] states_;
        states_ = states;
        capacity_ = grown;
    }
    if (states_[depth_] == nullptr) {
        states_[depth_] = createState();
    }
    current_ = states_[depth_];
    makeCurrent(current_);
}

void ioContext::popPacket() {
    if (depth_ >= 0) {
        --depth_;
    }
    current_ = depth_ >= 0 ? states_[depth_] : nullptr;
    makeCurrent(current_);
}

void ioContext::promoteStreamFailure(const ioBufferedStream& stream) {
    switch (stream.getStatus()) {
    case ioStreamGood:
        return;
    case ioStreamOpenFailed:
        status_ = ioOpenFailed;
        return;
    case ioStreamEndOfFile:
    case ioStreamEndOfCompressed:
        status_ = ioBadData;
        return;
    case ioStreamDiskFull:
        status_ = ioDiskFull;
        return;
    case ioStreamChecksumMismatch:
        status_ = ioChecksumMismatch;
        return;
    default:
        status_ = ioFailed;
        return;
    }
}

void ioContext::badData(const char* what) {
    if (status_ == ioGood) {
        status_ = ioBadData;
        ioPacketFileError("ioPacketFile: %s\n", what);
    }
}

ioClientReadContext::~ioClientReadContext() = default;
ioClientWriteContext::~ioClientWriteContext() = default;

// ---------------------------------------------------------------------------------------------
// ioWriteContext

ioWriteContext::ioWriteContext(ioBufferedStreamOutput& stream)
    : stream_(stream), inFile_(false), writeRegistry_(true), stringType_(nullptr) {}

ioWriteContext::~ioWriteContext() = default;

void ioWriteContext::startFile() {
    inFile_ = true;
    if (!good()) {
        return;
    }
    if (registry_ == nullptr) {
        setStatus(ioFailed);
        return;
    }
    ioHeader header = supplyHeader();
    header.writeHeader(stream_);
    registry_->init();
    registry_->writeRegistry(stream_, writeRegistry_);
    stringType_ = registry_->lookup(ioDetail::kStringTypeName);
    promoteStreamStatus(stream_);
}

void ioWriteContext::endFile() {
    ioPacketType* eof = registry_ == nullptr ? nullptr : registry_->lookup(ioDetail::kEofTypeName);
    if (good()) {
        if (depth_ >= 0) {
            setStatus(ioFailed); // the end-of-file packet is written all the same
        }
        if (eof != nullptr) {
            static_cast<ioPacketEOF*>(eof)->write(*this);
            endPacket();
        }
        promoteStreamStatus(stream_);
    }
    inFile_ = false;
}

void ioWriteContext::startPacket(const char* typeName, const void* object) {
    const ioPacketType* type = registry_ == nullptr ? nullptr : registry_->lookup(typeName);
    if (type == nullptr) {
        if (good()) {
            setStatus(ioFailed);
        }
        // Still open a packet so that the caller's endPacket stays balanced.
    }
    startPacket(type, object);
}

void ioWriteContext::startPacket(const ioPacketType* type, const void* object) {
    pushPacket();
    auto* packetType = const_cast<ioPacketType*>(type);
    current_->reset(packetType);
    openPacket(type == nullptr ? -1 : type->getId(), object != nullptr);
    if (object != nullptr) {
        writeReference(object, true);
    }
    if (packetType != nullptr) {
        packetType->used();
    }
}

void ioWriteContext::endChunk() {
    auto& open = current_->chunkOpen[static_cast<std::size_t>(current_->level)];
    if (open) {
        closeChunk();
        open = 0;
    }
}

void ioWriteContext::startChunk() {
    if (current_ == nullptr) {
        setStatus(ioFailed);
        return;
    }
    endChunk();
    current_->chunkOpen[static_cast<std::size_t>(current_->level)] = 1;
    openChunk();
}

void ioWriteContext::startSubPacket() {
    if (current_ == nullptr) {
        setStatus(ioFailed);
        return;
    }
    current_->raiseLevel();
    openSubPacket();
}

void ioWriteContext::endSubPacket() {
    if (current_ == nullptr || current_->level == 0) {
        setStatus(ioFailed);
        return;
    }
    endChunk();
    closeSubPacket();
    --current_->level;
}

void ioWriteContext::endPacket() {
    if (current_ == nullptr) {
        setStatus(ioFailed);
        return;
    }
    while (current_->level > 0) {
        endSubPacket(); // sub-packets left open are closed with their packet
    }
    endChunk();
    closePacket();
    popPacket();
    promoteStreamStatus(stream_);
}

void ioWriteContext::writeCStringPacket(const char* text) {
    if (text == nullptr) {
        return;
    }
    startPacket(stringType_, text);
    writeCString(text);
    endPacket();
}

int ioWriteContext::writeReference(const void* object, bool define) {
    // lookup, then newReference when the object has no number yet: one call to the map
    const int number = referenceMap_->enter(object);
    writeReference(number, define);
    return number;
}

void ioWriteContext::writeReference(int number, bool define) {
    if (define) {
        referenceMap_->markDefined(number, current_ == nullptr ? nullptr : current_->type);
    }
    writeReferenceNumber(number);
}

// ---------------------------------------------------------------------------------------------
// ioReadContext

ioReadContext::ioReadContext(ioReadMethod method, ioBufferedStreamInput& stream)
    : stream_(stream), packetReference_(-1), packetReferenceDefined_(false), eofType_(nullptr),
      packetsRead_(0), halted_(false), readMethod_(method), referenceBase_(0) {}

ioReadContext::~ioReadContext() = default;

void ioReadContext::readFile(ioClientReadContext& client) {
    if (!good()) {
        return;
    }
    if (registry_ == nullptr) {
        setStatus(ioFailed);
        return;
    }
    registry_->init();
    if (registry_->readRegistry(stream_) != ioGood) {
        setStatus(ioBadData);
        return;
    }
    eofType_ = registry_->lookup(ioDetail::kEofTypeName);
    referenceBase_ = referenceMap_->highestNumber() - static_cast<int>(bytesRead() / 4);
    referenceLimit_ = 0;
    pushPacket();
    while (good() && !halted_) {
        readPacket(client);
    }
    popPacket();
    if (halted_) {
        setStatus(ioHalted);
    }
    if (status_ == ioEndOfFile) {
        referenceMap_->resolveRemaining(client);
        setStatus(ioGood);
    }
}

bool ioReadContext::reusePacketFile() {
    setStatus(ioGood);
    halted_ = false;
    ioHeader header;
    if (header.readHeader(stream_) && header.determineReadMethod() == readMethod_) {
        return true;
    }
    halted_ = true;
    return false;
}

void ioReadContext::readPacket(ioClientReadContext& client) {
    current_->reset(nullptr);
    packetReference_ = 0;
    packetReferenceDefined_ = false;
    const int answer = readPacketOpening();
    promoteStreamStatus(stream_);
    if (!good()) {
        return;
    }
    ioPacketType* type = current_->type;
    if (type == nullptr) {
        badData("a packet names a type the registry does not have");
        return;
    }
    if (type == eofType_) {
        finishPacket();
        if (good()) {
            setStatus(ioEndOfFile);
        }
        return;
    }
    type->used();
    if (answer < 2) {
        if (answer == 1) {
            packetReference_ = readReference();
        }
        client.prePacketRead();
        type->read(client);
        client.postPacketRead();
    }
    finishPacket();
    if (answer == 1 && !packetReferenceDefined_ && current_->valid && good()) {
        ioPacketFileError("ioPacketFile: A packet type: '%s'\n", type->getName());
        ioPacketFileError("  had a reference associated with it but no \n");
        ioPacketFileError("  definition was provided by the client code.\n");
        // The flag, not the number, is printed: kept as the messages have always been.
        ioPacketFileError("  The undefined reference is: %d.\n",
                          static_cast<int>(packetReferenceDefined_));
        fatalError();
    }
    ++packetsRead_;
}

void ioReadContext::resolveRemainingReferences(ioClientReadContext& client) {
    referenceMap_->resolveRemaining(client);
}

bool ioReadContext::nextChunk() {
    return current_ != nullptr && good() && readNextChunk();
}

bool ioReadContext::startSubPacket() {
    if (current_ == nullptr) {
        return false;
    }
    current_->raiseLevel();
    return enterSubPacket();
}

void ioReadContext::endSubPacket() {
    if (current_ == nullptr || current_->level == 0) {
        return;
    }
    leaveSubPacket();
    --current_->level;
}

int ioReadContext::readReference() {
    std::int32_t number;
    if (!takeDirect(number)) {
        number = doReadReferenceNumber();
    }
    return number >= 0 && number <= referenceLimit_ ? number : checkReference(number);
}

// Every number in a file was written at least once, four bytes or more, before any higher one;
// a number beyond what was read so far (plus what a shared map held when the file began) is
// corrupt and must not grow the record table. The bound must not follow the numbers the file
// itself defines, or a small file could ratchet it up without limit.
KY_NOINLINE int ioReadContext::checkReference(int number) {
    if (number < 0) {
        badData("a negative reference number");
        return 0;
    }
    referenceLimit_ = static_cast<std::int64_t>(referenceBase_) + bytesRead() / 4 + 1;
    if (number > referenceLimit_) {
        badData("a reference number beyond what the file can hold");
        return 0;
    }
    return number;
}

void ioReadContext::defineReference(int number, void* address, bool alias) {
    referenceMap_->defineAndMark(number, address, alias,
                                 current_ == nullptr ? nullptr : current_->type);
    if (number == packetReference_) {
        packetReferenceDefined_ = true;
    }
}

void ioReadContext::defineReference(int number, void* address) {
    defineReference(number, address, false);
}

void ioReadContext::defineReferenceAlias(int number, void* address) {
    defineReference(number, address, true);
}

void ioReadContext::definePacketReference(void* address) {
    defineReference(packetReference_, address, false);
}

int ioReadContext::readReferenceDefinition(void* address) {
    const int number = readReference();
    defineReference(number, address, false);
    return number;
}

void* ioReadContext::readReferenceUsage(int& number) {
    number = readReference();
    if (number == 0 || !referenceMap_->isDefined(number)) {
        return nullptr;
    }
    referenceMap_->use(number, current_ == nullptr ? nullptr : current_->type, 0);
    return referenceMap_->definition(number);
}

void* ioReadContext::readReferenceUsage() {
    int number = 0;
    return readReferenceUsage(number);
}

void ioReadContext::readReferenceUsage(void* slot, int extra) {
    resolveReference(readReference(), slot, extra);
}

void ioReadContext::resolveReference(int number, void* slot, int extra) {
    referenceMap_->resolve(number, static_cast<void**>(slot),
                           current_ == nullptr ? nullptr : current_->type, extra);
}

void ioReadContext::useReference(void* address) {
    const int number = referenceMap_->lookup(address);
    if (number > 0) {
        useReference(number);
    }
}

void ioReadContext::useReference(int number) {
    referenceMap_->use(number, current_ == nullptr ? nullptr : current_->type, 0);
}

namespace ioDetail {

// The kinds of value, by their debug tag, for the mismatch message.
const char* kindName(int tag) {
    struct Kind {
        char tag;
        const char* name;
    };
    static const Kind kKinds[] = {
        {'b', "Bool"},       {'c', "Char"},        {'C', "UChar"},      {'h', "Short"},
        {'H', "UShort"},     {'i', "Int"},         {'I', "UInt"},       {'l', "Int64"},
        {'L', "UInt64"},     {'f', "Float"},       {'d', "Double"},     {'s', "CString"},
        {'r', "Reference"},  {'B', "BoolArray"},   {'1', "CharArray"},  {'2', "UCharArray"},
        {'3', "ShortArray"}, {'4', "UShortArray"}, {'5', "IntArray"},   {'6', "UIntArray"},
        {'7', "Int64Array"}, {'8', "UInt64Array"}, {'9', "FloatArray"}, {'0', "DoubleArray"},
    };
    for (const Kind& kind : kKinds) {
        if (kind.tag == tag) {
            return kind.name;
        }
    }
    return "(invalid type)";
}

} // namespace ioDetail

void ioReadContext::expectTag(char expected) {
    const int got = readTag();
    // A negative tag passes unchecked; past the data the reader has already failed.
    if (got < 0 || static_cast<signed char>(got) < 0 || got == expected) {
        return;
    }
    ioPacketFileError("Packet file type mismatch:\n");
    ioPacketFileError("   got: %s (%02x)\n", ioDetail::kindName(got), got);
    ioPacketFileError("   expected: %s (%02x)\n", ioDetail::kindName(expected),
                      static_cast<unsigned char>(expected));
    fatalError();
}

// ---------------------------------------------------------------------------------------------
// Making contexts

ioReadContext* ioReadContextAlloc(ioBufferedStreamInput& stream, ioPacketRegistry* registry) {
    ioHeader header;
    if (!header.readHeader(stream)) {
        return nullptr;
    }
    const ioReadMethod method = header.determineReadMethod();
    ioReadContext* context = nullptr;
    switch (method) {
    case ioReadBinarySameEndian:
        context = new ioReadContextBinarySameEndian(method, stream);
        break;
    case ioReadBinarySwapped:
        context = new ioReadContextBinarySwapped(method, stream);
        break;
    case ioReadBinarySameEndianDebug:
        context = new ioReadContextDebug<ioReadContextBinarySameEndian>(method, stream);
        break;
    case ioReadBinarySwappedDebug:
        context = new ioReadContextDebug<ioReadContextBinarySwapped>(method, stream);
        break;
    case ioReadAscii:
        context = new ioReadContextAscii(method, stream);
        break;
    case ioReadAsciiDebug:
        context = new ioReadContextDebug<ioReadContextAscii>(method, stream);
        break;
    default:
        return nullptr;
    }
    if (registry != nullptr) {
        context->associateRegistry(registry);
    }
    return context;
}

ioWriteContext* ioWriteContextAlloc(ioBufferedStreamOutput& stream, ioWriteMethod method,
                                    ioPacketRegistry* registry) {
    ioWriteContext* context = nullptr;
    switch (method) {
    case ioWriteBinary:
        context = new ioWriteContextBinary(stream);
        break;
    case ioWriteBinaryDebug:
        context = new ioWriteContextDebug<ioWriteContextBinary, ioWriteBinaryDebug>(stream);
        break;
    case ioWriteAscii:
        context = new ioWriteContextAscii(stream);
        break;
    case ioWriteAsciiDebug:
        context = new ioWriteContextDebug<ioWriteContextAscii, ioWriteAsciiDebug>(stream);
        break;
    default:
        return nullptr; // an unknown method
    }
    if (registry != nullptr) {
        context->associateRegistry(registry);
    }
    return context;
}
