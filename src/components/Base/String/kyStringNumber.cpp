// kyStringNumber.cpp - int64ToAscii and kin.
#include <Base/String/kyStringNumber.h>

#include <cstdio>
#include <cstdlib>

namespace {

constexpr int kSlots = 3;
constexpr int kSlotSize = 28;

// Shared by every thread on purpose: callers that need several results at once use several
// slots.
char gSigned[kSlots][kSlotSize];
char gUnsigned[kSlots][kSlotSize];

// A slot outside 0..2 would write past the table; it wraps instead.
int slotIndex(int slot) {
    return static_cast<int>(static_cast<unsigned int>(slot) % kSlots);
}

} // namespace

extern "C" {

const char* int64ToAscii(long long value, int slot) {
    char* buf = gSigned[slotIndex(slot)];
    std::snprintf(buf, kSlotSize, "%lld", value);
    buf[kSlotSize - 1] = '\0';
    return buf;
}

const char* uint64ToAscii(unsigned long long value, int slot) {
    char* buf = gUnsigned[slotIndex(slot)];
    std::snprintf(buf, kSlotSize, "%llu", value);
    buf[kSlotSize - 1] = '\0';
    return buf;
}

// strtoll/strtoull read what "%lld"/"%llu" scanning reads (optional whitespace and sign, then
// decimal digits) and stay defined when the value overflows (they saturate).
long long asciiToInt64(const char* text) {
    if (!text) {
        return 0;
    }
    return std::strtoll(text, nullptr, 10);
}

unsigned long long asciiToUInt64(const char* text) {
    if (!text) {
        return 0;
    }
    return std::strtoull(text, nullptr, 10);
}

} // extern "C"
