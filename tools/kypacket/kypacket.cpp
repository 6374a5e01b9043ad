// kypacket.cpp - inspects packet files of any packet types: dump, stats, check.
#include "kypacketConvert.h"
#include "kypacketParse.h"

#include <Base/OS/kyOSGetOpt.h>

#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iostream>
#include <iterator>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace {

using kypacket::Element;
using kypacket::File;
using kypacket::Packet;
using kypacket::Problem;

constexpr int kOk = 0;
constexpr int kMalformed = 1;
constexpr int kIOError = 2;
constexpr int kUsage = 64;

const char* const kMethodNames[] = {"ascii", "binary", "ascii-debug", "binary-debug"};

const char kUsageText[] =
    "usage: kypacket dump FILE | stats FILE | check FILE\n"
    "       kypacket convert IN OUT --method ascii|binary|ascii-debug|binary-debug\n"
    "FILE and IN may be \"-\" for standard input, OUT for standard output. Options:\n";

bool writeOutput(const std::string& name, const std::string& bytes) {
    if (name == "-") {
        std::cout.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        std::cout.flush();
        return !std::cout.bad();
    }
    std::ofstream out(name, std::ios::binary);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    out.close();
    return !out.fail();
}

bool readInput(const std::string& name, std::string& bytes) {
    if (name == "-") {
        bytes.assign(std::istreambuf_iterator<char>(std::cin), std::istreambuf_iterator<char>());
        return !std::cin.bad();
    }
    std::ifstream in(name, std::ios::binary);
    if (!in) {
        return false;
    }
    bytes.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    return !in.bad();
}

std::string typeName(const File& file, int id) {
    return id >= 0 && id < static_cast<int>(file.types.size())
               ? file.types[static_cast<std::size_t>(id)]
               : "?";
}

// A binary element as a number, in the file's byte order.
std::uint64_t unsignedOf(const std::string& bytes, bool little) {
    std::uint64_t v = 0;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        const auto byte = static_cast<unsigned char>(bytes[little ? bytes.size() - 1 - i : i]);
        v = (v << 8) | byte;
    }
    return v;
}

std::string quoted(const std::string& text) {
    std::string out = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\') {
            out += '\\';
            out += c;
        } else if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) {
            char hex[8];
            std::snprintf(hex, sizeof hex, "\\x%02x", static_cast<unsigned char>(c));
            out += hex;
        } else {
            out += c;
        }
    }
    return out + "\"";
}

// One element of a binary debug value as text.
std::string binaryItem(char tag, const std::string& bytes, bool little) {
    const std::uint64_t u = unsignedOf(bytes, little);
    char text[64];
    switch (tag) {
    case 's':
        return quoted(bytes);
    case 'b':
    case 'B':
        return u != 0 ? "1" : "0";
    case 'c':
    case '1':
        std::snprintf(text, sizeof text, "%d", static_cast<int>(static_cast<signed char>(u)));
        return text;
    case 'h':
    case '3':
        std::snprintf(text, sizeof text, "%d", static_cast<int>(static_cast<std::int16_t>(u)));
        return text;
    case 'i':
    case '5':
        std::snprintf(text, sizeof text, "%d", static_cast<int>(static_cast<std::int32_t>(u)));
        return text;
    case 'l':
    case '7':
        std::snprintf(text, sizeof text, "%" PRId64, static_cast<std::int64_t>(u));
        return text;
    case 'f':
    case '9': {
        const auto bits = static_cast<std::uint32_t>(u);
        float f = 0;
        std::memcpy(&f, &bits, 4);
        std::snprintf(text, sizeof text, "%.9g", static_cast<double>(f));
        return text;
    }
    case 'd':
    case '0': {
        double d = 0;
        std::memcpy(&d, &u, 8);
        std::snprintf(text, sizeof text, "%.17g", d);
        return text;
    }
    default:
        std::snprintf(text, sizeof text, "%" PRIu64, u);
        return text;
    }
}

