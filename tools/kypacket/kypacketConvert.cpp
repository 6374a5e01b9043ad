// kypacketConvert.cpp - re-encoding a generic packet tree through the library's writers.
#include "kypacketConvert.h"

#include <Base/IO/ioBufferedStream.h>
#include <Base/IO/ioContext.h>
#include <Base/IO/ioPacketRegistry.h>
#include <Base/IO/ioReferenceMap.h>
#include <Base/OS/kyOSMemoryIOStream.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>

namespace kypacket {

namespace {

// Reference numbers beyond this are refused rather than given a table of their size.
constexpr long long kMaxReference = 1 << 24;

class Writer {
public:
    Writer(const File& file, ioWriteContext& w) : file_(file), w_(w) {}

    std::string error;

    bool elements(const std::vector<Element>& list) {
        for (const Element& e : list) {
            if (e.kind == Element::kChunk) {
                w_.startChunk();
                if (!elements(e.children)) {
                    return false;
                }
            } else if (e.kind == Element::kSubPacket) {
                w_.startSubPacket();
                if (!elements(e.children)) {
                    return false;
                }
                w_.endSubPacket();
            } else if (e.kind == Element::kRun) {
                if (!run(e)) {
                    return false;
                }
            } else if (!value(e)) {
                return false;
            }
        }
        return true;
    }

private:
    // Plain files: binary bytes, or words that are bytes, as UChar values.
    bool run(const Element& e) {
        if (!file_.text()) {
            for (const char c : e.items[0]) {
                w_.writeUChar(static_cast<unsigned char>(c));
            }
            return true;
        }
        for (const std::string& word : e.items) {
            char* stop = nullptr;
            const long v = std::strtol(word.c_str(), &stop, 10);
            if (stop == word.c_str() || *stop != 0 || v < 0 || v > 255) {
                error = "offset " + std::to_string(e.offset) +
                        ": the values of a plain text file cannot be typed (only files of byte "
                        "values convert; \"" +
                        word + "\" is not one)";
                return false;
            }
            w_.writeUChar(static_cast<unsigned char>(v));
        }
        return true;
    }

    std::uint64_t bits(const std::string& bytes) const {
        std::uint64_t v = 0;
        for (std::size_t i = 0; i < bytes.size(); ++i) {
            const auto byte =
                static_cast<unsigned char>(bytes[file_.littleEndian ? bytes.size() - 1 - i : i]);
            v = (v << 8) | byte;
        }
        return v;
    }

    static std::string unquote(const std::string& word) {
        std::string out;
        for (std::size_t i = 1; i + 1 < word.size(); ++i) {
            if (word[i] == '\\' && i + 2 < word.size()) {
                ++i;
            }
            out += word[i];
        }
        return out;
    }

    static double floating(const std::string& word) {
        const char* s = word.c_str();
        const bool negative = *s == '-';
        const char* w = s + (negative || *s == '+' ? 1 : 0);
        if (std::strcmp(w, "inf") == 0) {
            return negative ? -std::numeric_limits<double>::infinity()
                            : std::numeric_limits<double>::infinity();
        }
        if (std::strcmp(w, "nan") == 0) {
            return negative ? -std::numeric_limits<double>::quiet_NaN()
                            : std::numeric_limits<double>::quiet_NaN();
        }
        return std::strtod(s, nullptr);
    }

    // One element of a tagged value, as the integer or floating value it holds.
    long long integer(char tag, const std::string& item) const {
        if (file_.text()) {
            return tag == 'L' || tag == '8'
                       ? static_cast<long long>(std::strtoull(item.c_str(), nullptr, 10))
                       : std::strtoll(item.c_str(), nullptr, 10);
        }
        const std::uint64_t u = bits(item);
        switch (item.size()) {
        case 1:
            return tag == 'C' || tag == '2' || tag == 'b' || tag == 'B'
                       ? static_cast<long long>(u)
                       : static_cast<signed char>(u);
        case 2:
            return tag == 'H' || tag == '4' ? static_cast<long long>(u)
                                            : static_cast<std::int16_t>(u);
        case 4:
            return tag == 'I' || tag == '6' || tag == 'r' ? static_cast<long long>(u)
                                                          : static_cast<std::int32_t>(u);
        default:
            return static_cast<long long>(u);
        }
    }

    double real(char tag, const std::string& item) const {
        if (file_.text()) {
            return floating(item);
        }
        const std::uint64_t u = bits(item);
        if (tag == 'f' || tag == '9') {
            const auto b = static_cast<std::uint32_t>(u);
            float f = 0;
            std::memcpy(&f, &b, 4);
            return f;
        }
        double d = 0;
        std::memcpy(&d, &u, 8);
        return d;
    }

