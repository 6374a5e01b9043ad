// kyStringFormat.cpp - TN_snprintf and kin, and the growing-buffer formatting of the strings.
#include <Base/String/kyStringFormat.h>

#include <Base/String/internal/kyStringFormatImpl.h>
#include <Base/String/kyStringConvert.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <new>
#include <string>

namespace kyString {
namespace detail {

namespace {

constexpr std::size_t kGrowStep = 1024;
constexpr std::size_t kMaxSize = 0xFFFFFFFFu;

enum class Attempt {
    kFits,     // `count` characters were written
    kTooSmall, // retry with a larger buffer; `needed` is the full count when known, else 0
    kEncoding, // an argument cannot be converted for this width
    kEmpty,    // it fitted, and is empty
    kFailed,   // anything else
};

Attempt attemptNarrow(char* buf, std::size_t n, const char* fmt, va_list args, std::size_t* count,
                      std::size_t* needed) {
    errno = 0;
    const int r = std::vsnprintf(buf, n, fmt, args);
    if (r >= 0) {
        if (static_cast<std::size_t>(r) + 1 < n) {
            *count = static_cast<std::size_t>(r);
            return Attempt::kFits;
        }
        *needed = static_cast<std::size_t>(r);
        return Attempt::kTooSmall;
    }
    if (errno == EILSEQ) {
        return Attempt::kEncoding;
    }
    return errno == 0 ? Attempt::kTooSmall : Attempt::kFailed;
}

Attempt attemptWide(wchar_t* buf, std::size_t n, const wchar_t* fmt, va_list args,
                    std::size_t* count, std::size_t* needed) {
    errno = 0;
    const int r = TN_vswprintf(buf, n, fmt, args);
    if (r >= 0) {
        *count = static_cast<std::size_t>(r);
        return Attempt::kFits;
    }
    // TN_vswprintf folds "does not fit" and errors into -1; errno tells them apart (the C
    // library's wide printf does not report the size it needs).
    if (errno == EILSEQ) {
        return Attempt::kEncoding;
    }
    if (errno == EOVERFLOW || errno == EINVAL) {
        return Attempt::kFailed;
    }
    *needed = 0;
    return Attempt::kTooSmall;
}

// The next buffer size: in steps of 1024 from `size`, enough for `needed` + the TN margin when
// the need is known, else doubling (in 1024 steps) so long output takes few retries. 0 when the
// size cannot grow by 1024 within 32 bits.
std::size_t grow(std::size_t size, std::size_t needed) {
    if (size > kMaxSize - kGrowStep) {
        return 0;
    }
    std::size_t want = size + kGrowStep;
    if (needed != 0 && needed + 2 > want) {
        want = needed + 2;
    } else if (needed == 0 && size > kGrowStep) {
        want = size * 2;
    }
    std::size_t steps = (want - size + kGrowStep - 1) / kGrowStep;
    const std::size_t maxSteps = (kMaxSize - size) / kGrowStep;
    if (steps > maxSteps) {
        steps = maxSteps;
    }
    return size + steps * kGrowStep;
}

// Formats with growing buffers. The first attempt uses a buffer on the stack (most results
// are short), so a result is copied once into `out`, whose storage is reused when it is large
// enough. `out` is changed only for a non-empty result.
template <class C, class AttemptFn>
Attempt formatLoop(std::basic_string<C>& out, unsigned int initialSize, const C* fmt, va_list args,
                   AttemptFn attempt) {
    constexpr std::size_t kStackSize = 256;
    // At least one character, so the buffer can always hold its terminator.
    std::size_t size = initialSize == 0 ? 1 : initialSize;
    std::size_t count = 0;
    std::size_t needed = 0;
    if (size <= kStackSize) {
        C stackBuffer[kStackSize];
        va_list copy;
        va_copy(copy, args);
        const Attempt result = attempt(stackBuffer, size, fmt, copy, &count, &needed);
        va_end(copy);
        if (result == Attempt::kFits) {
            if (count == 0) {
                return Attempt::kEmpty;
            }
            out.assign(stackBuffer, count);
            return result;
        }
        if (result != Attempt::kTooSmall) {
            return result;
        }
        size = grow(size, needed);
        if (size == 0) {
            return Attempt::kFailed;
        }
    }
    std::basic_string<C> buffer;
    for (;;) {
        try {
            buffer.assign(size, C(0));
        } catch (const std::bad_alloc&) {
            return Attempt::kFailed;
        }
        count = 0;
        needed = 0;
        va_list copy;
        va_copy(copy, args);
        const Attempt result = attempt(&buffer[0], size, fmt, copy, &count, &needed);
        va_end(copy);
        if (result == Attempt::kFits) {
            if (count == 0) {
                return Attempt::kEmpty;
            }
            buffer.resize(count);
            out.swap(buffer);
            return result;
        }
        if (result != Attempt::kTooSmall) {
            return result;
        }
        size = grow(size, needed);
        if (size == 0) {
            return Attempt::kFailed;
        }
    }
}

// Text in the other width, with "?" for what the locale cannot convert.
std::wstring converted(const char* text) {
    std::wstring out;
    const unsigned int n = MBStoWCS(text, 0xFFFFFFFFu, nullptr, 0, nullptr);
    if (n > 0) {
        out.assign(n + 1, L'\0');
        out.resize(MBStoWCS(text, 0xFFFFFFFFu, &out[0], n + 1, nullptr));
    }
    return out;
}

std::string converted(const wchar_t* text) {
    std::string out;
    const unsigned int n = WCStoMBS(text, 0xFFFFFFFFu, nullptr, 0, nullptr);
    if (n > 0) {
        out.assign(n + 1, '\0');
        out.resize(WCStoMBS(text, 0xFFFFFFFFu, &out[0], n + 1, nullptr));
    }
    return out;
}

// Formats in the width of `fmt`. When an argument of the other width cannot be converted by
// the locale ("%S" in a narrow format, "%s" in a wide one), formats in the other width, where
// that argument passes through, and converts the whole result, with "?" for what the locale
// cannot convert.
template <class C, class Other, class AttemptC, class AttemptOther>
bool formatEither(std::basic_string<C>& out, unsigned int initialSize, const C* fmt, va_list args,
                  AttemptC attempt, AttemptOther attemptOther) {
    if (!fmt) {
        return false;
    }
    Attempt r = formatLoop(out, initialSize, fmt, args, attempt);
    if (r == Attempt::kEncoding) {
        std::basic_string<Other> other;
        va_list copy;
        va_copy(copy, args);
        r = formatLoop(other, initialSize, converted(fmt).c_str(), copy, attemptOther);
        va_end(copy);
        if (r == Attempt::kFits) {
            std::basic_string<C> text = converted(other.c_str());
            if (text.empty()) {
                return false;
            }
            out.swap(text);
        }
    }
    return r == Attempt::kFits;
}

} // namespace

bool formatNarrow(std::string& out, unsigned int initialSize, const char* fmt, va_list args) {
    return formatEither<char, wchar_t>(out, initialSize, fmt, args, attemptNarrow, attemptWide);
}

bool formatWide(std::wstring& out, unsigned int initialSize, const wchar_t* fmt, va_list args) {
    return formatEither<wchar_t, char>(out, initialSize, fmt, args, attemptWide, attemptNarrow);
}

} // namespace detail
} // namespace kyString