// Raw bytes, sixteen to a line, in hex and text columns.
void hexLines(const std::string& bytes, const std::string& indent) {
    for (std::size_t at = 0; at < bytes.size(); at += 16) {
        std::string hex;
        std::string text;
        for (std::size_t i = at; i < at + 16; ++i) {
            char cell[4] = "   ";
            if (i < bytes.size()) {
                const auto c = static_cast<unsigned char>(bytes[i]);
                std::snprintf(cell, sizeof cell, "%02x ", c);
                text += c >= 0x20 && c < 0x7F ? static_cast<char>(c) : '.';
            }
            hex += cell;
        }
        std::printf("%s%s |%s|\n", indent.c_str(), hex.c_str(), text.c_str());
    }
}

void dumpElements(const File& file, const std::vector<Element>& elements, int depth) {
    const std::string indent(static_cast<std::size_t>(depth) * 2, ' ');
    for (const Element& e : elements) {
        switch (e.kind) {
        case Element::kChunk:
        case Element::kSubPacket:
            std::printf("%s%s @%lld\n", indent.c_str(),
                        e.kind == Element::kChunk ? "chunk" : "sub-packet",
                        static_cast<long long>(e.offset));
            dumpElements(file, e.children, depth + 1);
            break;
        case Element::kValue: {
            std::string text;
            for (const std::string& item : e.items) {
                text += ' ';
                text += file.text() ? item : binaryItem(e.tag, item, file.littleEndian);
            }
            std::printf("%s%s%s\n", indent.c_str(), kypacket::tagName(e.tag), text.c_str());
            break;
        }
        case Element::kRun: {
            std::string bytes;
            for (const std::string& item : e.items) {
                bytes += file.text() && !bytes.empty() ? " " : "";
                bytes += item;
            }
            std::printf("%svalues @%lld, %zu bytes\n", indent.c_str(),
                        static_cast<long long>(e.offset), bytes.size());
            hexLines(bytes, indent + "  ");
            break;
        }
        }
    }
}

void dump(const std::string& name, const File& file) {
    std::printf("%s: packet file version %d, %s, method %d (%s)\n", name.c_str(), file.version,
                file.littleEndian ? "little-endian" : "big-endian", file.method,
                file.method >= 0 ? kMethodNames[file.method] : "?");
    std::printf("registry:\n");
    for (std::size_t id = 0; id < file.types.size(); ++id) {
        std::printf("  %4zu %s\n", id, file.types[id].c_str());
    }
    std::printf("packets:\n");
    for (const Packet& p : file.packets) {
        std::printf("  %s (%d) @%lld, %lld bytes", typeName(file, p.id).c_str(), p.id,
                    static_cast<long long>(p.offset), static_cast<long long>(p.length));
        if (p.reference >= 0) {
            std::printf(", reference %lld", p.reference);
        }
        std::printf("\n");
        dumpElements(file, p.body, 2);
    }
}

void collectUses(const File& file, const std::vector<Element>& elements,
                 std::set<long long>& used) {
    for (const Element& e : elements) {
        if (e.kind == Element::kValue && e.tag == 'r' && !e.items.empty()) {
            const long long number =
                file.text() ? std::atoll(e.items[0].c_str())
                            : static_cast<std::int32_t>(unsignedOf(e.items[0], file.littleEndian));
            if (number != 0) {
                used.insert(number);
            }
        }
        collectUses(file, e.children, used);
    }
}

void stats(const std::string& name, const File& file) {
    std::map<int, std::pair<long long, long long>> perType;
    std::set<long long> defined;
    std::set<long long> used;
    for (const Packet& p : file.packets) {
        perType[p.id].first += 1;
        perType[p.id].second += p.length;
        if (p.reference > 0) {
            defined.insert(p.reference);
        }
        collectUses(file, p.body, used);
    }
    std::printf("%s: %zu packets\n", name.c_str(), file.packets.size());
    std::printf("  %-24s %10s %12s\n", "type", "packets", "bytes");
    for (const auto& entry : perType) {
        std::printf("  %-24s %10lld %12lld\n", typeName(file, entry.first).c_str(),
                    entry.second.first, entry.second.second);
    }
    std::printf("references defined: %zu\n", defined.size());
    if (file.debug()) {
        long long unresolved = 0;
        for (long long number : used) {
            unresolved += defined.count(number) == 0 ? 1 : 0;
        }
        std::printf("references used: %zu\n", used.size());
        std::printf("references unresolved: %lld\n", unresolved);
    } else {
        std::printf("references used: unknown (a plain file does not tag its values)\n");
    }
}

