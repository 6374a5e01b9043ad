// kypacketParse.h - a packet file read as a generic tree, without knowing its packet types.
#ifndef KY_TOOLS_KYPACKET_PARSE_H
#define KY_TOOLS_KYPACKET_PARSE_H

#include <cstdint>
#include <string>
#include <vector>

namespace kypacket {

/// One element of a packet body. A value of a debug file carries its tag and its elements
/// (one for a scalar, any number for an array); a plain file's run of values carries their raw
/// bytes (binary) or their words (text) with no type. Chunks and sub-packets hold elements.
struct Element {
    enum Kind { kValue, kRun, kChunk, kSubPacket };
    Kind kind = kRun;
    char tag = 0;
    std::int64_t offset = 0;
    /// Binary: the bytes of each element of a value (kValue) or of the run (one entry, kRun).
    /// Text: each element's word as written (texts still quoted and escaped).
    std::vector<std::string> items;
    std::vector<Element> children;
};

struct Packet {
    std::int64_t offset = 0;
    std::int64_t length = 0; ///< bytes of the packet in the file
    int id = 0;
    int flag = 0;
    /// The packet's own reference number (flag 1), -1 when it has none.
    long long reference = -1;
    std::vector<Element> body;
};

struct File {
    int version = 0;
    bool littleEndian = true;
    int method = -1;                ///< 0 text, 1 binary, 2 text debug, 3 binary debug
    std::vector<std::string> types; ///< the registry, by id
    std::vector<Packet> packets;    ///< the end-of-file packet included
    bool ended = false;             ///< the end-of-file packet was met
    bool debug() const { return method == 2 || method == 3; }
    bool text() const { return method == 0 || method == 2; }
};

/// The first malformed place, when there is one.
struct Problem {
    bool found = false;
    std::int64_t offset = 0;
    std::string what;
};

/// Reads `bytes` as a packet file. Stops at the first malformed place (returned) and keeps
/// what it read before it. Ambiguities of untyped data are resolved so that every byte is
/// accounted for: a debug array takes as many elements as leave the rest of its level readable.
Problem parse(const std::string& bytes, File& file);

/// The name of a value tag ("Int", "UCharArray", ...; "(invalid type)" for others).
const char* tagName(char tag);
/// The size in bytes of one element of `tag` in the binary encoding (0 for texts and others).
int tagSize(char tag);
bool isArrayTag(char tag);

} // namespace kypacket

#endif // KY_TOOLS_KYPACKET_PARSE_H
