// kyTCPNetwork.h - helpers the socket classes share with the address code.
#ifndef KY_TCP_INTERNAL_NETWORK_H
#define KY_TCP_INTERNAL_NETWORK_H

#include <Base/BaseExport.h>
#include <Base/TCP/kyTCPAddress.h>

namespace kyTCP {
namespace detail {

/// The start-up itself: starts the platform's socket layer (printing why when it cannot) and
/// probes the families. `usableFamilies` runs it once per process; tests run it again.
KY_BASE_API int startNetwork();

/// The family mask after the environment's say: KY_IPV6_ONLY (when IPv6 works) first, then
/// KY_IPV4_ONLY (when IPv4 is still in the mask).
KY_BASE_API int applyFamilyEnvironment(int mask, bool ipv6Only, bool ipv4Only);

/// `Address::getAddrInfo` that also tells the look-up's error (declared in kyTCPAddress.h).

} // namespace detail
} // namespace kyTCP

#endif // KY_TCP_INTERNAL_NETWORK_H
