#pragma once

#include <string_view>

namespace Zn
{

/// Whether a client with this Accept-Encoding takes the coding (RFC 9110, 12.5.3): listed by name,
/// with a weight above 0. The wildcard doesn't count: who only says "*" gets the file as it is.
bool AcceptsCoding(std::string_view AAcceptEncoding, std::string_view ACoding);

} // namespace Zn
