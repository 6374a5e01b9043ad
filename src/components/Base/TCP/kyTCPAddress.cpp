// kyTCPAddress.cpp - kyTCP::Address and the once-per-process start-up of the socket layer.
#include <Base/TCP/kyTCPAddress.h>

#include <Base/TCP/internal/kyTCPNetwork.h>
#include <Base/TCP/internal/kyTCPSocketCalls.h>

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace kyTCP {
namespace {

const char* startupReason(int code) {
    switch (code) {
    case 10014:
        return "internal application error";
    case 10036:
        return "operation in progress";
    case 10067:
        return "internal limits exceeded";
    case 10091:
        return "system not ready";
    case 10092:
        return "version 2.2 not supported";
    default:
        return "unknown error";
    }
}

} // namespace

namespace detail {

int startNetwork() {
    detail::SocketCalls& calls = detail::socketCalls();
    const int rc = calls.startup();
    if (rc != 0) {
        std::printf("Cannot initialize Windows Sockets: %s", startupReason(rc));
        std::fflush(stdout);
        return 0;
    }
    int mask = 0;
    const detail::Family families[] = {detail::Family::kIPv4, detail::Family::kIPv6};
    for (int i = 0; i < 2; ++i) {
        int error = 0;
        const detail::NativeSocket s = calls.socket(families[i], &error);
        if (s != detail::kNoSocket) {
            mask |= i == 0 ? kFamilyIPv4 : kFamilyIPv6;
            (void)calls.close(s, &error); // a probe: nothing was sent
        }
    }
    return detail::applyFamilyEnvironment(mask, std::getenv("KY_IPV6_ONLY") != nullptr,
                                          std::getenv("KY_IPV4_ONLY") != nullptr);
}

} // namespace detail

namespace {

// atoi's leniency without its undefined overflow: digits up to the first other character.
int lenientPort(const std::wstring& text, std::size_t from) {
    std::size_t i = from;
    while (i < text.size() && (text[i] == L' ' || (text[i] >= L'\t' && text[i] <= L'\r'))) {
        ++i;
    }
    bool negative = false;
    if (i < text.size() && (text[i] == L'+' || text[i] == L'-')) {
        negative = text[i] == L'-';
        ++i;
    }
    long long value = 0;
    for (; i < text.size() && text[i] >= L'0' && text[i] <= L'9'; ++i) {
        value = value * 10 + (text[i] - L'0');
        if (value > INT_MAX) {
            value = static_cast<long long>(INT_MAX) + 1;
        }
    }
    value = negative ? -value : value;
    return value > INT_MAX ? INT_MAX : (value < INT_MIN ? INT_MIN : static_cast<int>(value));
}

kyUtil::Error lookupError(int error) {
    return kyUtil::Error(2, "getaddrinfo failed: %S",
                         detail::socketCalls().addrInfoErrorText(error).c_str());
}

} // namespace

namespace detail {

int applyFamilyEnvironment(int mask, bool ipv6Only, bool ipv4Only) {
    if ((mask & kFamilyIPv6) != 0 && ipv6Only) {
        mask = kFamilyIPv6;
    }
    if ((mask & kFamilyIPv4) != 0 && ipv4Only) {
        mask = kFamilyIPv4;
    }
    return mask;
}

addrinfo* lookUp(const Address& address, bool passive, int* error) {
    return address.lookUp(passive, error);
}

} // namespace detail

int usableFamilies() {
    static const int mask = detail::startNetwork();
    return mask;
}

void freeAddrInfo(addrinfo* list) {
    detail::socketCalls().freeAddrInfo(list);
}

Address::Address()
    : numbersAndDotsCached_(false), nameCached_(false), localLoopback_(false), port_(-1) {}

Address::Address(const kyString::IString& text) : Address() {
    (void)usableFamilies(); // the first address starts the socket layer
    if (text.isEmpty()) {
        throw kyUtil::Error(2, "kyTCP::Address: empty address or incorectly formed address");
    }
    const std::wstring& s = text.str();
    const std::size_t colon = s.find(L':');
    const bool onePort =
        colon != std::wstring::npos && s.find(L':', colon + 1) == std::wstring::npos;
    if (!onePort) {
        classify(text);
        return;
    }
    if (colon == 0) {
        throw kyUtil::Error(2, "kyTCP::Address: empty address specified");
    }
    port_ = lenientPort(s, colon + 1);
    classify(kyString::IString(s.c_str(), static_cast<unsigned int>(colon)));
}

Address::Address(const kyString::IString& host, int port) : Address() {
    (void)usableFamilies();
    if (host.isEmpty()) {
        throw kyUtil::Error(2, "kyTCP::Address: empty address specified");
    }
    port_ = port;
    classify(host);
}

void Address::classify(const kyString::IString& host) {
    bool lossless = true;
    const char* narrow = host.asMultibyte(kyString::kMultibyte, &lossless);
    // Only the characters of a dotted quad (decimal, octal or hex parts) reach the parser: some
    // parsers stop at white space and accept whatever follows, which would make "1.2.3.4 x"
    // numeric on one platform and a name on another.
    const bool whole = lossless && host.str().find_first_not_of(L"0123456789abcdefABCDEFxX.") ==
                                       std::wstring::npos;
    if (whole && detail::socketCalls().parseDottedQuad(narrow)) {
        numbersAndDotsCached_ = true;
        numbersAndDots_ = host;
        localLoopback_ = host.str() == L"127.0.0.1";
    } else {
        nameCached_ = true;
        name_ = host;
    }
}

bool Address::operator==(const Address& other) const {
    return numbersAndDotsCached_ == other.numbersAndDotsCached_ &&
           nameCached_ == other.nameCached_ && localLoopback_ == other.localLoopback_ &&
           port_ == other.port_ && numbersAndDots_.str() == other.numbersAndDots_.str() &&
           name_.str() == other.name_.str();
}

std::pair<kyString::IString, kyUtil::Error> Address::getNumbersAndDots() {
    if (!numbersAndDotsCached_) {
        kyUtil::Error e = resolve();
        if (e.failed()) {
            return {kyString::IString(), e};
        }
    }
    return {numbersAndDots_, kyUtil::Error()};
}

std::pair<kyString::IString, kyUtil::Error> Address::getName() {
    if (!nameCached_) {
        kyUtil::Error e = resolve();
        if (e.failed()) {
            return {kyString::IString(), e};
        }
    }
    return {name_, kyUtil::Error()};
}

kyUtil::Error Address::resolve() {
    detail::SocketCalls& calls = detail::socketCalls();
    int error = 0;
    if (nameCached_ && !numbersAndDotsCached_) {
        addrinfo* list = nullptr;
        if (calls.getAddrInfo(name_.asMultibyte(), "0", false, &list, &error) != 0) {
            return lookupError(error);
        }
        std::string text;
        bool found = false;
        for (const addrinfo* i = list; i != nullptr && !found; i = calls.nextAddrInfo(i)) {
            found = calls.numericHost(i, text, &error) == 0 && text.find(':') == std::string::npos;
        }
        calls.freeAddrInfo(list);
        if (!found) {
            return kyUtil::Error(2, "getaddrinfo failed: no IPv4 address for %S", name_.asWChar());
        }
        numbersAndDots_ = kyString::IString(text.c_str());
        numbersAndDotsCached_ = true;
        localLoopback_ = text == "127.0.0.1";
    } else if (numbersAndDotsCached_ && !nameCached_) {
        std::string text;
        if (calls.hostOf(numbersAndDots_.asMultibyte(), text, &error) != 0) {
            return lookupError(error);
        }
        name_ = kyString::IString(text.c_str());
        nameCached_ = true;
    } else if (!nameCached_ && !numbersAndDotsCached_) {
        return kyUtil::Error(2, "kyTCP::Address: empty address specified");
    }
    return kyUtil::Error();
}

addrinfo* Address::getAddrInfo(bool passive) const {
    int error = 0;
    return lookUp(passive, &error);
}

addrinfo* Address::lookUp(bool passive, int* error) const {
    const char* node = numbersAndDotsCached_ ? numbersAndDots_.asMultibyte()
                       : nameCached_         ? name_.asMultibyte()
                                             : nullptr;
    char service[16];
    std::snprintf(service, sizeof service, "%d", hasAssignedPort() ? port_ : 0);
    addrinfo* list = nullptr;
    return detail::socketCalls().getAddrInfo(node, service, passive, &list, error) == 0 ? list
                                                                                        : nullptr;
}

const kyString::IString& Address::localhostName() {
    static const kyString::IString name = [] {
        (void)usableFamilies();
        std::string text;
        int error = 0;
        if (detail::socketCalls().hostName(text, &error) != 0) {
            text.clear();
        }
        return kyString::IString(text.c_str());
    }();
    return name;
}

} // namespace kyTCP
