// tcp_address_fuzz.cpp - address text of any kind: it either throws the defined code 2 error or
// gives an address whose host, port and classification agree with the text. Nothing here asks
// the resolver, so no input reaches the network.
#include <Base/TCP/kyTCPAddress.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

void check(bool ok, const char* what) {
    if (!ok) {
        std::fprintf(stderr, "address invariant broken: %s\n", what);
        std::abort();
    }
}

void checkAddress(kyTCP::Address& a, const std::wstring& host) {
    check(a.isNumbersAndDotsCached() != a.isNameCached(), "exactly one form is cached");
    const auto text = a.isNumbersAndDotsCached() ? a.getNumbersAndDots() : a.getName();
    check(text.second.ok() && text.first.str() == host, "the cached text is the host");
    check(!a.isNumbersAndDotsCached() ||
              host.find_first_not_of(L"0123456789abcdefABCDEFxX.") == std::wstring::npos,
          "a numeric host is made of dotted-quad characters only");
    check(a.isLocalLoopback() == (a.isNumbersAndDotsCached() && host == L"127.0.0.1"),
          "loopback is exactly 127.0.0.1");
    check(!(host == L"255.255.255.255" && a.isNumbersAndDotsCached()), "the kept quirk");
    check(a == kyTCP::Address(a), "a copy is equal");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // Bytes become characters one for one, NULs and all.
    std::wstring text(data, data + size);
    const std::size_t colon = text.find(L':');
    const bool onePort =
        colon != std::wstring::npos && text.find(L':', colon + 1) == std::wstring::npos;
    const kyString::IString input(text.c_str(), static_cast<unsigned int>(text.size()));
    try {
        kyTCP::Address a(input);
        check(!text.empty() && !(onePort && colon == 0), "bad text was accepted");
        check(onePort || a.getPort() == -1, "no port without exactly one colon");
        checkAddress(a, onePort ? text.substr(0, colon) : text);
    } catch (const kyUtil::Error& e) {
        check(e.code() == 2, "code 2");
        const char* expected = text.empty()
                                   ? "kyTCP::Address: empty address or incorectly formed address"
                                   : "kyTCP::Address: empty address specified";
        check(std::strcmp(e.message(), expected) == 0 && (text.empty() || colon == 0),
              "the defined messages");
    }
    try {
        kyTCP::Address b(input, static_cast<int>(size));
        check(!text.empty() && b.getPort() == static_cast<int>(size), "host and port");
        checkAddress(b, text);
    } catch (const kyUtil::Error& e) {
        check(e.code() == 2 && text.empty(), "only empty text throws");
    }
    return 0;
}
