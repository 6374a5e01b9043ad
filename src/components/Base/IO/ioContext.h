// ioContext.h - read and write contexts of packet files: packets, chunks, sub-packets, references.
#ifndef KY_IO_CONTEXT_H
#define KY_IO_CONTEXT_H

#include <Base/BaseExport.h>
#include <Base/IO/ioBufferedStream.h>
#include <Base/IO/ioHeader.h>
#include <Base/IO/ioTypes.h>

#include <cstdint>
#include <cstring>

class ioBufferedStream;
class ioBufferedStreamInput;
class ioBufferedStreamOutput;
class ioPacketFileBuffer;
class ioPacketRegistry;
class ioPacketType;
class ioReferenceMap;
class ioReadContext;
class ioWriteContext;

/// The bytes of the packet level being read, when its values are those bytes in this machine's
/// order (the native binary reader's): `ioReadContext` takes values of fixed size, arrays of
/// them and texts straight from it, inline. Anything the window cannot serve whole (a value
/// crossing `limit`, no window) goes to the encoding's virtual reads, which report it.
struct ioReadWindow {
    const char* bytes = nullptr;
    std::int32_t position = 0; ///< the next byte to read
    std::int32_t limit = 0;    ///< the level's end: n bytes can be read when limit - position >= n
};

/// The sticky status of a read or write context; the first failure stays.
enum ioStatus : std::int32_t {
    ioGood = 0,
    ioFailed = 1,           ///< misuse (no registry, packet open at `endFile`) or stream error
    ioOpenFailed = 2,       ///< the stream could not be opened
    ioEndOfFile = 3,        ///< the end-of-file packet was read (`readFile` turns it back to 0)
    ioBadData = 4,          ///< early end, unreadable registry, unknown or malformed packet
    ioDiskFull = 5,         ///< the stream reported a full disk
    ioHalted = 6,           ///< `halt()` or a failed `reusePacketFile()`
    ioChecksumMismatch = 7, ///< the stream reported a checksum mismatch
};

/// Formats a message (at most 1,023 bytes) and hands it to the sink installed with
/// `ioPacketFileErrorInit`, or prints it to standard error when none is installed.
extern "C" KY_BASE_API void ioPacketFileError(const char* format, ...);
/// Installs the message sink (null restores standard error). Process-wide, not thread-safe.
extern "C" KY_BASE_API void ioPacketFileErrorInit(void (*sink)(char*));
/// Installs the function `ioContext::fatalError` calls before aborting. It may leave by a
/// `longjmp` or an exception to avoid the abort (test harnesses do); null removes it.
extern "C" KY_BASE_API void ioPacketFileAbortInit(void (*hook)());

/// What a read context and a write context share: the packet registry (not owned), the stack
/// of per-packet states (one per nesting depth, created on first use and reused), the reference
/// map (reference-counted, possibly shared between contexts) and the sticky status.
///
/// A context is used from one thread at a time. No operation throws; failures show in
/// `getStatus()`. `fatalError()` never returns.
class KY_BASE_API ioContext {
public:
    ioContext();
    virtual ~ioContext();
    ioContext(const ioContext&) = delete;
    ioContext& operator=(const ioContext&) = delete;

    void associateRegistry(ioPacketRegistry* registry) { registry_ = registry; }
    ioPacketRegistry* getRegistry() const { return registry_; }
    /// Takes a count on `map` and drops the one held on the previous map.
    void associateReferenceMap(ioReferenceMap* map);
    ioReferenceMap* getReferenceMap() const { return referenceMap_; }
    /// The registry's type of this id; null without a registry or for an unknown id.
    ioPacketType* lookupType(int id) const;

    bool isReferenceDefined(const void* object) const;
    bool isReferenceDefined(int number) const;
    /// The number of `object`; -1 when it has none.
    int getReference(const void* object) const;
    void* getReferenceDefinition(int number) const;
    virtual void undefineReference(int number);
    virtual void undefineReference(void* object);

    /// Marks the current packet not valid: its reference need not be defined by the reader.
    void invalidPacket();
    ioStatus getStatus() const { return status_; }
    bool good() const { return status_ == ioGood; }
    /// Reports the open packets and aborts (after calling the installed abort hook).
    [[noreturn]] void fatalError();
    /// Calls `function(slot, extra)` for every fix-up of `type` still queued.
    void reportUnresolvedPtrs(ioPacketType* type, void (*function)(void*, int));

