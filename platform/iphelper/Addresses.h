#pragma once

/// Addresses as the system lays them out. The family in a socket address is the system's own:
/// AF_INET, AF_INET6.

#include <netinet/in.h>
#include <sys/socket.h>

/// An IPv6 address in network order.
using IN6_ADDR = in6_addr;
