#pragma once

#include <cstdint>
#include <string>

#include "platform/httpapi/Httpapi.h"

namespace Zn
{

/// Whether every name and value of the head can be sent as it is: names are tokens, values hold no line break
/// and no NUL (RFC 9110, 5.1 and 5.5). A value that came from a client could otherwise add headers or a whole
/// response.
bool IsSendable(const THTTP_RESPONSE& AResponse);

/// Whether a response of this status never has a body (RFC 9110, 6.4.1).
bool HasNoBody(std::uint16_t AStatusCode);

/// What the service itself decides about the head.
struct HeadFraming
{
    enum class Kind { AsGiven, Length, Chunked, Nothing } Body = Kind::AsGiven;
    std::uint64_t Length = 0;
};

/// Appends status line and fields, each with its line end: Date and Server unless given, then what was given
/// in the order of its numbers, then the unknown ones, then the framing. Connection, Keep-Alive and
/// Transfer-Encoding are left out: they belong to the connection and are added by AppendConnection when the
/// response leaves.
void AppendHead(std::string& AOut, const THTTP_RESPONSE& AResponse, HeadFraming AFraming);

/// Ends the head. AKeepAliveValue: what the response gave for Keep-Alive, sent while the connection stays.
void AppendConnection(std::string& AOut, bool AClose, bool AHttp11, std::string_view AKeepAliveValue);

} // namespace Zn
