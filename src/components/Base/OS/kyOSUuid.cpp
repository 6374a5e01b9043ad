// kyOSUuid.cpp - 128-bit identifiers.
#include <Base/OS/kyOSUuid.h>

#include <Base/OS/internal/kyOSSystem.h>

#include <cstdio>
#include <cstring>

namespace kyOS {
namespace {

int hexValue(char c) {
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    if (c >= 'a' && c <= 'f') {
        return c - 'a' + 10;
    }
    if (c >= 'A' && c <= 'F') {
        return c - 'A' + 10;
    }
    return -1;
}

// Eight hexadecimal digits and nothing else (no sign, blank or "0x" prefix).
bool parseGroup(const char* text, unsigned int* word) {
    unsigned int value = 0;
    for (int i = 0; i < 8; ++i) {
        const int digit = hexValue(text[i]);
        if (digit < 0) {
            return false;
        }
        value = (value << 4) | static_cast<unsigned int>(digit);
    }
    *word = value;
    return true;
}

} // namespace

Uuid::Uuid(const unsigned int words[4]) {
    std::memcpy(words_, words, sizeof words_);
}

Uuid::Uuid(const unsigned char bytes[16]) {
    for (int w = 0; w < 4; ++w) {
        const unsigned char* b = bytes + 4 * w;
        words_[w] = (static_cast<unsigned int>(b[0]) << 24) |
                    (static_cast<unsigned int>(b[1]) << 16) |
                    (static_cast<unsigned int>(b[2]) << 8) | static_cast<unsigned int>(b[3]);
    }
}

Uuid::Uuid(const kyString::CString& text) {
    if (text.length() != kTextLength) {
        return;
    }
    const char* s = text.asChar();
    if (s[8] != '-' || s[17] != '-' || s[26] != '-') {
        return;
    }
    unsigned int words[4];
    for (int w = 0; w < 4; ++w) {
        if (!parseGroup(s + 9 * w, &words[w])) {
            return;
        }
    }
    std::memcpy(words_, words, sizeof words_);
}

bool Uuid::generate() {
    if (!detail::systemCalls().generateUuid(words_)) {
        std::memset(words_, 0, sizeof words_);
        return false;
    }
    return true;
}

bool Uuid::set(const unsigned int words[4]) {
    if (valid()) {
        return false;
    }
    std::memcpy(words_, words, sizeof words_);
    return true;
}

void Uuid::get(unsigned int words[4]) const {
    std::memcpy(words, words_, sizeof words_);
}

void Uuid::get(unsigned char bytes[16]) const {
    for (int w = 0; w < 4; ++w) {
        bytes[4 * w] = static_cast<unsigned char>(words_[w] >> 24);
        bytes[4 * w + 1] = static_cast<unsigned char>(words_[w] >> 16);
        bytes[4 * w + 2] = static_cast<unsigned char>(words_[w] >> 8);
        bytes[4 * w + 3] = static_cast<unsigned char>(words_[w]);
    }
}

kyString::CString Uuid::asString() const {
    char text[kTextLength + 1];
    std::snprintf(text, sizeof text, "%08x-%08x-%08x-%08x", words_[0], words_[1], words_[2],
                  words_[3]);
    return kyString::CString(text);
}

int Uuid::compare(const Uuid& other) const {
    return std::memcmp(words_, other.words_, sizeof words_);
}

} // namespace kyOS
