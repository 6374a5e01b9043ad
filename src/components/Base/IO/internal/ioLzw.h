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

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
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
    std::uint32_t codeOf(std::uint32_t name) const;
    std::int64_t wideningShadow(unsigned group, int bits);

    // Hash slots of strings of three or more bytes: the generation in the top bits, then
    // prefix << 8 | byte, where the prefix is named as `add` says; the code of each slot beside
    // it.
    std::vector<std::uint32_t> keys_;
    std::vector<std::uint16_t> codes_;
    // Two-byte strings, direct: [first << 8 | second] = code, 0 when free; small enough to be
    // wiped for every table, which keeps it half the size.
    std::vector<std::uint16_t> pairs_;
    std::unique_ptr<unsigned char[]> scratch_; // the codes of one `add`, before `out`
    std::size_t scratchSize_ = 0;
    std::uint32_t generation_ = 0; // of the present table; slots of others read as free
    bool started_ = false;
    int prefix_ = -1; // the string being matched, named as `add` says; -1 before the first byte
    int free_ = kLzwFirst;
    int bits_ = kLzwMinBits;
    int maxCode_ = (1 << kLzwMinBits) - 1;
    std::uint64_t acc_ = 0; // bits not yet written
    int accBits_ = 0;
    unsigned groupCodes_ = 0; // codes written since the start of the present group run
    std::uint64_t bytesIn_ = 0;
    std::uint64_t bytesOut_ = 0;
    std::uint64_t checkpoint_ = 0; // input count of the next ratio check, once the table is full
    std::uint64_t ratio_ = 0;
    bool filled_ = false;         // the ratio of the full table was noted
    std::int64_t shadowBits_ = 0; // see `checkRatio`
    bool firstWidening_ = true;
};

/// Copies `n` (at least 1) bytes in 16-byte pieces, so it may read and write up to 15 bytes
/// beyond them. Each piece is read whole before it is written: a source that ends at or before
/// the target is fine even when the pieces overlap it.
inline void lzwCopyWide(unsigned char* to, const unsigned char* from, std::size_t n) {
    for (;;) {
        unsigned char piece[16];
        std::memcpy(piece, from, 16);
        std::memcpy(to, piece, 16);
        if (n <= 16) {
            return;
        }
        n -= 16;
        to += 16;
        from += 16;
    }
}

inline int lzwMaxCodeFor(int bits) {
    return bits >= kLzwMaxBits ? kLzwTableSize : (1 << bits) - 1;
}

/// Decompresses one section at a time, fed in pieces of any size. It takes only the bytes
/// it needs and never a byte beyond the end code, so the data after a section stays with the
/// caller. Malformed data (a bad header, a code beyond the next free entry, a CLEAR or end
/// code where a literal must come) is a defined error; nothing is read or written out of
/// bounds. One thread at a time.
///
/// Every string of the table is a stretch of the output since the last new table (an entry is
/// the previous code's string followed by the first byte of the next one, which comes right
/// after it), so the decoder keeps that output in a history and copies each string from there
/// instead of walking its prefix chain a byte at a time. The history is bounded; the entries
/// made after it fills fall back to the chain, which ends at an entry that is in it.
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
    /// written). `Source` offers a window of bytes: `cursor()` and `limit()`, `seek(p)` to
    /// take the bytes before `p` (or give back taken ones, never before the window's start),
    /// and `more()` for a new window, false when there is no more input.
    template <class Source>
    Result decode(Source& in, unsigned char*& out, unsigned char* outEnd);

    /// The common source: a byte range.
    struct Range {
        const unsigned char* p;
        const unsigned char* end;
        const unsigned char* cursor() const { return p; }
        const unsigned char* limit() const { return end; }
        void seek(const unsigned char* at) { p = at; }
        bool more() { return false; }
    };

