#pragma once

#include <cstdint>
#include <span>

#include "platform/httpapi/Httpapi.h"

namespace Zn
{

struct Connection;

/// What became of a send call.
struct SendResult
{
    std::uint32_t Code;    // of platform/errors
    bool Complete = false; // the request is over: the connection goes on or closes (Response.Close, .Broken)
    std::uint64_t Sent = 0;
};

/// The two halves of HttpSendHttpResponse and HttpSendResponseEntityBody, for the request that AConnection
/// carries. The request owner's thread; waits for a peer that reads slowly, within the limits. Bytes leave by
/// gathered writes and sendfile, never copied.
SendResult SendResponse(Connection& AConnection, const TZnHttpServiceLimits& ALimits, std::uint32_t AFlags,
                        const THTTP_RESPONSE& AResponse);
SendResult SendBody(Connection& AConnection, const TZnHttpServiceLimits& ALimits, std::uint32_t AFlags,
                    std::span<const THTTP_DATA_CHUNK> AChunks);

} // namespace Zn
