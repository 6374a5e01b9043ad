// showcase_strings.cpp - the strings, errors and initialisation part of the showcase.
#include "showcase.h"

#include <Base/Containers/kyVector.h>
#include <Base/String/kyStringCString.h>
#include <Base/String/kyStringCharacter.h>
#include <Base/String/kyStringConvert.h>
#include <Base/String/kyStringIString.h>
#include <Base/String/kyStringIntern.h>
#include <Base/String/kyStringNumber.h>
#include <Base/Utility/kyUtilBuildInfo.h>
#include <Base/Utility/kyUtilError.h>
#include <Base/Utility/kyUtilSplit.h>

#include <cstdio>

void showcaseStrings() {
    showcaseSection("Strings: narrow CString, wide IString with a cached narrow form");

    bool lossless = false;
    kyString::IString name("r\xC3\xA9sum\xC3\xA9 \xE4\xB8\xAD.txt", kyString::kUTF8, &lossless);
    std::printf("UTF-8 \"r\\xC3\\xA9sum\\xC3\\xA9 \\xE4\\xB8\\xAD.txt\" -> %u wide characters "
                "(lossless %s)\n",
                name.length(), lossless ? "yes" : "no");
    const char* narrow = name.asMultibyte(kyString::kMultibyte, &lossless);
    std::printf("in the process code page: \"%s\" (lossless %s; what the code page lacks is "
                "\"?\")\n",
                narrow, lossless ? "yes" : "no");
    std::printf("back to UTF-8: %u bytes, same as the input: %s\n", name.asUTF8StoreSize() - 1,
                kyString::CString(name.asUTF8()) == "r\xC3\xA9sum\xC3\xA9 \xE4\xB8\xAD.txt" ? "yes"
                                                                                            : "no");

    const unsigned char bad[] = {'a', 0xC0, 0x80, 'b', 0xED, 0xA0, 0x80, 0};
    const unsigned int units = kyString::UTF8toWCS(reinterpret_cast<const char*>(bad), 0xFFFFFFFFu,
                                                   nullptr, 0, false, &lossless);
    std::printf("malformed UTF-8 (overlong NUL, encoded surrogate): %u characters, each bad "
                "byte a U+FFFD, lossless %s\n",
                units, lossless ? "yes" : "no");

    kyString::IString message;
    message.format(L"%s + %S", "narrow", L"wide");
    std::printf("wide format L\"%%s + %%S\" with (\"narrow\", L\"wide\"): \"%s\"\n",
                message.asMultibyte());
    message.format("%s + %S", "narrow", L"wide");
    std::printf("narrow format \"%%s + %%S\", same arguments:           \"%s\"\n",
                message.asMultibyte());

    kyString::CString text("old");
    const unsigned int result = text.format("%s", "");
    std::printf("format(\"%%s\", \"\") returns 0x%X and keeps \"%s\" (empty output is a "
                "failure, deliberately)\n",
                result, text.asChar());

    std::printf("wide isAlpha(U+2460 circled one) = %s, isPunct(U+FF04 full-width $) = %s\n",
                kyString::isAlpha(static_cast<wchar_t>(0x2460)) ? "true" : "false",
                kyString::isPunct(static_cast<wchar_t>(0xFF04)) ? "true" : "false");

    std::printf("int64ToAscii: %s and %s in two slots\n", int64ToAscii(-9007199254740993LL, 0),
                int64ToAscii(1234567890123LL, 1));

    kyString::ConstantCString a = kyString::intern("scene/object_7/shape");
    kyString::ConstantCString b = kyString::intern(kyString::CString("scene/object_7/shape"));
    std::printf("interned twice, one record: %s (%u C strings interned)\n", a == b ? "yes" : "no",
                kyString::numInternedCStrings());

    showcaseSection("Errors, splitting and build identification");
    ky::vector<kyString::CString> words;
    kyUtil::Error e = kyUtil::splitWithQuotes("render -o \"out dir/frame.exr\" -v", words);
    std::printf("splitWithQuotes: %zu tokens:", words.size());
    for (const kyString::CString& w : words) {
        std::printf(" [%s]", w.asChar());
    }
    std::printf("\n");
    e = kyUtil::splitWithQuotes("ab\"c", words);
    std::printf("splitWithQuotes(ab\"c) fails: code %d, \"%s\"\n", e.code(), e.message());
    e = kyUtil::splitWithQuotesAndBackslash("a\\n", words);
    std::printf("splitWithQuotesAndBackslash(a\\n) fails: code %d, \"%s\"\n", e.code(),
                e.message());
    std::printf("build %s from %s (UTC), changeset %s\n", gBuildDirectory, gBuildDate,
                gBuildChangeSet);
}
