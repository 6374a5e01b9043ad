// kypacketParse.cpp - reading a packet file of any types into a generic tree.
#include "kypacketParse.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace kypacket {

namespace {

struct TagInfo {
    char tag;
    const char* name;
    int size;
    bool array;
};

const TagInfo kTags[] = {
    {'b', "Bool", 1, false},       {'c', "Char", 1, false},      {'C', "UChar", 1, false},
    {'h', "Short", 2, false},      {'H', "UShort", 2, false},    {'i', "Int", 4, false},
    {'I', "UInt", 4, false},       {'l', "Int64", 8, false},     {'L', "UInt64", 8, false},
    {'f', "Float", 4, false},      {'d', "Double", 8, false},    {'s', "CString", 0, false},
    {'r', "Reference", 4, false},  {'B', "BoolArray", 1, true},  {'1', "CharArray", 1, true},
    {'2', "UCharArray", 1, true},  {'3', "ShortArray", 2, true}, {'4', "UShortArray", 2, true},
    {'5', "IntArray", 4, true},    {'6', "UIntArray", 4, true},  {'7', "Int64Array", 8, true},
    {'8', "UInt64Array", 8, true}, {'9', "FloatArray", 4, true}, {'0', "DoubleArray", 8, true},
};

const TagInfo* findTag(char tag) {
    for (const TagInfo& t : kTags) {
        if (t.tag == tag) {
            return &t;
        }
    }
    return nullptr;
}

// A word of a text packet: its text and where it starts in the file.
struct Word {
    std::string text;
    std::int64_t offset;
};

bool isNumberWord(const std::string& w) {
    if (w.empty() || w[0] == '"') {
        return false;
    }
    const char* s = w.c_str();
    const char* word = s + (*s == '-' || *s == '+' ? 1 : 0);
    if (std::strcmp(word, "inf") == 0 || std::strcmp(word, "nan") == 0) {
        return true;
    }
    char* stop = nullptr;
    (void)std::strtod(s, &stop);
    return stop != s && *stop == 0;
}

class Parser {
public:
    Parser(const std::string& bytes, File& file) : b_(bytes), f_(file) {}

    Problem run() {
        if (header() && registry()) {
            if (f_.text()) {
                while (!f_.ended && textPacket()) {
                }
            } else {
                while (!f_.ended && binaryPacket()) {
                }
            }
        }
        return problem_;
    }

private:
    bool fail(std::int64_t at, const std::string& what) {
        if (!problem_.found) {
            problem_.found = true;
            problem_.offset = at;
            problem_.what = what;
        }
        return false;
    }

    bool line(std::string& out) {
        const std::size_t nl = b_.find('\n', p_);
        if (nl == std::string::npos) {
            return fail(static_cast<std::int64_t>(p_), "a header or registry line without its end");
        }
        out = b_.substr(p_, nl - p_);
        p_ = nl + 1;
        return true;
    }

    bool header() {
        if (b_.compare(0, 3, "^@\n") != 0) {
            return fail(0, "not a packet file (no \"^@\" header mark)");
        }
        p_ = 3;
        std::string text;
        if (!line(text)) {
            return false;
        }
        f_.version = std::atoi(text.c_str());
        const std::size_t at = p_;
        int endian = 0;
        int method = 0;
        int flag = 0;
        if (!line(text) || std::sscanf(text.c_str(), "%d %d %d", &endian, &method, &flag) != 3 ||
            method < 0 || method > 3) {
            return fail(static_cast<std::int64_t>(at), "a header line without a known method");
        }
        f_.littleEndian = endian == 1;
        f_.method = method;
        if (!line(text) || !line(text) || text != "@") {
            return fail(static_cast<std::int64_t>(p_), "a header without its closing \"@\"");
        }
        return true;
    }

    bool registry() {
        for (;;) {
            const std::size_t at = p_;
            std::string text;
            if (!line(text)) {
                return false;
            }
            if (text == "@") {
                return true;
            }
            char* stop = nullptr;
            const long id = std::strtol(text.c_str(), &stop, 10);
            if (stop == text.c_str() || *stop != ' ' || id != static_cast<long>(f_.types.size())) {
                return fail(static_cast<std::int64_t>(at), "a registry line out of sequence");
            }
            f_.types.push_back(stop + 1);
        }
    }

    bool known(long long id, std::int64_t at) {
        if (id < 0 || id >= static_cast<long long>(f_.types.size())) {
            return fail(at, "type id " + std::to_string(id) + " is not in the registry");
        }
        return true;
    }

    void finishPacket(Packet& packet) {
        if (f_.types[static_cast<std::size_t>(packet.id)] == "packetFile_EOF") {
            f_.ended = true;
        }
        f_.packets.push_back(std::move(packet));
    }

