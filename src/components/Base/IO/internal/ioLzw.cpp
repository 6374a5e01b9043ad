// ioLzw.cpp - the LZW encoder and the decoder's table logic (its input loop is a template in
// the header, so that the compression filter can feed it straight from the buffer below).
#include <Base/IO/internal/ioLzw.h>

#include <cstring>

namespace ioDetail {

namespace {

constexpr int kHashBits = 18; // at most a quarter full: few probes, few mispredicted branches
constexpr std::uint32_t kHashMask = (1u << kHashBits) - 1;
constexpr std::uint64_t kCheckGap = 10000; // input bytes between two ratio checks

// While a string grows, the encoder names it by where it lies, not by its code: a string of
// three or more bytes by its hash slot, a two-byte string by its place in the table of pairs,
// a single byte by the byte. The next step then needs no load to know its prefix (the load
// only confirms the slot, off the critical path), and the code is looked up once, when it goes
// out.
constexpr std::uint32_t kPairBase = 1u << kHashBits;
constexpr std::uint32_t kByteBase = kPairBase + 65536;
constexpr int kGenerationShift = kHashBits + 9; // above the name (kHashBits + 1) and the byte
constexpr std::uint32_t kGenerations = 1u << (32 - kGenerationShift);

inline std::uint32_t slotOf(std::uint32_t name) {
    return (name * 0x9E3779B1u) >> (32 - kHashBits);
}

} // namespace

LzwEncoder::LzwEncoder()
    : keys_(std::size_t{1} << kHashBits), codes_(std::size_t{1} << kHashBits), pairs_(65536) {}

std::uint32_t LzwEncoder::codeOf(std::uint32_t name) const {
    return name >= kByteBase   ? name - kByteBase
           : name >= kPairBase ? pairs_[name - kPairBase]
                               : codes_[name];
}

// A new table is a new generation: hash slots of older ones read as free, so that table is
// wiped only when the generation count wraps.

void LzwEncoder::clearTable() {
    if (++generation_ >= kGenerations) {
        std::memset(keys_.data(), 0, keys_.size() * sizeof keys_[0]);
        generation_ = 1;
    }
    std::memset(pairs_.data(), 0, pairs_.size() * sizeof pairs_[0]);
    free_ = kLzwFirst;
}

void LzwEncoder::start(std::vector<unsigned char>& out) {
    out.insert(out.end(), kLzwMagic, kLzwMagic + 3);
    clearTable();
    started_ = true;
    prefix_ = -1;
    bits_ = kLzwMinBits;
    maxCode_ = lzwMaxCodeFor(bits_);
    acc_ = 0;
    accBits_ = 0;
    groupCodes_ = 0;
    bytesIn_ = 0;
    bytesOut_ = 3;
    checkpoint_ = 0;
    ratio_ = 0;
    filled_ = false;
    shadowBits_ = 0;
    firstWidening_ = true;
}

void LzwEncoder::putCode(int code, unsigned char*& o) {
    acc_ |= static_cast<std::uint64_t>(code) << accBits_;
    accBits_ += bits_;
    ++groupCodes_;
    while (accBits_ >= 8) {
        *o++ = static_cast<unsigned char>(acc_);
        acc_ >>= 8;
        accBits_ -= 8;
        ++bytesOut_;
    }
}

// Zero bits up to the end of the present group of eight codes.
void LzwEncoder::padGroup(unsigned char*& o) {
    accBits_ += static_cast<int>((8 - groupCodes_ % 8) % 8) * bits_;
    while (accBits_ >= 8) {
        *o++ = static_cast<unsigned char>(acc_);
        acc_ >>= 8;
        accBits_ -= 8;
        ++bytesOut_;
    }
    groupCodes_ = 0;
}

// The ratio check of the classic coder: when the table fills, it notes the ratio of input to
// output so far; from then on, every `kCheckGap` input bytes, a ratio that fell means the table
// no longer fits the data, and a new one starts. Our table fills one entry earlier (257 is
// taken), and our codes widen one code earlier, which changes the output by a few bits. Tiny as
// that is, it can turn a check the other way, and then the two coders start their tables at
// other places and end far apart on data whose ratio hovers. So the check looks at the stream
// as the classic coder would have it: it notes the ratio one code later, and it counts the
// output with `shadowBits_`, the bits that the other widening would have cost.
void LzwEncoder::checkRatio(unsigned char*& out) {
    checkpoint_ = bytesIn_ + kCheckGap;
    const std::uint64_t bitsOut = bytesOut_ * 8 + static_cast<std::uint64_t>(accBits_);
    const std::uint64_t seen = (bitsOut + static_cast<std::uint64_t>(shadowBits_)) / 8;
    std::uint64_t ratio;
    if (bytesIn_ > 0x007FFFFF) {
        const std::uint64_t scaled = seen >> 8;
        ratio = scaled == 0 ? 0x7FFFFFFF : bytesIn_ / scaled;
    } else {
        ratio = (bytesIn_ << 8) / seen;
    }
    if (!filled_ || ratio >= ratio_) {
        filled_ = true;
        ratio_ = ratio;
        return;
    }
    ratio_ = 0;
    filled_ = false;
    checkpoint_ = 0; // the next table notes its ratio as soon as it is full
    putCode(kLzwClear, out);
    padGroup(out);
    clearTable();
    bits_ = kLzwMinBits;
    maxCode_ = lzwMaxCodeFor(bits_);
    firstWidening_ = true;
}

// What widening after a code in group position `group` costs the classic coder in bits, less
// what it costs us: it writes one more code in the old width (one bit less) and pads the group
// from one code later; from the second widening of a table on, its groups start one code
// later than ours too, which evens that out.
std::int64_t LzwEncoder::wideningShadow(unsigned group, int bits) {
    const unsigned ours = (8 - group % 8) % 8;
    const unsigned theirs = firstWidening_ ? (8 - (group + 1) % 8) % 8 : ours;
    firstWidening_ = false;
    return (static_cast<std::int64_t>(theirs) - static_cast<std::int64_t>(ours)) * bits - 1;
}

void LzwEncoder::add(const unsigned char* data, std::size_t size, std::vector<unsigned char>& out) {
    if (size == 0) {
        return;
    }
    if (!started_) {
        start(out);
    }
    // Each byte gives at most one code of two bytes; a new width or a new table adds at most
    // a code and a group of padding, a few times per table. The codes go to a scratch area
    // first: growing `out` by the worst case would zero it all for nothing.
    const std::size_t worst = 2 * size + size / 64 + 256;
    if (scratchSize_ < worst) {
        scratch_.reset(new unsigned char[worst]);
        scratchSize_ = worst;
    }
    unsigned char* const o0 = scratch_.get();
    unsigned char* o = o0;
    std::size_t i = 0;
    if (prefix_ < 0) {
        prefix_ = static_cast<int>(kByteBase + data[0]);
        i = 1;
    }
    const std::uint64_t before = bytesIn_;
    std::uint32_t* const keys = keys_.data();
    std::uint16_t* const codes = codes_.data();
    std::uint16_t* const pairs = pairs_.data();
    // The coder's state in locals: the byte stores of the output may alias anything.
    std::uint32_t prefix = static_cast<std::uint32_t>(prefix_);
    std::uint64_t acc = acc_;
    int accBits = accBits_;
    unsigned groupCodes = groupCodes_;
    int free = free_;
    int bits = bits_;
    int maxCode = maxCode_;
    std::uint32_t generation = generation_;
    std::uint64_t written = bytesOut_; // bytes of the section written before this call
    // Codes collect in the bit buffer and leave it four bytes at a time.
    auto put = [&](std::uint32_t code) {
        acc |= static_cast<std::uint64_t>(code) << accBits;
        accBits += bits;
        ++groupCodes;
        if (accBits >= 32) {
            o[0] = static_cast<unsigned char>(acc);
            o[1] = static_cast<unsigned char>(acc >> 8);
            o[2] = static_cast<unsigned char>(acc >> 16);
            o[3] = static_cast<unsigned char>(acc >> 24);
            o += 4;
            acc >>= 32;
            accBits -= 32;
        }
    };
    // After a code, when the table outgrew the present width: the rest of the group, then
    // the next width.
    auto widen = [&] {
        shadowBits_ += wideningShadow(groupCodes, bits);
        accBits += static_cast<int>((8 - groupCodes % 8) % 8) * bits;
        while (accBits >= 8) {
            *o++ = static_cast<unsigned char>(acc);
            acc >>= 8;
            accBits -= 8;
        }
        groupCodes = 0;
        ++bits;
        maxCode = lzwMaxCodeFor(bits);
    };
    // With the table full, now and then: the ratio check (rare; through the members).
    auto check = [&](std::size_t at) {
        while (accBits >= 8) {
            *o++ = static_cast<unsigned char>(acc);
            acc >>= 8;
            accBits -= 8;
        }
        bytesIn_ = before + at;
        acc_ = acc;
        accBits_ = accBits;
        groupCodes_ = groupCodes;
        bits_ = bits;
        maxCode_ = maxCode;
        free_ = free;
        bytesOut_ = written + static_cast<std::uint64_t>(o - o0);
        checkRatio(o);
        written = bytesOut_ - static_cast<std::uint64_t>(o - o0);
        acc = acc_;
        accBits = accBits_;
        groupCodes = groupCodes_;
        bits = bits_;
        maxCode = maxCode_;
        free = free_;
        generation = generation_;
    };
    while (i < size) {
        if (prefix >= kByteBase) {
            // Every string begins with a single byte: its first step needs no hashing.
            const std::uint32_t byte = data[i];
            const std::uint32_t pair = (prefix - kByteBase) << 8 | byte;
            if (pairs[pair] == 0) {
                put(prefix - kByteBase);
                if (free > maxCode) {
                    widen();
                }
                prefix = kByteBase + byte;
                if (free < kLzwTableSize) {
                    pairs[pair] = static_cast<std::uint16_t>(free++);
                } else if (before + i >= checkpoint_) {
                    check(i);
                }
                ++i;
                continue;
            }
            prefix = kPairBase + pair;
            if (++i == size) {
                break;
            }
        }
        // Longer strings, a byte at a time, until one is not in the table.
        std::uint32_t byte;
        std::uint32_t key;
        std::uint32_t slot;
        for (;;) {
            byte = data[i];
            const std::uint32_t name = prefix << 8 | byte;
            key = generation << kGenerationShift | name;
            slot = slotOf(name);
            if (keys[slot] != key) {
                if ((keys[slot] >> kGenerationShift) != generation) {
                    break;
                }
                // Collisions step on by an odd distance of their own (double hashing), so
                // that neighbouring slots do not pile up in runs.
                const std::uint32_t step = ((name * 0x85EBCA6Bu) >> (32 - kHashBits)) | 1;
                do {
                    slot = (slot + step) & kHashMask;
                } while (keys[slot] != key && (keys[slot] >> kGenerationShift) == generation);
                if (keys[slot] != key) {
                    break;
                }
            }
            prefix = slot;
            if (++i == size) {
                break;
            }
        }
        if (i == size) {
            break;
        }
        put(prefix >= kPairBase ? pairs[prefix - kPairBase] : codes[prefix]);
        if (free > maxCode) {
            widen();
        }
        prefix = kByteBase + byte;
        if (free < kLzwTableSize) {
            keys[slot] = key;
            codes[slot] = static_cast<std::uint16_t>(free++);
        } else if (before + i >= checkpoint_) {
            check(i);
        }
        ++i;
    }
    out.insert(out.end(), o0, o);
    bytesOut_ = written + static_cast<std::uint64_t>(o - o0);
    bytesIn_ = before + size;
    prefix_ = static_cast<int>(prefix);
    acc_ = acc;
    accBits_ = accBits;
    groupCodes_ = groupCodes;
    free_ = free;
    bits_ = bits;
    maxCode_ = maxCode;
}

void LzwEncoder::end(std::vector<unsigned char>& out) {
    if (!started_) {
        start(out);
    }
    const std::size_t base = out.size();
    out.resize(base + 64);
    unsigned char* o = out.data() + base;
    if (prefix_ >= 0) {
        putCode(static_cast<int>(codeOf(static_cast<std::uint32_t>(prefix_))), o);
        if (free_ > maxCode_) {
            padGroup(o);
            ++bits_;
            maxCode_ = lzwMaxCodeFor(bits_);
        }
    }
    putCode(kLzwEnd, o);
    if (accBits_ > 0) {
        *o++ = static_cast<unsigned char>(acc_);
        ++bytesOut_;
    }
    out.resize(static_cast<std::size_t>(o - out.data()));
    acc_ = 0;
    accBits_ = 0;
    started_ = false;
    prefix_ = -1;
}

namespace {

// The history holds the output of one table's life up to the point where the table is full;
// that is a few MiB for ordinary data. Beyond this, entries fall back to their prefix chain.
constexpr std::size_t kHistoryLimit = std::size_t{8} << 20;
} // namespace

LzwDecoder::LzwDecoder()
    : entries_(kLzwTableSize), prefix_(kLzwTableSize), suffix_(kLzwTableSize),
      history_(std::size_t{1} << 16) {
    for (int i = 0; i < 256; ++i) {
        entries_[static_cast<std::size_t>(i)] = Entry{static_cast<std::uint32_t>(i), 1};
        history_[static_cast<std::size_t>(i)] = static_cast<unsigned char>(i);
    }
    reset();
}

void LzwDecoder::newTable() {
    free_ = kLzwFirst;
    bits_ = kLzwMinBits;
    maxCode_ = lzwMaxCodeFor(bits_);
    previous_ = -1;
    historyEnd_ = 256;
    building_ = true;
    groupCodes_ = 0;
}

void LzwDecoder::reset() {
    pending_.clear();
    pendingAt_ = 0;
    state_ = kHeader;
    headerGot_ = 0;
    skip_ = 0;
    acc_ = 0;
    accBits_ = 0;
    newTable();
}

bool LzwDecoder::roomInHistory(std::size_t length) {
    const std::size_t needed = historyEnd_ + length + kSlack;
    if (needed <= history_.size()) {
        return true;
    }
    if (needed > kHistoryLimit) {
        return false;
    }
    history_.resize(std::min(kHistoryLimit, std::max(needed, history_.size() * 2)));
    return true;
}

void LzwDecoder::produce(int code, unsigned char* target, std::size_t length) const {
    const Entry* const entries = entries_.data();
    std::size_t at = length;
    int walk = code;
    while (entries[walk].at == kNowhere) {
        target[--at] = suffix_[static_cast<std::size_t>(walk)];
        walk = prefix_[static_cast<std::size_t>(walk)];
    }
    std::memcpy(target, history_.data() + entries[walk].at, at);
}

LzwDecoder::Step LzwDecoder::step(int code, unsigned char*& out, unsigned char* outEnd) {
    if (code == kLzwClear) {
        // Padding to the end of the group, in the old width; then a new table.
        pad_ = static_cast<int>((8 - groupCodes_ % 8) % 8) * bits_;
        newTable();
        return kStepPad;
    }
    if (previous_ < 0) {
        if (code > 255) {
            return kStepError; // a section's first code, and the first after CLEAR, are literals
        }
        *out++ = static_cast<unsigned char>(code);
        previous_ = code;
        // The history is never full this early: it starts with room for more than a string.
        previousAt_ = static_cast<std::uint32_t>(historyEnd_);
        history_[historyEnd_++] = static_cast<unsigned char>(code);
        return kStepOk;
    }
    if (code > free_ || (code == free_ && free_ >= kLzwTableSize)) {
        return kStepError;
    }
    // A code equal to the next free entry (the KwKwK case) stands for the previous string
    // followed by its own first byte.
    const bool self = code == free_;
    const bool grows = free_ < kLzwTableSize;
    const std::size_t previousLength = entries_[static_cast<std::size_t>(previous_)].length;
    const std::size_t length =
        self ? previousLength + 1 : entries_[static_cast<std::size_t>(code)].length;
    const std::size_t room = static_cast<std::size_t>(outEnd - out);
    const unsigned char* string; // where the whole string lies once made
    if (grows && building_ && !roomInHistory(length)) {
        building_ = false;
    }
    if (grows && building_) {
        // Into the history first, right after the previous string: that makes the new entry.
        unsigned char* const h = history_.data();
        unsigned char* const to = h + historyEnd_;
        if (self) {
            lzwCopyWide(to, h + previousAt_, previousLength);
            to[previousLength] = h[previousAt_];
        } else {
            const Entry e = entries_[static_cast<std::size_t>(code)];
            if (e.at != kNowhere) {
                lzwCopyWide(to, h + e.at, length);
            } else {
                produce(code, to, length);
            }
        }
        entries_[static_cast<std::size_t>(free_)] =
            Entry{previousAt_, static_cast<std::uint32_t>(previousLength + 1)};
        previousAt_ = static_cast<std::uint32_t>(historyEnd_);
        historyEnd_ += length;
        string = to;
        if (room >= length + 16) {
            lzwCopyWide(out, to, length);
            out += length;
        } else if (room >= length) {
            std::memcpy(out, to, length);
            out += length;
        } else {
            pending_.assign(to, to + length);
        }
    } else {
        unsigned char* target;
        if (room >= length) {
            target = out;
            out += length;
        } else {
            pending_.resize(length);
            target = pending_.data();
        }
        const int known = self ? previous_ : code;
        const Entry e = entries_[static_cast<std::size_t>(known)];
        if (e.at != kNowhere && room >= length + 16) {
            lzwCopyWide(target, history_.data() + e.at, e.length);
        } else {
            produce(known, target, e.length);
        }
        if (self) {
            target[length - 1] = target[0];
        }
        string = target;
        if (grows) {
            entries_[static_cast<std::size_t>(free_)] =
                Entry{kNowhere, static_cast<std::uint32_t>(previousLength + 1)};
        }
    }
    const unsigned char first = string[0];
    if (grows) {
        prefix_[static_cast<std::size_t>(free_)] = static_cast<std::uint16_t>(previous_);
        suffix_[static_cast<std::size_t>(free_)] = first;
        ++free_;
    }
    previous_ = code;
    if (!pending_.empty()) {
        pendingAt_ = 0;
        while (pendingAt_ < pending_.size() && out != outEnd) {
            *out++ = pending_[pendingAt_++];
        }
    }
    if (free_ > maxCode_) {
        pad_ = static_cast<int>((8 - groupCodes_ % 8) % 8) * bits_;
        groupCodes_ = 0;
        ++bits_;
        maxCode_ = lzwMaxCodeFor(bits_);
        return kStepPad;
    }
    return kStepOk;
}

} // namespace ioDetail