private:
    enum State { kHeader, kCodes, kSkip, kError_ };
    enum Step { kStepOk, kStepError, kStepPad };
    static constexpr std::uint32_t kNowhere = 0xFFFFFFFFu;
    static constexpr std::size_t kSlack = 32; // history bytes kept free past its end
    struct Entry {
        std::uint32_t at;     // where the string lies in the history, or kNowhere
        std::uint32_t length; // its length in bytes
    };

    /// Takes `code` (not the end code): its string to `out` (or to `pending_` when it does not
    /// fit) and the new table entry. `kStepPad` asks the caller to pass over `pad_` bits.
    Step step(int code, unsigned char*& out, unsigned char* outEnd);
    /// Writes the string of an existing entry to `target` exactly (`length` bytes).
    void produce(int code, unsigned char* target, std::size_t length) const;
    /// Makes room for `length` more bytes of history; false when the history is full.
    bool roomInHistory(std::size_t length);
    void newTable();

    std::vector<Entry> entries_;
    std::vector<std::uint16_t> prefix_; // only for entries not in the history
    std::vector<unsigned char> suffix_;
    std::vector<unsigned char> history_;
    std::size_t historyEnd_ = 0;
    bool building_ = true;               // every string since the new table is in the history
    std::uint32_t previousAt_ = 0;       // where the previous string lies in the history
    std::vector<unsigned char> pending_; // the rest of a string that did not fit in `out`
    std::size_t pendingAt_ = 0;
    State state_ = kHeader;
    int headerGot_ = 0;
    int skip_ = 0; // padding bytes still to pass over
    int pad_ = 0;  // padding bits asked for by `step`
    int free_ = kLzwFirst;
    int bits_ = kLzwMinBits;
    int maxCode_ = (1 << kLzwMinBits) - 1;
    int previous_ = -1;
    std::uint64_t acc_ = 0; // bits taken from the input and not yet used, lowest first
    int accBits_ = 0;
    unsigned groupCodes_ = 0; // codes since the start of the present group run
};

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
        case kSkip:
            while (state_ == kHeader ? headerGot_ < 3 : skip_ > 0) {
                if (in.cursor() == in.limit() && !in.more()) {
                    return kNeedInput;
                }
                const unsigned char b = *in.cursor();
                in.seek(in.cursor() + 1);
                if (state_ == kSkip) {
                    --skip_;
                } else if (b != kLzwMagic[headerGot_++]) {
                    state_ = kError_;
                    return kError;
                }
            }
            state_ = kCodes;
            break;
        case kCodes: {
            // The bit buffer and the input window live in locals here: the byte stores of the
            // output may alias anything and would otherwise reload them for every code.
            const unsigned char* p = in.cursor();
            const unsigned char* limit = in.limit();
            const unsigned char* windowStart = p;
            std::uint64_t acc = acc_;
            int accBits = accBits_;
            Result result = kOutputFull;
            // The table state too, for the common codes that the loop handles itself: a known
            // string copied from the history (adding an entry while the table grows).
            const Entry* const entries = entries_.data();
            unsigned char* h = history_.data();
            std::size_t historySize = history_.size();
            std::size_t historyEnd = historyEnd_;
            std::uint32_t previousAt = previousAt_;
            int previous = previous_;
            int free = free_;
            unsigned groupCodes = groupCodes_;
            std::uint32_t previousLength = previous >= 0 ? entries[previous].length : 0;
            for (;;) {
                if (out == outEnd) {
                    break;
                }
                const int bits = bits_;
                if (accBits < bits) {
                    if (limit - p >= 8) {
                        const std::uint64_t word =
                            std::uint64_t{p[0]} | std::uint64_t{p[1]} << 8 |
                            std::uint64_t{p[2]} << 16 | std::uint64_t{p[3]} << 24 |
                            std::uint64_t{p[4]} << 32 | std::uint64_t{p[5]} << 40 |
                            std::uint64_t{p[6]} << 48 | std::uint64_t{p[7]} << 56;
                        const int take = (63 - accBits) >> 3;
                        acc |= word << accBits;
                        accBits += take * 8;
                        acc &= (std::uint64_t{1} << accBits) - 1;
                        p += take;
                    } else {
                        while (accBits < bits) {
                            if (p == limit) {
                                in.seek(p);
                                if (!in.more()) {
                                    break;
                                }
                                p = in.cursor();
                                limit = in.limit();
                                windowStart = p;
                            }
                            acc |= static_cast<std::uint64_t>(*p++) << accBits;
                            accBits += 8;
                        }
                        if (accBits < bits) {
                            result = kNeedInput;
                            break;
                        }
                    }
                }
                const int code = static_cast<int>(acc & ((1u << bits) - 1));
                acc >>= bits;
                accBits -= bits;
                ++groupCodes;
                if (code == kLzwEnd) {
                    result = kEnd;
                    break;
                }
                const std::size_t room = static_cast<std::size_t>(outEnd - out);
                Step s = kStepOk;
                bool handled = false;
                if (previous >= 0 && code < free && code != kLzwClear) {
                    const Entry e = entries[code];
                    if (free < kLzwTableSize) {
                        if (building_ && historyEnd + e.length + kSlack <= historySize &&
                            room >= e.length + 16) {
                            unsigned char* const to = h + historyEnd;
                            lzwCopyWide(to, h + e.at, e.length);
                            entries_[static_cast<std::size_t>(free)] =
                                Entry{previousAt, previousLength + 1};
                            previousAt = static_cast<std::uint32_t>(historyEnd);
                            historyEnd += e.length;
                            lzwCopyWide(out, to, e.length);
                            out += e.length;
                            previous = code;
                            previousLength = e.length;
                            ++free;
                            handled = true;
                            if (free > maxCode_) {
                                pad_ = static_cast<int>((8 - groupCodes % 8) % 8) * bits;
                                groupCodes = 0;
                                ++bits_;
                                maxCode_ = lzwMaxCodeFor(bits_);
                                s = kStepPad;
                            }
                        }
                    } else if (e.at != kNowhere && room >= e.length + 16) {
                        lzwCopyWide(out, h + e.at, e.length);
                        out += e.length;
                        previous = code;
                        handled = true;
                    }
                }
                if (!handled) {
                    historyEnd_ = historyEnd;
                    previousAt_ = previousAt;
                    previous_ = previous;
                    free_ = free;
                    groupCodes_ = groupCodes;
                    s = step(code, out, outEnd);
                    historyEnd = historyEnd_;
                    previousAt = previousAt_;
                    previous = previous_;
                    free = free_;
                    groupCodes = groupCodes_;
                    previousLength = previous >= 0 ? entries[previous].length : 0;
                    h = history_.data(); // it may have grown
                    historySize = history_.size();
                }
                if (s == kStepError) {
                    result = kError;
                    break;
                }
                if (s == kStepPad) {
                    // The padding lies in the bits at hand or runs on in whole bytes.
                    if (pad_ <= accBits) {
                        acc >>= pad_;
                        accBits -= pad_;
                    } else {
                        skip_ = (pad_ - accBits) / 8;
                        acc = 0;
                        accBits = 0;
                        if (skip_ > 0) {
                            state_ = kSkip;
                            result = kOutputFull;
                            break;
                        }
                    }
                }
                if (pendingAt_ < pending_.size()) {
                    break;
                }
            }
            // Whole bytes not yet used go back to the source (those of this window; others
            // only arise before a code is complete and stay in the bit buffer).
            if (result != kNeedInput) {
                const int back = std::min(accBits / 8, static_cast<int>(p - windowStart));
                p -= back;
                accBits -= back * 8;
                acc &= (std::uint64_t{1} << accBits) - 1;
            }
            in.seek(p);
            historyEnd_ = historyEnd;
            previousAt_ = previousAt;
            previous_ = previous;
            free_ = free;
            groupCodes_ = groupCodes;
            acc_ = acc;
            accBits_ = accBits;
            switch (result) {
            case kEnd:
                reset();
                return kEnd;
            case kError:
                state_ = kError_;
                return kError;
            case kNeedInput:
                return kNeedInput;
            case kOutputFull:
                if (out == outEnd && pendingAt_ >= pending_.size()) {
                    return kOutputFull;
                }
                break; // the pending rest, or the padding
            }
            break;
        }
        }
    }
}

} // namespace ioDetail

#endif // KY_IO_INTERNAL_LZW_H