    // --- Binary ---------------------------------------------------------------------------

    std::int64_t int32At(std::size_t at) const {
        std::uint32_t v = 0;
        for (int i = 0; i < 4; ++i) {
            const auto byte = static_cast<unsigned char>(b_[at + static_cast<std::size_t>(i)]);
            v = f_.littleEndian ? v | (static_cast<std::uint32_t>(byte) << (8 * i))
                                : (v << 8) | byte;
        }
        return static_cast<std::int32_t>(v);
    }

    bool binaryPacket() {
        const std::size_t at = p_;
        if (p_ >= b_.size()) {
            return fail(static_cast<std::int64_t>(p_),
                        "the file ends without its end-of-file packet");
        }
        if (b_.size() - p_ < 12) {
            return fail(static_cast<std::int64_t>(p_), "a packet head cut short");
        }
        Packet packet;
        packet.offset = static_cast<std::int64_t>(at);
        packet.id = static_cast<int>(int32At(at));
        packet.flag = static_cast<int>(int32At(at + 4));
        const std::int64_t length = int32At(at + 8);
        if (length < 0) {
            return fail(packet.offset + 8, "a negative packet length");
        }
        if (!known(packet.id, packet.offset)) {
            return false;
        }
        if (static_cast<std::int64_t>(b_.size() - at) - 12 < length) {
            return fail(packet.offset + 8, "a packet body that runs past the end of the file");
        }
        packet.length = 12 + length;
        std::size_t begin = at + 12;
        const std::size_t end = begin + static_cast<std::size_t>(length);
        if (packet.flag == 1) {
            if (f_.debug()) {
                if (length < 6 || b_[begin] != 'r' || b_[begin + 1] != 'I') {
                    return fail(static_cast<std::int64_t>(begin),
                                "a packet reference without its tags");
                }
                begin += 2;
            } else if (length < 4) {
                return fail(static_cast<std::int64_t>(begin), "a packet reference cut short");
            }
            packet.reference = int32At(begin);
            begin += 4;
        }
        const bool ok = f_.debug() ? debugLevel(begin, end, &packet.body)
                                   : (plainLevel(begin, end, packet.body), true);
        p_ = end;
        if (!ok) {
            return false;
        }
        finishPacket(packet);
        return true;
    }

    // A mark with a length that fits [.., end): the end of what it holds, else 0.
    std::size_t markEnd(std::size_t at, std::size_t end) const {
        if ((b_[at] != ',' && b_[at] != '.') || end - at < 5) {
            return 0;
        }
        const std::int64_t length = int32At(at + 1);
        if (length < 4 || static_cast<std::int64_t>(end - at - 1) < length) {
            return 0;
        }
        return at + 1 + static_cast<std::size_t>(length);
    }

    void plainLevel(std::size_t begin, std::size_t end, std::vector<Element>& out) {
        Element run;
        run.kind = Element::kRun;
        auto flush = [&]() {
            if (!run.items.empty()) {
                out.push_back(run);
                run.items.clear();
            }
        };
        for (std::size_t at = begin; at < end;) {
            const std::size_t inner = markEnd(at, end);
            if (inner != 0) {
                flush();
                Element e;
                e.kind = b_[at] == ',' ? Element::kChunk : Element::kSubPacket;
                e.offset = static_cast<std::int64_t>(at);
                plainLevel(at + 5, inner, e.children);
                out.push_back(std::move(e));
                at = inner;
                continue;
            }
            if (run.items.empty()) {
                run.offset = static_cast<std::int64_t>(at);
                run.items.emplace_back();
            }
            run.items[0] += b_[at++];
        }
        flush();
    }

