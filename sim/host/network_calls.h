// The requests about network interfaces that programs send by ioctl on a socket.
#pragma once

#include <optional>

namespace k4sim {

// The answer to a request about an interface of the virtual K/4 on an IPv4 socket: what
// ioctl returns, with an error number as its negative. Empty when it is none: another
// request, another interface, another file. As in the kernel, `argument` is an ifreq.
//
// Known are the link state by SIOCETHTOOL with ETHTOOL_GLINK, IPv4 address and mask,
// hardware address and flags. What sets something needs I/O privilege not to be refused.
std::optional<int> network_request(int descriptor, unsigned long request, void* argument);

} // namespace k4sim
