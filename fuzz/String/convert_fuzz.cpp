// convert_fuzz.cpp - the narrow/wide conversions on arbitrary bytes: no fault, consistent
// counts, and exact round trips for valid text.
#include <Base/String/kyStringConvert.h>
#include <Base/String/kyStringFormat.h>
#include <Base/String/kyStringIString.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

void check(bool condition) {
    if (!condition) {
        std::abort();
    }
}

std::wstring decodeUtf8(const char* bytes, unsigned int n, bool keepBOM, bool* lossless) {
    const unsigned int measure = kyString::UTF8toWCS(bytes, n, nullptr, 0, keepBOM, lossless);
    std::wstring out(measure, L'\0');
    if (measure > 0) {
        bool again = false;
        // Exactly the measured room: no terminator is written.
        const unsigned int written =
            kyString::UTF8toWCS(bytes, n, &out[0], measure, keepBOM, &again);
        check(written == measure);
        check(again == *lossless);
        // With generous room the single-pass path must agree.
        std::wstring wide(static_cast<std::size_t>(n) + 1, L'\0');
        check(kyString::UTF8toWCS(bytes, n, &wide[0], n + 1, keepBOM, &again) == measure);
        check(wide.compare(0, measure, out) == 0 && wide[measure] == L'\0');
        check(again == *lossless);
        // One unit too few does not fit.
        check(kyString::UTF8toWCS(bytes, n, &wide[0], measure - 1, keepBOM, nullptr) == 0);
    }
    return out;
}

std::string encodeUtf8(const std::wstring& wide, bool* lossless) {
    const unsigned int n = static_cast<unsigned int>(wide.size());
    const unsigned int measure = kyString::WCStoUTF8(wide.data(), n, nullptr, 0, lossless);
    std::string out(measure, '\0');
    if (measure > 0) {
        bool again = false;
        check(kyString::WCStoUTF8(wide.data(), n, &out[0], measure, &again) == measure);
        check(again == *lossless);
        std::string roomy(static_cast<std::size_t>(n) * 4 + 1, '\0');
        check(kyString::WCStoUTF8(wide.data(), n, &roomy[0],
                                  static_cast<unsigned int>(roomy.size()), &again) == measure);
        check(roomy.compare(0, measure, out) == 0);
        check(kyString::WCStoUTF8(wide.data(), n, &roomy[0], measure - 1, nullptr) == 0);
    }
    return out;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size > 1 << 16) {
        return 0;
    }
    const char* bytes = reinterpret_cast<const char*>(data);
    const unsigned int n = static_cast<unsigned int>(size);

    // UTF-8 in: valid text (after a byte-order mark) round-trips exactly; anything else is
    // reported as lossy and becomes text that does.
    bool lossless = false;
    const std::wstring wide = decodeUtf8(bytes, n, false, &lossless);
    const bool hasBOM = n >= 3 && std::memcmp(bytes, "\xEF\xBB\xBF", 3) == 0;
    const std::string body(bytes + (hasBOM ? 3 : 0), bytes + n);
    bool encodedLossless = false;
    const std::string back = encodeUtf8(wide, &encodedLossless);
    check(wide.empty() || encodedLossless); // the decoder never makes unpaired surrogates
    if (!body.empty()) {
        check(lossless == (back == body));
    }
    bool again = false;
    check(decodeUtf8(back.data(), static_cast<unsigned int>(back.size()), true, &again) == wide);

    // keepBOM keeps the mark as U+FEFF.
    bool keepLossless = false;
    const std::wstring kept = decodeUtf8(bytes, n, true, &keepLossless);
    if (hasBOM) {
        check(!kept.empty() && kept[0] == static_cast<wchar_t>(0xFEFF));
    }

    // The bytes as wide units: valid units round-trip, others are reported.
    const std::size_t units = size / sizeof(wchar_t);
    std::wstring raw(units, L'\0');
    if (units > 0) {
        std::memcpy(&raw[0], data, units * sizeof(wchar_t));
    }
    bool rawLossless = false;
    const std::string rawBytes = encodeUtf8(raw, &rawLossless);
    bool decodedLossless = false;
    const std::wstring rawBack = decodeUtf8(
        rawBytes.data(), static_cast<unsigned int>(rawBytes.size()), true, &decodedLossless);
    if (!raw.empty()) {
        check(decodedLossless);
        check(rawLossless == (rawBack == raw));
    }

    // The code-page conversions on the NUL-terminated text: counts agree with what is written.
    const std::string text(bytes, bytes + size);
    const char* cText = text.c_str();
    const unsigned int wideCount = kyString::MBStoWCS(cText, 0xFFFFFFFFu, nullptr, 0, nullptr);
    std::vector<wchar_t> mbWide(static_cast<std::size_t>(wideCount) + 1);
    check(kyString::MBStoWCS(cText, 0xFFFFFFFFu, mbWide.data(), wideCount + 1, nullptr) ==
          wideCount);
    check(mbWide[wideCount] == L'\0');
    const unsigned int narrowCount =
        kyString::WCStoMBS(mbWide.data(), 0xFFFFFFFFu, nullptr, 0, nullptr);
    std::vector<char> mbNarrow(static_cast<std::size_t>(narrowCount) + 1);
    check(kyString::WCStoMBS(mbWide.data(), 0xFFFFFFFFu, mbNarrow.data(), narrowCount + 1,
                             nullptr) <= narrowCount);

    // Through IString: the cache gives the same bytes as the plain conversion.
    kyString::IString s(cText, kyString::kUTF8, &lossless);
    bool cacheLossless = false;
    const std::string cached = s.asUTF8(&cacheLossless);
    check(cached == encodeUtf8(s.str(), &encodedLossless));
    (void)s.asMultibyte(); // any bytes: "?" for what the code page lacks

    // The format rewrite only swaps letters.
    const std::wstring fmt = raw.substr(0, raw.find(L'\0'));
    wchar_t* rewritten = TN_convert_string_format(fmt.c_str());
    check(rewritten != nullptr && std::wcslen(rewritten) == fmt.size());
    std::free(rewritten);
    return 0;
}
