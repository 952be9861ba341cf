#pragma once

#include <cstdint>

#include "platform/httpapi/Httpapi.h"
#include "platform/httpapi/RequestHead.h"

namespace Zn
{

struct Connection;

/// What a request is besides its head.
struct RequestOrigin
{
    const Connection& From;
    HTTP_REQUEST_ID RequestId;
    HTTP_URL_CONTEXT UrlContext;
};

/// Lays a request out in the receiver's buffer: the record, then what its pointers show.
///
///     THTTP_REQUEST | addresses | full URL (UTF-16) | unknown fields [] | texts
///
/// 0 with the bytes used, or 234 when ALength is too small.
std::uint32_t WriteRequest(const RequestHead& AHead, const RequestOrigin& AOrigin, PHTTP_REQUEST ABuffer,
                           std::uint32_t ALength, std::uint32_t& AUsed);

} // namespace Zn