int usage(kyOS::GetOpt& options, const char* message) {
    if (message != nullptr && *message != 0) {
        std::fprintf(stderr, "kypacket: %s\n", message);
    }
    std::fprintf(stderr, "%s%s", kUsageText, options.getUsage().asMultibyte());
    return kUsage;
}

} // namespace

int main(int argc, char** argv) {
    kyOS::GetOpt options;
    const int help = options.addOption("h|help", nullptr);
    options.addOptionUsage(help, L"Prints this text.");
    const int methodOption = options.addOption("m|method", "string");
    options.addOptionUsage(methodOption, L"The encoding convert writes: ascii, binary, "
                                         L"ascii-debug or binary-debug.");
    // Options are picked out of the words; the rest are the command and its files.
    std::vector<const char*> optionWords;
    std::vector<std::string> words;
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        if (word.size() > 1 && word[0] == '-') {
            optionWords.push_back(argv[i]);
            const auto* option = options.findOption(word.c_str() + word.find_first_not_of('-'));
            if (option != nullptr && options.getOptionTypeList(option).length() > 0 &&
                i + 1 < argc) {
                optionWords.push_back(argv[++i]); // its argument
            }
        } else {
            words.push_back(word);
        }
    }
    options.initialize(static_cast<int>(optionWords.size()), optionWords.data());
    int method = -1;
    bool methodGiven = false;
    while (const kyOS::GetOpt::impl::result* r = options.getOpt()) {
        if (options.getResultIndex(r) == help) {
            std::printf("%s%s", kUsageText, options.getUsage().asMultibyte());
            return kOk;
        }
        if (options.getResultIndex(r) == methodOption) {
            methodGiven = true;
            const std::string name = options.getResultArg(r, 0).asMultibyte();
            for (int m = 0; m < 4; ++m) {
                method = name == kMethodNames[m] ? m : method;
            }
        }
    }
    if (options.hasErrors()) {
        return usage(options, options.getError().asMultibyte());
    }
    const bool converting = !words.empty() && words[0] == "convert";
    if (converting && (words.size() != 3 || method < 0)) {
        return usage(options, words.size() != 3 ? "convert takes IN and OUT"
                              : methodGiven     ? "unknown method"
                                                : "convert needs --method");
    }
    if (!converting &&
        (words.size() != 2 || (words[0] != "dump" && words[0] != "stats" && words[0] != "check"))) {
        return usage(options, words.empty() ? "no command" : "unknown command or file count");
    }
    const std::string& name = words[1];
    std::string bytes;
    if (!readInput(name, bytes)) {
        std::fprintf(stderr, "%s: offset 0: cannot be read\n", name.c_str());
        return kIOError;
    }
    File file;
    const Problem problem = kypacket::parse(bytes, file);
    if (words[0] == "dump") {
        dump(name, file);
    } else if (words[0] == "stats") {
        stats(name, file);
    }
    if (problem.found) {
        std::fflush(stdout);
        std::fprintf(stderr, "%s: offset %lld: %s\n", name.c_str(),
                     static_cast<long long>(problem.offset), problem.what.c_str());
        return kMalformed;
    }
    if (converting) {
        std::string out;
        std::string error;
        if (!kypacket::convert(file, static_cast<ioWriteMethod>(method), out, error)) {
            std::fprintf(stderr, "%s: %s\n", name.c_str(), error.c_str());
            return kMalformed;
        }
        if (!writeOutput(words[2], out)) {
            std::fprintf(stderr, "%s: offset 0: cannot be written\n", words[2].c_str());
            return kIOError;
        }
    }
    if (words[0] == "check") {
        std::printf("%s: ok, %zu packets, %zu types\n", name.c_str(), file.packets.size(),
                    file.types.size());
    }
    return kOk;
}
