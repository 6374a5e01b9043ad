// ioLzw.h - the LZW codec of the compression filter: the stream format of the Unix `compress`
// utility (header 0x1F 0x9D 0x90 = block mode, codes of at most 16 bits; codes of 9 to 16 bits
// packed least significant bit first, in groups of eight codes; when the code width grows and
// after a CLEAR code (256) the output is padded to the end of the group; CLEAR is emitted
// when the table is full and the compression ratio drops), with one change: code 257 ends a
// section, so new table entries start at 258. That change is why the standard `uncompress`
// cannot read our sections, although the framing is the same.
#ifndef KY_IO_INTERNAL_LZW_H
#define KY_IO_INTERNAL_LZW_H

#include <Base/BaseExport.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace ioDetail {

constexpr unsigned char kLzwMagic[3] = {0x1F, 0x9D, 0x90};
constexpr int kLzwClear = 256;
constexpr int kLzwEnd = 257;
constexpr int kLzwFirst = 258;
constexpr int kLzwMinBits = 9;
constexpr int kLzwMaxBits = 16;
constexpr int kLzwTableSize = 1 << kLzwMaxBits;

/// Compresses one section at a time. `add` may be called with pieces of any size; `end`
/// writes the end code and the padding to a whole byte and makes the encoder ready for the
/// next section (whose header `add` or `end` writes first). Output is appended to `out`.
/// One thread at a time; never fails.
class KY_BASE_API LzwEncoder {
public:
    LzwEncoder();
    void add(const unsigned char* data, std::size_t size, std::vector<unsigned char>& out);
    void end(std::vector<unsigned char>& out);
    /// Whether a section is open (a header was written and the end code not yet).
    bool inSection() const { return started_; }

private:
    void start(std::vector<unsigned char>& out);
    // These write at `o`, which has room (the callers size `out` for the worst case first).
    void putCode(int code, unsigned char*& o);
    void padGroup(unsigned char*& o);
    void clearTable();
    void checkRatio(unsigned char*& o);

    std::vector<std::uint32_t> keys_; // hash slots: (prefix << 8 | byte) + 1, 0 when free
    std::vector<std::uint16_t> codes_;
    std::vector<std::uint16_t> pairs_; // two-byte strings, direct: [first << 8 | second], 0 free
    bool started_ = false;
    int prefix_ = -1;
    int free_ = kLzwFirst;
    int bits_ = kLzwMinBits;
    int maxCode_ = (1 << kLzwMinBits) - 1;
    std::uint64_t acc_ = 0; // bits not yet written
    int accBits_ = 0;
    std::uint64_t groupBits_ = 0; // bits written since the start of the present group run
    std::uint64_t bytesIn_ = 0;
    std::uint64_t bytesOut_ = 0;
    std::uint64_t checkpoint_ = 0;
    std::uint64_t ratio_ = 0;
};

/// Decompresses one section at a time, fed in pieces of any size. It takes only the bytes
/// it needs and never a byte beyond the end code, so the data after a section stays with the
/// caller. Malformed data (a bad header, a code beyond the next free entry, a CLEAR or end
/// code where a literal must come) is a defined error; nothing is read or written out of
/// bounds. One thread at a time.
class KY_BASE_API LzwDecoder {
public:
    enum Result {
        kNeedInput, ///< the input ran out inside the section
        kOutputFull,
        kEnd,   ///< the end code was met; the next call starts a new section
        kError, ///< malformed data; sticks until `reset`
    };

    LzwDecoder();
    void reset();

    /// Decodes from `in` (advanced past what was taken) into `out` (advanced past what was
    /// written). `Source` needs `bool get(unsigned char&)`, false when it has no more bytes.
    template <class Source>
    Result decode(Source& in, unsigned char*& out, unsigned char* outEnd);

    /// The common source: a byte range.
    struct Range {
        const unsigned char* p;
        const unsigned char* end;
        bool get(unsigned char& b) {
            if (p == end) {
                return false;
            }
            b = *p++;
            return true;
        }
    };

private:
    /// Takes one code into `code_` (false when the input ran out first).
    template <class Source>
    bool takeCode(Source& in);
    /// Starts the output of `code_`; false for a malformed code.
    bool expand(unsigned char*& out, unsigned char* outEnd);

    enum State { kHeader, kCodes, kSkip, kError_ };

    std::vector<std::uint16_t> prefix_;
    std::vector<unsigned char> suffix_;
    std::vector<std::uint16_t> length_;  // string length of each entry (1 to 65535... capped)
    std::vector<unsigned char> pending_; // the rest of a string that did not fit in `out`
    std::size_t pendingAt_ = 0;
    State state_ = kHeader;
    int headerGot_ = 0;
    int skip_ = 0; // padding bytes still to pass over
    int free_ = kLzwFirst;
    int bits_ = kLzwMinBits;
    int maxCode_ = (1 << kLzwMinBits) - 1;
    int previous_ = -1;
    unsigned char firstOfPrevious_ = 0;
    std::uint32_t acc_ = 0;
    int accBits_ = 0;
    std::uint64_t groupBits_ = 0;
    int code_ = 0;
};

template <class Source>
bool LzwDecoder::takeCode(Source& in) {
    while (accBits_ < bits_) {
        unsigned char b;
        if (!in.get(b)) {
            return false;
        }
        acc_ |= static_cast<std::uint32_t>(b) << accBits_;
        accBits_ += 8;
    }
    code_ = static_cast<int>(acc_ & ((1u << bits_) - 1));
    acc_ >>= bits_;
    accBits_ -= bits_;
    groupBits_ += static_cast<std::uint64_t>(bits_);
    return true;
}

template <class Source>
LzwDecoder::Result LzwDecoder::decode(Source& in, unsigned char*& out, unsigned char* outEnd) {
    for (;;) {
        if (pendingAt_ < pending_.size()) {
            while (pendingAt_ < pending_.size() && out != outEnd) {
                *out++ = pending_[pendingAt_++];
            }
            if (pendingAt_ < pending_.size()) {
                return kOutputFull;
            }
            pending_.clear();
            pendingAt_ = 0;
        }
        switch (state_) {
        case kError_:
            return kError;
        case kHeader:
            while (headerGot_ < 3) {
                unsigned char b;
                if (!in.get(b)) {
                    return kNeedInput;
                }
                if (b != kLzwMagic[headerGot_]) {
                    state_ = kError_;
                    return kError;
                }
                ++headerGot_;
            }
            state_ = kCodes;
            break;
        case kSkip:
            while (skip_ > 0) {
                unsigned char b;
                if (!in.get(b)) {
                    return kNeedInput;
                }
                --skip_;
            }
            state_ = kCodes;
            break;
        case kCodes:
            // Code after code until a new width, a new table or a string that did not fit.
            do {
                if (out == outEnd) {
                    return kOutputFull;
                }
                if (!takeCode(in)) {
                    return kNeedInput;
                }
                if (code_ == kLzwEnd) {
                    reset();
                    return kEnd;
                }
                if (!expand(out, outEnd)) {
                    state_ = kError_;
                    return kError;
                }
            } while (state_ == kCodes && pending_.empty());
            break;
        }
    }
}

} // namespace ioDetail

#endif // KY_IO_INTERNAL_LZW_H