extern "C" {

int TN_vsnprintf(char* buf, std::size_t n, const char* fmt, va_list args) {
    if (!fmt || !buf || n == 0) {
        return -1;
    }
    const int r = std::vsnprintf(buf, n, fmt, args);
    // The count only when it is below n - 1: output that exactly fills the buffer counts as not
    // fitting (kept from the legacy truncating vsnprintf contract).
    if (r >= 0 && static_cast<std::size_t>(r) + 1 < n) {
        return r;
    }
    buf[n - 1] = '\0';
    return -1;
}

int TN_snprintf(char* buf, std::size_t n, const char* fmt, ...) {
    va_list args;
    va_start(args, fmt);
    const int r = TN_vsnprintf(buf, n, fmt, args);
    va_end(args);
    return r;
}

int TN_vswprintf(wchar_t* buf, std::size_t n, const wchar_t* fmt, va_list args) {
    if (!fmt || !buf || n == 0) {
        errno = EINVAL;
        return -1;
    }
    wchar_t* rewritten = nullptr;
    if (kyString::detail::wideFormatNeedsRewrite()) {
        rewritten = TN_convert_string_format(fmt);
        if (!rewritten) {
            errno = ENOMEM;
            return -1;
        }
        fmt = rewritten;
    }
    const int r = std::vswprintf(buf, n, fmt, args);
    const int saved = errno;
    std::free(rewritten);
    errno = saved;
    if (r >= 0 && static_cast<std::size_t>(r) + 1 < n) {
        return r;
    }
    // Some C libraries leave a truncated wide buffer unterminated.
    buf[n - 1] = L'\0';
    return -1;
}

int TN_swprintf(wchar_t* buf, std::size_t n, const wchar_t* fmt, ...) {
    va_list args;
    va_start(args, fmt);
    const int r = TN_vswprintf(buf, n, fmt, args);
    va_end(args);
    return r;
}

wchar_t* TN_convert_string_format(const wchar_t* fmt) {
    if (!fmt) {
        return nullptr;
    }
    const std::size_t n = std::wcslen(fmt);
    wchar_t* out = static_cast<wchar_t*>(std::malloc((n + 1) * sizeof(wchar_t)));
    if (!out) {
        return nullptr;
    }
    std::memcpy(out, fmt, (n + 1) * sizeof(wchar_t));
    auto isDigit = [](wchar_t c) { return c >= L'0' && c <= L'9'; };
    std::size_t i = 0;
    while (i < n) {
        if (out[i] != L'%') {
            ++i;
            continue;
        }
        if (i + 1 < n && out[i + 1] == L'%') {
            i += 2;
            continue;
        }
        std::size_t j = i + 1;
        if (j < n && out[j] == L'-') {
            ++j;
        }
        while (j < n && isDigit(out[j])) {
            ++j;
        }
        if (j < n && out[j] == L'.') {
            ++j;
            while (j < n && isDigit(out[j])) {
                ++j;
            }
        }
        if (j < n) {
            switch (out[j]) {
            case L'S':
                out[j] = L's';
                break;
            case L's':
                out[j] = L'S';
                break;
            case L'C':
                out[j] = L'c';
                break;
            case L'c':
                out[j] = L'C';
                break;
            default:
                break; // length modifiers and other conversions end the scan unchanged
            }
        }
        i = j + 1;
    }
    return out;
}

} // extern "C"
