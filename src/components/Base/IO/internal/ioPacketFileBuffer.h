// ioPacketFileBuffer.h - the per-packet states of the encodings (one per nesting depth).
#ifndef KY_IO_INTERNAL_PACKETFILEBUFFER_H
#define KY_IO_INTERNAL_PACKETFILEBUFFER_H

#include <Base/IO/ioContext.h>

#include <cstdint>
#include <cstring>
#include <vector>

class ioPacketType;

/// What every encoding keeps per open packet: one chunk flag per sub-packet level, the level,
/// whether the packet is valid, and its type. Reused by later packets at the same depth.
class ioPacketFileBuffer {
public:
    ioPacketFileBuffer() : chunkOpen(kInitialLevels, 0) {}
    virtual ~ioPacketFileBuffer();

    /// Back to a fresh packet of `packetType`.
    void reset(ioPacketType* packetType) {
        // Higher levels are cleared as they are raised.
        chunkOpen[0] = 0;
        level = 0;
        valid = true;
        type = packetType;
    }
    /// Raises the level, growing the flag array as needed.
    void raiseLevel();

    static constexpr int kInitialLevels = 10;
    std::vector<unsigned char> chunkOpen;
    int level = 0;
    bool valid = true;
    ioPacketType* type = nullptr;
};

/// The binary encoding's state: the packet assembled (or read) whole in memory, and one
/// level record per open packet or sub-packet. Its window is where the packet's body lies
/// when reading (in the stream's own memory when it held the whole body, else in `data`),
/// the position in it (also the writing position) and the top level's end (`limit`, 0 with
/// no level open). Levels change only through the three functions below, which keep `limit`.
class ioPacketFileBinaryBuffer : public ioPacketFileBuffer, public ioReadWindow {
public:
    struct Level {
        std::int32_t start = 0;      ///< where this level's length field lies (writing)
        std::int32_t chunkStart = 0; ///< where the open chunk's length field lies
        std::int32_t end = 0;        ///< where this level's data ends (reading)
        std::int32_t chunkEnd = -1;  ///< where the current chunk ends; -1 before the first
        bool chunkHasData = false;
    };

    ioPacketFileBinaryBuffer();
    ~ioPacketFileBinaryBuffer() override;

    /// Room for `count` more bytes at `position`; false (nothing changed) beyond 2 GiB.
    bool reserve(std::int64_t count);
    void putRaw(const void* bytes, int count);
    void putInt32At(std::int32_t at, std::int32_t value) {
        if (at >= 0 && static_cast<std::int64_t>(at) + 4 <= size) {
            std::memcpy(data.data() + at, &value, 4);
        }
    }
    /// Opens a level whose data ends at `end` (reading; writers leave it 0).
    Level& pushLevel(std::int32_t end = 0) {
        if (static_cast<std::size_t>(depth) >= levels.size()) {
            levels.emplace_back();
        }
        Level& level = levels[static_cast<std::size_t>(depth++)];
        level = Level();
        level.end = end;
        limit = end;
        return level;
    }
    void popLevel() {
        if (depth > 0) {
            --depth;
        }
        limit = depth > 0 ? top().end : 0;
    }
    void clearLevels() {
        depth = 0;
        limit = 0;
    }
    Level& top() { return levels[static_cast<std::size_t>(depth - 1)]; }

    static constexpr std::int32_t kInitialSize = 50000;
    std::vector<char> data;
    std::int32_t size = 0;
    std::vector<Level> levels; ///< created on demand, reused
    int depth = 0;             ///< records in use
};

/// The text encoding's state: the packet's text, written or collected whole. `size` is the
/// logical size that doubles as the text grows and `capacity` the storage behind it; when
/// reading, `end` is the index of the packet's last character and the text ends in a zero byte.
class ioPacketFileAsciiBuffer : public ioPacketFileBuffer {
public:
    ioPacketFileAsciiBuffer();
    ~ioPacketFileAsciiBuffer() override;

    /// Room for `count` more characters at `position` (writing); false beyond 2 GiB.
    bool reserve(std::int64_t count);
    /// Stores one collected character at `position` (reading), doubling the storage when it
    /// would not fit; false beyond 2 GiB.
    bool collect(char c);

    static constexpr std::int32_t kInitialSize = 50000;
    std::vector<char> data;
    std::int32_t capacity = 0;
    std::int32_t position = 0;
    std::int32_t end = -1;
    std::int32_t size = 0;
    std::int32_t chunkHasData = 0;
    /// Per sub-packet level: whether its start was found, so that leaving it scans to its end.
    std::vector<unsigned char> entered;
};

#endif // KY_IO_INTERNAL_PACKETFILEBUFFER_H