    /// The state of the innermost open packet, or null between packets. For the encodings.
    ioPacketFileBuffer* currentState() const { return current_; }

protected:
    /// The encoding's per-packet state for a new depth.
    virtual ioPacketFileBuffer* createState() = 0;
    /// Tells the encoding which state is current (null when no packet is open).
    virtual void makeCurrent(ioPacketFileBuffer* state) = 0;

    void pushPacket();
    void popPacket();
    void setStatus(ioStatus status) { status_ = status; }
    /// Maps a bad stream status onto the context's (only while the context is good).
    void promoteStreamStatus(const ioBufferedStream& stream) {
        if (status_ == ioGood && stream.getStatus() != ioStreamGood) {
            promoteStreamFailure(stream); // rare: out of line
        }
    }
    void promoteStreamFailure(const ioBufferedStream& stream);
    /// Sets `status` while good and reports `what` once through `ioPacketFileError`.
    void badData(const char* what);

    ioPacketRegistry* registry_;
    ioPacketFileBuffer* current_;
    ioReferenceMap* referenceMap_;
    ioPacketFileBuffer** states_;
    int capacity_;
    int depth_;
    ioStatus status_;
};

/// Writes a packet file: `startFile`, packets (with chunks and sub-packets), `endFile`.
/// Typed writes are the encoding's; arrays carry no element count. The stream is not owned.
class KY_BASE_API ioWriteContext : public ioContext {
public:
    explicit ioWriteContext(ioBufferedStreamOutput& stream);
    ~ioWriteContext() override;

    /// Whether `startFile` writes the registry's lines (the closing "@" line is always written).
    void writePacketRegistry(bool write) { writeRegistry_ = write; }
    void startFile();
    void endFile();
    /// Starts a packet; with an object, the object gets (or keeps) its reference number and the
    /// number is the body's first value. An unknown name sets `ioFailed`.
    void startPacket(const char* typeName, const void* object);
    void startPacket(const ioPacketType* type, const void* object);
    void endPacket();
    /// Closes an open chunk at this level and opens a new one.
    void startChunk();
    void startSubPacket();
    void endSubPacket();
    /// A "packetFile_string" packet whose object is the text itself; nothing for null.
    void writeCStringPacket(const char* text);

    /// Writes the number of `object` (0 for null), numbering it on first sight; with `define`
    /// the current packet is recorded as its definition. Returns the number.
    virtual int writeReference(const void* object, bool define);
    virtual void writeReference(int number, bool define);

    // The encoding's typed writes, in the order of the value table.
    virtual void writeBool(bool value) = 0;
    virtual void writeChar(char value) = 0;
    virtual void writeUChar(unsigned char value) = 0;
    virtual void writeShort(short value) = 0;
    virtual void writeUShort(unsigned short value) = 0;
    virtual void writeInt(int value) = 0;
    virtual void writeUInt(unsigned int value) = 0;
    virtual void writeInt64(std::int64_t value) = 0;
    virtual void writeUInt64(std::uint64_t value) = 0;
    virtual void writeFloat(float value) = 0;
    virtual void writeDouble(double value) = 0;
    /// The text and its terminating zero; null writes an empty text.
    virtual void writeCString(const char* text) = 0;
    virtual void writeBoolArray(const bool* values, int count) = 0;
    virtual void writeCharArray(const char* values, int count) = 0;
    virtual void writeUCharArray(const unsigned char* values, int count) = 0;
    virtual void writeShortArray(const short* values, int count) = 0;
    virtual void writeUShortArray(const unsigned short* values, int count) = 0;
    virtual void writeIntArray(const int* values, int count) = 0;
    virtual void writeUIntArray(const unsigned int* values, int count) = 0;
    virtual void writeInt64Array(const std::int64_t* values, int count) = 0;
    virtual void writeUInt64Array(const std::uint64_t* values, int count) = 0;
    virtual void writeFloatArray(const float* values, int count) = 0;
    virtual void writeDoubleArray(const double* values, int count) = 0;
    /// A reference number as a value.
    virtual void writeReferenceNumber(int number) = 0;
    /// One raw byte: the type tag of the debug forms.
    virtual void writeTag(char tag) = 0;
    /// The header `startFile` writes.
    virtual ioHeader supplyHeader() const = 0;

