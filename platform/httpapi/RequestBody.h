#pragma once

#include <cstdint>

#include "platform/httpapi/Httpapi.h"

namespace Zn
{

struct Connection;

/// The next bytes of the present request's body, straight into ABuffer. 0 with at least one byte, 38 at the
/// end, 1229 when the peer is gone, too slow, or sent no valid chunk. The request owner's thread; waits for
/// the peer.
std::uint32_t ReceiveBody(Connection& AConnection, const TZnHttpServiceLimits& ALimits, void* ABuffer,
                          std::uint32_t ALength, std::uint32_t& AReceived);

/// Discards what has come of a body that nobody asked for, without waiting. True when the whole body is gone,
/// so that the connection can carry another request.
bool DrainBody(Connection& AConnection);

} // namespace Zn