    bool value(const Element& e) {
        const char tag = e.tag;
        if (tag == 's') {
            const std::string text = e.items.empty() ? std::string()
                                     : file_.text()  ? unquote(e.items[0])
                                                     : e.items[0];
            w_.writeCString(text.c_str());
            return true;
        }
        if (tag == 'r') {
            w_.writeReferenceNumber(static_cast<int>(integer('r', e.items[0])));
            return true;
        }
        const int n = static_cast<int>(e.items.size());
        std::vector<long long> ints;
        std::vector<double> reals;
        for (const std::string& item : e.items) {
            if (tag == 'f' || tag == 'd' || tag == '9' || tag == '0') {
                reals.push_back(real(tag, item));
            } else {
                ints.push_back(integer(tag, item));
            }
        }
        auto typed = [&](auto sample, auto write) {
            std::vector<decltype(sample)> values;
            for (long long v : ints) {
                values.push_back(static_cast<decltype(sample)>(v));
            }
            for (double v : reals) {
                values.push_back(static_cast<decltype(sample)>(v));
            }
            write(values);
        };
        switch (tag) {
        // clang-format off
        case 'b': w_.writeBool((ints[0] & 0xFF) != 0); break;
        case 'c': w_.writeChar(static_cast<char>(ints[0])); break;
        case 'C': w_.writeUChar(static_cast<unsigned char>(ints[0])); break;
        case 'h': w_.writeShort(static_cast<short>(ints[0])); break;
        case 'H': w_.writeUShort(static_cast<unsigned short>(ints[0])); break;
        case 'i': w_.writeInt(static_cast<int>(ints[0])); break;
        case 'I': w_.writeUInt(static_cast<unsigned int>(ints[0])); break;
        case 'l': w_.writeInt64(ints[0]); break;
        case 'L': w_.writeUInt64(static_cast<std::uint64_t>(ints[0])); break;
        case 'f': w_.writeFloat(static_cast<float>(reals[0])); break;
        case 'd': w_.writeDouble(reals[0]); break;
        case 'B': typed(false, [&](auto& v) { std::unique_ptr<bool[]> b(new bool[v.size() + 1]);
                      for (std::size_t i = 0; i < v.size(); ++i) b[i] = v[i];
                      w_.writeBoolArray(b.get(), n); }); break;
        case '1': typed(char(), [&](auto& v) { w_.writeCharArray(v.data(), n); }); break;
        case '2': typed(static_cast<unsigned char>(0), [&](auto& v) { w_.writeUCharArray(v.data(), n); }); break;
        case '3': typed(short(), [&](auto& v) { w_.writeShortArray(v.data(), n); }); break;
        case '4': typed(static_cast<unsigned short>(0), [&](auto& v) { w_.writeUShortArray(v.data(), n); }); break;
        case '5': typed(int(), [&](auto& v) { w_.writeIntArray(v.data(), n); }); break;
        case '6': typed(0u, [&](auto& v) { w_.writeUIntArray(v.data(), n); }); break;
        case '7': typed(std::int64_t(), [&](auto& v) { w_.writeInt64Array(v.data(), n); }); break;
        case '8': typed(std::uint64_t(), [&](auto& v) { w_.writeUInt64Array(v.data(), n); }); break;
        case '9': typed(float(), [&](auto& v) { w_.writeFloatArray(v.data(), n); }); break;
        case '0': typed(double(), [&](auto& v) { w_.writeDoubleArray(v.data(), n); }); break;
        // clang-format on
        default:
            error = "offset " + std::to_string(e.offset) + ": a value of no known kind";
            return false;
        }
        return true;
    }

    const File& file_;
    ioWriteContext& w_;
};

} // namespace

bool convert(const File& file, ioWriteMethod method, std::string& out, std::string& error) {
    if (file.types.size() < 2 || file.types[0] != "packetFile_string" ||
        file.types[1] != "packetFile_EOF") {
        error = "offset 0: the registry does not begin with the built-in types";
        return false;
    }
    kyOS::MemoryIOStream memory;
    ioBufferedStreamOutput stream;
    stream.openIOStream(&memory);
    ioSimplePacketRegistry registry;
    for (std::size_t id = 2; id < file.types.size(); ++id) {
        registry.add(file.types[id].c_str());
    }
    std::unique_ptr<ioWriteContext> w(ioWriteContextAlloc(stream, method, &registry));
    if (w == nullptr) {
        error = "no writer for this method";
        return false;
    }
    // Stand-in objects whose numbers are the file's own: numbered in order before writing.
    long long highest = 0;
    for (const Packet& p : file.packets) {
        highest = std::max(highest, p.reference);
    }
    if (highest > kMaxReference) {
        error = "offset 0: reference numbers too high to convert";
        return false;
    }
    std::vector<char> objects(static_cast<std::size_t>(highest) + 1);
    for (long long n = 1; n <= highest; ++n) {
        w->getReferenceMap()->newReference(&objects[static_cast<std::size_t>(n)]);
    }
    w->startFile();
    Writer writer(file, *w);
    for (const Packet& p : file.packets) {
        if (file.types[static_cast<std::size_t>(p.id)] == "packetFile_EOF") {
            continue; // the writer ends the file with its own
        }
        const void* object = p.flag == 1 && p.reference > 0
                                 ? &objects[static_cast<std::size_t>(p.reference)]
                                 : nullptr;
        if (p.flag == 1 && p.reference <= 0) {
            error = "offset " + std::to_string(p.offset) + ": a packet reference of 0";
            return false;
        }
        w->startPacket(file.types[static_cast<std::size_t>(p.id)].c_str(), object);
        if (!writer.elements(p.body)) {
            error = writer.error;
            return false;
        }
        w->endPacket();
    }
    w->endFile();
    if (w->getStatus() != ioGood) {
        error = "the writer failed";
        return false;
    }
    stream.close();
    out.assign(memory.size(), '\0');
    if (!out.empty()) {
        memory.copyOut(0, &out[0], out.size());
    }
    return true;
}

} // namespace kypacket