    // Tagged values: every position of the level is either readable to its end or not, found
    // from the end backwards; an array takes the most elements that leave the rest readable.
    bool debugLevel(std::size_t begin, std::size_t end, std::vector<Element>* out) {
        const std::size_t n = end - begin;
        std::vector<char> ok(n + 1, 0);
        std::vector<std::size_t> next(n + 1, 0);
        ok[n] = 1;
        for (std::size_t i = n; i-- > 0;) {
            const std::size_t at = begin + i;
            const char c = b_[at];
            std::size_t to = 0;
            if (c == ',' || c == '.') {
                const std::size_t inner = markEnd(at, end);
                if (inner != 0 && debugLevel(at + 5, inner, nullptr)) {
                    to = inner;
                }
            } else if (const TagInfo* t = findTag(c)) {
                if (t->tag == 's') {
                    const std::size_t zero = b_.find('\0', at + 1);
                    to = zero != std::string::npos && zero < end ? zero + 1 : 0;
                } else if (t->tag == 'r') {
                    to = end - at >= 6 && b_[at + 1] == 'I' ? at + 6 : 0;
                } else if (!t->array) {
                    to = end - at > static_cast<std::size_t>(t->size)
                             ? at + 1 + static_cast<std::size_t>(t->size)
                             : 0;
                } else {
                    const std::size_t size = static_cast<std::size_t>(t->size);
                    for (std::size_t k = (end - at - 1) / size + 1; k-- > 0;) {
                        if (ok[at + 1 + k * size - begin]) {
                            to = at + 1 + k * size;
                            break;
                        }
                    }
                }
            }
            if (to != 0 && ok[to - begin]) {
                ok[i] = 1;
                next[i] = to;
            }
        }
        if (!ok[0]) {
            // The furthest place reachable from the start is where reading breaks down.
            std::size_t stuck = begin;
            for (std::size_t at = begin; at < end && ok[at - begin] == 0;) {
                stuck = at;
                const TagInfo* t = findTag(b_[at]);
                if (t == nullptr || t->array || t->tag == 's' || t->tag == 'r') {
                    break;
                }
                at += 1 + static_cast<std::size_t>(t->size);
            }
            return out == nullptr ? false
                                  : fail(static_cast<std::int64_t>(stuck),
                                         "values that do not read as tagged values");
        }
        if (out == nullptr) {
            return true;
        }
        for (std::size_t at = begin; at < end; at = next[at - begin]) {
            const std::size_t to = next[at - begin];
            Element e;
            e.offset = static_cast<std::int64_t>(at);
            const char c = b_[at];
            if (c == ',' || c == '.') {
                e.kind = c == ',' ? Element::kChunk : Element::kSubPacket;
                debugLevel(at + 5, to, &e.children);
            } else {
                e.kind = Element::kValue;
                e.tag = c;
                const TagInfo* t = findTag(c);
                if (t->tag == 's') {
                    e.items.push_back(b_.substr(at + 1, to - at - 2));
                } else if (t->tag == 'r') {
                    e.items.push_back(b_.substr(at + 2, 4));
                } else {
                    const std::size_t size = static_cast<std::size_t>(t->size);
                    for (std::size_t x = at + 1; x < to; x += size) {
                        e.items.push_back(b_.substr(x, size));
                    }
                }
            }
            out->push_back(std::move(e));
        }
        return true;
    }

    // --- Text -----------------------------------------------------------------------------

    bool textPacket() {
        const std::size_t open = b_.find('{', p_);
        if (open == std::string::npos) {
            return fail(static_cast<std::int64_t>(b_.size()),
                        "the file ends without its end-of-file packet");
        }
        std::vector<Word> words;
        std::size_t at = open + 1;
        for (;;) {
            while (at < b_.size() && (b_[at] == ' ' || b_[at] == '\n')) {
                ++at;
            }
            if (at >= b_.size()) {
                return fail(static_cast<std::int64_t>(open), "a packet without its closing brace");
            }
            if (b_[at] == '}') {
                break;
            }
            Word w{std::string(), static_cast<std::int64_t>(at)};
            if (b_[at] == '"') {
                w.text += b_[at++];
                while (at < b_.size() && b_[at] != '"') {
                    if (b_[at] == '\\' && at + 1 < b_.size()) {
                        w.text += b_[at++];
                    }
                    w.text += b_[at++];
                }
                if (at >= b_.size()) {
                    return fail(w.offset, "a text without its closing quote");
                }
                w.text += b_[at++];
            } else {
                while (at < b_.size() && b_[at] != ' ' && b_[at] != '\n' && b_[at] != '}') {
                    if (b_[at] == '\\' && at + 1 < b_.size()) {
                        w.text += b_[at++];
                    }
                    w.text += b_[at++];
                }
            }
            words.push_back(std::move(w));
        }
        p_ = at + 1;
        Packet packet;
        packet.offset = static_cast<std::int64_t>(open);
        packet.length = static_cast<std::int64_t>(p_ - open);
        char* stop = nullptr;
        if (words.size() < 2 || !isNumberWord(words[0].text) || !isNumberWord(words[1].text)) {
            return fail(packet.offset, "a packet head that is not two numbers");
        }
        const long long id = std::strtoll(words[0].text.c_str(), &stop, 10);
        packet.flag = static_cast<int>(std::strtol(words[1].text.c_str(), &stop, 10));
        if (!known(id, words[0].offset)) {
            return false;
        }
        packet.id = static_cast<int>(id);
        std::size_t w = 2;
        if (packet.flag == 1) {
            if (f_.debug()) {
                if (words.size() < 5 || words[2].text != "r" || words[3].text != "I") {
                    return fail(packet.offset, "a packet reference without its tags");
                }
                w = 4;
            }
            if (words.size() <= w || !isNumberWord(words[w].text)) {
                return fail(packet.offset, "a packet reference that is not a number");
            }
            packet.reference = std::strtoll(words[w].text.c_str(), &stop, 10);
            ++w;
        }
        if (!textLevel(words, w, "", packet.body)) {
            return false;
        }
        finishPacket(packet);
        return true;
    }

