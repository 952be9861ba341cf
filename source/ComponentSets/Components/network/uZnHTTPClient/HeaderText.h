#pragma once

#include <string_view>

namespace Zn
{

/// No CR, LF or NUL.
bool IsHeaderText(std::string_view AText);

/// Raises EZnHTTPInvalidArgument unless AName is a token and AValue has no CR, LF or NUL (RFC 9110, 5.1
/// and 5.5). Sent as it is, such a text could add fields or a whole request.
void CheckHeader(std::string_view AName, std::string_view AValue);

/// The same for a line "Name: value".
void CheckHeaderLine(std::string_view ALine);

} // namespace Zn