    ioBufferedStreamOutput& getStream() const { return stream_; }

protected:
    // The encoding's framing, called with the current state set.
    virtual void openPacket(int typeId, bool hasObject) = 0;
    virtual void openChunk() = 0;
    virtual void closeChunk() = 0;
    virtual void openSubPacket() = 0;
    virtual void closeSubPacket() = 0;
    virtual void closePacket() = 0;

    ioBufferedStreamOutput& stream_;
    bool inFile_;
    bool writeRegistry_;
    ioPacketType* stringType_;

private:
    void endChunk();
};

/// Lets application code hear of packet boundaries while a file is read; the packet types'
/// read functions receive it.
class KY_BASE_API ioClientReadContext {
public:
    explicit ioClientReadContext(ioReadContext& context) : context_(context) {}
    virtual ~ioClientReadContext();
    virtual void prePacketRead() {}
    virtual void postPacketRead() {}
    ioReadContext& getContext() const { return context_; }

private:
    ioReadContext& context_;
};

/// The writing counterpart of `ioClientReadContext`.
class KY_BASE_API ioClientWriteContext {
public:
    explicit ioClientWriteContext(ioWriteContext& context) : context_(context) {}
    virtual ~ioClientWriteContext();
    ioWriteContext& getContext() const { return context_; }

private:
    ioWriteContext& context_;
};

/// Reads a packet file: `readFile` reads the registry, then dispatches every packet to its
/// type's read function until the end-of-file packet. Input is treated as hostile: lengths,
/// ids and reference numbers are checked before use and a malformed file ends in `ioBadData`
/// with a message through `ioPacketFileError`. The stream is not owned.
class KY_BASE_API ioReadContext : public ioContext {
public:
    ioReadContext(ioReadMethod method, ioBufferedStreamInput& stream);
    ~ioReadContext() override;

    /// Reads one packet file to its end-of-file packet; the status tells how it went.
    void readFile(ioClientReadContext& client);
    /// Prepares the next packet file in the same stream; false (and halted) when its header
    /// does not read or needs another reader.
    bool reusePacketFile();
    /// Stops `readFile` after the current packet (status `ioHalted`).
    void halt() { halted_ = true; }
    /// Moves to the next chunk of the current level; false when it holds no data.
    bool nextChunk();
    /// Enters the next sub-packet; false when none is left (the matching `endSubPacket` is
    /// still due).
    bool startSubPacket();
    void endSubPacket();
    /// The reference number the current packet carries (0 for none).
    int getPacketReference() const { return packetReference_; }
    int getPacketsRead() const { return packetsRead_; }
    ioReadMethod getReadMethod() const { return readMethod_; }
    ioBufferedStreamInput& getStream() const { return stream_; }

    virtual void definePacketReference(void* address);
    /// Reads a number and fills `*slot` with its address now or when it is defined.
    virtual void readReferenceUsage(void* slot, int extra);
    /// Reads a number; the defined address, or null for 0 or a number not yet defined.
    virtual void* readReferenceUsage(int& number);
    virtual void* readReferenceUsage();
    /// Reads a number and defines it as `address`; returns the number.
    virtual int readReferenceDefinition(void* address);
    /// Reads one reference number (checked against what the file can hold).
    virtual int readReference();
    virtual void defineReference(int number, void* address);
    /// A second address for a number already defined.
    virtual void defineReferenceAlias(int number, void* address);
    virtual void resolveReference(int number, void* slot, int extra);
    virtual void useReference(void* address);
    virtual void useReference(int number);

