#pragma once

#include <string>
#include <string_view>

namespace Zn
{

/// A name for a request that no other request of this or another process has. No secret: it can be guessed.
std::string NewRequestId();

/// Whether a proxy's X-Request-Id can be taken over: 1 to 128 letters, digits and -_.:+/=@~
bool IsRequestId(std::string_view AText);

} // namespace Zn