    // Elements up to the word `close` ("]", ">" or "" for the packet's end).
    bool textLevel(const std::vector<Word>& words, std::size_t& w, const char* close,
                   std::vector<Element>& out) {
        std::vector<const Word*> values;
        auto flush = [&]() {
            const bool ok = flushValues(values, out);
            values.clear();
            return ok;
        };
        while (w < words.size()) {
            const Word& word = words[w];
            if (word.text == "[" || word.text == "<") {
                if (!flush()) {
                    return false;
                }
                Element e;
                e.kind = word.text == "[" ? Element::kChunk : Element::kSubPacket;
                e.offset = word.offset;
                ++w;
                if (!textLevel(words, w, word.text == "[" ? "]" : ">", e.children)) {
                    return false;
                }
                out.push_back(std::move(e));
                continue;
            }
            if (word.text == "]" || word.text == ">") {
                if (word.text != close) {
                    return fail(word.offset, "a \"" + word.text + "\" that closes nothing");
                }
                ++w;
                return flush();
            }
            values.push_back(&word);
            ++w;
        }
        if (*close != 0) {
            return fail(words.empty() ? 0 : words.back().offset,
                        std::string("a packet ends before its \"") + close + "\"");
        }
        return flush();
    }

    bool flushValues(const std::vector<const Word*>& values, std::vector<Element>& out) {
        if (values.empty()) {
            return true;
        }
        if (!f_.debug()) {
            Element run;
            run.kind = Element::kRun;
            run.offset = values[0]->offset;
            for (const Word* v : values) {
                run.items.push_back(v->text);
            }
            out.push_back(std::move(run));
            return true;
        }
        // As for binary: readable from each word to the end, arrays as long as they can be.
        const std::size_t n = values.size();
        std::vector<char> ok(n + 1, 0);
        std::vector<std::size_t> next(n + 1, 0);
        ok[n] = 1;
        for (std::size_t i = n; i-- > 0;) {
            const std::string& word = values[i]->text;
            const std::string tag = word.size() == 2 && word[0] == '\\' ? word.substr(1) : word;
            const TagInfo* t = tag.size() == 1 ? findTag(tag[0]) : nullptr;
            std::size_t to = 0;
            if (t == nullptr) {
                to = 0;
            } else if (t->tag == 's') {
                to = i + 1 < n && values[i + 1]->text[0] == '"' ? i + 2 : 0;
            } else if (t->tag == 'r') {
                to = i + 2 < n && values[i + 1]->text == "I" && isNumberWord(values[i + 2]->text)
                         ? i + 3
                         : 0;
            } else if (!t->array) {
                to = i + 1 < n && isNumberWord(values[i + 1]->text) ? i + 2 : 0;
            } else {
                std::size_t k = i + 1;
                while (k < n && isNumberWord(values[k]->text)) {
                    ++k;
                }
                for (; k > i; --k) {
                    if (ok[k]) {
                        to = k;
                        break;
                    }
                }
            }
            if (to != 0 && ok[to]) {
                ok[i] = 1;
                next[i] = to;
            }
        }
        if (!ok[0]) {
            std::size_t stuck = 0;
            while (stuck + 1 < n && findTag(values[stuck]->text[0]) != nullptr &&
                   !findTag(values[stuck]->text[0])->array &&
                   isNumberWord(values[stuck + 1]->text)) {
                stuck += 2;
            }
            return fail(values[std::min(stuck, n - 1)]->offset,
                        "values that do not read as tagged values");
        }
        for (std::size_t i = 0; i < n; i = next[i]) {
            Element e;
            e.kind = Element::kValue;
            e.offset = values[i]->offset;
            const std::string& word = values[i]->text;
            e.tag = word.size() == 2 ? word[1] : word[0];
            for (std::size_t k = i + 1 + (e.tag == 'r' ? 1 : 0); k < next[i]; ++k) {
                e.items.push_back(values[k]->text);
            }
            out.push_back(std::move(e));
        }
        return true;
    }

    const std::string& b_;
    File& f_;
    Problem problem_;
    std::size_t p_ = 0;
};

} // namespace

Problem parse(const std::string& bytes, File& file) {
    return Parser(bytes, file).run();
}

const char* tagName(char tag) {
    const TagInfo* t = findTag(tag);
    return t == nullptr ? "(invalid type)" : t->name;
}

int tagSize(char tag) {
    const TagInfo* t = findTag(tag);
    return t == nullptr ? 0 : t->size;
}

bool isArrayTag(char tag) {
    const TagInfo* t = findTag(tag);
    return t != nullptr && t->array;
}

} // namespace kypacket