    // Typed reads; a value beyond the packet's data reads as zero and sets `ioBadData`. Each
    // forwards to its virtual read unless the window (see `ioReadWindow`) holds the value.
    void readBool(bool& value) {
        unsigned char byte;
        if (takeDirect(byte)) {
            value = byte != 0;
        } else {
            doReadBool(value);
        }
    }
    void readChar(char& value) {
        if (!takeDirect(value)) {
            doReadChar(value);
        }
    }
    void readUChar(unsigned char& value) {
        if (!takeDirect(value)) {
            doReadUChar(value);
        }
    }
    void readShort(short& value) {
        if (!takeDirect(value)) {
            doReadShort(value);
        }
    }
    void readUShort(unsigned short& value) {
        if (!takeDirect(value)) {
            doReadUShort(value);
        }
    }
    void readInt(int& value) {
        if (!takeDirect(value)) {
            doReadInt(value);
        }
    }
    void readUInt(unsigned int& value) {
        if (!takeDirect(value)) {
            doReadUInt(value);
        }
    }
    void readInt64(std::int64_t& value) {
        if (!takeDirect(value)) {
            doReadInt64(value);
        }
    }
    void readUInt64(std::uint64_t& value) {
        if (!takeDirect(value)) {
            doReadUInt64(value);
        }
    }
    void readFloat(float& value) {
        if (!takeDirect(value)) {
            doReadFloat(value);
        }
    }
    void readDouble(double& value) {
        if (!takeDirect(value)) {
            doReadDouble(value);
        }
    }
    /// Text inside the packet's memory, valid until the next packet is read ("" on failure).
    const char* readCString() {
        ioReadWindow* const w = window_;
        if (w != nullptr && w->position < w->limit) {
            const char* begin = w->bytes + w->position;
            const void* zero =
                std::memchr(begin, 0, static_cast<std::size_t>(w->limit - w->position));
            if (zero != nullptr) {
                w->position +=
                    static_cast<std::int32_t>(static_cast<const char*>(zero) - begin) + 1;
                return begin;
            }
        }
        return doReadCString();
    }
    void readBoolArray(bool* values, int count) {
        if (ioReadWindow* const w = directArray(count, 1)) {
            for (int i = 0; i < count; ++i) {
                values[i] = w->bytes[w->position + i] != 0;
            }
            w->position += count;
        } else {
            doReadBoolArray(values, count);
        }
    }
    void readCharArray(char* values, int count) {
        if (!takeDirectArray(values, count)) {
            doReadCharArray(values, count);
        }
    }
    void readUCharArray(unsigned char* values, int count) {
        if (!takeDirectArray(values, count)) {
            doReadUCharArray(values, count);
        }
    }
    void readShortArray(short* values, int count) {
        if (!takeDirectArray(values, count)) {
            doReadShortArray(values, count);
        }
    }
    void readUShortArray(unsigned short* values, int count) {
        if (!takeDirectArray(values, count)) {
            doReadUShortArray(values, count);
        }
    }
    void readIntArray(int* values, int count) {
        if (!takeDirectArray(values, count)) {
            doReadIntArray(values, count);
        }
    }
    void readUIntArray(unsigned int* values, int count) {
        if (!takeDirectArray(values, count)) {
            doReadUIntArray(values, count);
        }
    }
    void readInt64Array(std::int64_t* values, int count) {
        if (!takeDirectArray(values, count)) {
            doReadInt64Array(values, count);
        }
    }
    void readUInt64Array(std::uint64_t* values, int count) {
        if (!takeDirectArray(values, count)) {
            doReadUInt64Array(values, count);
        }
    }
    void readFloatArray(float* values, int count) {
        if (!takeDirectArray(values, count)) {
            doReadFloatArray(values, count);
        }
    }
    void readDoubleArray(double* values, int count) {
        if (!takeDirectArray(values, count)) {
            doReadDoubleArray(values, count);
        }
    }

protected:
    /// The encoding reads a packet's opening and sets the state's type (null when unknown):
    /// 0 without reference, 1 with one, 2 or more to pass it over.
    virtual int readPacketOpening() = 0;
    /// The encoding passes over what is left of the current packet.
    virtual void finishPacket() = 0;
    virtual bool readNextChunk() = 0;
    virtual bool enterSubPacket() = 0;
    virtual void leaveSubPacket() = 0;
    /// Bytes of packets read so far: bounds the reference numbers a file can hold.
    virtual std::int64_t bytesRead() const = 0;

