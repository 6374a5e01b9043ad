// kyStringConvert.cpp - code-page and UTF-8 conversions between narrow and wide text.
#include <Base/String/kyStringConvert.h>

#include <Base/String/internal/kyStringUTF8.h>

#include <climits>
#include <cstdlib>
#include <cstring>
#include <cwchar>

namespace kyString {

namespace {

constexpr unsigned int kNulTerminated = 0xFFFFFFFFu;
constexpr std::size_t kConversionError = static_cast<std::size_t>(-1);

void setFlag(bool* flag, bool value) {
    if (flag) {
        *flag = value;
    }
}

// True when an explicit `srcLen` is shorter than the NUL-terminated text (which is refused).
template <class C>
bool lengthTooShort(const C* src, unsigned int srcLen) {
    if (srcLen == kNulTerminated) {
        return false;
    }
    for (unsigned int i = 0; i <= srcLen; ++i) {
        if (src[i] == 0) {
            return false;
        }
        if (i == srcLen) {
            break;
        }
    }
    return true;
}

unsigned int toCount(std::size_t n) {
    return n > 0xFFFFFFFEu ? 0xFFFFFFFEu : static_cast<unsigned int>(n);
}

// Characters in `src` counted one locale character at a time, an invalid byte counting as one
// character; stops at the NUL or after `limit` characters.
std::size_t countMultibyteStepwise(const char* src, unsigned int limit) {
    const char* end = src + std::strlen(src);
    const std::size_t maxChar = MB_CUR_MAX;
    std::mbstate_t state{};
    std::size_t count = 0;
    const char* p = src;
    while (p < end && count < limit) {
        wchar_t wc;
        const std::size_t room = static_cast<std::size_t>(end - p);
        const std::size_t r = std::mbrtowc(&wc, p, room < maxChar ? room : maxChar, &state);
        if (r == static_cast<std::size_t>(-1) || r == static_cast<std::size_t>(-2)) {
            state = std::mbstate_t{};
            p += 1;
        } else if (r == 0) {
            break;
        } else {
            p += r;
        }
        ++count;
    }
    return count;
}

} // namespace

char getDefaultMBChar() {
    return '?';
}
wchar_t getDefaultWChar() {
    return L'?';
}

unsigned int MBStoWCS(const char* src, unsigned int srcLen, wchar_t* dst, unsigned int dstSize,
                      bool* lossless) {
    setFlag(lossless, true);
    if (!src) {
        return 0;
    }
    // A length shorter than the text is refused, deliberately; beyond that the conversion runs
    // to the NUL.
    if (lengthTooShort(src, srcLen)) {
        return 0;
    }
    std::size_t count = std::mbstowcs(nullptr, src, 0);
    if (count == kConversionError) {
        count = countMultibyteStepwise(src, srcLen);
        setFlag(lossless, false);
    }
    if (!dst) {
        return toCount(count);
    }
    if (count >= dstSize) {
        return 0;
    }
    if (std::mbstowcs(dst, src, count + 1) != kConversionError) {
        return toCount(count);
    }
    // Character by character: each byte the locale cannot decode becomes the default wide
    // character and counts as one character.
    const char* end = src + std::strlen(src);
    const std::size_t maxChar = MB_CUR_MAX;
    std::mbstate_t state{};
    const char* p = src;
    std::size_t written = 0;
    while (p < end && written < count) {
        wchar_t wc;
        const std::size_t room = static_cast<std::size_t>(end - p);
        const std::size_t r = std::mbrtowc(&wc, p, room < maxChar ? room : maxChar, &state);
        if (r == static_cast<std::size_t>(-1) || r == static_cast<std::size_t>(-2)) {
            state = std::mbstate_t{};
            dst[written++] = getDefaultWChar();
            p += 1;
        } else if (r == 0) {
            break;
        } else {
            dst[written++] = wc;
            p += r;
        }
    }
    for (std::size_t i = written; i <= count; ++i) {
        dst[i] = L'\0';
    }
    setFlag(lossless, false);
    return toCount(count);
}

unsigned int WCStoMBS(const wchar_t* src, unsigned int srcLen, char* dst, unsigned int dstSize,
                      bool* lossless) {
    setFlag(lossless, true);
    if (!src) {
        return 0;
    }
    if (lengthTooShort(src, srcLen)) {
        return 0;
    }
    const std::size_t wideLength = std::wcslen(src);
    std::size_t count = std::wcstombs(nullptr, src, 0);
    if (count == kConversionError) {
        count = wideLength;
        setFlag(lossless, false);
    }
    if (!dst) {
        return toCount(count);
    }
    if (count >= dstSize) {
        return 0;
    }
    if (std::wcstombs(dst, src, count + 1) != kConversionError) {
        return toCount(count);
    }
    // Character by character: one byte per wide character, the default narrow character for
    // any that does not map to exactly one byte (two-byte characters too; kept on purpose).
    std::mbstate_t state{};
    std::size_t written = 0;
    const std::size_t limit = dstSize - 1;
    for (std::size_t i = 0; i < wideLength && written < limit; ++i) {
        char bytes[MB_LEN_MAX];
        const std::size_t r = std::wcrtomb(bytes, src[i], &state);
        if (r == 1) {
            dst[written++] = bytes[0];
        } else {
            state = std::mbstate_t{};
            dst[written++] = getDefaultMBChar();
        }
    }
    dst[written] = '\0';
    setFlag(lossless, false);
    return toCount(written);
}

unsigned int UTF8toWCS(const char* src, unsigned int srcLen, wchar_t* dst, unsigned int dstSize,
                       bool keepBOM, bool* lossless) {
    setFlag(lossless, false);
    if (!src) {
        return 0;
    }
    std::size_t n = srcLen == kNulTerminated ? std::strlen(src) : srcLen;
    if (n == 0) {
        setFlag(lossless, true);
        return 0;
    }
    const unsigned char* s = reinterpret_cast<const unsigned char*>(src);
    if (!keepBOM && n >= 3 && s[0] == 0xEF && s[1] == 0xBB && s[2] == 0xBF) {
        s += 3;
        n -= 3;
    }
    // When the output surely fits (one unit per byte at most), decode at once and learn the
    // count and the validity in the same pass.
    if (dst && dstSize >= n && n > 0) {
        bool valid = true;
        const std::size_t written = detail::utf8DecodeWide(s, n, dst, &valid);
        if (written < dstSize) {
            dst[written] = L'\0';
        }
        setFlag(lossless, valid);
        return toCount(written);
    }
    bool valid = true;
    const std::size_t measure = detail::utf8MeasureWide(s, n, &valid);
    if (measure == 0) {
        setFlag(lossless, false);
        return 0;
    }
    setFlag(lossless, valid);
    if (!dst) {
        return toCount(measure);
    }
    if (measure > dstSize) {
        return 0;
    }
    const std::size_t written = detail::utf8DecodeWide(s, n, dst, nullptr);
    if (written < dstSize) {
        dst[written] = L'\0';
    }
    return toCount(written);
}

unsigned int WCStoUTF8(const wchar_t* src, unsigned int srcLen, char* dst, unsigned int dstSize,
                       bool* lossless) {
    setFlag(lossless, false);
    if (!src) {
        return 0;
    }
    const std::size_t n = srcLen == kNulTerminated ? std::wcslen(src) : srcLen;
    if (n == 0) {
        setFlag(lossless, true);
        return 0;
    }
    if (dst && dstSize / detail::kMaxBytesPerUnit >= n) {
        bool valid = true;
        const std::size_t written = detail::utf8EncodeNarrow(src, n, dst, &valid);
        if (written < dstSize) {
            dst[written] = '\0';
        }
        setFlag(lossless, valid);
        return toCount(written);
    }
    bool valid = true;
    const std::size_t measure = detail::utf8MeasureNarrow(src, n, &valid);
    setFlag(lossless, measure != 0 && valid);
    if (!dst) {
        return toCount(measure);
    }
    if (measure > dstSize) {
        return 0;
    }
    const std::size_t written = detail::utf8EncodeNarrow(src, n, dst, nullptr);
    if (written < dstSize) {
        dst[written] = '\0';
    }
    return toCount(written);
}

int detectUTF8BOM(const char* buf, int len) {
    if (!buf || !(len >= 3 || len == -1)) {
        return 0;
    }
    const unsigned char* s = reinterpret_cast<const unsigned char*>(buf);
    // With len -1 the bytes are compared one by one, so a shorter NUL-terminated text stops
    // the comparison at its NUL.
    return (s[0] == 0xEF && s[1] == 0xBB && s[2] == 0xBF) ? 3 : 0;
}

unsigned int getMultiByteStringSize(wchar_t* dst, const char* src, unsigned int len) {
    if (!src) {
        return 0xFFFFFFFFu;
    }
    const std::size_t r = std::mbstowcs(dst, src, len);
    return r == kConversionError ? 0xFFFFFFFFu : static_cast<unsigned int>(r);
}

} // namespace kyString
