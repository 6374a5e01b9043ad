// kyTCPAddress.h - kyTCP::Address, a host and port as the user wrote them, and the start-up of
// the socket layer.
#ifndef KY_TCP_ADDRESS_H
#define KY_TCP_ADDRESS_H

#include <Base/BaseExport.h>
#include <Base/String/kyStringIString.h>
#include <Base/Utility/kyUtilError.h>

#include <utility>

// The platform's address-information list, kept opaque here; free it with
// `kyTCP::freeAddrInfo`.
struct addrinfo;

namespace kyTCP {

class Address;
namespace detail {
addrinfo* lookUp(const Address& address, bool passive, int* error);
} // namespace detail

/// Bits of `usableFamilies()`.
constexpr int kFamilyIPv4 = 1;
constexpr int kFamilyIPv6 = 2;

/// The address families this process may use, bit 1 IPv4, bit 2 IPv6. The first call (or the
/// first construction of an Address) starts the socket layer once for the process: it starts
/// Windows Sockets 2.2 where there is such a thing (on failure it prints "Cannot initialize
/// Windows Sockets: <reason>" on standard output and no family is usable), then probes each
/// family by making a stream socket of it. If IPv6 works and the environment variable
/// KY_IPV6_ONLY exists, only IPv6 is used; otherwise, if IPv4 works and KY_IPV4_ONLY exists,
/// only IPv4 (so KY_IPV6_ONLY wins when both are set). Later changes of the environment have
/// no effect. The start-up is made once even when threads race to it.
KY_BASE_API int usableFamilies();

/// Frees a list returned by `Address::getAddrInfo` (null is allowed).
KY_BASE_API void freeAddrInfo(addrinfo* list);

/// A host and port as the user wrote them, resolved on demand. Text with exactly one colon is
/// "host:port" (the port read leniently: digits up to the first other character, none gives 0);
/// any other text, IPv6 literals and bare names included, is the host alone with no port (-1).
/// A host that the platform's dotted-quad parser accepts is numeric ("numbers and dots"),
/// anything else is a name. That parser answers "255.255.255.255" with its "no address" value,
/// so that text counts as a name: an old quirk that is kept.
///
/// A copyable value. The constructors from text throw a `kyUtil::Error` (code 2) for empty or
/// malformed text, the only exception the library throws; everything else returns an Error.
/// Look-ups ask the system's resolver and may block. An Address is used by one thread at a
/// time.
class KY_BASE_API Address {
public:
    /// No host and no port (what an unconnected socket reports).
    Address();
    /// Parses "host", "host:port" or an IPv6 literal. Throws code 2 "kyTCP::Address: empty
    /// address or incorectly formed address" for empty text and "kyTCP::Address: empty address
    /// specified" for an empty host before the colon.
    explicit Address(const kyString::IString& text);
    /// The whole text is the host; throws code 2 "kyTCP::Address: empty address specified"
    /// when it is empty.
    Address(const kyString::IString& host, int port);

    int getPort() const { return port_; }
    bool hasAssignedPort() const { return port_ != -1; }
    /// The numeric text is exactly "127.0.0.1".
    bool isLocalLoopback() const { return localLoopback_; }
    bool isNameCached() const { return nameCached_; }
    bool isNumbersAndDotsCached() const { return numbersAndDotsCached_; }
    /// Equal when host texts, what is cached and ports are all equal.
    bool operator==(const Address& other) const;
    bool operator!=(const Address& other) const { return !(*this == other); }

    /// The numeric IPv4 text, looked up from the name when not known yet (code 2 when the
    /// look-up fails).
    std::pair<kyString::IString, kyUtil::Error> getNumbersAndDots();
    /// The host name, looked up from the numeric text when not known yet (code 2 when the
    /// look-up fails).
    std::pair<kyString::IString, kyUtil::Error> getName();
    /// Looks up whichever of the two is missing.
    kyUtil::Error resolve();
    /// The system's address information for a stream socket: any family, the numeric text if
    /// known, else the name, else no node (the any-address or loopback), and the port in
    /// decimal ("0" without a port). Null when the look-up fails; otherwise the caller frees the
    /// list with `kyTCP::freeAddrInfo`.
    addrinfo* getAddrInfo(bool passive) const;

    /// The machine's host name, asked of the system once and cached for the process (empty if
    /// the system cannot tell).
    static const kyString::IString& localhostName();

private:
    friend addrinfo* detail::lookUp(const Address&, bool, int*);
    void classify(const kyString::IString& host);
    addrinfo* lookUp(bool passive, int* error) const;

    bool numbersAndDotsCached_;
    bool nameCached_;
    bool localLoopback_;
    kyString::IString numbersAndDots_;
    kyString::IString name_;
    int port_;
};

} // namespace kyTCP

#endif // KY_TCP_ADDRESS_H