    virtual void doReadBool(bool& value) = 0;
    virtual void doReadChar(char& value) = 0;
    virtual void doReadUChar(unsigned char& value) = 0;
    virtual void doReadShort(short& value) = 0;
    virtual void doReadUShort(unsigned short& value) = 0;
    virtual void doReadInt(int& value) = 0;
    virtual void doReadUInt(unsigned int& value) = 0;
    virtual void doReadInt64(std::int64_t& value) = 0;
    virtual void doReadUInt64(std::uint64_t& value) = 0;
    virtual void doReadFloat(float& value) = 0;
    virtual void doReadDouble(double& value) = 0;
    virtual const char* doReadCString() = 0;
    virtual void doReadBoolArray(bool* values, int count) = 0;
    virtual void doReadCharArray(char* values, int count) = 0;
    virtual void doReadUCharArray(unsigned char* values, int count) = 0;
    virtual void doReadShortArray(short* values, int count) = 0;
    virtual void doReadUShortArray(unsigned short* values, int count) = 0;
    virtual void doReadIntArray(int* values, int count) = 0;
    virtual void doReadUIntArray(unsigned int* values, int count) = 0;
    virtual void doReadInt64Array(std::int64_t* values, int count) = 0;
    virtual void doReadUInt64Array(std::uint64_t* values, int count) = 0;
    virtual void doReadFloatArray(float* values, int count) = 0;
    virtual void doReadDoubleArray(double* values, int count) = 0;
    /// One raw reference number as the encoding stores it.
    virtual int doReadReferenceNumber() = 0;
    /// One raw byte: the type tag of the debug forms (-1 past the data).
    virtual int readTag() = 0;
    /// Reads a tag and stops with the mismatch message when it is not `expected`.
    void expectTag(char expected);

    /// Where values are taken inline from; null (the default) sends every read to the virtual
    /// reads. Set by an encoding whose virtual reads would do exactly the same copy.
    ioReadWindow* window_ = nullptr;
    ioBufferedStreamInput& stream_;
    int packetReference_;
    bool packetReferenceDefined_;
    ioPacketType* eofType_;
    int packetsRead_;
    bool halted_;
    ioReadMethod readMethod_;
    /// The map's highest number when the file began: reference numbers are bounded by it plus
    /// what the file has delivered so far.
    int referenceBase_;
    /// That bound as last computed: it only grows, so numbers below it need no new one.
    std::int64_t referenceLimit_ = 0;

private:
    /// One value from the window; false, with nothing taken, when it cannot serve it.
    template <class T>
    bool takeDirect(T& value) {
        ioReadWindow* const w = window_;
        if (w == nullptr || w->limit - w->position < static_cast<std::int32_t>(sizeof(T))) {
            return false;
        }
        std::memcpy(&value, w->bytes + w->position, sizeof(T));
        w->position += static_cast<std::int32_t>(sizeof(T));
        return true;
    }
    /// The window when it holds `count` (at least one) values of `size` bytes, else null.
    ioReadWindow* directArray(int count, int size) const {
        ioReadWindow* const w = window_;
        return w != nullptr && count > 0 && count <= (w->limit - w->position) / size ? w : nullptr;
    }
    template <class T>
    bool takeDirectArray(T* values, int count) {
        ioReadWindow* const w = directArray(count, static_cast<int>(sizeof(T)));
        if (w == nullptr) {
            return false;
        }
        const std::int32_t bytes = count * static_cast<std::int32_t>(sizeof(T));
        std::memcpy(values, w->bytes + w->position, static_cast<std::size_t>(bytes));
        w->position += bytes;
        return true;
    }
    void readPacket(ioClientReadContext& client);
    /// `readReference` for a number outside the bound last computed: the bound anew, or the
    /// bad data.
    int checkReference(int number);
    void resolveRemainingReferences(ioClientReadContext& client);
    void defineReference(int number, void* address, bool alias);
};

/// The reader the stream's header calls for (binary in either byte order, text, or their
/// debug forms), with `registry` associated; null when the header does not read or names an
/// unknown method. The caller owns the result.
KY_BASE_API ioReadContext* ioReadContextAlloc(ioBufferedStreamInput& stream,
                                              ioPacketRegistry* registry);
/// The writer of `method` (text, binary, or their debug forms; null for unknown methods).
/// The caller owns the result.
KY_BASE_API ioWriteContext* ioWriteContextAlloc(ioBufferedStreamOutput& stream,
                                                ioWriteMethod method, ioPacketRegistry* registry);

#endif // KY_IO_CONTEXT_H
