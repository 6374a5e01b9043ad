// strings_example.cpp - the examples of the string, error and initialisation headers, compiled
// and checked.
#include "example_check.h"

#include <Base/Containers/kyReferenceCount.h>
#include <Base/Containers/kyVector.h>
#include <Base/String/kyStringCString.h>
#include <Base/String/kyStringIString.h>
#include <Base/String/kyStringIntern.h>
#include <Base/Utility/kyUtilError.h>
#include <Base/Utility/kyUtilInitializer.h>
#include <Base/Utility/kyUtilSplit.h>

#include <cstdio>
#include <cstring>
#include <cwchar>

namespace {

int gTablesUp = 0;

struct Tables : kyUtil::Initializer {
    kyUtil::Error initialize() override {
        ++gTablesUp;
        return kyUtil::Error();
    }
};

Tables gTables; // registers itself

struct Block : ky::ReferenceCount {
    int size = 0;
};

} // namespace

int main() {
    {
        kyString::CString s("  hello");
        s.stripSpaces().append(", world"); // "hello, world"
        CHECK(s == "hello, world");
        CHECK(s.find(',') == 5);
        CHECK(s.format("%s=%d", "x", 42) == 4); // s is "x=42"
        CHECK(s == "x=42");
    }
    {
        bool lossless = false;
        kyString::IString s("caf\xC3\xA9", kyString::kUTF8, &lossless); // 4 characters
        CHECK(lossless && s.length() == 4);
        const char* utf8 = s.asUTF8(&lossless); // "caf\xC3\xA9"
        CHECK(std::strcmp(utf8, "caf\xC3\xA9") == 0 && lossless);
        s.format(L"%s has %d letters", "word", 4); // "%s" is narrow
        CHECK(std::wcscmp(s.asWChar(), L"word has 4 letters") == 0);
    }
    {
        kyUtil::Error e(2, "cannot open '%s'", "a.txt");
        CHECK(e.code() == 2 && std::strcmp(e.message(), "cannot open 'a.txt'") == 0);
        kyUtil::Error ok; // code 0, message ""
        CHECK(ok.code() == 0 && std::strcmp(ok.message(), "") == 0);
    }
    {
        kyUtil::Error e = kyUtil::Initializer::initializeAll();
        CHECK(e.code() == 0 && gTablesUp == 1);
        kyUtil::Initializer::finalizeAll();
    }
    {
        ky::Reference<Block> a(new Block); // count 1
        ky::Reference<Block> b = a;        // count 2
        CHECK(a->count() == 2);
        a.release(); // count 1
        CHECK(b->count() == 1);
        b = nullptr; // count 0: the block is deleted
        CHECK(!b);
    }
    {
        ky::vector<kyString::CString> words;
        kyUtil::Error e = kyUtil::splitWithQuotes("cp \"my file\" dst", words); // 3 tokens
        CHECK(e.code() == 0 && words.size() == 3 && words[1] == "my file");
    }
    {
        kyString::ConstantCString a = kyString::intern("shape");
        kyString::ConstantCString b = kyString::intern(kyString::CString("shape"));
        CHECK(a == b); // one record per distinct text
        kyString::deleteStringTables();
    }
    std::puts("string examples: ok");
    return 0;
}
